#include "vaxolog.h"

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "gtest/gtest.h"
#include "vaxologtesting.h"

namespace vaxolog_testing {
namespace {

TEST_F(VaxoLog, ALineReachesTheSinkAsItWasLogged) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_error, "CmdQueue", 88, "%s(%llu/%s)", "StartPublish", 7ULL, "stream");
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].level, 1);
    EXPECT_EQ(capture.lines[0].tag, "CmdQueue");
    EXPECT_EQ(capture.lines[0].line, 88);
    EXPECT_EQ(capture.lines[0].text, "StartPublish(7/stream)");
}

TEST_F(VaxoLog, TheSinkRunsOnTheLoggingThreadBeforeTheCallReturns) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    std::thread([&capture] {
        syslog(esyslog_generic, "T", 1, "other");
        const std::lock_guard<std::mutex> guard(capture.lock);
        ASSERT_EQ(capture.lines.size(), 1U);
        EXPECT_EQ(capture.lines[0].thread, std::this_thread::get_id());
    }).join();
}

TEST_F(VaxoLog, TheLevelsAreNumberedFromGrievousToDebug) {
    EXPECT_EQ(esyslog_grievous, 0);
    EXPECT_EQ(esyslog_error, 1);
    EXPECT_EQ(esyslog_warning, 2);
    EXPECT_EQ(esyslog_generic, 3);
    EXPECT_EQ(esyslog_debug, 4);
}

TEST_F(VaxoLog, NullTagNullFormatAndNullTextAreEmpty) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    g_logUnchecked(esyslog_error, nullptr, 1, "[%s]", nullptr);
    g_logUnchecked(esyslog_error, "T", 2, nullptr, nullptr);
    ASSERT_EQ(capture.lines.size(), 2U);
    EXPECT_EQ(capture.lines[0].tag, "");
    EXPECT_EQ(capture.lines[0].text, "[]");
    EXPECT_EQ(capture.lines[1].text, "");
}

TEST_F(VaxoLog, TheStoreConversionWritesNothing) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    int count = 5;
    g_logUnchecked(esyslog_error, "T", 1, "abc%n", &count);
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_EQ(capture.lines[0].text, "abc");
    EXPECT_EQ(count, 5);
}

TEST_F(VaxoLog, ALongLineReachesTheSinkWhole) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    const std::string text(kMebibyte, 'x');
    syslog(esyslog_generic, "T", 1, "<%s>", text.c_str());
    ASSERT_EQ(capture.lines.size(), 1U);
    EXPECT_TRUE(capture.lines[0].text == "<" + text + ">");
}

TEST_F(VaxoLog, LinesUpToTheLevelPassAndLinesAboveDoNot) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    const auto passed = [&capture](int32 limit) {
        vaxolog_set_level(limit);
        capture.lines.clear();
        for (const int32 level : {-1, 0, 1, 2, 3, 4, 5, INT_MAX}) {
            syslog(level, "T", 1, "line");
        }
        return capture.lines.size();
    };
    EXPECT_EQ(passed(esyslog_grievous), 2U);
    EXPECT_EQ(passed(esyslog_error), 3U);
    EXPECT_EQ(passed(esyslog_warning), 4U);
    EXPECT_EQ(passed(esyslog_generic), 5U);
    EXPECT_EQ(passed(esyslog_debug), 6U);
    EXPECT_EQ(passed(5), 8U) << "above the last level everything passes";
    EXPECT_EQ(passed(INT_MAX), 8U);
    EXPECT_EQ(passed(-1), 0U) << "below the first level nothing passes";
    EXPECT_EQ(passed(INT_MIN), 0U);
}

TEST_F(VaxoLog, ALineAboveTheLevelIsNotFormatted) {
    Capture capture;
    vaxolog_set_sink(Capture::Sink, &capture);
    syslog(esyslog_debug, "T", 1, "%s", Unreadable());
    EXPECT_TRUE(capture.lines.empty());
}

TEST_F(VaxoLog, ErrnoIsLeftAlone) {
    FunctionSink sink{[](const char*) { errno = EBADF; }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    errno = ENOENT;
    syslog(esyslog_error, "T", 1, "line");
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(VaxoLog, ASinkMayLogAndGetsThatLineNested) {
    std::vector<std::string> order;
    FunctionSink sink;
    sink.function = [&order](const char* text) {
        order.push_back(std::string("in ") + text);
        if (std::strcmp(text, "outer") == 0) {
            syslog(esyslog_error, "T", 2, "inner of %s", text);
        }
        order.push_back(std::string("out ") + text);
    };
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "outer");
    EXPECT_EQ(order, (std::vector<std::string>{"in outer", "in inner of outer",
                                               "out inner of outer", "out outer"}));
}

TEST_F(VaxoLog, ASinkMayReplaceItself) {
    Capture second;
    int calls = 0;
    FunctionSink first{[&](const char*) {
        ++calls;
        vaxolog_set_sink(Capture::Sink, &second);
        syslog(esyslog_error, "T", 2, "from inside");
    }};
    vaxolog_set_sink(FunctionSink::Sink, &first);
    syslog(esyslog_error, "T", 1, "one");
    syslog(esyslog_error, "T", 3, "two");
    EXPECT_EQ(calls, 1);
    ASSERT_EQ(second.lines.size(), 2U);
    EXPECT_EQ(second.lines[0].text, "from inside");
    EXPECT_EQ(second.lines[1].text, "two");
}

TEST_F(VaxoLog, ASinkMayReplaceItselfFromANestedCall) {
    Capture second;
    FunctionSink first{[&](const char* text) {
        if (std::strcmp(text, "nested") == 0) {
            vaxolog_set_sink(Capture::Sink, &second);
        } else {
            syslog(esyslog_error, "T", 2, "nested");
        }
    }};
    vaxolog_set_sink(FunctionSink::Sink, &first);
    syslog(esyslog_error, "T", 1, "outer");
    syslog(esyslog_error, "T", 3, "after");
    ASSERT_EQ(second.lines.size(), 1U);
    EXPECT_EQ(second.lines[0].text, "after");
}

TEST_F(VaxoLog, ReplacingASinkWaitsForItsCallsOnOtherThreads) {
    Gate entered;
    Gate replacing;
    std::atomic<bool> left{false};
    FunctionSink sink{[&](const char*) {
        entered.Open();
        replacing.Pass();
        // Time for a call that does not wait to come back too early.
        for (int i = 0; i < 2000; ++i) {
            std::this_thread::yield();
        }
        left = true;
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    std::thread logger([] { syslog(esyslog_error, "T", 1, "line"); });
    entered.Pass();
    replacing.Open();
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_TRUE(left);
    logger.join();
}

TEST_F(VaxoLog, TwoThreadsInsideOneSinkMayBothReplaceIt) {
    for (int round = 0; round < 50; ++round) {
        Capture last;
        std::atomic<int> inside{0};
        FunctionSink sink{[&](const char*) {
            for (++inside; inside < 2;) {
                std::this_thread::yield();
            }
            vaxolog_set_sink(Capture::Sink, &last);
        }};
        vaxolog_set_sink(FunctionSink::Sink, &sink);
        RunThreads(2, [](std::size_t) { syslog(esyslog_error, "T", 1, "both"); });
        syslog(esyslog_error, "T", 2, "after");
        vaxolog_set_sink(nullptr, nullptr);
        ASSERT_EQ(last.lines.size(), 1U);
    }
}

TEST_F(VaxoLog, AThreadThatIsWaitedForMayReplaceTheNextSink) {
    for (int round = 0; round < 50; ++round) {
        std::atomic<int> inside{0};
        std::atomic<bool> isDone{false};
        FunctionSink second{[&isDone](const char*) {
            vaxolog_set_sink(nullptr, nullptr);
            isDone = true;
        }};
        FunctionSink first{[&](const char* text) {
            if (std::strcmp(text, "probe") == 0) {
                return;
            }
            for (++inside; inside < 2;) {
                std::this_thread::yield();
            }
            if (std::strcmp(text, "0") == 0) {
                vaxolog_set_sink(FunctionSink::Sink, &second);  // waits for the other
            }
            while (!isDone) {
                syslog(esyslog_error, "T", 2, "probe");
            }
        }};
        vaxolog_set_sink(FunctionSink::Sink, &first);
        RunThreads(2, [](std::size_t i) { syslog(esyslog_error, "T", 1, "%zu", i); });
        EXPECT_TRUE(isDone);
    }
}

TEST_F(VaxoLog, NoCallReachesASinkAfterItWasReplacedWhileThreadsLog) {
    struct Context {
        std::atomic<int> running{0};
        std::atomic<int> calls{0};
    };
    const vaxolog_sink sink = [](void* context, int32, const char*, int32, const char*) {
        auto* counted = static_cast<Context*>(context);
        ++counted->running;
        ++counted->calls;
        --counted->running;
    };
    auto current = std::make_unique<Context>();
    vaxolog_set_sink(sink, current.get());
    std::atomic<bool> stop{false};
    std::thread loggers([&stop] {
        RunThreads(4, [&stop](std::size_t) {
            while (!stop) {
                syslog(esyslog_error, "T", 1, "line");
                std::this_thread::yield();
            }
        });
    });
    for (int i = 0; i < 50; ++i) {
        while (current->calls == 0) {
            std::this_thread::yield();
        }
        auto next = std::make_unique<Context>();
        vaxolog_set_sink(sink, next.get());
        EXPECT_EQ(current->running, 0);
        current = std::move(next);  // frees the former, whose use the sanitizers would see
    }
    stop = true;
    loggers.join();
}

TEST_F(VaxoLog, ASinkMayFlushAndOpenAndChangeTheLevel) {
    const std::string path = Path();
    std::vector<int32> results;
    FunctionSink sink{[&](const char*) {
        vaxolog_flush();
        results.push_back(vaxolog_open(path.c_str()));
        vaxolog_set_level(esyslog_grievous);
    }};
    vaxolog_set_sink(FunctionSink::Sink, &sink);
    syslog(esyslog_error, "T", 1, "first");
    syslog(esyslog_error, "T", 1, "above the new level");
    EXPECT_EQ(results, std::vector<int32>{0});
}

}  // namespace
}  // namespace vaxolog_testing
