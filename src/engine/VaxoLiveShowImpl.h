// What a CVaxoLiveShow holds. See live/VaxoLiveShow.h.
#ifndef VAXO_ENGINE_VAXOLIVESHOWIMPL_H
#define VAXO_ENGINE_VAXOLIVESHOWIMPL_H

#include <functional>
#include <memory>
#include <mutex>

#include "engine/base/EventDelivery.h"
#include "engine/show/AuxGate.h"
#include "engine/show/LiveCore.h"
#include "engine/show/SharedView.h"
#include "live/VaxoLiveShow.h"

namespace Strova {

// Where the engine's thread keeps a core: made, used and destroyed there alone.
struct CoreBox {
    std::unique_ptr<vaxoengine::LiveCore> core;
};

struct __attribute__((visibility("hidden"))) CVaxoLiveShow::Impl {
    mutable std::mutex lock;  // guards the rest; nothing that waits is called under it
    std::weak_ptr<IVaxoLiveCallback> callback;
    VaxoSigner credentials;
    std::shared_ptr<vaxoengine::EventDelivery> delivery;
    std::shared_ptr<vaxoengine::SharedView> view;
    std::shared_ptr<CoreBox> box;  // empty: not ready

    const std::shared_ptr<vaxoengine::AuxGate> aux = std::make_shared<vaxoengine::AuxGate>();

    // Leaves a job for the core behind. NotReady without a core.
    int Post(std::function<void(vaxoengine::LiveCore&)> job);
    // Shuts the core down, if there is one.
    bool End();
    std::shared_ptr<vaxoengine::SharedView> View() const;
    VaxoSigner Credentials() const;
};

}  // namespace Strova

#endif
