// The library's containers beside the standard library's. Arguments are Google Benchmark's;
// without --benchmark_min_time the whole takes about half a minute.
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "containers/Cases.h"

int main(int argc, char** argv) {
    // The first of two values loses against the user's own.
    std::string shortly = "--benchmark_min_time=0.05";
    std::vector<char*> arguments(argv, argv + argc);
    arguments.insert(arguments.begin() + 1, shortly.data());
    int count = static_cast<int>(arguments.size());
    benchmark::Initialize(&count, arguments.data());
    if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) {
        return 1;
    }
    vaxoengine::RegisterArrays();
    vaxoengine::RegisterMaps();
    vaxoengine::RegisterTexts();

    // As long as a process has one thread, the standard library counts references without
    // atomic operations. The programs of this library always have several.
    std::promise<void> over;
    std::thread second([&over] { over.get_future().wait(); });
    benchmark::RunSpecifiedBenchmarks();
    over.set_value();
    second.join();
    return 0;
}
