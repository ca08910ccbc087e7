// Plays a program on the library and on the model, step by step, and says where they
// first differ; makes a program that differs as short as it can be.
#ifndef VAXO_TESTS_MODEL_COMPARE_H
#define VAXO_TESTS_MODEL_COMPARE_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "kernel/live/model/LiveModel.h"
#include "kernel/live/model/Player.h"
#include "kernel/live/model/Program.h"

namespace livemodel {

struct Difference {
    bool found = false;
    std::size_t step = 0;  // the program's size: when everything came to rest
    std::vector<Line> expected, got;
};

// After the last step both sides come to rest, and that is compared too.
Difference Compare(const Program& program, const Flaws& flaws = Flaws());

// A part of the program that still fails and of which no step can be left out.
Program Shrink(Program program, const std::function<bool(const Program&)>& fails);

// What to show to whoever has to find out: where the sides differ, and the program,
// shrunk, with a command that plays it again.
std::string Explain(const std::string& name, const Program& program, const Flaws& flaws = Flaws());

// All that is said from the first step to rest, one line a line.
std::string Trace(const Program& program, Player& player);

}  // namespace livemodel

#endif
