// Eight callers on threads of their own, and one inside the callbacks.
//
// A crowd lives on a stage that has been set up for it, and brings the stage to rest.
#ifndef VAXO_TESTS_LIVE_STRESSCROWD_H
#define VAXO_TESTS_LIVE_STRESSCROWD_H

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "kernel/live/StressCaller.h"
#include "kernel/live/StressStage.h"

namespace livetest {

const unsigned int s_callers = 8;

class Crowd {
public:
    typedef void (Caller::*Action)();

    Crowd(unsigned int seed, Stage& stage)
        : m_stage(stage), m_random(seed), m_inCallbacks(s_callers + 1, seed, stage) {
        const auto inside = [this] {
            if (m_open.load(std::memory_order_relaxed) && m_random.Once(8)) {
                m_inCallbacks.Step();
            }
        };
        for (unsigned int number = 1; number <= s_callers; ++number) {
            callers.push_back(std::make_unique<Caller>(number, seed, stage, inside));
        }
        callers[0]->ReplaceCallback();
        stage.proxy->Init(7, Key());
        stage.AwaitMyCommands();
    }

    // Each thread does what `action` tells. `waits`: and waits for its own commands now and
    // then, so that no long list of waiting commands builds up.
    void Run(unsigned int steps, bool waits,
             const std::function<Action(unsigned int caller)>& action) {
        std::vector<std::thread> threads;
        for (unsigned int number = 0; number < s_callers; ++number) {
            threads.emplace_back([this, steps, waits, action = action(number), number] {
                for (unsigned int step = 1; step <= steps; ++step) {
                    (callers[number].get()->*action)();
                    if (waits && step % 8 == 0) {
                        m_stage.AwaitMyCommands();
                    }
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    void ComeToRest() {
        m_open = false;
        m_stage.ComeToRest();
    }

    long Calls(const std::string& operation) {
        long all = m_inCallbacks.calls[operation];
        for (const auto& caller : callers) {
            all += caller->calls[operation];
        }
        return all;
    }

    // Tags of refused calls never ran. Answers the number of refusals.
    long CheckTags() {
        const std::set<unsigned int> ran(m_stage.Tags().begin(), m_stage.Tags().end());
        EXPECT_EQ(ran.size(), m_stage.Tags().size()) << "run twice";
        long refusals = 0;
        std::set<unsigned int> accepted(m_inCallbacks.accepted.begin(),
                                        m_inCallbacks.accepted.end());
        for (const auto& caller : callers) {
            accepted.insert(caller->accepted.begin(), caller->accepted.end());
            refusals += static_cast<long>(caller->refused.size());
        }
        refusals += static_cast<long>(m_inCallbacks.refused.size());
        EXPECT_TRUE(std::includes(accepted.begin(), accepted.end(), ran.begin(), ran.end()))
            << "run, but not accepted";
        return refusals;
    }

    // Of a followed queue: what was accepted is what was called, and what the Logouts
    // called: each stops all that the engine of its moment listed, if there was one.
    void CheckCalls() {
        QueueFollower::Counts& added = m_stage.follower.added;
        EXPECT_EQ(Calls("PlayStream"), added["PlayStream"]);
        EXPECT_EQ(Calls("StartPublishing"), added["StartPublish"]);
        EXPECT_EQ(Calls("GetStreamList"), added["GetInRoom"]);
        EXPECT_EQ(Calls("Logout"), added["LeaveRoom"]);
        const long withEngine = added["StopPublish"] - Calls("StopPublishing");
        EXPECT_EQ(Calls("StopPlayStream") + 2 * withEngine, added["StopStream"]);
        EXPECT_LE(withEngine, Calls("Logout"));
        EXPECT_GT(withEngine, 0);
    }

    std::vector<std::unique_ptr<Caller>> callers;

private:
    Stage& m_stage;
    std::atomic<bool> m_open{true};
    Random m_random;  // worker 2 only, as the next one
    Caller m_inCallbacks;
};

}  // namespace livetest

#endif
