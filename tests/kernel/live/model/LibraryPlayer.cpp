#include "kernel/live/model/LibraryPlayer.h"

#include <cstdlib>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "kernel/live/ScriptedEngine.h"
#include "kernel/live/model/LibraryCalls.h"
#include "vaxolog.h"

using livetest::Note;
using livetest::Text;
using livetest::TheScript;

namespace livemodel {

namespace {

// No program makes as many commands or calls.
const int s_enough = 10000;

int s_rawAlive = 0;

// Captured by a command of one's own: a command must not be destroyed under a mutex.
struct RawLife {
    RawLife() { ++s_rawAlive; }
    ~RawLife() {
        --s_rawAlive;
        if (threadless::MutexesHeld() != 0) {
            threadless::Fail("a command is destroyed under a mutex");
        }
    }
    RawLife(const RawLife&) = delete;
    RawLife& operator=(const RawLife&) = delete;
};

void Result(const std::string& result) {
    Note("result " + result);
}

void ResetSettings() {
    CVaxoAppSetting& setting = *CVaxoAppSetting::SharedInstance();
    setting.SetAppID(0);
    setting.SetAppSign({});
    setting.SetUserID({});
    VAXO::g_strLogFileName__.clear();
    livetest::ResetScript();
}

void FailUnless(bool condition, const char* message) {
    if (!condition) {
        threadless::Fail(message);
    }
}

}  // namespace

LibraryPlayer::LibraryPlayer() {
    ResetSettings();
    threadless::OnPush([](int worker) { Note("post " + std::to_string(worker)); });
    livetest::Take();
}

LibraryPlayer::~LibraryPlayer() {
    vaxolog_set_level(-1);
    ResetSettings();  // an engine that fails may be kept by a library that is wrong
    Rest();
    threadless::OnPush({});
    livetest::Take();
    threadless::TakeFailures();
}

void LibraryPlayer::Rest() {
    const threadless::As application('A');
    ForgetKept();
    TheScript().inside.clear();
    int rounds = 0;
    for (RunAll(); const auto cmd = m_queue->GetExecutingCmd(); RunAll()) {
        if (++rounds > s_enough) {
            threadless::Fail("a command executes for ever");
            break;
        }
        m_queue->SetCmdExecuteCmdDone(cmd->GetCmdType());
    }
    for (const char* name : {"A", "B"}) {
        m_apps[name].reset();
    }
    SetCallback("none");
    m_proxy->Uninit();
    RunAll();
    FailUnless(livetest::EnginesAlive() == 0, "at rest there is an engine");
    FailUnless(s_rawAlive == 0, "at rest a command lives");
    FailUnless(
        livetest::TheObjects().view.expired() && livetest::TheObjects().previewView.expired(),
        "at rest a view lives");
    FailUnless(threadless::EventsAlive() == 0, "at rest an event lives");
}

std::vector<Line> LibraryPlayer::TakeLines() {
    FailUnless(threadless::MutexesHeld() == 0, "a mutex stays locked");
    FailUnless(threadless::RwLocksHeld() == 0, "a reader-writer lock stays locked");
    std::vector<Line> lines;
    for (livetest::Line& line : livetest::TakeLines()) {
        lines.push_back({static_cast<char>(line.thread), std::move(line.text)});
    }
    for (std::string& failure : threadless::TakeFailures()) {
        lines.push_back({'!', std::move(failure)});
    }
    return lines;
}

void LibraryPlayer::ActAs(char thread, const Step& step) {
    const threadless::As as(thread);
    Act(step);
}

void LibraryPlayer::CallOut(const std::string& place) {
    FailUnless(threadless::MutexesHeld() == 0, "somebody is called under a mutex");
    Reach(place);
}

// The engine's script knows the place only while somebody waits for it.
void LibraryPlayer::Kept(const std::string& place) {
    TheScript().inside[place] = [this, place] {
        TheScript().inside.erase(place);
        CallOut(place);
    };
}

void LibraryPlayer::RunAll() {
    int calls = 0;
    while (threadless::RunOne(0) || threadless::RunOne(2)) {
        if (++calls > s_enough) {
            threadless::Fail("the workers never run out of calls");
            break;
        }
    }
}

// ---- Steps -----------------------------------------------------------------------

void LibraryPlayer::Act(const Step& step) {
    if (Skips(step)) {
        return;
    }
    const Args& args = step.args;
    switch (OperationOf(step.op).kind) {
        case Kind::Call:
        case Kind::Control:
            Result(std::to_string(CallOf(step.op)(*m_proxy, args)));
            break;
        case Kind::Getter:
            Result(Ask(*m_proxy, step.op, args));
            break;
        case Kind::Event:
        case Kind::Numbered: {
            // As the engine that was given its callback raises it.
            const auto callback = livetest::EngineCallback();
            EventOf(step.op)(callback ? *callback : *m_proxy, args);
            break;
        }
        case Kind::Callback:
            if (step.op == "SetCallback") {
                SetCallback(args[0]);
            } else {
                const std::shared_ptr<App> last = std::exchange(m_apps[args[0]], nullptr);
            }
            break;
        case Kind::Script:
            ActScript(step.op, args);
            break;
        case Kind::Queue:
            ActQueue(step.op, args);
            break;
        case Kind::Run:
            if (args[0] == "all") {
                RunAll();
            } else {
                Result(threadless::RunOne(args[0][0] - '0') ? "ran" : "idle");
            }
    }
}

void LibraryPlayer::ActScript(const std::string& op, const Args& args) {
    CVaxoAppSetting& setting = *CVaxoAppSetting::SharedInstance();
    if (op == "status") {
        TheScript().status[args[0]] = std::atoi(args[1].c_str());
    } else if (op == "text") {
        TheScript().text[args[0]] = args[1];
    } else if (op == "streams") {
        TheScript().streams.clear();
        for (const std::string& streamID : args) {
            TheScript().streams.push_back(StreamNamed(streamID));
        }
    } else if (op == "devices") {
        TheScript().devices.clear();
        for (std::size_t i = 0; i + 1 < args.size(); i += 2) {
            TheScript().devices.emplace_back(args[i], args[i + 1]);
        }
    } else if (args[0] == "app") {
        setting.SetAppID(static_cast<unsigned>(std::atoi(args[1].c_str())));
    } else if (args[0] == "sign") {
        setting.SetAppSign(Bytes(args[1]));
    } else if (args[0] == "user") {
        setting.SetUserID(Str(args[1]));
    } else {
        VAXO::g_strLogFileName__ = Str(args[1]);
    }
}

void LibraryPlayer::ActQueue(const std::string& op, const Args& args) {
    if (op == "AddCmd") {
        ActAddCmd(args);
    } else if (op == "AddNull") {
        Result(std::to_string(m_proxy->AddCmd(nullptr)));
    } else if (op == "SetCmdExecuteCmdDone") {
        m_queue->SetCmdExecuteCmdDone(static_cast<VaxoAVMgrCmdType>(std::atoi(args[0].c_str())));
    } else if (op == "answer") {
        AnswerExecuting(args[0]);
    } else if (op == "executing") {
        const auto cmd = m_queue->GetExecutingCmd();
        Result(cmd ? std::string(cmd->GetDescription()) + "(" + std::to_string(cmd->ddwExtraData) +
                         "/" + Text(cmd->strExtraData).c_str() + ")"
                   : "nothing");
    } else {
        Result(m_queue->ShouldCallbackCmd(PlayStream) ? "may" : "may not");
    }
}

void LibraryPlayer::ActAddCmd(const Args& args) {
    const auto type = static_cast<VaxoAVMgrCmdType>(std::atoi(args[0].c_str()));
    const auto join = static_cast<VaxoAVMgrCmdJoinResult>(std::atoi(args[3].c_str()));
    const auto life = std::make_shared<RawLife>();
    const auto run = [args, life] {
        Note("raw: " + args[2]);
        livetest::Play("raw");
        return std::atoi(args[4].c_str());
    };
    const auto cmd =
        join < 0 ? std::make_shared<VaxoAVMgrCmd>(type, run)
                 : std::make_shared<VaxoAVMgrCmd>(
                       type, run, [join](const std::shared_ptr<VaxoAVMgrCmd>&) { return join; });
    cmd->ddwExtraData = std::strtoull(args[1].c_str(), nullptr, 10);
    cmd->strExtraData = Str(args[2]);
    Result(std::to_string(m_proxy->AddCmd(cmd)));
}

void LibraryPlayer::AnswerExecuting(const std::string& state) {
    const auto cmd = m_queue->GetExecutingCmd();
    if (!cmd) {
        return;
    }
    const auto eState = static_cast<Mediq::VaxoAVState>(std::atoi(state.c_str()));
    switch (cmd->GetCmdType()) {
        case GetInRoom:
            m_proxy->OnGetStreamList(0);
            break;
        case LeaveRoom:
            m_proxy->OnLogout(0);
            break;
        case PlayStream:
        case StopStream:
            m_proxy->OnPlayStateUpdate(eState, cmd->strExtraData);
            break;
        case StartPublish:
        case StopPublish:
            m_proxy->OnPublishStateUpdate(eState, cmd->strExtraData);
            break;
        default:
            m_queue->SetCmdExecuteCmdDone(cmd->GetCmdType());
    }
}

// ---- The application's objects -----------------------------------------------------

std::shared_ptr<LibraryPlayer::App> LibraryPlayer::MakeApp(const std::string& name) {
    const auto app = std::make_shared<App>();
    app->hook = [this, name](const std::string& event) {
        Note("app: by " + name);
        CallOut(event.substr(0, event.find('(')));
    };
    app->gone = [this, name] {
        Note("app: gone " + name);
        CallOut("gone");
    };
    return app;
}

void LibraryPlayer::SetCallback(const std::string& name) {
    if (name == "gone") {
        m_proxy->SetCallback(std::make_shared<App>());  // weak, and over when it returns
    } else if (name == "none") {
        m_proxy->SetCallback({});
    } else {
        std::shared_ptr<App>& held = m_apps[name];
        if (!held) {
            held = MakeApp(name + std::to_string(++m_made[name]));
        }
        m_proxy->SetCallback(held);
    }
    Result("0");
}

}  // namespace livemodel
