// What the benchmarks of containers share: sizes, names, and how a case that uses its
// container up gets a fresh one.
//
// Every case stands twice, for the library's container ("vaxo") and the standard library's
// ("std"), on the same values, through the same template. A time is that of the whole
// operation on one container of that size: 64 appends, 100000 finds.
#ifndef VAXO_BENCH_CONTAINERS_CASES_H
#define VAXO_BENCH_CONTAINERS_CASES_H

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace vaxoengine {

// Registered with Google Benchmark, in the order of the calls.
void RegisterArrays();
void RegisterMaps();
void RegisterTexts();

constexpr int kSmall = 8;
constexpr int kMiddle = 64;
constexpr int kLarge = 100000;

// "Array/append-int:64/vaxo"
inline std::string CaseName(const std::string& topic, const std::string& operation, int size,
                            const std::string& who) {
    return topic + "/" + operation + ":" + std::to_string(size) + "/" + who;
}

// Times `use` on containers that `make` has filled. Pausing the clock costs more than a small
// container does, so it is stopped once for many of them.
template <class Container, class Make, class Use>
void TimeOnFresh(benchmark::State& state, int size, Make make, Use use) {
    const int batch = size > kMiddle ? 1 : 4096 / size;
    while (state.KeepRunningBatch(batch)) {
        state.PauseTiming();
        {
            std::vector<Container> fresh(static_cast<std::size_t>(batch));
            for (Container& container : fresh) {
                make(container);
            }
            state.ResumeTiming();
            for (Container& container : fresh) {
                use(container);
            }
            state.PauseTiming();
        }
        state.ResumeTiming();
    }
}

}  // namespace vaxoengine

#endif
