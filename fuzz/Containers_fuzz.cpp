// The first byte names the container, the others are a program for it.
#include <cstddef>
#include <cstdint>
#include <iterator>

#include "fuzz/Containers.h"
#include "fuzz/Steps.h"

namespace {

struct Subject {
    const char* name;
    void (*run)(fuzz::Input& in);
};

const Subject kSubjects[] = {
    {"map", &fuzz::FuzzMap},           {"vector", &fuzz::FuzzVector}, {"strutf8", &fuzz::FuzzText},
    {"strutf16", &fuzz::FuzzWideText}, {"stream", &fuzz::FuzzStream},
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input in(data, size);
    const Subject& subject = kSubjects[in.Below(std::size(kSubjects))];
    fuzz::ThePlace() = fuzz::Place();
    fuzz::ThePlace().subject = subject.name;
    subject.run(in);
    return 0;
}
