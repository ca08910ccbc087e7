// An object that streaming threads use while the engine's thread replaces it.
#ifndef VAXO_ENGINE_CAPTURE_SLOT_H
#define VAXO_ENGINE_CAPTURE_SLOT_H

#include <memory>
#include <mutex>

namespace vaxoengine {

// Whoever uses the object holds the lock for the length of a call that does not block.
template <class T>
class Slot {
public:
    template <class Use>
    void With(Use use) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_held) {
            use(*m_held);
        }
    }
    // The former one is destroyed without the lock: it waits for threads that may want it.
    void Set(std::unique_ptr<T> next) {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_held.swap(next);
        }
        next.reset();
    }
    // Engine's thread.
    T* Get() const { return m_held.get(); }

private:
    std::mutex m_mutex;
    std::unique_ptr<T> m_held;
};

}  // namespace vaxoengine

#endif
