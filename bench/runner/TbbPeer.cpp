#include "runner/TbbPeer.h"

#include <utility>

namespace vaxoengine {

// Two threads in all, of which TBB counts the caller as one: on any machine it is always the
// same worker that serves the arena.
TbbPeer::TbbPeer()
    : m_workers(oneapi::tbb::attach{}),
      m_limit(oneapi::tbb::global_control::max_allowed_parallelism, 2),
      m_arena(1, 0) {
    m_arena.initialize();
}

// Waits until the workers have ended. The form that throws: in a destructor that ends the
// program, which is right when a thread would run on beside the next peer.
TbbPeer::~TbbPeer() {
    m_arena.terminate();
    oneapi::tbb::finalize(m_workers);
}

void TbbPeer::Post(Job job) {
    m_arena.enqueue(std::move(job));
}

void TbbPeer::Call(Job job) {
    CallByEvent(*this, std::move(job));
}

}  // namespace vaxoengine
