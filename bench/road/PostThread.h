// An io_context with one thread, which ends with the object. What is posted and has not begun
// then is dropped.
#ifndef VAXO_BENCH_ROAD_POSTTHREAD_H
#define VAXO_BENCH_ROAD_POSTTHREAD_H

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>
#include <future>
#include <thread>
#include <utility>

namespace vaxobench {

class PostThread {
public:
    PostThread() : m_thread([this] { m_context.run(); }) {}
    ~PostThread() {
        m_context.stop();
        m_thread.join();
    }
    PostThread(const PostThread&) = delete;
    PostThread& operator=(const PostThread&) = delete;

    boost::asio::io_context& Context() { return m_context; }

    // Returns when what was posted before has run.
    void Drain() {
        std::promise<void> ran;
        const std::future<void> seen = ran.get_future();
        boost::asio::post(m_context, [ran = std::move(ran)]() mutable { ran.set_value(); });
        seen.wait();
    }

private:
    boost::asio::io_context m_context{1};  // one thread runs it
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> m_work{
        m_context.get_executor()};
    std::thread m_thread;
};

}  // namespace vaxobench

#endif
