// The header by itself: an application needs no other include to take the live object.
#include "live/VaxoLiveProxy.h"

namespace {

[[maybe_unused]] int Publish() {
    const std::shared_ptr<Strova::CVaxoLiveProxy> live = Strova::CVaxoLiveProxy::GetInstance();
    live->GetConnHttp().Init(1, vaxo::stream());
    live->AddCmd(1, SyncCmd, [] { return 0; });
    return live->StartPublishing("title", "stream", "room");
}

}  // namespace
