#include "kernel/live/ExitWorld.h"

#include <unistd.h>

#include <cstdlib>
#include <cstring>

#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"

namespace livetest {

namespace {

// Made before main, and so destroyed after everything that is made in it.
struct LateObject {
    ~LateObject() {
        ExitWorld& world = TheWorld();
        if (world.late) {
            world.late();
        }
        Require(ConnectionsDestroyed() == 0, "the proxy is gone");
        Require(EngineMisuses() == 0, "the engine was called on a wrong thread");
    }
};
const LateObject s_lateObject;

void Write(int file, const std::string& text) {
    if (::write(file, text.data(), text.size()) < 0) {
        std::_Exit(3);
    }
}

void Answer(const EngineCall& call) {
    const std::string operation = call.operation;
    if (operation == "GetStreamList") {
        call.callback->OnGetStreamList(0);
    } else if (operation == "Logout") {
        call.callback->OnLogout(0);
    } else if (operation == "StartPublishing") {
        call.callback->OnPublishStateUpdate(Mediq::AVStateBegin, call.text.c_str());
    } else if (operation == "StopPublishing") {
        call.callback->OnPublishStateUpdate(Mediq::AVStateEnd, call.text.c_str());
    } else if (operation == "PlayStream") {
        call.callback->OnPlayStateUpdate(Mediq::AVStateBegin, call.text.c_str());
    } else if (operation == "StopPlayStream") {
        call.callback->OnPlayStateUpdate(Mediq::AVStateEnd, call.text.c_str());
    }
}

}  // namespace

void Gate::Open() {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_open = true;
    m_opened.notify_all();
}

void Gate::Pass() {
    std::unique_lock<std::mutex> lock(m_mutex);
    m_opened.wait(lock, [this] { return m_open; });
}

int ExitHost::OnCall(const EngineCall& call) {
    if (play && std::strcmp(call.operation, "PlayStream") == 0) {
        play(call);
    } else {
        Answer(call);
    }
    return 0;
}

ExitWorld& TheWorld() {
    static auto& s_world = *new ExitWorld();
    return s_world;
}

void Say(const char* word) {
    Write(STDOUT_FILENO, std::string(word) + "\n");
}

void Require(bool right, const char* what) {
    if (!right) {
        Write(STDERR_FILENO, std::string("not so: ") + what + "\n");
        std::_Exit(1);
    }
}

void StartUp() {
    SetEngineHost(&TheWorld().host);
    const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    proxy->SetCallback(TheWorld().app);
    proxy->Init(7, Key());
    AwaitCommands();
}

void AwaitCommands() {
    const auto done = std::make_shared<Gate>();
    Strova::CVaxoLiveProxy::GetInstance()->AddCmd(999, ::SyncCmd, [done] {
        done->Open();
        return 0;
    });
    done->Pass();
}

void UseItAll(const char* word) {
    SetEngineHost(&TheWorld().host);
    const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    const auto app = std::make_shared<ExitApp>();
    Require(proxy->SetCallback(app) == 0, "SetCallback");
    Require(proxy->Init(7, Key()) == 0, "Init");
    Require(proxy->GetStreamList("user", "name", "room", 0) == 0, "GetStreamList");
    AwaitCommands();
    Require(proxy->StartPublishing("title", "p", "room") == 0, "StartPublishing");
    Require(proxy->PlayStream("s", 1) == 0, "PlayStream");
    AwaitCommands();
    Require(Plain(proxy->GetLiveChannel()) == "room", "a getter");
    // Two stops of what the engine lists, one of the publish, the logout itself.
    Require(proxy->Logout() == 0, "Logout");
    AwaitCommands();
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
    // The events of the stops do not pass while the Logout waits behind them.
    const int events = app->events;
    Require(events >= 4 && events <= 7, "the number of events");
    Require(proxy->Uninit() == 0, "Uninit");
    AwaitCommands();
    Require(Plain(proxy->GetLiveChannel()).empty(), "a getter without an engine");
    Require(EnginesAlive() == 0, "the engine is gone");
    Say(word);
}

}  // namespace livetest
