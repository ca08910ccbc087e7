#include "road/MarshalLog.h"

#include <spdlog/sinks/basic_file_sink.h>
#include <spdlog/sinks/null_sink.h>

#include <cstddef>
#include <thread>

namespace vaxobench {

namespace {

constexpr std::size_t kQueuedLines = 1024;

}  // namespace

MarshalLog::MarshalLog(const MarshalLogOptions& options) {
    spdlog::sink_ptr sink;
    if (options.path.empty()) {
        sink = std::make_shared<spdlog::sinks::null_sink_mt>();
    } else {
        m_pool = std::make_shared<spdlog::details::thread_pool>(kQueuedLines, 1);
        sink = std::make_shared<spdlog::sinks::basic_file_sink_mt>(options.path);
        sink->set_pattern("%Y-%m-%d %H:%M:%S.%f %t %l %n:%# %v");
    }
    m_proxy = Make("CmdProxy", sink, options.atOnce);
    m_queue = Make("CmdQueue", sink, options.atOnce);
    SetLevel(-1);
}

std::shared_ptr<spdlog::logger> MarshalLog::Make(const char* name, const spdlog::sink_ptr& sink,
                                                 bool atOnce) const {
    std::shared_ptr<spdlog::logger> logger;
    if (m_pool) {
        logger = std::make_shared<spdlog::async_logger>(name, sink, m_pool,
                                                        spdlog::async_overflow_policy::block);
    } else {
        logger = std::make_shared<spdlog::logger>(name, sink);
    }
    if (atOnce) {
        logger->flush_on(spdlog::level::trace);
    }
    return logger;
}

void MarshalLog::SetLevel(int level) {
    const auto set = [level] {
        switch (level) {
            case 3:
                return spdlog::level::info;
            case 4:
                return spdlog::level::debug;
            default:
                return spdlog::level::off;
        }
    }();
    m_proxy->set_level(set);
    m_queue->set_level(set);
}

// Spdlog's own flush comes back before it is done.
void MarshalLog::Flush() {
    while (m_pool && m_pool->queue_size() != 0) {
        std::this_thread::yield();
    }
}

}  // namespace vaxobench
