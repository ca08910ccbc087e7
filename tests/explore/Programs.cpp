#include "explore/Programs.h"

#include <cstdlib>
#include <memory>
#include <random>

#include "explore/LiveStage.h"
#include "explore/Scheduler.h"
#include "live/VaxoLiveProxy.h"

namespace explore {

namespace {

using Strova::CVaxoLiveProxy;

// One call by lot.
void CallSomething(std::uint64_t lot) {
    const auto proxy = CVaxoLiveProxy::GetInstance();
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    switch (lot % 12) {
        case 0:
            proxy->PlayStream("a", 0);
            return;
        case 1:
            proxy->PlayStream("b", 1);
            return;
        case 2:
            proxy->StopPlayStream("a");
            return;
        case 3:
            proxy->StartPublishing("t", "s", "c");
            return;
        case 4:
            proxy->StopPublishing();
            return;
        case 5:
            proxy->GetStreamList("u", "n", "c", 0);
            return;
        case 6:
            proxy->Logout();
            return;
        case 7:
            proxy->EnableMic(true);
            return;
        case 8:
            proxy->GetLiveChannel();
            return;
        case 9:
            proxy->GetStreamList(streams);
            return;
        case 10:
            LiveStage::The().ReplaceApp();
            return;
        default:
            proxy->UploadLog();
            return;
    }
}

// What the engine owes cannot come when it goes in the meantime, so programs by lot keep
// theirs.
const char* const s_answered[] = {"PlayStream",     "StopPlayStream", "StartPublishing",
                                  "StopPublishing", "GetStreamList",  "Logout"};

}  // namespace

const std::vector<Program>& Programs() {
    static const auto& s_programs = *[] {
        auto* const programs = new std::vector<Program>();
        AddRuntimePrograms(*programs);
        AddLivePrograms(*programs);
        return programs;
    }();
    return s_programs;
}

Program RandomProgram(std::uint64_t seed) {
    std::mt19937_64 random(seed);
    std::vector<std::vector<std::uint64_t>> callers(2 + random() % 2);
    for (auto& calls : callers) {
        for (std::uint64_t count = 1 + random() % 3; count > 0; --count) {
            calls.push_back(random());
        }
    }
    std::vector<Answer> answers;
    for (std::size_t i = 0; i < std::size(s_answered); ++i) {
        const std::uint64_t lot = random() % 4;
        answers.push_back(lot == 0 ? Answer::Inside : lot == 1 ? Answer::Fails : Answer::Later);
    }
    Program program;
    program.name = "random:" + std::to_string(seed);
    program.about = "calls by lot";
    program.prepare = [answers] {
        LiveStage::The().Begin();
        LiveStage::The().ListStream(true);
        for (std::size_t i = 0; i < std::size(s_answered); ++i) {
            LiveStage::The().Let(s_answered[i], answers[i]);
        }
    };
    program.body = [callers] {
        for (std::size_t i = 0; i < callers.size(); ++i) {
            Spawn("caller " + std::to_string(i), [calls = callers[i]] {
                for (const std::uint64_t lot : calls) {
                    CallSomething(lot);
                }
            });
        }
    };
    program.check = [] { LiveStage::The().End(); };
    return program;
}

Program ProgramOf(const std::string& name) {
    const std::string random = "random:";
    if (name.compare(0, random.size(), random) == 0) {
        return RandomProgram(std::strtoull(name.c_str() + random.size(), nullptr, 10));
    }
    for (const Program& program : Programs()) {
        if (program.name == name) {
            return program;
        }
    }
    return Program();
}

}  // namespace explore
