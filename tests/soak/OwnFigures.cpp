#include "soak/OwnFigures.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

namespace soak {

OwnFigures TakeOwnFigures() {
    OwnFigures figures;
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmRSS:") {
            status >> figures.residentKib;
        } else if (word == "Threads:") {
            status >> figures.threads;
        }
    }
    std::error_code error;
    const std::filesystem::directory_iterator entries("/proc/self/fd", error);
    // One is that of the list itself.
    figures.descriptors = static_cast<long>(std::distance(begin(entries), end(entries))) - 1;
    return figures;
}

}  // namespace soak
