// The operations whose instructions are counted.
//
// An operation repeats one thing a number of times. Run with n and with 2n repetitions, the
// difference of the two counts is n of the thing alone: the start of the program, the making of
// workers and one-time allocations are in both. What a repetition needs around the thing is an
// operation too, and is taken off (Operation::without).
//
// Where several threads take part, the repetitions are so arranged that one thread does all of
// the work while the others rest: nobody wakes anybody, and runs agree within a hundredth. The
// operations that are about waking depend on who runs when, and say so (isExact).
#ifndef VAXO_BENCH_INSTRUCTIONS_OPERATIONS_H
#define VAXO_BENCH_INSTRUCTIONS_OPERATIONS_H

#include <vector>

namespace vaxoengine {

struct Operation {
    const char* name;
    const char* without;  // the operation that is taken off, "" for none
    bool isExact;
    int count;                // repetitions that make a difference large enough
    void (*run)(int count);   // on the main thread
    const char* description;  // of what is left of one repetition
};

// Jobs, calls, events and the log.
std::vector<Operation> FrontOperations();

// Array, map and string, some beside the standard library's.
std::vector<Operation> PartOperations();

}  // namespace vaxoengine

#endif
