// Many threads offer, two threads report completions, and the account must come
// out even: every accepted command that no join removed runs exactly once, in the
// order accepted, never two at once.
#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <deque>
#include <mutex>
#include <random>
#include <thread>

#include "kernel/avmgr/CmdQueueFixture.h"

namespace {

const uint64 s_producers = 8;
const uint64 s_cmdsPerProducer = 1000;
const int s_mostOutstanding = 32;  // keeps the walk over the waiting commands short

// A fixed, well-mixed answer for each pair of commands: one in sixteen removes,
// one in sixteen refuses.
VaxoAVMgrCmdJoinResult Answer(uint64 former, uint64 later) {
    const uint64 mixed = (former * 0x9E3779B97F4A7C15ULL) ^ (later * 0xC2B2AE3D27D4EB4FULL);
    switch ((mixed >> 32U) % 16) {
        case 0:
            return CmdJoin_InvalidateFormer;
        case 1:
            return CmdJoin_InvalidateLater;
        default:
            return CmdJoin_CoExist;
    }
}

// Counts the commands that wait, so that producers pause instead of piling up.
class Tickets {
public:
    void Acquire() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_taken < s_mostOutstanding; });
        ++m_taken;
    }
    void Release() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        --m_taken;
        m_changed.notify_all();
    }
    void WaitForNone() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait(lock, [this] { return m_taken == 0; });
    }

private:
    std::mutex m_mutex;
    std::condition_variable m_changed;
    int m_taken = 0;
};

// The engine's side: reports completions on threads of its own, now and then one
// that nobody waits for.
class Completer {
public:
    explicit Completer(CVaxoAVMgrCmdQueue& queue) : m_queue(queue) {
        for (uint32 seed = 0; seed < 2; ++seed) {
            m_threads.emplace_back([this, seed] { Run(seed); });
        }
    }
    ~Completer() {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_stop = true;
        }
        m_changed.notify_all();
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }
    Completer(const Completer&) = delete;
    Completer& operator=(const Completer&) = delete;

    void Post(VaxoAVMgrCmdType type) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_types.push_back(type);
        }
        m_changed.notify_one();
    }

private:
    void Run(uint32 seed) {
        std::mt19937 random(seed);
        for (;;) {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_changed.wait(lock, [this] { return m_stop || !m_types.empty(); });
            if (m_types.empty()) {
                return;
            }
            const VaxoAVMgrCmdType type = m_types.front();
            m_types.pop_front();
            lock.unlock();
            m_queue.SetCmdExecuteCmdDone(type);
            if (random() % 8 == 0) {
                m_queue.SetCmdExecuteCmdDone(
                    static_cast<VaxoAVMgrCmdType>(1 + static_cast<int32>(random() % 7)));
            }
        }
    }

    CVaxoAVMgrCmdQueue& m_queue;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<VaxoAVMgrCmdType> m_types;
    bool m_stop = false;
    std::vector<std::thread> m_threads;
};

// Notes the order of acceptance, which the "added" lines give: they are written
// under the list's lock.
class AcceptanceOrder {
public:
    AcceptanceOrder() { vaxolog_set_sink(&AcceptanceOrder::Sink, this); }
    ~AcceptanceOrder() { vaxolog_set_sink(nullptr, nullptr); }
    AcceptanceOrder(const AcceptanceOrder&) = delete;
    AcceptanceOrder& operator=(const AcceptanceOrder&) = delete;

    std::vector<uint64> ids;  // under the list's lock; read when all is done

private:
    static void Sink(void* context, int32 /*level*/, const char* /*tag*/, int32 /*line*/,
                     const char* text) {
        if (std::strncmp(text, ">> added ", 9) == 0) {
            static_cast<AcceptanceOrder*>(context)->ids.push_back(
                std::strtoull(std::strchr(text, '(') + 1, nullptr, 10));
        }
    }
};

class Observer final : public IVaxoAVMgrCmdQueueCallback {
public:
    explicit Observer(Tickets& tickets) : m_tickets(tickets) {}
    void OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd> removed) override {
        ids.push_back(removed->ddwExtraData);
        m_tickets.Release();
    }
    std::vector<uint64> ids;  // under the list's lock; read when all is done

private:
    Tickets& m_tickets;
};

struct Account {
    std::vector<uint64> executed;  // worker 0 only
    std::atomic<int> running{0};
    std::atomic<bool> overlapped{false};
};

}  // namespace

TEST(CmdQueueStress, EveryAcceptedCommandThatWasNotRemovedRunsOnceInOrderNeverTwoAtOnce) {
    AcceptanceOrder accepted;
    Tickets tickets;
    Account account;
    CVaxoAVMgrCmdQueue queue;
    Observer observer(tickets);
    queue.SetCallback(&observer);
    std::atomic<uint64> refused{0};
    {
        Completer completer(queue);
        const auto produce = [&](uint64 producer) {
            std::mt19937 random(static_cast<uint32>(producer));
            for (uint64 i = 0; i < s_cmdsPerProducer; ++i) {
                const uint64 id = producer * s_cmdsPerProducer + i;
                const auto type =
                    static_cast<VaxoAVMgrCmdType>(1 + static_cast<int32>(random() % 7));
                const bool inside = random() % 4 == 0;
                const int32 status = random() % 8 == 0 ? -1 : 0;
                tickets.Acquire();
                auto cmd = std::make_shared<VaxoAVMgrCmd>(
                    type,
                    [&, id, type, inside, status] {
                        if (account.running.fetch_add(1) != 0) {
                            account.overlapped.store(true);
                        }
                        account.executed.push_back(id);
                        if (type != SyncCmd && inside) {
                            queue.SetCmdExecuteCmdDone(type);
                        } else if (type != SyncCmd) {
                            completer.Post(type);
                        }
                        account.running.fetch_sub(1);
                        tickets.Release();
                        return status;
                    },
                    [id](std::shared_ptr<VaxoAVMgrCmd> later) {
                        return Answer(id, later->ddwExtraData);
                    });
                cmd->ddwExtraData = id;
                if (queue.AddCmd(cmd) == CmdJoin_InvalidateLater) {
                    refused.fetch_add(1);
                    tickets.Release();
                }
                queue.StartCmdExecute();
            }
        };
        std::vector<std::thread> producers;
        for (uint64 producer = 0; producer < s_producers; ++producer) {
            producers.emplace_back(produce, producer);
        }
        for (std::thread& thread : producers) {
            thread.join();
        }
        tickets.WaitForNone();
    }
    WaitForWorker0();
    queue.SetCallback(nullptr);

    EXPECT_FALSE(account.overlapped.load());
    EXPECT_EQ(accepted.ids.size() + refused.load(), s_producers * s_cmdsPerProducer);
    EXPECT_GT(refused.load(), 0U);
    EXPECT_GT(observer.ids.size(), 0U);
    std::vector<uint64> expected;
    const std::vector<uint64>& gone = observer.ids;
    std::vector<bool> removed(s_producers * s_cmdsPerProducer, false);
    for (const uint64 id : gone) {
        EXPECT_FALSE(removed[static_cast<std::size_t>(id)]) << "removed twice: " << id;
        removed[static_cast<std::size_t>(id)] = true;
    }
    for (const uint64 id : accepted.ids) {
        if (!removed[static_cast<std::size_t>(id)]) {
            expected.push_back(id);
        }
    }
    EXPECT_EQ(account.executed, expected);
    EXPECT_FALSE(queue.GetExecutingCmd());
}
