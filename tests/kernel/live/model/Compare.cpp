#include "kernel/live/model/Compare.h"

#include <algorithm>
#include <utility>

#include "kernel/live/model/LibraryPlayer.h"
#include "kernel/live/model/ModelPlayer.h"

namespace livemodel {

namespace {

std::string Written(const Line& line) {
    return std::string(1, line.thread) + "  " + Escaped(line.text);
}

// Both sides' lines of one step: the common ones once, the first that differ marked.
std::string SideBySide(const Difference& difference) {
    const std::vector<Line>& expected = difference.expected;
    const std::vector<Line>& got = difference.got;
    std::string text;
    std::size_t common = 0;
    while (common < expected.size() && common < got.size() && expected[common] == got[common]) {
        text += "           " + Written(expected[common]) + "\n";
        ++common;
    }
    const auto rest = [&](const char* mark, const std::vector<Line>& lines) {
        for (std::size_t i = common; i < lines.size() && i < common + 8; ++i) {
            text += mark + Written(lines[i]) + "\n";
        }
        if (lines.size() > common + 8) {
            text += std::string(mark) + "... and more\n";
        }
        if (common >= lines.size()) {
            text += std::string(mark) + "(nothing more)\n";
        }
    };
    rest("  expected ", expected);
    rest("  got      ", got);
    return text;
}

Program Without(const Program& program, std::size_t from, std::size_t count) {
    Program shorter(program.begin(), program.begin() + static_cast<std::ptrdiff_t>(from));
    const std::size_t next = std::min(from + count, program.size());
    shorter.insert(shorter.end(), program.begin() + static_cast<std::ptrdiff_t>(next),
                   program.end());
    return shorter;
}

}  // namespace

Difference Compare(const Program& program, const Flaws& flaws) {
    LibraryPlayer library;
    ModelPlayer model(flaws);
    Difference difference;
    for (std::size_t step = 0; step <= program.size() && !difference.found; ++step) {
        if (step == program.size()) {
            library.Rest();
            model.Rest();
        } else {
            library.Play(program[step]);
            model.Play(program[step]);
        }
        difference.got = library.TakeLines();
        difference.expected = model.TakeLines();
        difference.found = !(difference.got == difference.expected);
        difference.step = step;
    }
    return difference;
}

// Leaves out ever smaller pieces, as long as that finds something to leave out.
Program Shrink(Program program, const std::function<bool(const Program&)>& fails) {
    std::size_t piece = std::max<std::size_t>(program.size() / 2, 1);
    for (bool some = true; some || piece > 1;) {
        if (!some) {
            piece /= 2;
        }
        some = false;
        for (std::size_t from = 0; from < program.size();) {
            Program shorter = Without(program, from, piece);
            if (fails(shorter)) {
                program = std::move(shorter);
                some = true;
            } else {
                from += piece;
            }
        }
    }
    return program;
}

std::string Explain(const std::string& name, const Program& program, const Flaws& flaws) {
    const Program small = Shrink(
        program, [&flaws](const Program& candidate) { return Compare(candidate, flaws).found; });
    const Difference difference = Compare(small, flaws);
    const bool atRest = difference.step == small.size();
    const std::string replay = " VaxoLiveProxy_model_test --gtest_filter=LiveModelReplay.*";
    return "Library and model differ in " + name + " (" + std::to_string(program.size()) +
           " steps, " + std::to_string(small.size()) + " when shrunk), at step " +
           std::to_string(difference.step + 1) + ": " +
           (atRest ? std::string("everything comes to rest") : Print(small[difference.step])) +
           "\n" + SideBySide(difference) + "\nTo play the shrunk program again:\n\n" +
           "VAXO_MODEL_PROGRAM=/dev/stdin" + replay + " <<'END'\n" + Print(small) + "END\n";
}

std::string Trace(const Program& program, Player& player) {
    std::string trace;
    const auto take = [&] {
        for (const Line& line : player.TakeLines()) {
            trace += Written(line) + "\n";
        }
    };
    for (const Step& step : program) {
        player.Play(step);
        take();
    }
    player.Rest();
    take();
    return trace;
}

}  // namespace livemodel
