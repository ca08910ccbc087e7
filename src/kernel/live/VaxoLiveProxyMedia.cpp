// The proxy's media and device controls. A setter becomes a command that calls the
// engine's operation of the same name; a getter asks the engine at once.
#include <memory>
#include <tuple>
#include <type_traits>

#include "live/VaxoLiveAsk.h"
#include "live/VaxoLiveProxy.h"

namespace Strova {

namespace {

// The command of a setter: keeps copies of the values, and gives the engine copies of
// those, because an operation may take its argument by a reference it can write to.
template <class... Params, class Values>
auto CallOnEngine(const CVaxoLiveProxy& proxy, int statusWithoutEngine,
                  int (Mediq::IVaxoVE::*operation)(Params...), const Values& values) {
    return [&proxy, statusWithoutEngine, operation,
            kept = std::tuple<std::decay_t<Params>...>(values)] {
        const std::shared_ptr<IVaxoLive> live = proxy.GetLive();
        if (!live) {
            return statusWithoutEngine;
        }
        auto fresh = kept;
        return std::apply([&](auto&... value) { return ((*live).*operation)(value...); }, fresh);
    };
}

}  // namespace

// One definition a row. A call that is not a setter has its body elsewhere.
#define VAXO_LIVE_CALL(number, operation)
#define VAXO_LIVE_SETTER(number, operation, status, parameters, values)       \
    int CVaxoLiveProxy::operation parameters {                                \
        return AddCmd(number, SyncCmd,                                        \
                      CallOnEngine(*this, status, &Mediq::IVaxoVE::operation, \
                                   std::forward_as_tuple values));            \
    }
#include "live/VaxoLiveCalls.inc"

int CVaxoLiveProxy::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) {
    return AskEngine(-1,
                     [&](IVaxoLive& live) { return live.GetVideoCaptureDevice(outDeviceList); });
}

int CVaxoLiveProxy::GetAudioDeviceList(int deviceType,
                                       vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) {
    return AskEngine(
        -1, [&](IVaxoLive& live) { return live.GetAudioDeviceList(deviceType, outListDevice); });
}

}  // namespace Strova
