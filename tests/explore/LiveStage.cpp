#include "explore/LiveStage.h"

#include <cstring>
#include <utility>

#include "explore/PlatformLog.h"
#include "explore/PlatformTasks.h"
#include "explore/Program.h"
#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"

namespace explore {

namespace {

using Strova::CVaxoLiveProxy;
using Strova::IVaxoLiveCallback;
using Strova::VaxoLiveStream;

// The application's callback. Its own memory says whether it is still there.
class App final : public IVaxoLiveCallback {
public:
    ~App() { m_alive = false; }

    void OnPublishStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int,
                           unsigned long long) override {}
    void OnVideoSizeChanged(unsigned long long, int, int) override {}
    void OnPreviewSnapshot(void*) override {}
    void OnRenderSnapshot(void*, int) override {}
    void OnGetStreamList(unsigned int) override { Hear(); }
    void OnStreamUpdate(const VaxoLiveStream&, VaxoAVStreamUpdateFlag) override { Hear(); }
    void OnCountsUpdate(unsigned int, unsigned int) override { Hear(); }
    void OnPublishStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override { Hear(); }
    void OnPlayStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override { Hear(); }
    void OnVideoSizeChanged(const vaxo::strutf8&, int, int) override { Hear(); }
    void OnLogout(unsigned int) override { Hear(); }
    void OnDisconnected(unsigned int, const vaxo::strutf8&) override { Hear(); }
    void OnReconnected(const vaxo::strutf8&) override { Hear(); }

private:
    void Hear() { LiveStage::The().Heard("an event", &m_alive); }

    bool m_alive = true;
};

}  // namespace

LiveStage& LiveStage::The() {
    static auto& s_stage = *new LiveStage();
    return s_stage;
}

void LiveStage::Begin(bool withEngine) {
    m_watch = QueueWatch();
    m_answers.clear();
    m_inside.clear();
    m_owed.clear();
    m_unanswered.clear();
    m_listsStream = false;
    m_closed = false;
    m_inEngine.clear();
    m_heard = 0;
    m_hearing = false;
    OnLine([this](const std::string& tag, const std::string& text) { m_watch.OnLine(tag, text); });
    m_app = std::make_shared<App>();
    if (withEngine) {
        Settle([this] {
            const auto proxy = CVaxoLiveProxy::GetInstance();
            proxy->SetCallback(m_app);
            proxy->Init(1, vaxo::stream());
            // Its worker is there from the first run on, also when that one needs none.
            CVaxoQueueRunner::GetSharedInstance()->AsyncRun([] {}, 2);
            Spawn(
                "engine", [this] { Serve(); }, Kept::AsWorker);
        });
    }
}

void LiveStage::End() {
    Settle([this] {
        m_closed = true;
        CVaxoLiveProxy::GetInstance()->Uninit();
    });
    m_watch.MustBeAtRest();
    if (!m_callback.expired() && CVaxoLiveProxy::GetInstance()->GetLive()) {
        Fail("an engine is left");
    }
    const std::weak_ptr<IVaxoLiveCallback> app = m_app;
    m_app.reset();
    if (!app.expired()) {
        Fail("somebody still holds the application's callback");
    }
}

void LiveStage::Owe(Event event) {
    Reach(Kind::Program, &m_owed);
    const Unseen unseen;
    m_owed.push_back({std::move(event), false});
}

void LiveStage::Serve() {
    for (;;) {
        Reach(
            Kind::Program, &m_owed, [this] { return m_closed || !m_owed.empty(); }, Kept::AsWorker);
        Owed owed;
        {
            const Unseen unseen;
            if (m_owed.empty()) {
                return;
            }
            owed = m_owed.front();
            m_owed.pop_front();
        }
        Give(owed);
    }
}

// An answer is not passed on when a Logout waited from before it until after it.
void LiveStage::Give(const Owed& owed) {
    std::shared_ptr<IVaxoLiveCallback> callback;
    std::uint64_t leave = 0;
    std::uint64_t pushes = 0;
    {
        const Unseen unseen;
        callback = m_callback.lock();
        leave = m_watch.LeaveWaits();
        pushes = PushesBySelf("QR.2");
    }
    if (!callback) {
        return;
    }
    owed.event(*callback);
    const Unseen unseen;
    if (owed.isAnswer && leave != 0 && leave == m_watch.LeaveWaits() &&
        pushes != PushesBySelf("QR.2")) {
        Fail("an event is passed to the application while a Logout waits");
    }
}

void LiveStage::OweTheRest() {
    Reach(Kind::Program, &m_owed);
    const Unseen unseen;
    m_owed.insert(m_owed.end(), m_unanswered.begin(), m_unanswered.end());
    m_unanswered.clear();
}

void LiveStage::AnswerTheRest() {
    Settle([this] { OweTheRest(); });
}

int LiveStage::EnterEngine(const std::string& operation, Event answer) {
    Answer how = Answer::Later;
    Event inside;
    {
        const Unseen unseen;
        if (std::strcmp(SelfName(), "QR.0") != 0) {
            Fail("the engine's " + operation + " is called on " + SelfName());
        }
        if (!m_inEngine.empty()) {
            Fail("the engine's " + operation + " is called inside " + m_inEngine);
        }
        m_inEngine = operation;
        const auto found = m_answers.find(operation);
        how = found == m_answers.end() ? Answer::Later : found->second;
        inside = m_inside[operation];
    }
    Reach(Kind::Program, &m_owed);
    if (inside) {
        Give({inside, true});
    }
    const Owed owed = {std::move(answer), true};
    if (how == Answer::Inside && owed.event) {
        Give(owed);
    }
    const Unseen unseen;
    m_inEngine.clear();
    if (owed.event && how == Answer::Later) {
        m_owed.push_back(owed);
    } else if (owed.event && how == Answer::Never) {
        m_unanswered.push_back(owed);
    }
    return how == Answer::Fails ? 7 : 0;
}

void LiveStage::SetEngineCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    Reach(Kind::Program, &m_owed);
    const Unseen unseen;
    m_callback = std::move(callback);
}

void LiveStage::ReplaceApp() {
    const std::shared_ptr<IVaxoLiveCallback> next = std::make_shared<App>();
    CVaxoLiveProxy::GetInstance()->SetCallback(next);
    std::shared_ptr<IVaxoLiveCallback> former;
    {
        const Unseen unseen;
        former = std::exchange(m_app, next);
    }
    Reach(Kind::Program, this);
}

void LiveStage::DropApp() {
    Reach(Kind::Program, this);
    m_app.reset();
}

void LiveStage::Heard(const char* event, const bool* alive) {
    {
        const Unseen unseen;
        if (!*alive) {
            Fail(std::string("the application hears of ") + event + " after it let go");
        }
        if (std::strcmp(SelfName(), "QR.2") != 0) {
            Fail(std::string("the application hears of ") + event + " on " + SelfName());
        }
        if (m_hearing) {
            Fail(std::string("the application hears of ") + event + " while it hears another");
        }
        m_hearing = true;
    }
    Reach(Kind::Program, this);
    const Unseen unseen;
    m_hearing = false;
    ++m_heard;
}

}  // namespace explore
