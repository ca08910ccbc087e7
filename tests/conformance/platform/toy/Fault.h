// A small platform layer on the standard library's threads, which can be told to break one
// rule: it shows that the kit finds what it is there for. Without a fault it holds every rule
// of the kit but the names of threads, which it leaves out.
#ifndef VAXO_TESTS_CONFORMANCE_PLATFORM_TOY_FAULT_H
#define VAXO_TESTS_CONFORMANCE_PLATFORM_TOY_FAULT_H

#include <cstdlib>
#include <string>

namespace toy {

// Whether the layer is to make this mistake: the environment's VAXO_TOY_FAULT names it.
inline bool Is(const char* fault) {
    static const auto& s_fault = *[] {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): nobody changes the environment
        const char* const given = std::getenv("VAXO_TOY_FAULT");
        return new std::string(given == nullptr ? "" : given);
    }();
    return s_fault == fault;
}

}  // namespace toy

#endif
