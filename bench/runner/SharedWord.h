// SharedWord: what it costs to add one to a word, alone and while a thread on the other core does
// the same. Poster and worker share some words for every job (counts, the head of the list), so
// this is the floor that lies below PostAndRun, and no peer.
#ifndef VAXO_BENCH_RUNNER_SHAREDWORD_H
#define VAXO_BENCH_RUNNER_SHAREDWORD_H

#include <benchmark/benchmark.h>
#include <sched.h>

#include <atomic>
#include <thread>

#include "runner/Placement.h"

namespace vaxoengine {

inline void SharedWord(benchmark::State& state, bool shared) {
    struct {
        alignas(64) std::atomic<long> value{0};
        alignas(64) std::atomic<bool> began{false};
        std::atomic<bool> over{false};
    } word;
    cpu_set_t before;
    sched_getaffinity(0, sizeof before, &before);
    StayOn(CallerCore());
    std::thread other;
    if (shared) {
        other = std::thread([&word] {
            StayOn(WorkerCore(Placement::kApart));
            while (!word.over.load(std::memory_order_relaxed)) {
                word.value.fetch_add(1);
                word.began = true;
            }
        });
        while (!word.began) {
            std::this_thread::yield();
        }
    }
    for ([[maybe_unused]] auto iteration : state) {
        word.value.fetch_add(1);
    }
    word.over = true;
    if (other.joinable()) {
        other.join();
    }
    sched_setaffinity(0, sizeof before, &before);
}

}  // namespace vaxoengine

#endif
