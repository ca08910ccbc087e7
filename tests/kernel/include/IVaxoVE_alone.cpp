// The header by itself: who drives media and devices alone needs no other include.
#include "IVaxoVE.h"

namespace {

[[maybe_unused]] int Configure(Mediq::IVaxoVE& engine) {
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
    engine.GetVideoCaptureDevice(devices);
    engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(devices.begin()->first));
    return engine.SetView(std::make_shared<int>(1), 0);
}

[[maybe_unused]] void Tell(Mediq::IVaxoVECallback& callback) {
    callback.OnPublishStateUpdate(Mediq::FatalError, 1, 2);
}

}  // namespace
