#include "soak/JsonLines.h"

#include <cstdio>
#include <mutex>
#include <string>

#include "soak/PictureMeter.h"

namespace soak {

void Say(nlohmann::json object) {
    static std::mutex lock;
    object["ms"] = NowMillis();
    const std::string line =
        object.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n";
    const std::lock_guard<std::mutex> hold(lock);
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

}  // namespace soak
