// RoundTrip: an empty job is run on the worker while the caller waits for it, each call timed
// by itself.
//
// idle       The worker sleeps in the kernel when the call begins, on a core of its own.
//            "futex" is the floor: the same two wake-ups without any queue.
// idle-near  The same with both on one core. No other core is interrupted, which leaves the
//            switches between the two and what the peer computes.
// busy       When the call begins the worker is at the start of one short job and a second one
//            waits, so some 10 us of the time are those two jobs. The worker is awake then; the
//            caller is woken as ever. The calling thread posts the two before each call: a
//            thread of its own for them would take a core from the two measured, where there
//            are two; and jobs that post themselves again are passed by the call in a peer that
//            keeps posts of its own thread apart.
#ifndef VAXO_BENCH_RUNNER_ROUNDTRIP_H
#define VAXO_BENCH_RUNNER_ROUNDTRIP_H

#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cstddef>

#include "runner/Peer.h"
#include "runner/Placement.h"
#include "runner/Post.h"
#include "runner/Samples.h"
#include "runner/ThreadWatch.h"

namespace vaxoengine {

constexpr std::size_t kCalls = 20000;

template <class Peer>
void TimedCall(Peer& peer, Samples& samples) {
    const Clock::time_point begin = Clock::now();
    peer.Call([] {});
    samples.Add(begin, Clock::now());
}

template <class Peer, Placement kPlacement>
void RoundTripIdle(benchmark::State& state) {
    Peer peer;
    const Placed placed(peer, kPlacement);
    SleepWatch watch(ThreadOf(peer));
    Samples samples(kCalls);
    for ([[maybe_unused]] auto iteration : state) {
        while (samples.WantsMore()) {
            watch.AwaitAsleep();
            TimedCall(peer, samples);
        }
        samples.Report(state);
    }
}

// A job of 5 us that tells when it begins.
inline void ShortJob(std::atomic<std::size_t>& begun) {
    begun.store(begun.load(std::memory_order_relaxed) + 1, std::memory_order_release);
    const Clock::time_point end = Clock::now() + std::chrono::microseconds(5);
    while (Clock::now() < end) {
    }
}

template <class Peer>
void RoundTripBusy(benchmark::State& state) {
    Peer peer;
    const Placed placed(peer, Placement::kApart);
    Samples samples(kCalls);
    std::atomic<std::size_t> begun{0};
    for ([[maybe_unused]] auto iteration : state) {
        std::size_t before = 0;
        for (; samples.WantsMore(); before += 2) {
            SpinUntil([&begun, before] { return begun.load() == before; });
            peer.Post([&begun] { ShortJob(begun); });
            peer.Post([&begun] { ShortJob(begun); });
            SpinUntil([&begun, before] { return begun.load() > before; });
            TimedCall(peer, samples);
        }
        peer.Call([] {});  // where order is not kept, a short job may be left
        SpinUntil([&begun, before] { return begun.load() == before; });
        samples.Report(state);
    }
}

}  // namespace vaxoengine

#endif
