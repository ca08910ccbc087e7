// Post: what one post costs the thread that posts, each timed by itself.
//
// Caller and worker have a core each (Placement.h).
//
// asleep   The worker sleeps in the kernel: the post wakes it. That is mostly the system call.
// busy     The worker is in the middle of a job, and the posts gather behind it: nobody is
//          woken and nobody takes from the queue at the same time. Jobs are posted kBehind at
//          a time; then the worker is let go and all of them run, so that memory goes round as
//          in life: made by the poster, freed by the worker.
#ifndef VAXO_BENCH_RUNNER_POST_H
#define VAXO_BENCH_RUNNER_POST_H

#include <benchmark/benchmark.h>
#include <sched.h>

#include <atomic>
#include <cstddef>

#include "runner/Peer.h"
#include "runner/Placement.h"
#include "runner/Samples.h"
#include "runner/ThreadWatch.h"

namespace vaxoengine {

// Waits for another thread's doing without going to sleep: it lasts a few microseconds.
template <class Condition>
void SpinUntil(Condition condition) {
    while (!condition()) {
        sched_yield();
    }
}

// Posts one job, which counts itself, and takes the time of it.
template <class Peer>
void TimedPost(Peer& peer, std::atomic<std::size_t>& ran, Samples& samples) {
    const Clock::time_point begin = Clock::now();
    peer.Post(
        [&ran] { ran.store(ran.load(std::memory_order_relaxed) + 1, std::memory_order_release); });
    samples.Add(begin, Clock::now());
}

template <class Peer>
void PostAsleep(benchmark::State& state) {
    const std::size_t kSamples = 10000;
    Peer peer;
    const Placed placed(peer, Placement::kApart);
    SleepWatch watch(ThreadOf(peer));
    Samples samples(kSamples);
    std::atomic<std::size_t> ran{0};
    for ([[maybe_unused]] auto iteration : state) {
        for (std::size_t i = 0; samples.WantsMore(); ++i) {
            watch.AwaitAsleep();
            TimedPost(peer, ran, samples);
            SpinUntil([&ran, i] { return ran.load() > i; });
        }
        samples.Report(state);
    }
}

template <class Peer>
void PostBusy(benchmark::State& state) {
    const std::size_t kSamples = 20000;
    const std::size_t kBehind = 200;
    Peer peer;
    const Placed placed(peer, Placement::kApart);
    Samples samples(kSamples);
    struct {
        std::atomic<bool> entered{false};
        std::atomic<bool> go{false};
    } held;
    std::atomic<std::size_t> ran{0};
    for ([[maybe_unused]] auto iteration : state) {
        for (std::size_t round = 1; samples.WantsMore(); ++round) {
            held.entered = false;
            held.go = false;
            peer.Post([&held] {
                held.entered = true;
                SpinUntil([&held] { return held.go.load(); });
            });
            SpinUntil([&held] { return held.entered.load(); });
            for (std::size_t i = 0; i < kBehind; ++i) {
                TimedPost(peer, ran, samples);
            }
            held.go = true;
            SpinUntil([&ran, round] { return ran.load() == round * kBehind; });
        }
        samples.Report(state);
    }
}

}  // namespace vaxoengine

#endif
