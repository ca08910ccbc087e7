// What four of the examples share: settings from the environment, a callback that prints what
// it hears and can be waited at, the way into a channel and out of it. join_play_leave.cpp
// does the same without it.
#ifndef VAXO_EXAMPLES_COMMON_H
#define VAXO_EXAMPLES_COMMON_H

#include <charconv>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "live/VaxoLiveProxy.h"

namespace example {

constexpr std::chrono::seconds kAnswerBound{15};  // the engine answers every request earlier

// A line for whoever watches, at once.
inline void Say(const std::string& line) {
    std::printf("%s\n", line.c_str());
    std::fflush(stdout);
}

inline std::string Text(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

// What the events said last; empty before the first.
struct Heard {
    std::optional<unsigned int> entered;        // OnGetStreamList
    std::optional<Mediq::VaxoAVState> publish;  // one publish and one play: the examples have
    std::optional<Mediq::VaxoAVState> play;     // no more
    std::optional<unsigned int> left;           // OnLogout
    std::set<std::string> streams;
};

// Events come on a thread of the library. Each is printed and noted, which is soon done, and
// whoever waits is woken. An example that wants more derives from it.
class Events : public Strova::IVaxoLiveCallback {
public:
    virtual ~Events() = default;

    // What was heard, once `isEnough` is true of it or the time is over. Any thread but the
    // events' own.
    template <class IsEnough>
    Heard Wait(std::chrono::milliseconds bound, IsEnough isEnough) {
        const auto end = std::chrono::steady_clock::now() + bound;
        std::unique_lock<std::mutex> guard(m_lock);
        while (!isEnough(std::as_const(m_heard)) &&
               m_changed.wait_until(guard, end) == std::cv_status::no_timeout) {
        }
        return m_heard;
    }

    // Writes down what an event said and wakes whoever waits.
    template <class Write>
    void Note(const std::string& line, Write write) {
        Say(line);
        const std::lock_guard<std::mutex> guard(m_lock);
        write(m_heard);
        m_changed.notify_all();
    }

    void OnGetStreamList(unsigned int error) override {
        Note("entered: " + std::to_string(error), [=](Heard& now) { now.entered = error; });
    }
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag what) override {
        const std::string id = Text(info.streamID);
        const bool isGone = what == DeletedStream;
        Note((isGone ? "gone: " : "stream: ") + id, [&](Heard& now) {
            isGone ? static_cast<void>(now.streams.erase(id))
                   : static_cast<void>(now.streams.insert(id));
        });
    }
    void OnPublishStateUpdate(Mediq::VaxoAVState state, const vaxo::strutf8& stream) override {
        Note("publish " + Text(stream) + ": " + Name(state),
             [=](Heard& now) { now.publish = state; });
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState state, const vaxo::strutf8& stream) override {
        Note("play " + Text(stream) + ": " + Name(state), [=](Heard& now) { now.play = state; });
    }
    void OnLogout(unsigned int error) override {
        Note("left: " + std::to_string(error), [=](Heard& now) { now.left = error; });
    }
    void OnCountsUpdate(unsigned int /*online*/, unsigned int /*all*/) override {}
    void OnVideoSizeChanged(const vaxo::strutf8& stream, int width, int height) override {
        Say("size of " + Text(stream) + ": " + std::to_string(width) + "x" +
            std::to_string(height));
    }
    void OnDisconnected(unsigned int error, const vaxo::strutf8& /*channel*/) override {
        Say("disconnected: " + std::to_string(error));
    }
    void OnReconnected(const vaxo::strutf8& /*channel*/) override { Say("reconnected"); }
    void OnPreviewSnapshot(void* /*image*/) override {}
    void OnRenderSnapshot(void* /*image*/, int /*channel*/) override {}

    // The forms that name a stream by number say nothing; without these lines they are hidden,
    // which some compilers warn of.
    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

private:
    static std::string Name(Mediq::VaxoAVState state) {
        const std::string name = Mediq::VaxoDescription(state);
        return name.empty() ? std::to_string(state) : name;  // VaxoLiveState.h
    }

    std::mutex m_lock;  // guards m_heard
    std::condition_variable m_changed;
    Heard m_heard;
};

struct Settings {
    unsigned int appID = 0;
    vaxo::stream key;
};

// The sign key from a file of hexadecimal digits. Empty when it cannot be read or is no key.
inline vaxo::stream KeyOf(const std::string& path) {
    std::ifstream file(path);
    std::string text;
    vaxo::stream bytes;
    for (file >> text; text.size() >= 2; text.erase(0, 2)) {
        unsigned char value = 0;
        if (std::from_chars(text.data(), text.data() + 2, value, 16).ptr != text.data() + 2) {
            return {};
        }
        bytes.append(&value, 1);
    }
    return bytes;
}

// From the variables that script/servers writes into servers.env. Gives the addresses to the
// library; false, with a line on the standard error, when one is missing.
inline bool ReadSettings(Settings& settings) {
    const auto read = [](const char* name) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nothing here changes the environment
        const char* const value = std::getenv(name);
        if (value == nullptr || *value == '\0') {
            std::fprintf(stderr, "the variable %s is not set\n", name);
            return std::string();
        }
        return std::string(value);
    };
    const std::string appID = read("VAXO_APP_ID");
    const std::string keyFile = read("VAXO_KEY_FILE");
    const std::string service = read("VAXO_SERVICE_URL");
    const std::string media = read("VAXO_MEDIA_URL");
    if (appID.empty() || keyFile.empty() || service.empty() || media.empty()) {
        return false;
    }
    CVaxoAppSetting::SharedInstance()->SetServiceURL(service.c_str());
    CVaxoAppSetting::SharedInstance()->SetMediaURL(media.c_str());
    settings.appID = static_cast<unsigned int>(std::strtoul(appID.c_str(), nullptr, 10));
    settings.key = KeyOf(keyFile);
    return true;
}

// Initialises the library and enters. The callback is held weakly: keep `events` alive.
inline bool Enter(Strova::IVaxoLive& live, const std::shared_ptr<Events>& events,
                  const Settings& settings, const char* channel, const char* user) {
    live.SetCallback(events);
    live.Init(settings.appID, settings.key);
    live.GetStreamList(user, user, channel, 0);
    return events->Wait(kAnswerBound, [](const Heard& now) { return now.entered.has_value(); })
               .entered == 0U;
}

// Media flow, or will again: the engine is trying.
inline bool Flows(const std::optional<Mediq::VaxoAVState>& state) {
    return state == Mediq::AVStateBegin || state == Mediq::TempBroken;
}

// True when the answer says that media reach the server.
inline bool Publish(Strova::IVaxoLive& live, Events& events, const char* channel,
                    const char* stream) {
    live.StartPublishing("an example", stream, channel);
    const auto isTold = [](const Heard& now) { return now.publish.has_value(); };
    return Flows(events.Wait(kAnswerBound, isTold).publish);
}

// True when the first picture is shown. The channel's list follows the entry, so that a stream
// may become known a moment later.
inline bool Play(Strova::IVaxoLive& live, Events& events, const char* stream, unsigned int index) {
    const auto isListed = [&](const Heard& now) { return now.streams.count(stream) != 0; };
    events.Wait(std::chrono::seconds(5), isListed);
    live.PlayStream(stream, index);
    const auto isTold = [](const Heard& now) { return now.play.has_value(); };
    return Flows(events.Wait(kAnswerBound, isTold).play);
}

// Ends publish and plays, leaves the channel, gives the engine back. True when it was left.
inline bool Leave(Strova::IVaxoLive& live, Events& events) {
    live.Logout();
    const Heard last =
        events.Wait(kAnswerBound, [](const Heard& now) { return now.left.has_value(); });
    live.Uninit();
    live.GetLiveChannel();  // a getter comes back when the calls before it have run
    return last.left == 0U;
}

}  // namespace example

#endif
