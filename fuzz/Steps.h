// Runs the operations that an input names, and says which one went wrong.
#ifndef VAXO_FUZZ_STEPS_H
#define VAXO_FUZZ_STEPS_H

#include <cstddef>
#include <cstdio>
#include <cstdlib>

#include "fuzz/Input.h"

namespace fuzz {

// An operation of a pair: the library's object and the standard one it is compared with.
template <class Pair>
struct Operation {
    const char* name;
    void (Pair::*take)(Input& in);
};

// Where the run is, for the message.
struct Place {
    const char* subject = "";
    const char* operation = "construction";
    int step = 0;
};

inline Place& ThePlace() {
    static Place s_place;
    return s_place;
}

// Ends the process, which the fuzzer writes down with the input, unless `right`.
inline void Require(bool right, const char* what) {
    if (!right) {
        const Place& at = ThePlace();
        std::fprintf(stderr, "DIFFERENCE: %s: %s, after step %d (%s)\n", at.subject, what, at.step,
                     at.operation);
        std::abort();
    }
}

// Longer programs find nothing that these do not, and take longer.
constexpr int kMostSteps = 300;

template <class Pair, std::size_t Count>
void RunSteps(Pair& pair, const Operation<Pair> (&operations)[Count], Input& in) {
    for (int step = 1; step <= kMostSteps && !in.AtEnd(); ++step) {
        const Operation<Pair>& operation = operations[in.Below(Count)];
        ThePlace().operation = operation.name;
        ThePlace().step = step;
        (pair.*operation.take)(in);
        pair.Check();
    }
}

}  // namespace fuzz

#endif
