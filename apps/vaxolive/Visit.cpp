#include "Visit.h"

#include <algorithm>
#include <cstdio>
#include <utility>

#include "Text.h"
#include "base/VaxoAppSetting.h"
#include "vaxolog.h"

namespace vaxoapp {

namespace {

constexpr std::chrono::seconds kLeaveLimit{12};
constexpr std::chrono::milliseconds kListPause{400};
constexpr std::chrono::seconds kListLimit{3};
constexpr std::chrono::seconds kSnapshotLimit{5};
constexpr std::chrono::milliseconds kSnapshotAgain{500};

constexpr std::chrono::hours kFarAway{24 * 300};  // an end that nobody asked for

constexpr std::chrono::milliseconds kRoundUp{999};

// "1:05", "120:07"
std::string ClockText(Visit::Clock::duration time) {
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(time).count();
    char text[64];
    std::snprintf(text, sizeof(text), "%lld:%02d", static_cast<long long>(seconds / 60),
                  static_cast<int>(seconds % 60));
    return text;
}

std::string Rate(double fps, unsigned int bitrate) {
    char text[64];
    std::snprintf(text, sizeof(text), "%.1f fps, %u kbit/s", fps, bitrate / 1000);
    return text;
}

}  // namespace

Visit::Visit(Settings settings, std::shared_ptr<Report> report, bool readLines)
    : m_settings(std::move(settings)),
      m_report(std::move(report)),
      m_session(std::make_shared<Session>(m_report)),
      m_inputs(m_session, readLines) {}

Visit::~Visit() {
    if (m_hasBegun) {
        Leave(Exit_Ok);
    }
}

ExitCode Visit::Begin() {
    std::string error;
    if (!m_settings.eventsFile.empty() && !m_report->events.Open(m_settings.eventsFile, error)) {
        return Fail(Exit_Failed, error);
    }
    vaxolog_set_level(m_settings.logLevel);
    if (!m_settings.logFile.empty() && vaxolog_open(m_settings.logFile.c_str()) != 0) {
        return Fail(Exit_Failed,
                    "log file " + Printable(m_settings.logFile) + " cannot be written");
    }
    CVaxoAppSetting* const setting = CVaxoAppSetting::SharedInstance();
    setting->SetServiceURL(ToVaxo(m_settings.serviceURL));
    setting->SetMediaURL(ToVaxo(m_settings.mediaURL));
    setting->SetUploadURL(ToVaxo(m_settings.uploadURL));
    m_live = Strova::CVaxoLiveProxy::GetInstance();
    m_live->SetCallback(m_session);
    m_live->Init(m_settings.appID, m_settings.key);
    m_settings.key.clear();
    m_hasBegun = true;
    Tell("start", JsonObject().Text("user", m_settings.user).Text("channel", m_settings.channel),
         "");
    return Exit_Ok;
}

ExitCode Visit::Enter() {
    m_hasAskedIn = true;
    m_live->GetStreamList(ToVaxo(m_settings.user), ToVaxo(m_settings.userName),
                          ToVaxo(m_settings.channel), 0);
    const Wake wake = Await("entering the channel", Deadline(),
                            [](const SessionState& state) { return state.entered.has_value(); });
    m_entered = Clock::now();
    if (wake == Wake::Late) {
        return Fail(Exit_Timeout, "no answer to the entry into the channel");
    }
    const unsigned int err =
        m_session->With([](const SessionState& state) { return state.entered.value_or(0); });
    if (err != 0) {
        return Fail(Exit_Channel, "cannot enter the channel: " + ChannelErrorText(err));
    }
    return Exit_Ok;
}

void Visit::AwaitList() {
    const Clock::time_point limit = Clock::now() + kListLimit;
    m_session->With([](SessionState& state) { state.lastStream = Clock::now(); });
    for (;;) {
        const Clock::time_point pause = m_session->With([](const SessionState& state) {
            return state.lastStream;
        }) + kListPause;
        if (pause <= Clock::now() || limit <= Clock::now() ||
            m_session->Wait(std::min(pause, limit), [](const SessionState&) { return false; }) ==
                Wake::Stop) {
            return;
        }
    }
}

ExitCode Visit::Leave(ExitCode soFar) {
    if (!m_hasBegun) {
        return soFar;
    }
    m_hasBegun = false;
    if (m_hasAskedIn) {
        m_live->Logout();
        const Wake wake = Await(
            "leaving the channel", Clock::now() + kLeaveLimit,
            [](const SessionState& state) { return state.left.has_value(); }, true);
        if (wake != Wake::Ready) {
            m_isStuck = true;
            return Fail(soFar == Exit_Ok ? Exit_Timeout : soFar, "leaving takes too long");
        }
    }
    m_live->Uninit();
    m_live->GetLiveChannel();  // a getter comes back after what was queued
    m_live->SetCallback({});
    return soFar;
}

bool Visit::TakeSnapshot(std::optional<unsigned int> play, const std::string& path,
                         std::string& error) {
    const int channel = static_cast<int>(play.value_or(0));
    m_session->With([&](SessionState& state) {
        state.preview.reset();
        state.rendered.erase(channel);
    });
    const auto hasCome = [&](const SessionState& state) {
        return play ? state.rendered.count(channel) != 0 : state.preview.has_value();
    };
    // There is no answer when there is no picture yet; so ask again.
    const Clock::time_point limit = Clock::now() + kSnapshotLimit;
    bool isThere = false;
    while (!isThere && Clock::now() < limit) {
        play ? m_live->TakeSnapshotRender(channel) : m_live->TakeSnapshotPreview();
        isThere = m_session->Wait(std::min(limit, Clock::now() + kSnapshotAgain), hasCome, true) ==
                  Wake::Ready;
    }
    if (!isThere) {
        error = "there is no picture to take";
        return false;
    }
    const Picture picture = m_session->With([&](SessionState& state) {
        return play ? std::move(state.rendered[channel]) : std::move(*state.preview);
    });
    if (!WritePng(path, picture, error)) {
        return false;
    }
    Tell("snapshot",
         JsonObject()
             .Text("file", path)
             .Number("width", picture.width)
             .Number("height", picture.height),
         "picture written: " + Printable(path));
    return true;
}

ExitCode Visit::Fail(ExitCode code, const std::string& text) {
    m_report->events.Write(
        "failed", JsonObject().Number("code", static_cast<int>(code)).Text("reason", text));
    m_report->status.Error(text);
    return code;
}

void Visit::Tell(const char* kind, const JsonObject& fields, const std::string& line, Hue hue) {
    m_report->events.Write(kind, fields);
    if (!line.empty()) {
        m_report->status.Say(line, hue);
    }
}

JsonObject Visit::StatusFields() {
    const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
    JsonObject fields;
    fields.Flag("publishing", stats.publishing)
        .Real("fps", stats.fps)
        .Number("bitrate", stats.bitrate)
        .Text("camera", stats.videoDevice)
        .Text("microphone", stats.audioDevice);
    std::vector<JsonObject> plays;
    for (const Strova::VaxoLivePlayStats& play : stats.plays) {
        plays.push_back(JsonObject()
                            .Text("stream", play.streamID)
                            .Real("fps", play.fps)
                            .Number("bitrate", play.bitrate)
                            .Number("latency", play.latencyMillis));
    }
    fields.Objects("plays", plays);
    return m_session->With([&](const SessionState& state) {
        return fields.Number("online", state.online)
            .Number("total", state.total)
            .Flag("connected", !state.isDisconnected);
    });
}

std::vector<Piece> Visit::StatusText() {
    const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
    std::vector<Piece> pieces = m_session->With([](const SessionState& state) {
        std::vector<Piece> known;
        if (state.isDisconnected) {
            known.push_back({"connection lost", Hue::Warning});
            known.push_back({" | "});
        }
        known.push_back(
            {"online " + std::to_string(state.online) + " of " + std::to_string(state.total)});
        if (state.publish) {
            known.push_back({" | publishing: "});
            known.push_back({StateText(*state.publish), StateHue(*state.publish)});
        }
        return known;
    });
    if (stats.publishing) {
        pieces.push_back({", " + Rate(stats.fps, stats.bitrate)});
    }
    for (const Strova::VaxoLivePlayStats& play : stats.plays) {
        std::string text =
            " | " + Printable(play.streamID, 32) + ": " + Rate(play.fps, play.bitrate);
        if (play.latencyMillis >= 0) {
            text += ", " + std::to_string(play.latencyMillis) + " ms old";
        }
        pieces.push_back({text});
    }
    return pieces;
}

void Visit::ShowStatus(Clock::time_point end) {
    const Clock::time_point now = Clock::now();
    std::vector<Piece> pieces = StatusText();
    if (m_report->status.IsLive()) {
        const bool isNear = end > now && end - now < kFarAway;
        pieces.insert(pieces.begin(),
                      {ClockText(now - m_entered) +
                       (isNear ? ", " + ClockText(end - now + kRoundUp) + " left" : "") + " | "});
    }
    m_report->status.Show(pieces);
    TellDevices();
    if (now >= m_nextStats) {
        m_nextStats = now + std::chrono::seconds(1);
        m_report->events.Write("stats", StatusFields());
    }
}

void Visit::ShowWaiting(const std::string& what, Clock::time_point since) {
    m_report->status.ShowProgress({{what + ", " + ClockText(Clock::now() - since)}});
}

Wake Visit::Await(const std::string& what, Clock::time_point end,
                  const std::function<bool(const SessionState&)>& isReady, bool untilEnd) {
    // The first look is a short one, so that what is there at once flickers by nobody.
    constexpr std::chrono::milliseconds kSoon{300};
    const Clock::time_point begin = Clock::now();
    Wake wake = m_session->Wait(std::min(end, begin + kSoon), isReady, untilEnd);
    while (wake == Wake::Late && Clock::now() < end) {
        ShowWaiting(what, begin);
        wake = m_session->Wait(std::min(end, Clock::now() + kSoon), isReady, untilEnd);
    }
    m_report->status.ShowProgress({});
    return wake;
}

// A device may fail in the middle, and another one take its place.
void Visit::TellDevices() {
    const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
    const auto changed = [](std::string& last, const std::string& now) {
        const std::string before = std::exchange(last, now);
        return !before.empty() && !now.empty() && before != now;
    };
    if (changed(m_camera, stats.videoDevice)) {
        Tell("camera", JsonObject().Text("device", m_camera),
             "the picture comes from " + Printable(m_camera, 200), Hue::Warning);
    }
    if (changed(m_microphone, stats.audioDevice)) {
        Tell("microphone", JsonObject().Text("device", m_microphone),
             "the sound comes from " + Printable(m_microphone, 200), Hue::Warning);
    }
}

bool Visit::MustStop() {
    return m_session->With([](const SessionState& state) { return state.mustStop; });
}

Visit::Clock::time_point Visit::Deadline() const {
    return Clock::now() +
           std::chrono::milliseconds(static_cast<long long>(m_settings.timeout * 1000));
}

}  // namespace vaxoapp
