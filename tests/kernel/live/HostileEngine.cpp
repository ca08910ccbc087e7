#include "kernel/live/HostileEngine.h"

#include <algorithm>
#include <cstddef>

#include "vaxolog.h"

namespace livetest {

namespace {

const std::string s_pass = "log 3 CmdQueue: StartCmdExecuteInner";

bool StartsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

// Passes, pops and getters: how many passes find the queue held is open where threads
// meet, and the rest says nothing new.
bool IsLeftOut(const std::string& text) {
    static const Texts s_starts = {s_pass,
                                   "log 3 CmdQueue: PopCmd",
                                   "log 3 CmdQueue: > executing: ",
                                   "log 3 CmdQueue: > no cmd enqueued.",
                                   "log 3 CmdQueue: > executed SyncCmd(",
                                   "engine: GetCurrentPublishStreamID()",
                                   "http: "};
    return std::any_of(s_starts.begin(), s_starts.end(),
                       [&](const std::string& start) { return StartsWith(text, start); });
}

Texts TextsOf(const std::vector<Line>& lines) {
    Texts texts;
    for (const Line& line : lines) {
        texts.push_back(line.text);
    }
    return texts;
}

void Report(const HostileCast& cast, const Fire& fire) {
    Report(cast[fire.of], fire.code, fire.stream);
}

}  // namespace

void PrintTo(const HostileRow& row, std::ostream* out) {
    *out << row.name;
}

HostileEngine::HostileEngine() : m_worker0(Worker0()), m_worker2(Worker2()) {
    vaxolog_set_sink(&HostileEngine::Sink, this);
}

HostileEngine::~HostileEngine() {
    vaxolog_set_sink(nullptr, nullptr);
}

void HostileEngine::Sink(void* context, int32 level, const char* tag, int32 /*line*/,
                         const char* text) {
    Note("log " + std::to_string(level) + " " + tag + ": " + text);
    static_cast<HostileEngine*>(context)->HoldBack(text);
}

void HostileEngine::HoldBack(const std::string& text) {
    if (vaxothread_selfid() != m_worker0 && IsHeld(text)) {
        m_letGo.get_future().wait();
    }
}

// Whether this is the line at which a thread is to be held back: once.
bool HostileEngine::IsHeld(const std::string& text) {
    const std::lock_guard<std::mutex> lock(m_holdMutex);
    if (m_holdAt.empty() || text != m_holdAt) {
        return false;
    }
    m_holdAt.clear();
    m_held.set_value();
    return true;
}

void HostileEngine::Run(unsigned kind) {
    Begin(kind);
    EnterFirstCall();
    QueueBehind();
    FireAfter();
    Compare();
    AnswerAll();
    Forget();
}

void HostileEngine::Begin(unsigned kind) {
    m_row = GetParam();
    m_cast = CastFor(kind, m_row.behind);
    m_passes = 0;
    m_stops = 0;
    m_begun = false;
    m_entered = std::promise<void>();
    m_goOn = std::promise<void>();
    m_held = std::promise<void>();
    m_letGo = std::promise<void>();

    CVaxoAppSetting::SharedInstance()->SetAppID(7);
    StartEngine();
    TheScript().text["GetCurrentPublishStreamID"] = m_cast.first.stream;
    for (const std::string operation : {"GetStreamList", "Logout", "PlayStream", "StopPlayStream",
                                        "StartPublishing", "StopPublishing"}) {
        TheScript().inside[operation] = [this, operation] { OnEngineCall(operation); };
    }
}

// Returns while worker 0 is in the call. What led up to it is set aside: a Logout stops
// publishing first.
void HostileEngine::EnterFirstCall() {
    m_passes += Ask(*proxy, m_cast.first);
    m_entered.get_future().wait();
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
    m_before = TakeLines();
    const auto isEngines = [](const Line& line) { return StartsWith(line.text, "engine: "); };
    const auto call = std::find_if(m_before.rbegin(), m_before.rend(), isEngines);
    ASSERT_NE(call, m_before.rend());
    EXPECT_EQ(call->text, m_cast.first.call);
    EXPECT_EQ(call->thread, m_worker0);
    EXPECT_EQ(Executing(), m_cast.first.printed);
}

void HostileEngine::QueueBehind() {
    if (m_row.behind == BehindUninit) {
        EXPECT_EQ(proxy->Uninit(), 0);
        ++m_passes;
    }
    m_passes += Ask(*proxy, m_cast.next);
    EXPECT_EQ(proxy->SetFilter(9), 0);
    ++m_passes;
    m_goOn.set_value();
    Settle();
    if (m_thread.joinable() && m_row.fires.front().moment == OnThread) {
        m_thread.join();
        Settle();
    }
}

void HostileEngine::FireAfter() {
    const std::vector<Fire>& fires = m_row.fires;
    for (std::size_t i = 0; i < fires.size(); ++i) {
        if (fires[i].moment != After) {
            continue;
        }
        std::unique_lock<std::mutex> firing(m_firing);
        std::thread([&, i] {
            Report(m_cast, fires[i]);
            for (std::size_t k = i + 1; k < fires.size() && fires[k].moment == AfterAtOnce; ++k) {
                Report(m_cast, fires[k]);
            }
        }).join();
        firing.unlock();
        Settle();
    }
    if (m_thread.joinable()) {
        m_letGo.set_value();
        m_thread.join();
        Settle();
    }
    m_lines = TakeLines();
}

void HostileEngine::Compare() {
    const std::string executes = m_row.executes;
    EXPECT_EQ(Executing(), executes.empty() ? std::string() : m_cast[executes[0]].printed);

    EXPECT_EQ(Account([&](vaxothread_id id) { return id == m_worker0; }),
              LinesOf(m_cast, m_row.worker0));
    if (std::string(m_row.threads) != "*") {
        const vaxothread_id self = vaxothread_selfid();
        EXPECT_EQ(Account([&](vaxothread_id id) {
                      return id != m_worker0 && id != m_worker2 && id != self;
                  }),
                  LinesOf(m_cast, m_row.threads));
    }
    CompareHeard();

    // Whoever reports from another thread waits until the pass with the call is over.
    const Texts all = TextsOf(m_lines);
    const std::string done = LinesOf(m_cast, "done A")[0];
    const auto ended = std::find_if(m_lines.begin(), m_lines.end(), [&](const Line& line) {
        return line.text == done && line.thread != m_worker0;
    });
    if (ended != m_lines.end()) {
        const auto over = std::find(all.begin(), all.end(), LinesOf(m_cast, "waits A")[0]);
        EXPECT_LT(over - all.begin(), ended - m_lines.begin());
    }
    if (m_row.passes >= 0) {
        EXPECT_EQ(Count(s_pass), m_passes + m_stops + m_row.passes);
    }
}

void HostileEngine::CompareHeard() {
    const std::string anyOrder = "any order: ";
    std::string words = m_row.heard;
    Texts heard = Account([&](vaxothread_id id) { return id == m_worker2; });
    const bool isOpen = StartsWith(words, anyOrder);
    Texts expected = LinesOf(m_cast, isOpen ? words.substr(anyOrder.size()) : words);
    if (isOpen) {
        std::sort(heard.begin(), heard.end());
        std::sort(expected.begin(), expected.end());
    }
    EXPECT_EQ(heard, expected);
}

// Answers what holds the queue with its own event until nothing does: no command was
// lost or begun twice on the way.
void HostileEngine::AnswerAll() {
    for (int left = 2; left > 0 && !Executing().empty(); --left) {
        const char holder = Executing() == m_cast.first.printed ? 'A' : 'N';
        std::thread([&] { Report(m_cast[holder], 0, nullptr); }).join();
        Settle();
    }
    EXPECT_EQ(Executing(), "");
    const std::vector<Line> rest = TakeLines();
    m_lines.insert(m_lines.end(), rest.begin(), rest.end());
    m_before.clear();
    const bool isThere = m_row.behind != BehindUninit;
    EXPECT_EQ(Count(m_cast.next.call), isThere ? 1 : 0);
    EXPECT_EQ(Count(m_cast.marker.call), isThere ? 1 : 0);
    queue->StartCmdExecute();
    Settle();
    EXPECT_EQ(Take(), (Texts{s_pass, "log 3 CmdQueue: > no cmd enqueued."}));
}

void HostileEngine::Forget() {
    proxy->Uninit();
    Settle();
    ResetScript();
    Take();
}

// On worker 0. The StopPublish of a Logout is answered at once, as by a good engine, but
// not before the event that let it begin has been dealt with: that asks whether a
// LeaveRoom waits only after it has ended its command.
void HostileEngine::OnEngineCall(const std::string& operation) {
    TheScript().status[operation] = 0;
    if (!m_begun && operation == m_cast.first.operation) {
        m_begun = true;
        TheScript().status[operation] = m_row.status;
        PlayFirstCall();
    } else if (operation == "StopPublishing" && m_cast.next.kind != HoldStopPublish) {
        const std::lock_guard<std::mutex> fired(m_firing);
        Report(m_cast.stopPublish, Mediq::AVStateEnd, nullptr);
        ++m_stops;
    }
}

void HostileEngine::PlayFirstCall() {
    m_entered.set_value();
    m_goOn.get_future().wait();
    const std::vector<Fire>& fires = m_row.fires;
    for (const Fire& fire : fires) {
        if (fire.moment == Inside) {
            Report(m_cast, fire);
        }
    }
    if (fires.empty() || (fires.front().moment != OnThread && fires.front().moment != HeldBack)) {
        return;
    }
    const Moment moment = fires.front().moment;
    const std::string report = "SetCmdExecuteCmdDone, cmd type: " + m_cast.first.description;
    if (moment == HeldBack) {
        const std::lock_guard<std::mutex> lock(m_holdMutex);
        m_holdAt = report;
    }
    m_thread = std::thread([this, moment, report] {
        for (const Fire& fire : m_row.fires) {
            if (fire.moment == moment) {
                Report(m_cast, fire);
            }
        }
        IsHeld(report);  // it never came to that: the call need not wait
    });
    if (moment == HeldBack) {
        m_held.get_future().wait();
    }
}

// What the threads in question wrote from A's call on.
Texts HostileEngine::Account(const std::function<bool(vaxothread_id)>& isOf) const {
    Texts account;
    for (const Line& line : m_lines) {
        if (isOf(line.thread) && !IsLeftOut(line.text)) {
            account.push_back(line.text);
        }
    }
    return account;
}

// How often a line was written: in the row's part of the run with what led up to it,
// after it without.
long HostileEngine::Count(const std::string& text) const {
    const auto isIt = [&](const Line& line) { return line.text == text; };
    return static_cast<long>(std::count_if(m_before.begin(), m_before.end(), isIt) +
                             std::count_if(m_lines.begin(), m_lines.end(), isIt));
}

}  // namespace livetest
