// The peer's log: spdlog's async loggers with a plain file, one for each module name.
// As much room for waiting lines as the library's log has, and callers that wait for room.
#ifndef VAXO_BENCH_ROAD_MARSHALLOG_H
#define VAXO_BENCH_ROAD_MARSHALLOG_H

#include <spdlog/async_logger.h>
#include <spdlog/details/thread_pool.h>
#include <spdlog/spdlog.h>

#include <memory>

#include "road/Marshal.h"

namespace vaxobench {

class MarshalLog {
public:
    explicit MarshalLog(const MarshalLogOptions& options);

    // The logger of a module, for SPDLOG_LOGGER_INFO and its like. Never null.
    spdlog::logger* Proxy() const { return m_proxy.get(); }
    spdlog::logger* Queue() const { return m_queue.get(); }

    void SetLevel(int level);
    void Flush();

private:
    std::shared_ptr<spdlog::logger> Make(const char* name, const spdlog::sink_ptr& sink,
                                         bool atOnce) const;

    std::shared_ptr<spdlog::details::thread_pool> m_pool;  // null without a file
    std::shared_ptr<spdlog::logger> m_proxy;
    std::shared_ptr<spdlog::logger> m_queue;
};

}  // namespace vaxobench

#endif
