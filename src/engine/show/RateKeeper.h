// Lets a publish fit the network: reads how its connection keeps up, and has the capture encode
// what RateControl says. Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_RATEKEEPER_H
#define VAXO_ENGINE_SHOW_RATEKEEPER_H

#include <chrono>
#include <functional>

#include "engine/base/EngineLoop.h"
#include "engine/capture/Capture.h"
#include "engine/output/Flow.h"
#include "engine/output/RateControl.h"

namespace vaxoengine {

class RateKeeper {
public:
    // `flow`: of the connection that flows.
    RateKeeper(Capture& capture, std::function<Flow()> flow);

    void Begin();        // a publish begins, with the values that are set
    void OnSet();        // other values were set
    void OnConnected();  // a connection flows: what was learned of another one does not count
    void OnLost();       // it does no more

private:
    RateChoice Set() const;
    void Step();

    Capture& m_capture;
    const std::function<Flow()> m_flow;
    RateControl m_control;
    FlowMeter m_meter;
    std::chrono::steady_clock::time_point m_last;
    EngineTimer m_timer;
};

}  // namespace vaxoengine

#endif
