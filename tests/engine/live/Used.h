// What a process has of the system's at a moment.
#ifndef VAXO_TESTS_ENGINE_LIVE_USED_H
#define VAXO_TESTS_ENGINE_LIVE_USED_H

#include <cstddef>
#include <set>
#include <string>

namespace livetest {

std::size_t EntriesOf(const char* folder);

struct Used {
    std::size_t threads = EntriesOf("/proc/self/task");
    std::size_t files = EntriesOf("/proc/self/fd");
};

// That no more than before is used, soon: what ends does so on threads of its own. `room`: for
// files that come and go with what the media library is doing. Each of its pools of buffers has
// two, and how many pools a pipeline has depends on the pictures' way through it.
void ExpectBackTo(const Used& before, std::size_t room = 0);

// The TCP connections that this process has, in any state.
std::set<std::string> OwnConnections();

// Open TCP connections of this machine to a server on a port of it ("scheme://host:port...").
std::size_t ConnectionsTo(const std::string& url);

}  // namespace livetest

#endif
