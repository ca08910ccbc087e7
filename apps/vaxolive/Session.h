// The application's half of the live interface: hears the events, keeps what they say, and
// lets the command's own thread wait for it. What comes from the terminal (lines, Ctrl-C)
// arrives here too, so that there is one place to wait at.
//
// Every operation may be called from any thread.
#ifndef VAXO_APPS_SESSION_H
#define VAXO_APPS_SESSION_H

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "EventLog.h"
#include "IVaxoLive.h"
#include "PngFile.h"
#include "StatusLine.h"

namespace vaxoapp {

// Where a command tells what happens. Shared, because an event may still be under way when
// the command is done.
struct Report {
    // `json`: the events are the standard output, and people get errors alone.
    explicit Report(bool quiet, bool json = false) : status(quiet || json) {
        if (json) {
            events.CopyToOutput();
        }
    }
    StatusLine status;
    EventLog events;
};

struct StreamRow {
    std::string streamID;
    std::string userID;
    std::string userName;
    std::string title;
    std::vector<std::string> addresses;  // without signatures
    unsigned int status = 0;

    JsonObject Json() const;
    std::string Text() const;  // for people
};

// What is known now. Optional values are empty until their event has come.
struct SessionState {
    std::optional<unsigned int> entered;  // OnGetStreamList's error
    std::optional<unsigned int> left;     // OnLogout's error
    bool isDisconnected = false;
    bool isListMissing = false;
    std::map<std::string, StreamRow> streams;
    std::chrono::steady_clock::time_point lastStream;  // when the list changed last
    unsigned int online = 0;
    unsigned int total = 0;
    bool isPublishAsked = false;
    std::optional<Mediq::VaxoAVState> publish;
    std::map<std::string, std::optional<Mediq::VaxoAVState>> plays;  // streams asked for
    std::map<std::string, std::pair<int, int>> sizes;
    std::optional<Picture> preview;  // snapshots that came and were not taken yet
    std::map<int, Picture> rendered;
    bool mustStop = false;
    std::deque<std::string> lines;
    bool linesEnded = false;
};

enum class Wake { Ready, Stop, Late };

class Session final : public Strova::IVaxoLiveCallback {
public:
    typedef std::chrono::steady_clock Clock;

    explicit Session(std::shared_ptr<Report> report) : m_report(std::move(report)) {}
    virtual ~Session() = default;

    // Waits until `ready` (called with the state, under the lock) says true. Stop comes
    // when somebody wants to leave, unless `untilEnd`.
    template <class IsReady>
    Wake Wait(Clock::time_point end, IsReady isReady, bool untilEnd = false) {
        std::unique_lock<std::mutex> guard(m_lock);
        m_changed.wait_until(guard, end, [&] {
            return isReady(std::as_const(m_state)) || (m_state.mustStop && !untilEnd);
        });
        if (isReady(std::as_const(m_state))) {
            return Wake::Ready;
        }
        return m_state.mustStop && !untilEnd ? Wake::Stop : Wake::Late;
    }

    // Calls `use` with the state, which it may change.
    template <class Use>
    auto With(Use use) {
        const std::lock_guard<std::mutex> guard(m_lock);
        return use(m_state);
    }

    void PostStop();
    void AskToLeave();  // PostStop for somebody who wants to see that it was heard
    void PostLine(const std::string& line);
    void PostLinesEnd();
    std::size_t LinesWaiting();

    // ---- IVaxoLiveCallback ------------------------------------------------------

    void OnPreviewSnapshot(void* pImage) override;
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override;
    void OnGetStreamList(unsigned int err) override;
    void OnStreamUpdate(const Strova::VaxoLiveStream& info,
                        VaxoAVStreamUpdateFlag eUpdateFlag) override;
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override;
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override;
    void OnLogout(unsigned int err) override;
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override;
    void OnReconnected(const vaxo::strutf8& liveChn) override;

    // The forms that name a stream by number say nothing here.
    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

private:
    template <class Change>
    void Update(Change change) {
        {
            const std::lock_guard<std::mutex> guard(m_lock);
            change(m_state);
        }
        m_changed.notify_all();
    }
    void Tell(const char* kind, const JsonObject& fields, const std::string& line,
              Hue hue = Hue::Plain);

    const std::shared_ptr<Report> m_report;
    std::mutex m_lock;
    std::condition_variable m_changed;
    SessionState m_state;  // guarded by m_lock
};

// What an error number of OnGetStreamList and OnDisconnected means.
std::string ChannelErrorText(unsigned int err);
// A state's name for people, its colour, and whether it says that the stream is over.
std::string StateText(Mediq::VaxoAVState state);
Hue StateHue(Mediq::VaxoAVState state);
bool IsOver(Mediq::VaxoAVState state);

}  // namespace vaxoapp

#endif
