// What a process has of the system's at a moment.
#ifndef VAXO_TESTS_ENGINE_LIVE_USED_H
#define VAXO_TESTS_ENGINE_LIVE_USED_H

#include <cstddef>
#include <string>

namespace livetest {

std::size_t EntriesOf(const char* folder);

struct Used {
    std::size_t threads = EntriesOf("/proc/self/task");
    std::size_t files = EntriesOf("/proc/self/fd");
};

// That no more than before is used, soon: what ends does so on threads of its own.
void ExpectBackTo(const Used& before);

// Open TCP connections of this machine to a server on a port of it ("scheme://host:port...").
std::size_t ConnectionsTo(const std::string& url);

}  // namespace livetest

#endif
