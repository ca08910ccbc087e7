#include "engine/capture/AuxSource.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "vaxolog.h"

namespace {

using vaxoengine::AuxSound;
using vaxoengine::AuxSource;

constexpr std::chrono::seconds kLong{20};

// Counts under a lock, and wakes who waits for a number.
class Counter {
public:
    void Add() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        ++m_count;
        m_changed.notify_all();
    }
    int Count() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_count;
    }
    bool WaitFor(int count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kLong, [&] { return m_count >= count; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_count = 0;
};

struct Answer {
    int bytes = 1920;
    int rate = 48000;
    int channels = 2;
};

class Callback : public Mediq::IVaxoAuxCallback {
public:
    void OnAuxCallback(unsigned char* data, int* bytes, int* rate, int* channels) override {
        room = *bytes;
        presetRate = *rate;
        presetChannels = *channels;
        data[0] = 1;
        data[*bytes - 1] = 2;
        *bytes = answer.bytes;
        *rate = answer.rate;
        *channels = answer.channels;
        if (inside) {
            inside();
        }
        calls.Add();
    }

    Counter calls;
    Answer answer;  // set before the source is enabled
    std::function<void()> inside;
    int room = 0;
    int presetRate = 0;
    int presetChannels = 0;
};

struct Heard {
    Counter count;
    std::atomic<int> bytes{0};
    std::atomic<int> rate{0};
    std::atomic<int> channels{0};

    std::function<void(const AuxSound&)> Sink() {
        return [this](const AuxSound& sound) {
            bytes = sound.bytes;
            rate = sound.sampleRate;
            channels = sound.channels;
            count.Add();
        };
    }
};

TEST(AuxSource, OffersTenMillisecondsAndPassesTheAnswerOn) {
    Heard heard;
    Callback callback;
    callback.answer = {441 * 2, 44100, 1};
    AuxSource source(heard.Sink());
    source.SetCallback(&callback);
    source.Enable(true);
    ASSERT_TRUE(heard.count.WaitFor(3));
    source.Enable(false);
    EXPECT_EQ(callback.room, 1920);
    EXPECT_EQ(callback.presetRate, 48000);
    EXPECT_EQ(callback.presetChannels, 2);
    EXPECT_EQ(heard.bytes, 882);
    EXPECT_EQ(heard.rate, 44100);
    EXPECT_EQ(heard.channels, 1);
}

TEST(AuxSource, AsksNobodyUntilItIsEnabledWithACallback) {
    Heard heard;
    Callback first;
    Callback second;
    AuxSource source(heard.Sink());
    source.SetCallback(&first);
    source.SetCallback(nullptr);
    source.Enable(true);
    source.SetCallback(&second);
    ASSERT_TRUE(second.calls.WaitFor(2));
    source.SetCallback(nullptr);
    EXPECT_EQ(first.calls.Count(), 0);
}

struct Lines {
    std::mutex mutex;
    int ignored = 0;

    static void Sink(void* context, int32 /*level*/, const char* /*tag*/, int32 /*line*/,
                     const char* text) {
        auto& lines = *static_cast<Lines*>(context);
        const std::lock_guard<std::mutex> lock(lines.mutex);
        lines.ignored += std::string(text).find("auxiliary sound ignored") != std::string::npos;
    }
};

class OddAnswer : public testing::TestWithParam<Answer> {};

TEST_P(OddAnswer, IsIgnoredAndLoggedOnce) {
    Lines lines;
    vaxolog_set_sink(Lines::Sink, &lines);
    Heard heard;
    Callback callback;
    callback.answer = GetParam();
    {
        AuxSource source(heard.Sink());
        source.SetCallback(&callback);
        source.Enable(true);
        EXPECT_TRUE(callback.calls.WaitFor(4));
    }
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_EQ(heard.count.Count(), 0);
    EXPECT_EQ(lines.ignored, 1);
}

INSTANTIATE_TEST_SUITE_P(AuxSource, OddAnswer,
                         testing::Values(Answer{1924, 48000, 2}, Answer{-4, 48000, 2},
                                         Answer{1919, 48000, 2}, Answer{1918, 48000, 2},
                                         Answer{960, 7999, 2}, Answer{960, 48001, 2},
                                         Answer{960, 0, 2}, Answer{960, 48000, 0},
                                         Answer{960, 48000, 3}, Answer{960, 48000, -1},
                                         Answer{2147483647, 48000, 2}));

TEST(AuxSource, NothingNowIsNoMistake) {
    Lines lines;
    vaxolog_set_sink(Lines::Sink, &lines);
    Heard heard;
    Callback callback;
    callback.answer = {0, 48000, 2};
    {
        AuxSource source(heard.Sink());
        source.SetCallback(&callback);
        source.Enable(true);
        EXPECT_TRUE(callback.calls.WaitFor(3));
    }
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_EQ(heard.count.Count(), 0);
    EXPECT_EQ(lines.ignored, 0);
}

TEST(AuxSource, TakingTheCallbackAwayWaitsForACallThatRuns) {
    for (const bool disable : {false, true}) {
        Heard heard;
        Callback callback;
        Counter entered;
        std::atomic<bool> mayGo{false};
        std::atomic<bool> left{false};
        callback.inside = [&] {
            entered.Add();
            while (!mayGo) {
                std::this_thread::yield();
            }
            left = true;
        };
        AuxSource source(heard.Sink());
        source.SetCallback(&callback);
        source.Enable(true);
        ASSERT_TRUE(entered.WaitFor(1));
        Counter taking;
        std::thread taker([&] {
            taking.Add();
            if (disable) {
                source.Enable(false);
            } else {
                source.SetCallback(nullptr);
            }
            EXPECT_TRUE(left) << "it came back while the call was running";
        });
        EXPECT_TRUE(taking.WaitFor(1));
        for (int i = 0; i < 1000; ++i) {
            std::this_thread::yield();
        }
        mayGo = true;
        taker.join();
        EXPECT_EQ(callback.calls.Count(), 1) << "asked again after it was taken away";
    }
}

TEST(AuxSource, MayBeSwitchedOffFromInsideTheCall) {
    for (const bool disable : {false, true}) {
        Heard heard;
        Callback callback;
        Callback other;
        AuxSource source(heard.Sink());
        callback.inside = [&] {
            if (disable) {
                source.Enable(false);
            } else {
                source.SetCallback(nullptr);
            }
        };
        source.SetCallback(&callback);
        source.Enable(true);
        ASSERT_TRUE(callback.calls.WaitFor(1));
        // The thread lives on and serves another one.
        source.SetCallback(&other);
        source.Enable(true);
        ASSERT_TRUE(other.calls.WaitFor(2));
        EXPECT_EQ(callback.calls.Count(), 1);
    }
}

TEST(AuxSource, NoCallComesAfterTheCallbackWasTakenAway) {
    Heard heard;
    AuxSource source(heard.Sink());
    source.Enable(true);
    for (int round = 0; round < 10; ++round) {
        auto callback = std::make_unique<Callback>();
        source.SetCallback(callback.get());
        ASSERT_TRUE(callback->calls.WaitFor(1));
        source.SetCallback(nullptr);
        callback.reset();  // a later call would use freed memory
    }
    Callback last;
    source.SetCallback(&last);
    EXPECT_TRUE(last.calls.WaitFor(2));
}

}  // namespace
