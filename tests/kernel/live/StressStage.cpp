#include "kernel/live/StressStage.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <future>
#include <iostream>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "live/VaxoLiveCalls.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxolog.h"

namespace livetest {

namespace {

const char* const s_held = "held";
const unsigned int s_worker0 = s_engineThreads;  // as a sender of events
const unsigned int s_test = s_worker0 + 1;       // likewise

struct Answered {
    const char* operation;
    const char* type;
    Kind kind;
};
const Answered s_answered[] = {
    {"GetStreamList", "GetInRoom", Kind::Entered},
    {"Logout", "LeaveRoom", Kind::LoggedOut},
    {"StartPublishing", "StartPublish", Kind::Publish},
    {"StopPublishing", "StopPublish", Kind::Publish},
    {"PlayStream", "PlayStream", Kind::Play},
    {"StopPlayStream", "StopStream", Kind::Play},
};

long At(const std::map<std::string, long>& counts, const std::string& key) {
    const auto it = counts.find(key);
    return it == counts.end() ? 0 : it->second;
}

}  // namespace

unsigned int NewSeed() {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
    const char* const given = std::getenv("VAXO_STRESS_SEED");
    const unsigned int seed = given != nullptr ? Number(given) : std::random_device()();
    std::cout << "VAXO_STRESS_SEED=" << seed << std::endl;
    return seed;
}

Stage::Stage(unsigned int seed, bool follow, bool alwaysEngine)
    : followed(follow),
      steady(alwaysEngine),
      book(s_test + 1, follow ? &times : nullptr, !follow),
      follower(follow),
      m_random(seed) {
    follower.begins = [this] { CmdBegins(); };
    follower.failed = [this](const std::string& type) { CmdFailed(type); };
    vaxolog_set_level(follow ? esyslog_generic : esyslog_grievous);
    auto* const setting = CVaxoAppSetting::SharedInstance();
    setting->SetAppID(7);
    setting->SetAppSign(Key());
    SetEngineHost(this);
    for (unsigned int number = 0; number < s_engineThreads; ++number) {
        m_threads.emplace_back([this, number, seed] { EngineThread(number, seed + number + 1); });
    }
}

Stage::~Stage() {
    ComeToRest();
    SetEngineHost(nullptr);
    auto* const setting = CVaxoAppSetting::SharedInstance();
    setting->SetAppID(0);
    setting->SetAppSign({});
    vaxolog_set_level(esyslog_generic);
}

void Stage::Chatter() {
    Give({Kind::Counts, "", proxy});  // which, the thread decides
}

void Stage::AwaitMyCommands() {
    const auto done = std::make_shared<std::promise<void>>();
    const int result = proxy->AddCmd(999, ::SyncCmd, [done] {
        done->set_value();
        return 0;
    });
    EXPECT_EQ(result, 0);
    done->get_future().wait();
}

void Stage::Hold() {
    EXPECT_EQ(proxy->PlayStream(s_held, 0), 0);
    std::unique_lock<std::mutex> lock(m_mutex);
    m_given.wait(lock, [this] { return !m_kept.empty(); });
}

void Stage::SendOtherAnswers() {
    for (const Kind kind : {Kind::Entered, Kind::LoggedOut, Kind::Publish, Kind::Play}) {
        book.Send(s_test, kind, *proxy, "other");
    }
}

void Stage::Release() {
    Work work;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        work = m_kept.front();
        m_kept.clear();
    }
    Give(work);
}

void Stage::ComeToRest() {
    CVaxoQueueRunner* const runner = CVaxoQueueRunner::GetSharedInstance();
    if (m_threads.empty()) {
        return;
    }
    // A callback on worker 2 may have queued something.
    for (int round = 0; round < 2; ++round) {
        AwaitMyCommands();
        runner->SyncRun([] {}, 2);
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_over = true;
    }
    m_given.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
    m_threads.clear();
    runner->SyncRun([] {}, 2);
    proxy->SetCallback({});
    proxy->Uninit();
    AwaitMyCommands();
    runner->SyncRun([] {}, 0);  // the pass that ran it is over
}

long Stage::Ran(const std::string& operation) const {
    return At(m_ran, operation);
}
long Stage::Refused(const std::string& operation) const {
    return At(m_refused, operation);
}

void Stage::Give(Work work) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_work.push_back(std::move(work));
    }
    m_given.notify_one();
}

void Stage::Keep(Work work) {
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_kept.push_back(std::move(work));
    }
    m_given.notify_all();
}

// Takes any of what is to be done, so that events overtake one another.
void Stage::EngineThread(unsigned int number, unsigned int seed) {
    const Kind unasked[] = {Kind::Stream,       Kind::Counts,       Kind::Size,
                            Kind::Disconnected, Kind::Disconnected, Kind::Reconnected,
                            Kind::Preview,      Kind::Play};
    Random random(seed);
    for (;;) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_given.wait(lock, [this] { return m_over || !m_work.empty(); });
        if (m_work.empty()) {
            return;
        }
        const auto at = m_work.begin() + random.Below(static_cast<unsigned int>(m_work.size()));
        const Work work = std::move(*at);
        m_work.erase(at);
        lock.unlock();
        if (random.Once(4)) {
            std::this_thread::yield();
        }
        if (work.kind == Kind::Counts) {
            // A play of a stream that nobody asked for completes nothing.
            book.Send(number, unasked[random.Below(8)], *work.to, "unasked");
        } else {
            Reply(number, work);
        }
    }
}

void Stage::Reply(unsigned int sender, const Work& work) {
    if (work.kind != Kind::Preview && work.kind != Kind::Render) {
        m_unanswered.fetch_sub(1, std::memory_order_relaxed);
    }
    book.Send(sender, work.kind, *work.to, work.stream);
}

void Stage::CheckTag(const EngineCall& call) {
    if (call.tag < s_tagsPerCaller) {
        return;
    }
    m_tags.push_back(call.tag);
    unsigned int& last = m_last[call.tag / s_tagsPerCaller];
    EXPECT_GT(call.tag, last) << call.operation << ": twice, or out of its thread's order";
    last = call.tag;
}

int Stage::OnCall(const EngineCall& call) {
    EXPECT_EQ(call.callback.get(), static_cast<Strova::IVaxoLiveCallback*>(proxy.get()));
    ++m_ran[call.operation];
    CheckTag(call);
    const std::string operation = call.operation;
    for (const Answered& answered : s_answered) {
        if (operation == answered.operation) {
            return Accept(call, answered.kind);
        }
    }
    if (operation == "TakeSnapshotRender" || operation == "TakeSnapshotPreview") {
        Give({operation == "TakeSnapshotRender" ? Kind::Render : Kind::Preview, "", call.callback});
    }
    return 0;
}

// An operation that is answered by an event: refused, answered at once or later.
int Stage::Accept(const EngineCall& call, Kind answer) {
    if (answer == Kind::Entered) {
        m_entered = call.tag;
    }
    if (call.text != s_held && m_random.Once(12)) {
        ++m_refused[call.operation];
        return -1;
    }
    EXPECT_EQ(m_unanswered.fetch_add(1, std::memory_order_relaxed), 0)
        << call.operation << " before the last one was answered";
    if (call.text == s_held) {
        Keep({answer, call.text, call.callback});
        return 0;
    }
    if (m_random.Once(8)) {
        Reply(s_worker0, {answer, call.text, call.callback});
    } else {
        Give({answer, call.text, call.callback});
    }
    return 0;
}

bool Stage::OnUpload(const std::string& userID, bool bByUser) {
    ++m_ran[bByUser ? "upload" : "offer"];
    if (!bByUser && steady) {
        EXPECT_EQ(Number(userID), m_entered);
    } else if (!bByUser) {
        // Offered also without an engine; then it got no tag.
        EXPECT_GE(Number(userID), s_tagsPerCaller);
    }
    return true;
}

void Stage::CmdBegins() {
    m_gapsAtBegin = times.Gaps();
    m_abandonedAtBegin = AbandonedHere();
}

void Stage::CmdFailed(const std::string& type) {
    for (const Answered& answered : s_answered) {
        if (type == answered.type && AbandonedHere() == m_abandonedAtBegin) {
            Reports& reports = m_reports[static_cast<std::size_t>(answered.kind)];
            ++reports.most;
            reports.least += times.NoGapSince(m_gapsAtBegin) ? 1 : 0;
        }
    }
}

void Stage::CheckCommands() {
    follower.CheckRest();
    for (const Answered& answered : s_answered) {
        const std::string type = answered.type;
        SCOPED_TRACE(type);
        EXPECT_EQ(follower.added[type], follower.removed[type] + follower.popped[type]);
        EXPECT_EQ(follower.popped[type], follower.completed[type]);
        // Every failure that the engine did not answer was for want of an engine.
        EXPECT_EQ(follower.popped[type] - follower.failures[type],
                  Ran(answered.operation) - Refused(answered.operation));
    }
    for (const Strova::livecall::Row& row : Strova::livecall::Rows) {
        if (row.setter) {
            const std::string cmd = "SyncCmd(" + std::to_string(row.number) + "/)";
            SCOPED_TRACE(row.operation);
            EXPECT_EQ(follower.added[cmd], follower.popped[cmd]);
            EXPECT_EQ(follower.popped[cmd] - follower.failures[cmd], Ran(row.operation));
        }
    }
}

void Stage::CheckReports() const {
    for (unsigned int i = 0; i < s_droppable; ++i) {
        EXPECT_LE(book.Reports(static_cast<Kind>(i)), m_reports[i].most) << i;
        EXPECT_GE(book.Reports(static_cast<Kind>(i)), m_reports[i].least) << i;
    }
}

}  // namespace livetest
