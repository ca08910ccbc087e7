// The thread that tells the events of a memory engine.
#include <cstdlib>
#include <future>
#include <thread>
#include <utility>

#include "conformance/engine/MemoryEngine.h"

namespace conformance::memory {

bool Fault(const char* name) {
    const char* const fault = std::getenv("VAXO_MEMORY_FAULT");
    return fault != nullptr && std::string(fault) == name;
}

std::shared_ptr<Teller> Teller::Make() {
    auto teller = std::make_shared<Teller>();
    std::thread([teller] {
        while (teller->DeliverNext()) {
        }
    }).detach();
    return teller;
}

void Teller::SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback> callback) {
    const std::lock_guard<std::mutex> hold(m_lock);
    if (Fault("keeps to the first callback") && !m_callback.expired()) {
        return;
    }
    m_callback = std::move(callback);
    m_kept = Fault("keeps the callback alive") ? m_callback.lock() : nullptr;
    m_plain = Fault("calls a callback that is gone") ? m_callback.lock().get() : nullptr;
}

void Teller::Add(Tell event) {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_events.push_back(std::move(event));
    m_filled.notify_one();
}

void Teller::End() {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_over = true;
    m_kept.reset();
    m_filled.notify_one();
}

void Teller::WaitForAll() {
    const auto done = std::make_shared<std::promise<void>>();
    Add([done](Strova::IVaxoLiveCallback&) { done->set_value(); });
    done->get_future().wait();
}

bool Teller::DeliverNext() {
    std::unique_lock<std::mutex> hold(m_lock);
    m_filled.wait(hold, [this] { return m_over || !m_events.empty(); });
    if (m_over) {
        return false;
    }
    const Tell event = std::move(m_events.front());
    m_events.pop_front();
    const std::shared_ptr<Strova::IVaxoLiveCallback> app = m_callback.lock();
    Strova::IVaxoLiveCallback* const to = app ? app.get() : m_plain;
    if (!Fault("holds a lock while it tells")) {
        hold.unlock();
    }
    if (to != nullptr) {
        event(*to);
    }
    return true;
}

}  // namespace conformance::memory
