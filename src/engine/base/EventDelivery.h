// The way of the engine's events to the callback: one thread for the process, which calls
// callbacks and does nothing else.
//
// Guarantees
// - Post returns at once and may be called from any thread. Events of one engine arrive one
//   at a time, in the order posted, on the events' thread, with no lock of the engine held.
// - The callback is looked up (and held) for one delivery at a time.
// - After Close nothing more is taken; what was posted before still arrives.
// Nobody in the engine waits for a delivery.
#ifndef VAXO_ENGINE_BASE_EVENTDELIVERY_H
#define VAXO_ENGINE_BASE_EVENTDELIVERY_H

#include <functional>
#include <memory>
#include <mutex>

#include "IVaxoLive.h"

namespace vaxoengine {

class EventDelivery : public std::enable_shared_from_this<EventDelivery> {
public:
    using Event = std::function<void(Strova::IVaxoLiveCallback&)>;

    void SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback> callback);
    // `wanted`: asked right before the delivery; false drops the event.
    void Post(Event event, std::function<bool()> wanted = {});
    void Close();

    static bool IsCurrentThread();

private:
    void Deliver(const Event& event, const std::function<bool()>& wanted);

    std::mutex m_lock;  // guards what follows; never held while the callback runs
    std::weak_ptr<Strova::IVaxoLiveCallback> m_callback;
    bool m_closed = false;
};

}  // namespace vaxoengine

#endif
