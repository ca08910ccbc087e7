// The input is a program of calls and engine events for the live proxy, played on the
// library and on its model, on a platform layer without threads.
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/Input.h"
#include "fuzz/ProxyProgram.h"
#include "kernel/live/model/Compare.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const livemodel::Program program = fuzz::TakeProgram(in);
    if (livemodel::Compare(program).found) {
        const std::string report = livemodel::Explain("an input of the fuzzer", program);
        std::fprintf(stderr, "DIFFERENCE: %s\n", report.c_str());
        std::abort();
    }
    return 0;
}
