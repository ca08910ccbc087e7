#include "runner/VaxoPeer.h"

#include "runner/ThreadWatch.h"

namespace vaxoengine {

VaxoPeer::VaxoPeer() : m_runner(std::make_unique<CVaxoQueueRunner>()) {}

// The runner retires its workers without waiting for them. They are detached, so the kernel is
// asked until it knows them no more.
VaxoPeer::~VaxoPeer() {
    const pid_t first = m_runner->GetDefaultTask()->getthreadid();
    const pid_t second = ThreadOf(*this);
    m_runner.reset();
    AwaitGone(first);
    AwaitGone(second);
}

}  // namespace vaxoengine
