// The header by itself: an application or an engine needs no other include.
#include "IVaxoLive.h"

namespace {

[[maybe_unused]] int Enter(Strova::IVaxoLive& live) {
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    live.SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>());
    live.Init(1, vaxo::stream());
    live.GetStreamList("user", "name", "room", 0);
    return live.GetStreamList(streams) + static_cast<int>(streams.size());
}

[[maybe_unused]] void Tell(Strova::IVaxoLiveCallback& callback) {
    callback.OnStreamUpdate(Strova::VaxoLiveStream(), AddedStream);
    callback.OnPublishStateUpdate(Mediq::AVStateEnd, "stream");
}

}  // namespace
