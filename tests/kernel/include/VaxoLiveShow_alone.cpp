// The header by itself: who makes an engine needs no other include.
#include "live/VaxoLiveShow.h"

namespace {

[[maybe_unused]] std::shared_ptr<Strova::IVaxoLive> Make() {
    return std::make_shared<Strova::CVaxoLiveShow>();
}

}  // namespace
