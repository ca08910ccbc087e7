// Callbacks are replaced on four threads while events come on four others, and their
// destructors use the proxy, on whatever thread they go.
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "kernel/live/StressEngine.h"
#include "kernel/live/StressEvents.h"
#include "kernel/live/StressStage.h"
#include "utils/VaxoQueueRunner.h"

namespace {

using livetest::CallbackTimes;
using livetest::EventBook;
using livetest::Kind;
using livetest::Random;
using livetest::StressApp;

const unsigned int s_senders = 4;
const unsigned int s_replacers = 4;
const unsigned int s_events = 3000;
const unsigned int s_replacements = 3000;

void InThreads(unsigned int count, std::vector<std::thread>* threads,
               const std::function<void(unsigned int)>& body) {
    for (unsigned int number = 0; number < count; ++number) {
        threads->emplace_back(body, number);
    }
}

class LiveProxyCallbacks : public ::testing::Test {
protected:
    LiveProxyCallbacks() {
        proxy->Init(7, livetest::Key());
        Rest();
    }
    ~LiveProxyCallbacks() override {
        proxy->SetCallback({});
        proxy->Uninit();
        Rest();
        EXPECT_EQ(StressApp::Alive(), 0);
    }

    static void Rest() {
        auto* const runner = CVaxoQueueRunner::GetSharedInstance();
        runner->SyncRun([] {}, 2);
        runner->SyncRun([] {}, 0);
    }

    // Waits for the events now and then, so that no long list of them builds up.
    void SendAll(EventBook& book, unsigned int sender) {
        Random random(seed + sender);
        for (unsigned int i = 1; i <= s_events; ++i) {
            book.Send(sender, static_cast<Kind>(random.Below(livetest::s_kinds)), *proxy);
            if (i % 64 == 0) {
                CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 2);
            }
        }
    }

    void Run(EventBook& book, const std::function<void(unsigned int)>& replace) {
        std::vector<std::thread> threads;
        InThreads(s_senders, &threads, [&](unsigned int sender) { SendAll(book, sender); });
        InThreads(s_replacers, &threads, replace);
        for (std::thread& thread : threads) {
            thread.join();
        }
        proxy->SetCallback({});
        Rest();
        m_lasting.reset();
        book.Check();
    }

    // What the destructors of callbacks do.
    void UseTheProxy() {
        switch (m_gone.fetch_add(1, std::memory_order_relaxed) % 4) {
            case 0:
                EXPECT_EQ(livetest::Plain(proxy->GetLiveChannel()), "room");
                break;
            case 1:
                EXPECT_EQ(proxy->EnableMic(true), 0);
                break;
            case 2:
                EXPECT_EQ(proxy->SetCallback(m_lasting), 0);
                break;
            default:
                EXPECT_EQ(Strova::CVaxoLiveProxy::GetInstance(), proxy);
                break;
        }
    }

    // Callbacks come and go on one thread. Something is set at any moment.
    void ReplaceAll(EventBook& book, CallbackTimes* times) {
        std::shared_ptr<StressApp> app;
        for (unsigned int i = 0; i < s_replacements; ++i) {
            const auto next = std::make_shared<StressApp>(
                book, [] {}, [this] { UseTheProxy(); });
            proxy->SetCallback(next);
            if (times != nullptr && app) {
                app->Replaced(times->Tick());
            }
            app = next;
        }
        proxy->SetCallback(m_lasting);
    }

    // Once in a while there is none, or one that is gone.
    void ReplaceWithGaps(EventBook& book, CallbackTimes& times, unsigned int replacer) {
        Random random(seed + 10 + replacer);
        std::shared_ptr<StressApp> app;
        for (unsigned int i = 0; i < s_replacements; ++i) {
            const auto next = std::make_shared<StressApp>(book);
            if (random.Once(8)) {
                times.OpenGap();
                if (random.Once(2)) {
                    proxy->SetCallback({});
                }
                app.reset();
                proxy->SetCallback(next);
                times.CloseGap();
            }
            proxy->SetCallback(next);
            app = next;
        }
        proxy->SetCallback(m_lasting);
    }

    void SetLasting(EventBook& book) {
        m_lasting = std::make_shared<StressApp>(book);
        proxy->SetCallback(m_lasting);
    }

    const unsigned int seed = livetest::NewSeed();
    const std::shared_ptr<Strova::CVaxoLiveProxy> proxy = Strova::CVaxoLiveProxy::GetInstance();

private:
    std::shared_ptr<StressApp> m_lasting;
    std::atomic<unsigned int> m_gone{0};
};

}  // namespace

// The test itself orders nothing here: see EventBook.
TEST_F(LiveProxyCallbacks, EveryEventComesToOneOfThemOnce) {
    EventBook book(s_senders, nullptr, false);
    SetLasting(book);
    Run(book, [&](unsigned int) { ReplaceAll(book, nullptr); });
}

TEST_F(LiveProxyCallbacks, AReplacedOneHearsNothingThatBeganAfterwards) {
    CallbackTimes times;
    EventBook book(s_senders, &times, false);
    SetLasting(book);
    Run(book, [&](unsigned int) { ReplaceAll(book, &times); });
}

TEST_F(LiveProxyCallbacks, OnlyWhereThereMayBeNoneIsAnEventLost) {
    CallbackTimes times;
    EventBook book(s_senders, &times, false);
    SetLasting(book);
    Run(book, [&](unsigned int replacer) { ReplaceWithGaps(book, times, replacer); });
}
