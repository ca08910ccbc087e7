#include "fuzz/ProxyProgram.h"

#include <cstddef>
#include <string>
#include <vector>

namespace fuzz {

using livemodel::Args;
using livemodel::Operation;
using livemodel::Program;
using livemodel::Step;

namespace {

const std::size_t kMostProgramSteps = 60;

typedef std::vector<std::string> Pool;

const std::string& Pick(Input& in, const Pool& pool) {
    return pool[in.Below(pool.size())];
}

// What joins compare: nearly always one of few texts, so that they meet.
std::string Text(Input& in) {
    static const Pool& s_texts = *new Pool{"a", "b", "room1", "room2", "", "a", "b"};
    const std::uint32_t choice = in.Below(s_texts.size() + 1);
    return choice < s_texts.size() ? s_texts[choice] : in.Text(12);
}

// The edges of a type, or any value of it.
std::string Signed(Input& in) {
    static const Pool& s_numbers = *new Pool{"0", "1", "2", "3", "-1", "640"};
    const std::uint32_t choice = in.Below(s_numbers.size() + 1);
    return choice < s_numbers.size() ? s_numbers[choice]
                                     : std::to_string(static_cast<std::int32_t>(in.Number(4)));
}

std::string Unsigned(Input& in) {
    static const Pool& s_numbers = *new Pool{"0", "1", "7", "4294967295"};
    const std::uint32_t choice = in.Below(s_numbers.size() + 1);
    return choice < s_numbers.size() ? s_numbers[choice] : std::to_string(in.Number(4));
}

// A place that answers a status: the engine's or the connection's.
std::string Answerer(Input& in) {
    const std::string& place = Pick(in, livemodel::Places());
    const bool answers = place.compare(0, 2, "On") != 0 && place != "gone" && place != "raw";
    return answers ? place : "PlayStream";
}

// A stream: five texts, its addresses, a status and the update's flag.
void AddRecord(Input& in, Args& args) {
    for (int field = 0; field < 5; ++field) {
        args.push_back(Text(in));
    }
    for (const char* scheme : {"rtmp ", "hls "}) {
        for (std::uint32_t count = in.Below(3); count != 0; --count) {
            args.push_back(scheme + Text(in));
        }
    }
    args.push_back(Unsigned(in));
    args.push_back(Signed(in));
}

// Texts, or identifiers that differ with a name each.
void AddList(Input& in, bool withNames, Args& args) {
    for (std::uint32_t count = in.Below(4); count != 0; --count) {
        args.push_back(withNames ? "cam" + std::to_string(count) : Text(in));
        if (withNames) {
            args.push_back(Text(in));
        }
    }
}

void AddSetting(Input& in, Args& args) {
    static const Pool& s_settings = *new Pool{"app", "sign", "user", "logfile"};
    args.push_back(Pick(in, s_settings));
    args.push_back(args.back() == "app" ? std::to_string(in.Below(8)) : Text(in));
}

// The letters of Operation::args that stand for one of a few words.
const Pool* WordsOf(char letter) {
    static const Pool& s_views = *new Pool{"null", "view7", "view8"};
    static const Pool& s_flags = *new Pool{"true", "false"};
    static const Pool& s_devices = *new Pool{"null", "cam1", "cam2"};
    static const Pool& s_aux = *new Pool{"null", "aux"};
    static const Pool& s_images = *new Pool{"null", "image"};
    static const Pool& s_apps = *new Pool{"A", "B", "none", "gone"};
    static const Pool& s_held = *new Pool{"A", "B"};
    static const Pool& s_texts =
        *new Pool{"GetLiveChannel", "GetCurrentPublishStreamID", "GetCurrentPublishStreamURL"};
    static const Pool& s_joins = *new Pool{"-1", "0", "1", "2", "-1"};
    static const Pool& s_workers = *new Pool{"all", "0", "2"};
    switch (letter) {
        case 'v':
            return &s_views;
        case 'b':
            return &s_flags;
        case 'd':
            return &s_devices;
        case 'x':
            return &s_aux;
        case 'm':
            return &s_images;
        case 'c':
            return &s_apps;
        case 'C':
            return &s_held;
        case 'g':
            return &s_texts;
        case 'j':
            return &s_joins;
        case 'W':
            return &s_workers;
        default:
            return nullptr;
    }
}

void AddValues(Input& in, char letter, Args& args) {
    if (const Pool* const words = WordsOf(letter)) {
        args.push_back(Pick(in, *words));
        return;
    }
    switch (letter) {
        case 't':
        case 's':
            args.push_back(Text(in));
            break;
        case 'u':
        case 'e':
        case 'a':
            args.push_back(Unsigned(in));
            break;
        case 'N':
            args.push_back(std::to_string(in.Number(8)));
            break;
        case 'T':
            args.push_back(std::to_string(static_cast<int>(in.Below(10)) - 1));
            break;
        case 'l':
        case 'L':
            AddList(in, letter == 'L', args);
            break;
        case 'r':
            AddRecord(in, args);
            break;
        case 'o':
            args.push_back(Answerer(in));
            break;
        case 'O':
            AddSetting(in, args);
            break;
        default:  // i, n, R, S: numbers with a sign
            args.push_back(Signed(in));
            break;
    }
}

Step TakeStep(Input& in) {
    const std::vector<Operation>& operations = livemodel::Operations();
    // What no operation has for its number lets the workers run, which they must often.
    const std::uint32_t number = in.Below(128);
    Step step;
    const Operation& operation =
        number < operations.size() ? operations[number] : livemodel::OperationOf("run");
    step.op = operation.name;
    for (const char letter : operation.args) {
        AddValues(in, letter, step.args);
    }
    // One in eight waits for a place; who runs the workers does not.
    const std::uint32_t where = in.Below(16);
    if (where >= 14 && step.op != "run") {
        step.beside = where == 15;
        step.place = Pick(in, livemodel::Places());
    }
    return step;
}

}  // namespace

Program TakeProgram(Input& in) {
    Program program;
    // Without a callback and an engine little happens: every other program begins with them.
    if (in.Flag()) {
        program.push_back({"", false, "SetCallback", {"A"}});
        program.push_back({"", false, "Init", {"7", "key"}});
        program.push_back({"", false, "run", {"all"}});
    }
    while (!in.AtEnd() && program.size() < kMostProgramSteps) {
        program.push_back(TakeStep(in));
    }
    return program;
}

}  // namespace fuzz
