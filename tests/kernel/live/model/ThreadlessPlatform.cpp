#include "kernel/live/model/ThreadlessPlatform.h"

#include <cstdarg>
#include <cstdlib>
#include <deque>
#include <map>
#include <memory>
#include <utility>

#include "vaxoevent.h"
#include "vaxoformat.h"
#include "vaxolog.h"
#include "vaxotask.h"

namespace threadless {

namespace {

struct Worker {
    std::deque<std::unique_ptr<CScopeCall>> calls;
    bool busy = false;
};

struct World {
    vaxothread_id self = 'A';
    std::map<int, Worker> workers;
    std::function<void(int)> pushed;
    std::vector<std::string> failures;
    int eventsAlive = 0;
    vaxolog_sink sink = nullptr;
    void* sinkContext = nullptr;
    int32 level = esyslog_generic;
};

// Never destroyed: what uses it may be destroyed at exit.
World& TheWorld() {
    static auto& s_world = *new World();
    return s_world;
}

// "QR.2" is worker 2.
int NumberOf(const std::string& name) {
    if (name != "QR.0" && name != "QR.2") {
        Fail("a worker called " + name);
    }
    return std::atoi(name.substr(name.find('.') + 1).c_str());
}

}  // namespace

As::As(vaxothread_id thread) : m_before(std::exchange(TheWorld().self, thread)) {}

As::~As() {
    TheWorld().self = m_before;
}

bool RunOne(int worker) {
    Worker& it = TheWorld().workers[worker];
    if (it.busy) {
        Fail("worker " + std::to_string(worker) + " is to run a call inside a call");
        return false;
    }
    if (it.calls.empty()) {
        return false;
    }
    const As as('0' + worker);
    std::unique_ptr<CScopeCall> call = std::move(it.calls.front());
    it.calls.pop_front();
    it.busy = true;
    (*call)();
    call.reset();
    it.busy = false;
    return true;
}

bool Busy(int worker) {
    return TheWorld().workers[worker].busy;
}

std::size_t Pending(int worker) {
    return TheWorld().workers[worker].calls.size();
}

void OnPush(std::function<void(int worker)> listener) {
    TheWorld().pushed = std::move(listener);
}

int EventsAlive() {
    return TheWorld().eventsAlive;
}

void Fail(const std::string& message) {
    const auto self = static_cast<char>(TheWorld().self);
    TheWorld().failures.push_back("platform: " + message + ", by " + self);
}

std::vector<std::string> TakeFailures() {
    return std::exchange(TheWorld().failures, std::vector<std::string>());
}

}  // namespace threadless

using threadless::Fail;
using threadless::TheWorld;

// ---- Threads and workers -----------------------------------------------------

vaxothread_id vaxothread_selfid() {
    return TheWorld().self;
}

void vaxothread_set_name(const char* /*name*/) {}

struct CVAXOTaskBase::Impl {
    int number;
};

CVAXOTaskBase::CVAXOTaskBase(const char* name, ethread_priority /*priority*/)
    : m_threadid(0), m_pImpl(new Impl{threadless::NumberOf(name)}) {}

CVAXOTaskBase::~CVAXOTaskBase() {
    TheWorld().workers[m_pImpl->number].calls.clear();
}

bool CVAXOTaskBase::Start() {
    m_threadid = '0' + m_pImpl->number;
    return true;
}

uint32 CVAXOTaskBase::PushTask(CVAXOTaskBase* task, const CScopeCall& call) {
    if (threadless::MutexesHeld() != 0) {
        Fail("a call is queued under a mutex");
    }
    const int number = task->m_pImpl->number;
    TheWorld().workers[number].calls.push_back(std::make_unique<CScopeCall>(call));
    if (TheWorld().pushed) {
        TheWorld().pushed(number);
    }
    return 1;
}

CVAXOTaskBase* VAXOTaskCreate(char* name, ethread_priority priority) {
    return new CVAXOTaskBase(name, priority);
}

// ---- Events ------------------------------------------------------------------

struct vaxoevent_t {
    bool autoreset;
    bool signaled;
};

hvaxoevent vaxoevent_create(int32 autoreset, int32 signaled) {
    ++TheWorld().eventsAlive;
    return new vaxoevent_t{autoreset != 0, signaled != 0};
}

void vaxoevent_wait(hvaxoevent event) {
    if (threadless::MutexesHeld() != 0) {
        Fail("a wait under a mutex");
    }
    if (threadless::Busy(0)) {
        Fail("stuck: worker 0, which is to end this wait, is inside a call");
        // The newest call is the waiter's, and must not run once the waiter has gone on.
        TheWorld().workers[0].calls.pop_back();
        return;
    }
    while (!event->signaled) {
        if (!threadless::RunOne(0)) {
            Fail("stuck: a wait that no call ends");
            return;
        }
    }
    event->signaled = !event->autoreset;
}

bool vaxoevent_timedwait(hvaxoevent event, int64 /*milliseconds*/) {
    vaxoevent_wait(event);
    return true;
}

void vaxoevent_signal(hvaxoevent event) {
    event->signaled = true;
}

void vaxoevent_reset(hvaxoevent event) {
    event->signaled = false;
}

bool vaxoevent_issignaled(hvaxoevent event) {
    return event->signaled;
}

void vaxoevent_destory(hvaxoevent event) {
    --TheWorld().eventsAlive;
    delete event;
}

// ---- The log -----------------------------------------------------------------

namespace VAXO {
vaxo::strutf8 g_strLogFileName__;
}

void syslog(int32 level, const char* tag, int32 line, const char* format, ...) {
    const threadless::World& world = TheWorld();
    if (level > world.level || world.sink == nullptr) {
        return;
    }
    std::string text;
    std::va_list args;
    va_start(args, format);
    vaxo::format_append(text, format, args);
    va_end(args);
    world.sink(world.sinkContext, level, tag == nullptr ? "" : tag, line, text.c_str());
}

void vaxolog_set_sink(vaxolog_sink sink, void* context) {
    TheWorld().sink = sink;
    TheWorld().sinkContext = context;
}

void vaxolog_set_level(int32 level) {
    TheWorld().level = level;
}

int32 vaxolog_open(const char* path) {
    VAXO::g_strLogFileName__ = path;
    return 0;
}

void vaxolog_flush() {}
