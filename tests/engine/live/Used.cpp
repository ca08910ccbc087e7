#include "engine/live/Used.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <system_error>
#include <vector>

#include <gtest/gtest.h>

#include "servers/ServerTools.h"

namespace livetest {

std::size_t EntriesOf(const char* folder) {
    std::error_code ignored;  // entries may go while they are counted
    const std::filesystem::directory_iterator all(folder, ignored);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

void ExpectBackTo(const Used& before, std::size_t room) {
    Used now;
    EXPECT_TRUE(Eventually([&] {
        now = Used();
        return now.threads <= before.threads && now.files <= before.files + room;
    })) << "threads: "
        << before.threads << ", now " << now.threads << "; files: " << before.files << ", now "
        << now.files;
}

std::set<std::string> OwnConnections() {
    std::set<std::string> sockets;
    std::error_code ignored;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", ignored)) {
        const std::string link = std::filesystem::read_symlink(entry.path(), ignored).string();
        if (link.rfind("socket:[", 0) == 0) {
            sockets.insert(link.substr(8, link.size() - 9));
        }
    }
    std::set<std::string> found;
    std::ifstream table("/proc/net/tcp");
    for (std::string line; std::getline(table, line);) {
        // Number, both ends, state, queues, timer, attempts, user, timeout, socket.
        std::istringstream words(line);
        const std::vector<std::string> word{std::istream_iterator<std::string>(words), {}};
        if (word.size() > 9 && sockets.count(word[9]) != 0) {
            found.insert(word[1] + " " + word[2] + " " + word[3]);
        }
    }
    return found;
}

std::size_t ConnectionsTo(const std::string& url) {
    constexpr const char* kEstablished = "01";
    const std::size_t from = url.find(':', url.find("://") + 3) + 1;
    const int port = std::stoi(url.substr(from));
    std::ifstream table("/proc/net/tcp");
    std::size_t count = 0;
    for (std::string line; std::getline(table, line);) {
        std::string number;
        std::string local;
        std::string remote;
        std::string state;
        std::istringstream(line) >> number >> local >> remote >> state;
        const std::size_t colon = remote.find(':');
        if (state == kEstablished && colon != std::string::npos &&
            std::stoi(remote.substr(colon + 1), nullptr, 16) == port) {
            ++count;
        }
    }
    return count;
}

}  // namespace livetest
