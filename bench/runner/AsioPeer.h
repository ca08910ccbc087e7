// Boost.Asio: an io_context run by one thread.
#ifndef VAXO_BENCH_RUNNER_ASIOPEER_H
#define VAXO_BENCH_RUNNER_ASIOPEER_H

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <thread>

#include "runner/Peer.h"

namespace vaxoengine {

class AsioPeer {
public:
    static constexpr const char* kName = "asio";

    AsioPeer();
    ~AsioPeer();
    AsioPeer(const AsioPeer&) = delete;
    AsioPeer& operator=(const AsioPeer&) = delete;

    void Post(Job job);
    void Call(Job job);

private:
    boost::asio::io_context m_context;
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_guard;
    std::thread m_thread;
};

}  // namespace vaxoengine

#endif
