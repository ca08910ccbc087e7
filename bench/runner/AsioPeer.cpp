#include "runner/AsioPeer.h"

#include <boost/asio/post.hpp>
#include <utility>

namespace vaxoengine {

// The hint says that one thread runs the context: it saves the look for another one to wake
// after each job. Posts stay safe from any thread.
AsioPeer::AsioPeer()
    : m_context(1), m_guard(m_context.get_executor()), m_thread([this] { m_context.run(); }) {}

AsioPeer::~AsioPeer() {
    m_guard.reset();  // run() returns when it has nothing left
    m_thread.join();
}

void AsioPeer::Post(Job job) {
    boost::asio::post(m_context, std::move(job));
}

void AsioPeer::Call(Job job) {
    CallByEvent(*this, std::move(job));
}

}  // namespace vaxoengine
