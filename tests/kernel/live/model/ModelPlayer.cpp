#include "kernel/live/model/ModelPlayer.h"

#include <cstddef>
#include <cstdlib>
#include <utility>

namespace livemodel {

namespace {

std::string Joined(const Args& args, const char* between) {
    std::string all;
    for (std::size_t i = 0; i < args.size(); ++i) {
        all += (i == 0 ? "" : between) + args[i];
    }
    return all;
}

int Number(const std::string& text) {
    return std::atoi(text.c_str());
}

}  // namespace

struct App {
    App(ModelPlayer& player, std::string appName) : world(player), name(std::move(appName)) {}
    ~App() {
        if (!world.m_closing) {
            world.Say("app: gone " + name);
            world.Reach("gone");
        }
    }
    ModelPlayer& world;
    const std::string name;
};

// ---- What stands around the proxy ------------------------------------------------

// The engine of the tests says the call, takes the steps kept for it, and answers.
int ModelPlayer::Engine(const std::string& op, const Args& args) {
    Say("engine: " + op + "(" + Joined(args, ", ") + ")");
    return Answer(op);
}

int ModelPlayer::Answer(const std::string& op, int otherwise) {
    Reach(op);
    const auto it = m_status.find(op);
    return it == m_status.end() ? otherwise : it->second;
}

std::string ModelPlayer::EngineText(const std::string& op) {
    Engine(op, {});
    return m_texts[op];
}

int ModelPlayer::EngineStreams(Args& streams) {
    streams.insert(streams.end(), m_streams.begin(), m_streams.end());
    return Engine("GetStreams", {});
}

int ModelPlayer::Http(const std::string& op, const Args& args) {
    Say("http: " + op + "(" + Joined(args, ", ") + ")");
    return Answer("http " + op, op == "UploadLogFile" ? 1 : 0);
}

// The application says the event, by which object, and takes the steps kept for it.
void ModelPlayer::Tell(App& app, const std::string& event, const Args& args) {
    std::string printed = Joined(args, ", ");
    if (event == "OnStreamUpdate") {
        printed = Joined(Args(args.begin(), args.end() - 1), "/") + ", " + args.back();
    }
    Say("app: " + event + "(" + printed + ")");
    Say("app: by " + app.name);
    Reach(event);
}

void ModelPlayer::Met(int rule, int laterType, bool sameText) {
    if (m_meetings != nullptr && laterType >= GetInRoom && laterType <= SyncCmd) {
        m_meetings->insert(std::to_string(rule) + " meets " + std::to_string(laterType) +
                           (sameText ? " same" : " different"));
    }
}

// ---- Steps -----------------------------------------------------------------------

void ModelPlayer::ActAs(char otherThread, const Step& step) {
    const char before = std::exchange(thread, otherThread);
    Act(step);
    thread = before;
}

void ModelPlayer::Act(const Step& step) {
    if (Skips(step)) {
        return;
    }
    const Args& args = step.args;
    switch (OperationOf(step.op).kind) {
        case Kind::Call:
        case Kind::Control:
            Result(std::to_string(m_model.Call(step.op, args)));
            break;
        case Kind::Getter:
            ActGetter(step.op, args);
            break;
        case Kind::Event:
        case Kind::Numbered:
            m_model.Event(step.op, args);
            break;
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
                Result(m_model.RunOne(args[0][0]) ? "ran" : "idle");
            }
    }
}

void ModelPlayer::ActGetter(const std::string& op, const Args& args) {
    int status = -1;
    if (op == "GetStreams") {
        Args streams = {"old"};
        m_model.AskEngine([&] { status = EngineStreams(streams); });
        Result(std::to_string(status) + " " + Joined(streams, " "));
    } else if (op == "GetVideoCaptureDevice" || op == "GetAudioDeviceList") {
        std::map<std::string, std::string> list = {{"old", "one"}};
        m_model.AskEngine([&] {
            for (std::size_t i = 0; i + 1 < m_devices.size(); i += 2) {
                list[m_devices[i]] = m_devices[i + 1];
            }
            status = Engine(op, args);
        });
        std::string all = std::to_string(status);
        for (const auto& device : list) {
            all += " " + device.first + "=" + device.second;
        }
        Result(all);
    } else {
        std::string text;
        m_model.AskEngine([&] { text = EngineText(op); });
        Result(text);
    }
}

void ModelPlayer::ActScript(const std::string& op, const Args& args) {
    if (op == "status") {
        m_status[args[0]] = Number(args[1]);
    } else if (op == "text") {
        m_texts[args[0]] = args[1];
    } else if (op == "streams") {
        m_streams = args;
    } else if (op == "devices") {
        m_devices = args;
    } else if (args[0] == "app") {
        appID = static_cast<unsigned>(Number(args[1]));
    } else {
        (args[0] == "sign" ? sign : args[0] == "user" ? user : logFile) = args[1];
    }
}

void ModelPlayer::ActQueue(const std::string& op, const Args& args) {
    if (op == "AddCmd") {
        const auto cmd = std::make_shared<Cmd>();
        cmd->type = Number(args[0]);
        cmd->number = std::strtoull(args[1].c_str(), nullptr, 10);
        cmd->text = args[2];
        cmd->fixedAnswer = Number(args[3]);
        cmd->run = [this, args] {
            Say("raw: " + args[2]);
            Reach("raw");
            return Number(args[4]);
        };
        Result(std::to_string(m_model.AddCmd(cmd)));
    } else if (op == "AddNull") {
        Result(std::to_string(m_model.AddCmd(nullptr)));
    } else if (op == "SetCmdExecuteCmdDone") {
        m_model.Done(Number(args[0]));
    } else if (op == "answer") {
        AnswerExecuting(args[0]);
    } else if (op == "executing") {
        Result(m_model.executing ? LiveModel::Name(*m_model.executing) : "nothing");
    } else {
        Result(m_model.MayCallBack() ? "may" : "may not");
    }
}

void ModelPlayer::AnswerExecuting(const std::string& state) {
    const CmdPtr cmd = m_model.executing;
    const int type = cmd ? cmd->type : 0;
    if (type == GetInRoom) {
        m_model.Event("OnGetStreamList", {"0"});
    } else if (type == LeaveRoom) {
        m_model.Event("OnLogout", {"0"});
    } else if (type == PlayStream || type == StopStream) {
        m_model.Event("OnPlayStateUpdate", {state, cmd->text});
    } else if (type == StartPublish || type == StopPublish) {
        m_model.Event("OnPublishStateUpdate", {state, cmd->text});
    } else if (cmd) {
        m_model.Done(type);
    }
}

// An application makes an object when it needs one it has not.
void ModelPlayer::SetCallback(const std::string& name) {
    std::weak_ptr<App> app;
    if (name == "A" || name == "B") {
        std::shared_ptr<App>& held = m_apps[name];
        if (!held) {
            held = std::make_shared<App>(*this, name + std::to_string(++m_made[name]));
        }
        app = held;
    }
    m_model.SetCallback(app);
    Result("0");
}

void ModelPlayer::RunAll() {
    while (m_model.RunOne('0') || m_model.RunOne('2')) {
    }
}

void ModelPlayer::Rest() {
    ForgetKept();
    for (RunAll(); m_model.executing; RunAll()) {
        m_model.Done(m_model.executing->type);
    }
    for (const char* name : {"A", "B"}) {
        const std::shared_ptr<App> last = std::exchange(m_apps[name], nullptr);
    }
    SetCallback("none");
    m_model.Call("Uninit", {});
    RunAll();
}

}  // namespace livemodel
