// Requests and events in words, the calls behind requests, and the times of the kit.
#include <array>
#include <cstdlib>

#include "conformance/engine/Ledger.h"
#include "conformance/engine/Texts.h"

namespace conformance {

namespace {

std::chrono::milliseconds Millis(const char* name, int otherwise) {
    const char* const value = std::getenv(name);
    return std::chrono::milliseconds(value == nullptr ? otherwise : std::atoi(value));
}

std::string Quoted(const std::string& text) {
    return '"' + (text.size() > 60 ? text.substr(0, 60) + "..." : text) + '"';
}

}  // namespace

std::chrono::milliseconds Limit() {
    static const std::chrono::milliseconds limit = Millis("VAXO_CONFORMANCE_LIMIT_MS", 20000);
    return limit;
}

std::chrono::milliseconds Quiet() {
    static const std::chrono::milliseconds quiet = Millis("VAXO_CONFORMANCE_QUIET_MS", 20);
    return quiet;
}

std::string Words(const Event& event) {
    constexpr std::array<const char*, 11> kNames = {
        "OnGetStreamList", "OnLogout",          "OnPublishStateUpdate", "OnPlayStateUpdate",
        "OnStreamUpdate",  "OnCountsUpdate",    "OnVideoSizeChanged",   "OnDisconnected",
        "OnReconnected",   "OnPreviewSnapshot", "OnRenderSnapshot"};
    return std::string(kNames.at(static_cast<std::size_t>(event.what))) + "(" +
           std::to_string(event.value) + ", " + Quoted(event.id) + ")";
}

std::string Words(const Request& request) {
    constexpr std::array<const char*, 6> kNames = {"GetStreamList",  "StartPublishing",
                                                   "StopPublishing", "PlayStream",
                                                   "StopPlayStream", "Logout"};
    return std::string(kNames.at(static_cast<std::size_t>(request.what))) + "(" +
           Quoted(request.id) + ")";
}

int Perform(Strova::IVaxoLive& engine, const Request& request) {
    const vaxo::strutf8 id = Utf8(request.id);
    switch (request.what) {
        case Ask::Enter:
            return engine.GetStreamList(Utf8(Env().User()), "the kit", id, 0);
        case Ask::Publish:
            return engine.StartPublishing("a title", id, vaxo::strutf8());
        case Ask::StopPublish:
            return engine.StopPublishing();
        case Ask::Play:
            return engine.PlayStream(id, request.channel);
        case Ask::StopPlay:
            return engine.StopPlayStream(id);
        case Ask::Logout:
            break;
    }
    return engine.Logout();
}

}  // namespace conformance
