// Why the media server would not have a stream published or played: it tells clients of its
// media port alike whatever the reason, and whoever can sign may ask it on its HTTP port.
// Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_REFUSAL_H
#define VAXO_ENGINE_SHOW_REFUSAL_H

#include <functional>
#include <memory>
#include <string>

#include "VaxoAVDefines.h"
#include "engine/base/HttpGet.h"

namespace vaxoengine {

class Refusal {
public:
    // Asks at the address (empty: there is nobody to ask) and calls `done`, later or at once,
    // exactly once, with a state of VaxoLiveState.h; `otherwise` when no reason is to be had.
    void Ask(const std::string& whyAddress, Mediq::VaxoAVState otherwise,
             std::function<void(Mediq::VaxoAVState)> done);
    void Stop() { m_get.reset(); }  // nothing is called afterwards

private:
    std::unique_ptr<HttpGet> m_get;
};

// What the server's answer means.
Mediq::VaxoAVState StateOfRefusal(long status, const std::string& body,
                                  Mediq::VaxoAVState otherwise);

}  // namespace vaxoengine

#endif
