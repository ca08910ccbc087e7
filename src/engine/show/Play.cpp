#include "engine/show/Play.h"

#include <chrono>
#include <utility>

#include "engine/show/Limits.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Play";

using std::chrono::milliseconds;

// The server begins a viewer's stream with the next key frame after it has taken the viewer
// in: a key frame that comes before is of no use. From the connection on that is three and a
// half ways there and back, and a reply that the server holds for the 40 ms that an
// acknowledgement may take. The request takes one and a half through the channel, the
// publisher and the media server, and some 20 ms for the next picture. The difference, and
// some more:
constexpr milliseconds TakenIn(milliseconds way) {
    return 2 * way + milliseconds(50);
}
// And again, should that have been too early, or the connection not be told of. After the
// last of these a regular key frame is due.
constexpr milliseconds kKeyFrameAgain{420};
constexpr int kKeyFrameAsked = 3;

}  // namespace

Play::Play(std::string streamID, const PlayHost& host, std::function<void()> over)
    : m_streamID(std::move(streamID)),
      m_host(host),
      m_over(std::move(over)),
      m_retry(kPlayBackoff) {}

Play::~Play() = default;

void Play::Begin(const PlayLook& look) {
    m_look = look;
    m_limit.Once(kAnswerLimit, [this] { End(Mediq::FatalError); });
    Connect();
}

void Play::BeginAgain() {
    if (m_state == State::Live) {
        m_host.answer(Mediq::AVStateBegin, m_streamID);
    } else if (m_state != State::Starting) {
        // Waits for the connection like a first request, and is answered like one.
        m_state = State::Starting;
        m_retry.Reset();
        m_limit.Once(kAnswerLimit, [this] { End(Mediq::FatalError); });
        Connect();
    }
}

// While it plays the media server says when it ends: the channel may be behind.
void Play::OnGone() {
    if (m_state == State::Lost) {
        End(Mediq::AVStateEnd);
    } else if (m_state == State::Broken) {
        AwaitReturn();
    }
}

void Play::AwaitReturn() {
    if (!m_gone.Running()) {
        m_gone.Once(kGoneForGood, [this] {
            if (!m_host.listed(m_streamID)) {
                End(Mediq::AVStateEnd);
            }
        });
    }
}

void Play::Connect() {
    m_address = m_host.signedAddress(m_streamID);
    if (m_address.empty()) {
        syslog(esyslog_error, kTag, __LINE__, "no media server is set");
        End(Mediq::FetchStreamError);
        return;
    }
    PlayerCallbacks callbacks;
    callbacks.connected = [this](milliseconds took) { OnConnected(took); };
    callbacks.playing = [this] { OnPlaying(); };
    callbacks.size = [this](int width, int height) { m_host.size(m_streamID, width, height); };
    callbacks.behind = [this] { OnBehind(); };
    callbacks.ended = [this] { OnNone(Mediq::NoStreamError, "end of stream"); };
    callbacks.notFound = [this](const std::string& why) { OnNone(Mediq::NoStreamError, why); };
    callbacks.refused = [this](const std::string& why) { OnRefused(why); };
    callbacks.failed = [this](const std::string& why) { OnNone(Mediq::FatalError, why); };
    m_player = std::make_unique<Player>(m_address, m_look.audioOutput, std::move(callbacks));
    m_player->EnableSound(m_look.sound);
    m_player->SetMode(m_view.mode);
    m_player->SetWindow(m_view.window);
    if (!m_player->Start()) {
        End(Mediq::FatalError);
        return;
    }
    AskForKeyFrame(kKeyFrameAgain, kKeyFrameAsked);
}

// Told again when another play connects to the same server: then it is only asked later.
void Play::OnConnected(milliseconds took) {
    if (m_asking.Running()) {
        AskForKeyFrame(TakenIn(took), kKeyFrameAsked);
    }
}

void Play::AskForKeyFrame(milliseconds wait, int times) {
    if (times > 0) {
        m_asking.Once(wait, [this, times] {
            m_host.begins(m_streamID);
            AskForKeyFrame(kKeyFrameAgain, times - 1);
        });
    }
}

void Play::OnPlaying() {
    const bool answers = m_state == State::Starting;
    m_state = State::Live;
    m_asking.Stop();
    m_gone.Stop();
    m_limit.Stop();
    m_retry.Reset();
    (answers ? m_host.answer : m_host.change)(Mediq::AVStateBegin, m_streamID);
}

// `state`: what it means when the play was just asked for.
void Play::OnNone(Mediq::VaxoAVState state, const std::string& reason) {
    syslog(esyslog_warning, kTag, __LINE__, "stream %s: %s", m_streamID.c_str(), reason.c_str());
    if (m_state == State::Starting) {
        End(state);
        return;
    }
    m_asking.Stop();
    m_player.reset();
    if (m_state == State::Live) {
        // The media server is quicker than the channel: whether the stream has ended shows soon.
        m_state = State::Lost;
        m_limit.Once(kChannelIsBehind, [this] { TryAgain(); });
    } else {
        TryAgain();
    }
}

void Play::OnRefused(const std::string& reason) {
    if (m_state != State::Starting) {
        OnNone(Mediq::FetchStreamError, reason);
        return;
    }
    m_refusal.Ask(m_host.whyAddress(m_address), Mediq::FetchStreamError,
                  [this, reason](Mediq::VaxoAVState state) { OnNone(state, reason); });
}

// A new connection begins at the live edge. Where the network is too slow for the stream that
// does not last, and one after the other would be worse than the delay.
void Play::OnBehind() {
    if (m_state != State::Live || m_atTheEdge.Running()) {
        return;
    }
    syslog(esyslog_warning, kTag, __LINE__, "stream %s: seconds late, connecting anew",
           m_streamID.c_str());
    m_atTheEdge.Once(kAtTheEdge, [] {});
    m_player.reset();
    m_state = State::Lost;
    TryAgain();
}

void Play::TryAgain() {
    m_limit.Stop();
    if (!m_host.listed(m_streamID)) {
        if (m_state == State::Lost) {
            End(Mediq::AVStateEnd);
            return;
        }
        AwaitReturn();
    }
    if (std::exchange(m_state, State::Broken) == State::Lost) {
        m_host.change(Mediq::TempBroken, m_streamID);
    }
    const bool again = m_retry.Again([this] {
        m_limit.Once(kAttemptLimit, [this] { OnNone(Mediq::FatalError, "no answer"); });
        Connect();
    });
    if (!again) {
        End(Mediq::FatalError);
    }
}

void Play::End(Mediq::VaxoAVState state) {
    const auto report = m_state == State::Starting ? m_host.answer : m_host.change;
    const std::string streamID = m_streamID;
    const std::function<void()> over = std::exchange(m_over, nullptr);
    m_asking.Stop();
    m_gone.Stop();
    m_refusal.Stop();
    m_limit.Stop();
    m_retry.Reset();
    m_player.reset();
    report(state, streamID);
    over();  // destroys this
}

void Play::SetView(const PlayView& view) {
    m_view = view;
    if (m_player) {
        m_player->SetMode(view.mode);
        m_player->SetWindow(view.window);
    }
}

void Play::EnableSound(bool enable) {
    m_look.sound = enable;
    if (m_player) {
        m_player->EnableSound(enable);
    }
}

bool Play::TakeSnapshot(Snapshot& out) {
    return m_player && m_player->TakeRenderSnapshot(out);
}

Player::Stats Play::GetStats() const {
    return m_player ? m_player->GetStats() : Player::Stats();
}

}  // namespace vaxoengine
