#include "kernel/live/StressEvents.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>

#include "kernel/live/StressEngine.h"
#include "utils/VaxoQueueRunner.h"

namespace livetest {

namespace {

const unsigned int s_perSender = 1U << 14U;
const unsigned int s_firstState = 1000;  // states below are what the proxy reports itself
const unsigned int s_failed = 0xFFFFFFFF;
const char* const s_names[] = {"Entered",     "LoggedOut", "Publish", "Play",
                               "Stream",      "Counts",    "Size",    "Disconnected",
                               "Reconnected", "Preview",   "Render"};

std::atomic<int> s_alive{0};
std::atomic<int> s_inside{0};

bool IsSnapshot(Kind kind) {
    return kind == Kind::Preview || kind == Kind::Render;
}

std::string Text(unsigned int number) {
    return "e" + std::to_string(number);
}
bool Says(const vaxo::strutf8& text, unsigned int number) {
    return Plain(text) == Text(number);
}

vaxothread_id Worker2() {
    static const vaxothread_id s_id = [] {
        vaxothread_id id = 0;
        CVaxoQueueRunner::GetSharedInstance()->SyncRun([&] { id = vaxothread_selfid(); }, 2);
        return id;
    }();
    return s_id;
}

// The number travels in whatever arguments the event has.
void Raise(Kind kind, unsigned int number, Strova::IVaxoLiveCallback& proxy,
           const std::string& stream) {
    const auto state = static_cast<Mediq::VaxoAVState>(s_firstState + number);
    const std::string text = Text(number);
    const auto value = static_cast<int>(number);
    Strova::VaxoLiveStream info;
    switch (kind) {
        case Kind::Entered:
            return proxy.OnGetStreamList(number);
        case Kind::LoggedOut:
            return proxy.OnLogout(number);
        case Kind::Publish:
            return proxy.OnPublishStateUpdate(state, text.c_str());
        case Kind::Play:
            return proxy.OnPlayStateUpdate(state, stream.c_str());
        case Kind::Stream:
            info.status = number;
            info.streamID = text.c_str();
            info.rtmpURLs.Add(text.c_str());
            return proxy.OnStreamUpdate(info, AddedStream);
        case Kind::Counts:
            return proxy.OnCountsUpdate(number, ~number);
        case Kind::Size:
            return proxy.OnVideoSizeChanged(text.c_str(), value, -value);
        case Kind::Disconnected:
            return proxy.OnDisconnected(number, text.c_str());
        case Kind::Reconnected:
            return proxy.OnReconnected(text.c_str());
        case Kind::Preview:
            return proxy.OnPreviewSnapshot(&number);
        case Kind::Render:
            return proxy.OnRenderSnapshot(&number, value);
    }
}

}  // namespace

long& AbandonedHere() {
    static thread_local long t_abandoned = 0;
    return t_abandoned;
}

EventBook::EventBook(unsigned int senders, CallbackTimes* times, bool drops)
    : m_times(times), m_drops(drops), m_senders(senders) {
    Worker2();
    for (Sender& sender : m_senders) {
        sender.entries.resize(s_perSender);
    }
}

void EventBook::Send(unsigned int sender, Kind kind, Strova::IVaxoLiveCallback& proxy,
                     const std::string& stream) {
    Sender& from = m_senders[sender];
    if (from.sent == s_perSender) {
        std::abort();  // the test asks for more than there is room for
    }
    const unsigned int number = sender * s_perSender + from.sent;
    Entry& entry = from.entries[from.sent++];
    entry.kind = kind;
    const long abandoned = AbandonedHere();
    entry.began = m_times == nullptr ? 0 : m_times->Tick();
    const long gaps = m_times == nullptr ? 0 : m_times->Gaps();
    Raise(kind, number, proxy, stream);
    entry.sure = m_times == nullptr || m_times->NoGapSince(gaps);
    entry.abandoned = AbandonedHere() != abandoned;
    if (IsSnapshot(kind)) {
        CheckEntry(entry);  // it has come already
    }
}

void EventBook::Arrived(Kind kind, unsigned int number, bool whole, long replaced) {
    const std::size_t index = number / s_perSender;
    const unsigned int place = number % s_perSender;
    if (index >= m_senders.size() || !whole) {
        ADD_FAILURE() << s_names[static_cast<std::size_t>(kind)] << " mangled, " << number;
        return;
    }
    Sender& from = m_senders[index];
    Entry& entry = from.entries[place];
    ++entry.arrived;
    EXPECT_EQ(entry.kind, kind);
    EXPECT_TRUE(replaced == 0 || entry.began < replaced) << "to a callback of the past";
    if (!IsSnapshot(kind)) {
        EXPECT_GT(place + 1, from.last) << "overtaken by a later event of the same thread";
        from.last = place + 1;
    }
}

void EventBook::Check() const {
    for (const Sender& sender : m_senders) {
        for (unsigned int i = 0; i < sender.sent; ++i) {
            CheckEntry(sender.entries[i]);
        }
    }
}

void EventBook::CheckEntry(const Entry& entry) const {
    const bool droppable = static_cast<unsigned int>(entry.kind) < s_droppable;
    const bool mayMiss = !entry.sure || (droppable && (m_drops || entry.abandoned));
    const char* const name = s_names[static_cast<std::size_t>(entry.kind)];
    EXPECT_GE(entry.arrived, mayMiss ? 0 : 1) << name << " lost";
    EXPECT_LE(entry.arrived, entry.abandoned ? 0 : 1) << name << " too often";
    EXPECT_TRUE(droppable || !entry.abandoned) << name << " abandoned";
}

StressApp::StressApp(EventBook& book, std::function<void()> inside, std::function<void()> gone)
    : m_book(book), m_inside(std::move(inside)), m_gone(std::move(gone)) {
    s_alive.fetch_add(1, std::memory_order_relaxed);
}

StressApp::~StressApp() {
    m_there.store(false, std::memory_order_relaxed);
    if (m_gone) {
        m_gone();
    }
    s_alive.fetch_sub(1, std::memory_order_relaxed);
}

int StressApp::Alive() {
    return s_alive;
}

void StressApp::OnWorker2(const std::function<void()>& account) {
    EXPECT_TRUE(m_there.load(std::memory_order_relaxed)) << "an event after the end";
    EXPECT_EQ(vaxothread_selfid(), Worker2());
    EXPECT_EQ(s_inside.fetch_add(1, std::memory_order_relaxed), 0) << "two events at once";
    account();
    if (m_inside) {
        m_inside();
    }
    s_inside.fetch_sub(1, std::memory_order_relaxed);
}

void StressApp::Event(Kind kind, unsigned int number, bool whole) {
    OnWorker2([&] { m_book.Arrived(kind, number, whole, m_replaced); });
}

void StressApp::Report(Kind kind) {
    OnWorker2([&] { m_book.ReportArrived(kind); });
}

void StressApp::OnPreviewSnapshot(void* pImage) {
    EXPECT_TRUE(m_there.load(std::memory_order_relaxed)) << "a picture after the end";
    m_book.Arrived(Kind::Preview, *static_cast<unsigned int*>(pImage), true, m_replaced);
}

void StressApp::OnRenderSnapshot(void* pImage, int nChannelIdx) {
    EXPECT_TRUE(m_there.load(std::memory_order_relaxed)) << "a picture after the end";
    const unsigned int number = *static_cast<unsigned int*>(pImage);
    m_book.Arrived(Kind::Render, number, nChannelIdx == static_cast<int>(number), m_replaced);
}

void StressApp::OnGetStreamList(unsigned int err) {
    err == s_failed ? Report(Kind::Entered) : Event(Kind::Entered, err, true);
}

void StressApp::OnLogout(unsigned int err) {
    err == s_failed ? Report(Kind::LoggedOut) : Event(Kind::LoggedOut, err, true);
}

void StressApp::OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) {
    const bool whole = Says(info.streamID, info.status) && info.rtmpURLs.size() == 1 &&
                       Says(*info.rtmpURLs.GetItem(0), info.status) && flag == AddedStream;
    Event(Kind::Stream, info.status, whole);
}

void StressApp::OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) {
    Event(Kind::Counts, onlineNums, onlineCount == ~onlineNums);
}

void StressApp::OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    const unsigned int number = static_cast<unsigned int>(eState) - s_firstState;
    if (eState == Mediq::FatalError || eState == Mediq::AVStateEnd) {
        Report(Kind::Publish);
    } else {
        Event(Kind::Publish, number, Says(streamID, number));
    }
}

void StressApp::OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& /*streamID*/) {
    if (eState == Mediq::FatalError) {
        Report(Kind::Play);
    } else {
        Event(Kind::Play, static_cast<unsigned int>(eState) - s_firstState, true);
    }
}

void StressApp::OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) {
    const auto number = static_cast<unsigned int>(width);
    Event(Kind::Size, number, height == -width && Says(streamID, number));
}

void StressApp::OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) {
    Event(Kind::Disconnected, err, Says(liveChn, err));
}

void StressApp::OnReconnected(const vaxo::strutf8& liveChn) {
    Event(Kind::Reconnected, Number(Plain(liveChn).substr(1)), true);
}

}  // namespace livetest
