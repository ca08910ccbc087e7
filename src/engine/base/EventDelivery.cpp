#include "engine/base/EventDelivery.h"

#include <condition_variable>
#include <deque>
#include <thread>
#include <utility>

#include "vaxothread.h"

namespace vaxoengine {

namespace {

// The events' thread with its queue. Never destroyed: it runs on while the process ends.
class EventThread {
public:
    static EventThread& Shared() {
        static auto* const thread = new EventThread;
        return *thread;
    }

    void Push(std::function<void()> job) {
        {
            const std::lock_guard<std::mutex> hold(m_lock);
            m_jobs.push_back(std::move(job));
        }
        m_filled.notify_one();
    }

    bool IsCurrent() const { return std::this_thread::get_id() == m_thread; }

private:
    EventThread() {
        std::thread thread([this] {
            vaxothread_set_name("vaxo-events");
            while (true) {
                Take()();
            }
        });
        m_thread = thread.get_id();
        thread.detach();
    }

    std::function<void()> Take() {
        std::unique_lock<std::mutex> hold(m_lock);
        m_filled.wait(hold, [this] { return !m_jobs.empty(); });
        std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        return job;
    }

    std::mutex m_lock;
    std::condition_variable m_filled;
    std::deque<std::function<void()>> m_jobs;
    std::thread::id m_thread;
};

}  // namespace

void EventDelivery::SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback> callback) {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_callback = std::move(callback);
}

void EventDelivery::Post(Event event, std::function<bool()> wanted) {
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        if (m_closed) {
            return;
        }
    }
    EventThread::Shared().Push([self = shared_from_this(), event = std::move(event),
                                wanted = std::move(wanted)] { self->Deliver(event, wanted); });
}

void EventDelivery::Close() {
    const std::lock_guard<std::mutex> hold(m_lock);
    m_closed = true;
}

bool EventDelivery::IsCurrentThread() {
    return EventThread::Shared().IsCurrent();
}

void EventDelivery::Deliver(const Event& event, const std::function<bool()>& wanted) {
    std::shared_ptr<Strova::IVaxoLiveCallback> callback;
    {
        const std::lock_guard<std::mutex> hold(m_lock);
        callback = m_callback.lock();
    }
    if (callback && (!wanted || wanted())) {
        event(*callback);
    }
}

}  // namespace vaxoengine
