// PostAndRun: so many threads post small jobs to one worker. The time is from the first post
// until the last job has run; how the threads are made, and how the measuring thread learns of
// the end, is outside it.
//
// A round is kJobs jobs in all, whatever the number of producers, so the backlog is bounded.
// One producer and the worker have a core each. Several producers go where the kernel puts them:
// their time holds how late the last of them was woken and, on few cores, that one waits for
// another, the same for all peers.
#ifndef VAXO_BENCH_RUNNER_POSTANDRUN_H
#define VAXO_BENCH_RUNNER_POSTANDRUN_H

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

#include "runner/Peer.h"
#include "runner/Placement.h"
#include "runner/Samples.h"

namespace vaxoengine {

// Where threads wait to be started together, again and again.
class Gate {
public:
    explicit Gate(std::size_t threads) : m_threads(threads) {}

    // Waits at the gate; false: no more rounds. Each of the threads calls it again and again.
    bool Pass() {
        std::unique_lock<std::mutex> lock(m_mutex);
        const std::size_t round = m_round;
        ++m_waiting;
        m_arrived.notify_one();
        m_opened.wait(lock, [this, round] { return m_round != round; });
        return !m_closed;
    }

    // Returns when all the threads wait.
    void AwaitAll() {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_arrived.wait(lock, [this] { return m_waiting == m_threads; });
    }

    // Lets them pass. All of them must be waiting.
    void Open(bool last = false) {
        const std::lock_guard<std::mutex> guard(m_mutex);
        m_closed = last;
        m_waiting = 0;
        ++m_round;
        m_opened.notify_all();
    }

private:
    const std::size_t m_threads;
    std::mutex m_mutex;
    std::condition_variable m_arrived;
    std::condition_variable m_opened;
    std::size_t m_waiting = 0;
    std::size_t m_round = 0;
    bool m_closed = false;
};

// Counts the jobs of a round; the last one takes the time. It counts instead of knowing which
// one is last, because not every peer keeps the order.
class Round {
public:
    explicit Round(std::size_t jobs) : m_jobs(jobs) {}

    // One job at a time. A load and a store, no more than a plain integer costs; atomic, in
    // case a peer's jobs run on one thread after another.
    void Ran() {
        const std::size_t ran = m_ran.load(std::memory_order_relaxed) + 1;
        m_ran.store(ran, std::memory_order_relaxed);
        if (ran == m_jobs) {
            m_end = Clock::now();
            m_finished.Signal();
        }
    }

    // Waits for the last job, gets ready for the next round and tells when the last one ran.
    Clock::time_point AwaitEnd() {
        m_finished.Wait();
        m_ran.store(0, std::memory_order_relaxed);
        return m_end;
    }

private:
    const std::size_t m_jobs;
    std::atomic<std::size_t> m_ran{0};
    Clock::time_point m_end;
    Event m_finished;
};

// Threads that post the jobs of a round when they are let go.
template <class Peer>
class Producers {
public:
    // They stay on the cores of the thread that makes them.
    Producers(Peer& peer, Round& round, std::size_t threads, std::size_t jobs_each)
        : m_gate(threads), m_begun(threads) {
        for (std::size_t i = 0; i < threads; ++i) {
            m_threads.emplace_back([this, &peer, &round, i, jobs_each] {
                while (m_gate.Pass()) {
                    m_begun[i] = Clock::now();
                    for (std::size_t job = 0; job < jobs_each; ++job) {
                        peer.Post([&round] { round.Ran(); });
                    }
                }
            });
        }
        m_gate.AwaitAll();
    }

    ~Producers() {
        m_gate.Open(true);
        for (std::thread& thread : m_threads) {
            thread.join();
        }
    }

    Producers(const Producers&) = delete;
    Producers& operator=(const Producers&) = delete;

    // Has every thread post its jobs and tells when the first of them began.
    Clock::time_point PostAll() {
        m_gate.Open();
        m_gate.AwaitAll();
        return *std::min_element(m_begun.begin(), m_begun.end());
    }

private:
    Gate m_gate;
    std::vector<Clock::time_point> m_begun;  // each thread writes its own; read at the gate
    std::vector<std::thread> m_threads;
};

template <class Peer>
void PostAndRun(benchmark::State& state, std::size_t producers) {
    const std::size_t kJobs = 2000;
    Peer peer;
    peer.Call([] {});  // from here on the thread is there
    std::optional<Placed> placed;
    if (producers == 1) {
        placed.emplace(peer, Placement::kApart);
    }
    Round round(kJobs);
    Producers<Peer> team(peer, round, producers, kJobs / producers);
    double total = 0;
    for ([[maybe_unused]] auto iteration : state) {
        const Clock::time_point begin = team.PostAll();
        const double took = std::chrono::duration<double>(round.AwaitEnd() - begin).count();
        state.SetIterationTime(took);
        total += took;
    }
    const double jobs = static_cast<double>(state.iterations()) * static_cast<double>(kJobs);
    state.SetItemsProcessed(static_cast<int64_t>(jobs));
    state.counters["ns_per_job"] = total * 1e9 / jobs;
}

}  // namespace vaxoengine

#endif
