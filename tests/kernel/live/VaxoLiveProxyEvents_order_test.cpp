// The order of an event's steps, and of events that several threads give: a command is
// completed before its event is posted, and what was posted arrives in that order.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/LiveEventCases.h"
#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/LiveProxySteps.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxolog.h"

namespace {

using livetest::Concat;
using livetest::EventCase;
using livetest::OfThread;
using livetest::OnEngineThread;
using livetest::Settle;
using livetest::TakeLines;
using livetest::TakeOnly;
using livetest::Texts;

class LiveEventOrder : public livetest::LiveEventFixture {
protected:
    // From here on whoever completes a command waits, at its first line about that, until
    // the application has heard everything that is posted.
    static void StopAtCompletions() { vaxolog_set_sink(&StoppingSink, nullptr); }

private:
    static void StoppingSink(void* /*context*/, int32 level, const char* tag, int32 /*line*/,
                             const char* text) {
        const std::string line(text);
        if (line.compare(0, 21, "SetCmdExecuteCmdDone,") == 0) {
            CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
        }
        livetest::Note("log " + std::to_string(level) + " " + tag + ": " + line);
    }
};

class LiveAnswerOrder : public LiveEventOrder, public ::testing::WithParamInterface<EventCase> {};

}  // namespace

TEST_P(LiveAnswerOrder, TheCommandIsCompletedBeforeTheEventIsPosted) {
    const EventCase& event = GetParam();
    StopAtCompletions();
    int completed = 0;
    for (int type = 1; type <= 6; ++type) {
        if (event.asks[type] != type) {
            continue;
        }
        ++completed;
        Execute(type);
        OnEngineThread(event.fire);
        Settle();
        Texts lines;
        for (const livetest::Line& line : TakeLines()) {
            if (line.thread != livetest::Worker0()) {
                lines.push_back(line.text);
            }
        }
        EXPECT_EQ(lines, Concat(Completion(event, type), event.delivered));
    }
    EXPECT_GT(completed, 0);
}

INSTANTIATE_TEST_SUITE_P(Each, LiveAnswerOrder, ::testing::ValuesIn(livetest::CompletingEvents()),
                         livetest::NameOf);

TEST_F(LiveEventOrder, ManyThreadsMayGiveEventsAtOnce) {
    const int each = 200;
    const auto callback = livetest::EngineCallback();
    std::vector<std::thread> engines;
    for (int number = 0; number < 3; ++number) {
        engines.emplace_back([&callback, number] {
            for (int i = 0; i < each; ++i) {
                callback->OnCountsUpdate(static_cast<unsigned int>(number),
                                         static_cast<unsigned int>(i));
                callback->OnPublishStateUpdate(Mediq::AVStateBegin, "s");
                callback->OnGetStreamList(0);
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        proxy->StartPublishing("t", "s", "r");
        proxy->GetStreamList("u", "n", "r", 0);
    }
    for (std::thread& engine : engines) {
        engine.join();
    }
    Settle();
    std::vector<int> next(3, 0);
    int heard = 0;
    for (const std::string& line : TakeOnly("app: ")) {
        ++heard;
        for (int number = 0; number < 3; ++number) {
            const std::string from = "app: OnCountsUpdate(" + std::to_string(number) + ", ";
            if (line.compare(0, from.size(), from) == 0) {
                EXPECT_EQ(line,
                          from + std::to_string(next[static_cast<std::size_t>(number)]++) + ")");
            }
        }
    }
    EXPECT_EQ(heard, 3 * 3 * each);
}
