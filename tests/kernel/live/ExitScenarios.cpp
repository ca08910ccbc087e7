#include "kernel/live/ExitScenarios.h"

#include <unistd.h>

#include <array>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "kernel/live/ExitWorld.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxolog.h"

namespace livetest {

namespace {

typedef std::function<int()> Scenario;

std::shared_ptr<Strova::CVaxoLiveProxy> Proxy() {
    return Strova::CVaxoLiveProxy::GetInstance();
}

void AwaitEvents() {
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
}

[[noreturn]] void Leave() {
    std::exit(0);  // NOLINT(concurrency-mt-unsafe): once a process
}

// A play whose engine call is in `call` when main goes on.
void StartPlay(std::function<void(const EngineCall&)> call) {
    ExitWorld& world = TheWorld();
    world.host.play = [&world, call](const EngineCall& play) {
        world.entered.Open();
        call(play);
    };
    StartUp();
    Proxy()->PlayStream("s", 0);
    world.entered.Pass();
}

// An event whose callback is in `inside` when main goes on.
void StartEvent(std::function<void()> inside) {
    ExitWorld& world = TheWorld();
    world.app->inside = [&world, inside] {
        world.entered.Open();
        inside();
    };
    StartUp();
    Proxy()->OnCountsUpdate(1, 1);
    world.entered.Pass();
}

int EngineCallBlocks() {
    StartPlay([](const EngineCall&) { TheWorld().never.Pass(); });
    return 0;
}

int EngineCallGoesOn() {
    StartPlay([](const EngineCall& call) {
        TheWorld().go.Pass();
        call.callback->OnPlayStateUpdate(Mediq::AVStateBegin, call.text.c_str());
    });
    Proxy()->EnableMic(true);
    TheWorld().late = [] {
        Require(TheWorld().app->events == 0, "the call was held up until now");
        TheWorld().go.Open();
        AwaitCommands();
        AwaitEvents();
        Require(TheWorld().app->events == 1, "the play was answered");
        Say("went on");
    };
    return 0;
}

int CallbackBlocks() {
    StartEvent([] { TheWorld().never.Pass(); });
    return 0;
}

int CallbackGoesOn() {
    StartEvent([] {
        TheWorld().go.Pass();
        Require(Plain(Proxy()->GetLiveChannel()) == "room", "a getter in a late callback");
        TheWorld().app->inside = {};
        Proxy()->PlayStream("s", 0);
    });
    TheWorld().late = [] {
        TheWorld().go.Open();
        AwaitEvents();
        AwaitCommands();
        AwaitEvents();
        Require(TheWorld().app->events == 2, "the play was answered");
        Say("went on");
    };
    return 0;
}

// Says that a waiting command was destroyed.
struct Tripwire {
    ~Tripwire() { Say("destroyed"); }
};

int ThousandWait() {
    StartPlay([](const EngineCall&) {});
    for (int i = 0; i < 998; i += 2) {
        Proxy()->PlayStream(("s" + std::to_string(i)).c_str(), 0);
        Proxy()->SetVideoFPS(i);
    }
    const auto wire = std::make_shared<Tripwire>();
    for (int i = 0; i < 2; ++i) {
        Proxy()->AddCmd(900, ::SyncCmd, [wire] { return 0; });
    }
    Say("waiting");
    return 0;
}

// What engine threads have done, for whoever waits for them.
struct Progress {
    std::mutex mutex;
    std::condition_variable changed;
    std::array<long, 4> events{};
};
Progress& TheProgress() {
    static auto& s_progress = *new Progress();
    return s_progress;
}

void FireForEver(std::size_t thread) {
    for (;;) {
        Proxy()->OnCountsUpdate(1, 1);
        Proxy()->OnPlayStateUpdate(Mediq::AVStateBegin, "s");
        Proxy()->OnGetStreamList(0);
        int image = 0;
        Proxy()->OnPreviewSnapshot(&image);
        AwaitEvents();
        const std::lock_guard<std::mutex> lock(TheProgress().mutex);
        ++TheProgress().events[thread];
        TheProgress().changed.notify_all();
    }
}

void AwaitProgress() {
    Progress& progress = TheProgress();
    std::unique_lock<std::mutex> lock(progress.mutex);
    const std::array<long, 4> before = progress.events;
    progress.changed.wait(lock, [&] {
        bool all = true;
        for (std::size_t i = 0; i < before.size(); ++i) {
            all = all && progress.events[i] >= before[i] + 50;
        }
        return all;
    });
}

int EventsGoOn() {
    StartUp();
    for (std::size_t thread = 0; thread < TheProgress().events.size(); ++thread) {
        std::thread(FireForEver, thread).detach();
    }
    AwaitProgress();
    TheWorld().late = [] {
        AwaitProgress();
        Say("events");
    };
    return 0;
}

int EventsGoOnIntoALog(const std::string& path) {
    Require(vaxolog_open(path.c_str()) == 0, "the log");
    return EventsGoOn();
}

int ExitInACallback() {
    TheWorld().late = [] {
        // On worker 2.
        Require(Plain(Proxy()->GetLiveChannel()) == "room", "a getter");
        Proxy()->PlayStream("s", 0);
        AwaitCommands();
        AwaitEvents();
        Say("left");
    };
    StartEvent([] { Leave(); });
    TheWorld().never.Pass();
    return 1;
}

int ExitInAnEngineCall() {
    TheWorld().late = [] {
        // On worker 0, in the middle of a pass.
        Require(Plain(Proxy()->GetLiveChannel()) == "room", "a getter");
        Require(Proxy()->PlayStream("t", 0) == 0, "a play");
        Proxy()->OnPlayStateUpdate(Mediq::AVStateBegin, "s");
        AwaitEvents();
        Require(TheWorld().app->events == 1, "the play was answered");
        Require(Proxy()->Uninit() == 0, "Uninit");
        Say("left");
    };
    StartPlay([](const EngineCall&) { Leave(); });
    TheWorld().never.Pass();
    return 1;
}

int ExitInASnapshot() {
    TheWorld().late = [] {
        // On the engine's thread.
        UseItAll("left");
    };
    TheWorld().app->inside = [] { Leave(); };
    StartUp();
    int image = 0;
    std::thread([&image] { Proxy()->OnPreviewSnapshot(&image); }).detach();
    TheWorld().never.Pass();
    return 1;
}

// An object whose destructor uses everything. Made in main, before or after the proxy.
struct User {
    explicit User(const char* name) : word(name) {}
    ~User() { UseItAll(word); }
    const char* word;
};

int UseAfterMain() {
    std::atexit([] { UseItAll("handler before"); });
    static const User s_before("object before");
    UseItAll("main");
    static const User s_after("object after");
    std::atexit([] { UseItAll("handler after"); });
    TheWorld().late = [] { UseItAll("late"); };
    return 0;
}

int FirstUseAfterMain() {
    std::atexit([] { UseItAll("handler"); });
    TheWorld().late = [] { UseItAll("late"); };
    return 0;
}

}  // namespace

int RunExitScenario(const std::string& name, const std::string& path) {
    const std::map<std::string, Scenario> scenarios = {
        {"EngineCallBlocks", EngineCallBlocks},
        {"EngineCallGoesOn", EngineCallGoesOn},
        {"CallbackBlocks", CallbackBlocks},
        {"CallbackGoesOn", CallbackGoesOn},
        {"ThousandWait", ThousandWait},
        {"EventsGoOn", EventsGoOn},
        {"EventsGoOnIntoALog", [&path] { return EventsGoOnIntoALog(path); }},
        {"ExitInACallback", ExitInACallback},
        {"ExitInAnEngineCall", ExitInAnEngineCall},
        {"ExitInASnapshot", ExitInASnapshot},
        {"UseAfterMain", UseAfterMain},
        {"FirstUseAfterMain", FirstUseAfterMain},
    };
    ::alarm(120);  // a process that hangs does not outlive the test for long
    const auto it = scenarios.find(name);
    Require(it != scenarios.end(), "a scenario of this name");
    return it->second();
}

}  // namespace livetest
