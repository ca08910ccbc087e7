// Programs from seeds. The pools of values are small, so that joins and events often meet
// what they are about.
#include <cstddef>
#include <iterator>
#include <random>
#include <unordered_map>

#include "kernel/live/model/Program.h"

namespace livemodel {

namespace {

// How often a theme takes a step of each kind, and how it begins.
struct Weights {
    const char* name;
    unsigned kinds[8];  // Call to Queue
    unsigned answers, run0, run2, runAll;
    unsigned keptPercent;   // of the steps wait for a place
    unsigned startPercent;  // of the programs begin with a callback and an engine
};

// The columns stand under each other.
// clang-format off
const Weights s_themes[] = {
    //             call ctl get  ev num  cb scr que  ans  0  2 all kept start
    {"everything", {20,  8,  5, 20,  1,  5, 10,  5}, 10, 11, 5,  3,  15,   75},
    {"crowds",     {50,  6,  1,  3,  0,  2,  1,  3},  4,  8, 2,  0,   5,   50},
    {"events",     {15,  1,  2, 45,  3,  6,  3,  3},  8, 12, 8,  4,  15,   90},
    {"inside",     {20,  3,  6, 14,  1,  4,  8,  3},  8, 12, 6, 12,  50,   90},
    {"objects",    {10,  2,  3, 25,  0, 25,  3,  1},  6,  9, 7,  3,  25,   90},
    {"controls",   { 8, 30, 12,  3,  0,  2, 12,  3},  4, 12, 4,  6,  10,   60},
    {"strangers",  {25,  6,  3,  8,  1,  2,  3, 25},  6, 13, 5,  2,  15,   60},
    {"lives",      {20,  3, 12,  8,  1,  4, 10,  2}, 10, 12, 4, 10,  20,   30},
};
// clang-format on

// What a letter of Operation::args stands for. A value that stands there twice comes twice
// as often.
typedef std::vector<std::string> Pool;

const std::unordered_map<char, Pool>& Pools() {
    static const auto& s_pools = *new std::unordered_map<char, Pool>{
        {'t', {"", "a", "a", "b", "room1", "room2", std::string("a\0b", 3), "\xff\xc3("}},
        {'v', {"null", "view7", "view8"}},
        {'u', {"0", "1", "4294967295"}},
        {'i', {"0", "1", "-1", "640"}},
        {'b', {"true", "false"}},
        {'d', {"null", "cam1", "cam2"}},
        {'a', {"0", "7"}},
        {'s', {"", "key", "other key"}},
        {'n', {"0", "1", "2"}},
        {'x', {"null", "aux"}},
        {'m', {"null", "image"}},
        {'S', {"0", "1", "2", "3", "4", "5", "6", "7", "8", "-1"}},
        {'e', {"0", "5", "4294967295"}},
        {'c', {"A", "A", "B", "none", "gone"}},
        {'C', {"A", "B"}},
        {'R', {"0", "0", "-1", "5"}},
        {'g', {"GetLiveChannel", "GetCurrentPublishStreamID", "GetCurrentPublishStreamURL"}},
        {'T', {"0", "8", "-1", "1", "2", "3", "4", "5", "6", "7"}},
        {'N', {"0", "18446744073709551615"}},
        {'j', {"-1", "-1", "-1", "-1", "0", "1", "2"}},
        {'W', {"0", "2", "all"}},
        // Places where programs often come by.
        {'p',
         {"PlayStream", "StopPlayStream", "GetStreamList", "StartPublishing", "StopPublishing",
          "Logout", "GetStreams", "Init", "Uninit", "OnPlayStateUpdate", "OnPublishStateUpdate",
          "OnGetStreamList", "OnLogout", "OnPreviewSnapshot", "OnRenderSnapshot", "gone"}},
        // The calls whose joins compare.
        {'J',
         {"StartPublishing", "StopPublishing", "GetStreamList", "PlayStream", "StopPlayStream"}},
        {'O', {"app", "sign", "user", "logfile"}},
    };
    return s_pools;
}

// The operations of a kind.
const Pool& NamesOf(Kind kind) {
    static const auto& s_names = *[] {
        auto* const names = new std::vector<Pool>(static_cast<std::size_t>(Kind::Run) + 1);
        for (const Operation& operation : Operations()) {
            (*names)[static_cast<std::size_t>(operation.kind)].push_back(operation.name);
        }
        return names;
    }();
    return s_names[static_cast<std::size_t>(kind)];
}

class Generator {
public:
    explicit Generator(std::uint64_t seed)
        : m_random(seed), m_weights(s_themes[seed / SeedsPerTheme % std::size(s_themes)]) {}

    Program Make() {
        const std::size_t size = 1 + Below(60);
        if (Below(100) < m_weights.startPercent) {
            m_program.push_back({"", false, "SetCallback", {Pick('C')}});
            m_program.push_back({"", false, "Init", {"7", "key"}});
            m_program.push_back({"", false, "run", {"all"}});
            if (Below(2) == 0) {  // as an engine does in its Init
                m_program.push_back({"", false, "setting", {"app", "7"}});
                m_program.push_back({"", false, "setting", {"sign", "key"}});
            }
        }
        while (m_program.size() < size) {
            AddStep();
        }
        m_program.resize(size);
        return m_program;
    }

private:
    // The standard library's distributions differ from one library to the next.
    std::size_t Below(std::size_t limit) { return static_cast<std::size_t>(m_random() % limit); }

    const std::string& Pick(const Pool& pool) { return pool[Below(pool.size())]; }
    const std::string& Pick(char letter) { return Pick(Pools().at(letter)); }

    void AddStep() {
        if (Below(100) == 0) {
            return Below(2) == 0 ? AddLogoutThatLosesItsEngine() : AddCompletionsSideBySide();
        }
        const Step step = Weighted();
        if (step.op == "run" || Below(100) >= m_weights.keptPercent) {
            m_program.push_back(step);
        } else {
            AddKept(step);
        }
    }

    // Keeps the step for a place, sometimes others for the same place; every other time
    // somebody comes by soon.
    void AddKept(Step step) {
        const std::string place = Place();
        for (bool more = true; more; more = Below(3) == 0) {
            if (step.op != "run") {
                step.place = place;
                step.beside = Below(3) == 0;
                m_program.push_back(step);
            }
            step = Weighted();
        }
        if (FindOperation(place) != nullptr && Below(2) == 0) {
            // (The streams are asked for on another thread than worker 0 by this alone.)
            m_program.push_back(Of(place == "GetStreams" ? "Logout" : place));
        }
    }

    // What takes many steps in the right order comes by chance too seldom. An Uninit that
    // runs while a Logout has asked for the streams:
    void AddLogoutThatLosesItsEngine() {
        m_program.push_back(Of("answer"));
        m_program.push_back(Of("Uninit"));
        Step getter = OfKind(Kind::Getter);
        getter.place = "GetStreams";
        m_program.push_back(getter);
        m_program.push_back(Of("Logout"));
    }

    // An engine that completes a command inside its own call, and on another thread at the
    // same time.
    void AddCompletionsSideBySide() {
        const std::string call = Pick('J');
        for (const char* op : {"answer", "SetCmdExecuteCmdDone"}) {
            Step step = Of(op);
            step.place = call;
            step.beside = op[0] == 'S';
            m_program.push_back(step);
        }
        m_program.push_back(Of(call));
    }

    Step Weighted() {
        const Weights& w = m_weights;
        std::size_t total = w.answers + w.run0 + w.run2 + w.runAll;
        for (const unsigned weight : w.kinds) {
            total += weight;
        }
        std::size_t at = Below(total);
        const auto takes = [&at](unsigned weight) {
            const bool takesIt = at < weight;
            at -= takesIt ? 0 : weight;
            return takesIt;
        };
        for (std::size_t kind = 0; kind < std::size(w.kinds); ++kind) {
            if (takes(w.kinds[kind])) {
                return OfKind(static_cast<Kind>(kind));
            }
        }
        if (takes(w.answers)) {
            return Of("answer");
        }
        return {"", false, "run", {takes(w.run0) ? "0" : takes(w.run2) ? "2" : "all"}};
    }

    Step OfKind(Kind kind) {
        if (kind == Kind::Call && Below(3) != 0) {
            return Of(Pick('J'));
        }
        if (kind == Kind::Queue && Below(2) == 0) {
            return Of("AddCmd");
        }
        return Of(Pick(NamesOf(kind)));
    }

    Step Of(const std::string& op) {
        Step step;
        step.op = op;
        for (const char letter : OperationOf(op).args) {
            AddValues(letter, step.args);
        }
        return step;
    }

    std::string Place() { return Below(2) == 0 ? Pick('p') : Pick(Places()); }

    // A place that answers a status: not the application's.
    std::string Answerer() {
        std::string place = Place();
        while (place.compare(0, 2, "On") == 0 || place == "gone" || place == "raw") {
            place = Place();
        }
        return place;
    }

    void AddValues(char letter, Args& args) {
        if (letter == 'l' || letter == 'L') {  // streams, or devices with their names
            for (std::size_t count = Below(4); count != 0; --count) {
                args.push_back(letter == 'l' ? Pick('t') : "cam" + std::to_string(count));
                if (letter == 'L') {
                    args.push_back("name" + std::to_string(Below(2)));
                }
            }
        } else if (letter == 'r') {
            AddRecord(args);
        } else if (letter == 'o') {
            args.push_back(Answerer());
        } else {
            const std::string& value = Pick(letter);
            args.push_back(value);
            if (letter == 'O') {
                AddValues(value == "app" ? 'a' : value == "sign" ? 's' : 't', args);
            }
        }
    }

    // A stream: five texts, some addresses, status, and the update's flag.
    void AddRecord(Args& args) {
        for (int field = 0; field < 5; ++field) {
            args.push_back(Pick('t'));
        }
        for (const char* scheme : {"rtmp ", "hls "}) {
            for (std::size_t count = Below(3); count != 0; --count) {
                args.push_back(scheme + Pick('t'));
            }
        }
        args.push_back(Pick('u'));
        args.push_back(Pick('n'));
    }

    std::mt19937_64 m_random;
    const Weights& m_weights;
    Program m_program;
};

}  // namespace

const std::vector<Theme>& Themes() {
    static const auto& s_all = *[] {
        auto* const themes = new std::vector<Theme>();
        for (const Weights& weights : s_themes) {
            themes->push_back({weights.name, themes->size() * SeedsPerTheme});
        }
        return themes;
    }();
    return s_all;
}

Program Generate(std::uint64_t seed) {
    return Generator(seed).Make();
}

}  // namespace livemodel
