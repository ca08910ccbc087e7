// Programs on the proxy: callers, an engine that answers on a thread of its own, and what
// holds in every schedule.
#include <array>
#include <memory>
#include <utility>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "explore/LiveStage.h"
#include "explore/Programs.h"
#include "explore/Scheduler.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"

namespace explore {

namespace {

using Strova::CVaxoLiveProxy;
using Strova::IVaxoLiveCallback;

LiveStage& Stage() {
    return LiveStage::The();
}

std::shared_ptr<CVaxoLiveProxy> Proxy() {
    return CVaxoLiveProxy::GetInstance();
}

// A thread for each but the last, which is the calling thread's own: every thread more
// multiplies the schedules.
void InParallel(const std::vector<std::pair<const char*, std::function<void()>>>& callers) {
    for (std::size_t i = 0; i + 1 < callers.size(); ++i) {
        Spawn(callers[i].first, callers[i].second);
    }
    callers.back().second();
}

Program OnStage(const char* name, const char* about, std::function<void()> body) {
    Program program;
    program.name = name;
    program.about = about;
    program.prepare = [] { Stage().Begin(); };
    program.body = std::move(body);
    program.check = [] { Stage().End(); };
    return program;
}

Program TwoCallers() {
    return OnStage("two-callers", "two callers, and an engine that completes on its thread", [] {
        InParallel({{"player", [] { Proxy()->PlayStream("a", 0); }},
                    {"publisher", [] { Proxy()->StartPublishing("t", "s", "c"); }}});
    });
}

Program CompletionInside() {
    Program program =
        OnStage("completion-inside", "the engine completes before its call returns", [] {
            InParallel({{"player", [] { Proxy()->PlayStream("a", 0); }},
                        {"publisher", [] { Proxy()->StopPublishing(); }}});
        });
    program.prepare = [] {
        Stage().Begin();
        Stage().Let("PlayStream", Answer::Inside);
        Stage().Let("StopPublishing", Answer::Inside);
    };
    return program;
}

// The completion that such an event asks for ends the pass's hold on the executing slot: the
// rest of the pass goes on without it.
Program EventInsideSync() {
    Program program =
        OnStage("event-inside-sync", "an event from inside a call that holds nothing", [] {
            Proxy()->EnableMic(true);
            Proxy()->PlayStream("a", 0);
        });
    program.prepare = [] {
        Stage().Begin();
        Stage().DropApp();
        Stage().GiveInside("EnableMic", [](IVaxoLiveCallback& callback) { callback.OnLogout(0); });
    };
    return program;
}

Program FailingCalls() {
    Program program = OnStage("failing-calls", "the engine refuses what two callers ask", [] {
        InParallel({{"player", [] { Proxy()->PlayStream("a", 0); }},
                    {"publisher", [] { Proxy()->StartPublishing("t", "s", "c"); }}});
    });
    program.prepare = [] {
        Stage().Begin();
        Stage().Let("PlayStream", Answer::Fails);
    };
    return program;
}

Program LeaveWhilePublishing() {
    Program program = OnStage("leave-while-publishing",
                              "Logout while a publish waits for its event: no event passes it", [] {
                                  Stage().OweTheRest();
                                  Proxy()->Logout();
                              });
    program.prepare = [] {
        Stage().Begin();
        Stage().Let("StartPublishing", Answer::Never);
        Settle([] { Proxy()->StartPublishing("t", "s", "c"); });
    };
    return program;
}

Program LogoutInitUninit() {
    return OnStage("logout-init-uninit", "Logout against Uninit and Init", [] {
        InParallel({{"leaver", [] { Proxy()->Logout(); }}, {"life", [] {
                                                                Proxy()->Uninit();
                                                                Proxy()->Init(1, vaxo::stream());
                                                            }}});
    });
}

// A completion that waits to write while a pass reads, and an event that looks at both.
Program TwoEvents() {
    Program program =
        OnStage("two-events", "two threads of the engine give events while a pass runs", [] {
            InParallel({{"news", [] { Proxy()->OnGetStreamList(0); }},
                        {"state", [] { Proxy()->OnPlayStateUpdate(Mediq::AVStateBegin, "x"); }},
                        {"setter", [] { Proxy()->EnableMic(true); }}});
        });
    program.prepare = [] {
        Stage().Begin();
        Stage().DropApp();
    };
    return program;
}

// The engine does not answer: whoever waited for that would wait for ever.
Program GettersWhileHeld() {
    Program program =
        OnStage("getters-while-held", "three getters while a command holds the queue for ever", [] {
            Proxy()->PlayStream("a", 0);
            InParallel({{"channel", [] { Proxy()->GetLiveChannel(); }},
                        {"stream", [] { Proxy()->GetCurrentPublishStreamID(); }},
                        {"streams", [] {
                             vaxostl::vector<Strova::VaxoLiveStream> list;
                             if (Proxy()->GetStreamList(list) != 0 || list.size() != 1) {
                                 Fail("a getter has no answer");
                             }
                         }}});
        });
    program.prepare = [] {
        Stage().Begin();
        Stage().ListStream(true);
        Stage().Let("PlayStream", Answer::Never);
    };
    program.check = [] {
        if (Stage().Watch().Executing().empty()) {
            Fail("nothing holds the queue, though the engine never answered");
        }
        Stage().AnswerTheRest();
        Stage().End();
    };
    return program;
}

Program SetCallbackAgainstEvents() {
    Program program =
        OnStage("set-callback",
                "SetCallback, and the end of a callback, "
                "against events",
                [] {
                    Stage().Owe([](IVaxoLiveCallback& callback) { callback.OnCountsUpdate(1, 1); });
                    Stage().Owe([](IVaxoLiveCallback& callback) { callback.OnReconnected("c"); });
                    Stage().ReplaceApp();
                    Stage().DropApp();
                });
    program.check = [] {
        if (Stage().EventsHeard() > 2) {
            Fail("an event is heard twice");
        }
        Stage().End();
    };
    return program;
}

// Before the application lets go both events find a callback, the former or the next one.
Program NoEventLostOnReplace() {
    Program program =
        OnStage("replace-callback", "no event is lost while a callback is replaced", [] {
            Stage().Owe([](IVaxoLiveCallback& callback) { callback.OnCountsUpdate(1, 1); });
            Stage().ReplaceApp();
        });
    program.check = [] {
        if (Stage().EventsHeard() != 1) {
            Fail("an event is lost");
        }
        Stage().End();
    };
    return program;
}

struct Firsts {
    std::array<CVaxoLiveProxy*, 3> proxy = {};
    std::array<CVaxoAVMgrCmdQueue*, 3> queue = {};
    std::array<CVaxoQueueRunner*, 3> runner = {};
};

Firsts& TheFirsts() {
    static auto& s_firsts = *new Firsts();
    return s_firsts;
}

template <class T>
void MustBeOne(const std::array<T*, 3>& all, const char* what) {
    if (all[0] == nullptr || all[0] != all[1] || all[1] != all[2]) {
        Fail(std::string("there is more than one ") + what);
    }
}

Program FirstUse() {
    Program program;
    program.name = "first-use";
    program.about = "the first use of every singleton from three threads";
    program.fresh = true;
    program.prepare = [] {
        TheFirsts();
        Stage().Begin(false);
    };
    program.body = [] {
        const auto use = [](std::size_t number) {
            return [number] {
                TheFirsts().queue[number] = CVaxoAVMgrCmdQueue::GetSharedInstance().get();
                TheFirsts().runner[number] = CVaxoQueueRunner::GetSharedInstance();
                TheFirsts().proxy[number] = Proxy().get();
            };
        };
        InParallel({{"first", use(0)}, {"second", use(1)}, {"third", use(2)}});
    };
    program.check = [] {
        MustBeOne(TheFirsts().proxy, "proxy");
        MustBeOne(TheFirsts().queue, "queue");
        MustBeOne(TheFirsts().runner, "runner");
    };
    return program;
}

}  // namespace

void AddLivePrograms(std::vector<Program>& programs) {
    for (const auto& make :
         {&TwoCallers, &CompletionInside, &EventInsideSync, &FailingCalls, &LeaveWhilePublishing,
          &LogoutInitUninit, &TwoEvents, &GettersWhileHeld, &SetCallbackAgainstEvents,
          &NoEventLostOnReplace, &FirstUse}) {
        programs.push_back(make());
    }
}

}  // namespace explore
