// A book of numbered events: each is sent once by one of the engine's threads, and at the
// end the book says whether it came to the application as it had to.
//
// Guarantees
// - A sender is one thread; senders share nothing, and the book takes no lock. Without
//   times and without the log (see below) it orders no memory between threads, so that
//   it hides no race of the code under test.
// - A failure of the code under test is a failure of the test, on whatever thread.
#ifndef VAXO_TESTS_LIVE_STRESSEVENTS_H
#define VAXO_TESTS_LIVE_STRESSEVENTS_H

#include <array>
#include <atomic>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "IVaxoLive.h"
#include "vaxothread.h"

namespace livetest {

enum class Kind {
    Entered,  // the first four are dropped while a Logout waits
    LoggedOut,
    Publish,
    Play,
    Stream,
    Counts,
    Size,
    Disconnected,
    Reconnected,
    Preview,  // the last two come at once, on the sender's thread
    Render,
};
const unsigned int s_droppable = 4;
const unsigned int s_kinds = 11;

// The number of events that the relay said, in the log, to have dropped on the calling
// thread. Stays 0 while nobody follows the log.
long& AbandonedHere();

// When there may be no callback, and what came before what. An event under way outside
// of all gaps has a callback: whoever replaces one lets go of it afterwards.
class CallbackTimes {
public:
    void OpenGap() { m_begun.fetch_add(1); }
    void CloseGap() { m_over.fetch_add(1); }
    // No gap touched the time from a Gaps() to a NoGapSince() of it that is true.
    long Gaps() const { return m_over.load(); }
    bool NoGapSince(long gaps) const { return m_begun.load() == gaps; }

    // A moment, later than all before it.
    long Tick() { return m_clock.fetch_add(1) + 1; }

private:
    std::atomic<long> m_begun{0};
    std::atomic<long> m_over{0};
    std::atomic<long> m_clock{0};
};

class EventBook {
public:
    // `times`: null if there is always a callback. `drops`: events may be dropped for a
    // Logout and nobody follows the log, which would say so.
    EventBook(unsigned int senders, CallbackTimes* times, bool drops);

    // Sends an event to the proxy. `stream` is that of a play.
    void Send(unsigned int sender, Kind kind, Strova::IVaxoLiveCallback& proxy,
              const std::string& stream = "s");

    // An event at the application. `whole`: its arguments belong together. `replaced`:
    // when its callback was, 0 for not yet.
    void Arrived(Kind kind, unsigned int number, bool whole, long replaced);
    // One that the proxy reports by itself, because an engine call failed.
    void ReportArrived(Kind kind) { ++m_reports[static_cast<std::size_t>(kind)]; }

    // At rest.
    long Reports(Kind kind) const { return m_reports[static_cast<std::size_t>(kind)]; }
    void Check() const;

private:
    struct Entry {
        Kind kind = Kind::Entered;
        bool sure = false;       // there was a callback all the time
        bool abandoned = false;  // the relay said that it dropped it
        int arrived = 0;
        long began = 0;
    };
    struct Sender {
        std::vector<Entry> entries;  // as many as can be needed
        unsigned int sent = 0;
        unsigned int last = 0;  // of those at the application, counted from 1
    };

    void CheckEntry(const Entry& entry) const;

    CallbackTimes* const m_times;
    const bool m_drops;
    std::vector<Sender> m_senders;
    std::array<long, s_droppable> m_reports{};
};

// The application: tells the book of every event, checks the thread, and that nobody
// calls it once it is gone.
class StressApp final : public Strova::IVaxoLiveCallback {
public:
    // `inside` runs in every event on worker 2, `gone` in the destructor.
    explicit StressApp(EventBook& book, std::function<void()> inside = {},
                       std::function<void()> gone = {});
    ~StressApp();

    // Another one was set, at this time: events that began later are not for this one.
    void Replaced(long time) { m_replaced = time; }

    static int Alive();

    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

    void OnPreviewSnapshot(void* pImage) override;
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override;
    void OnGetStreamList(unsigned int err) override;
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) override;
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override;
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override;
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override;
    void OnLogout(unsigned int err) override;
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override;
    void OnReconnected(const vaxo::strutf8& liveChn) override;

private:
    void Event(Kind kind, unsigned int number, bool whole);
    void Report(Kind kind);
    void OnWorker2(const std::function<void()>& account);

    EventBook& m_book;
    const std::function<void()> m_inside;
    const std::function<void()> m_gone;
    std::atomic<bool> m_there{true};
    std::atomic<long> m_replaced{0};
};

}  // namespace livetest

#endif
