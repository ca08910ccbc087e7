// Collects every log line while it lives, at all levels, from all threads.
//
// Destroying it puts the file back and the level to the default; by then no
// thread is inside the sink any more.
#ifndef VAXO_TESTS_LOGRECORDER_H
#define VAXO_TESTS_LOGRECORDER_H

#include <mutex>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "vaxolog.h"

struct LogLine {
    int32 level;
    std::string tag;
    std::string text;
};

inline bool operator==(const LogLine& a, const LogLine& b) {
    return a.level == b.level && a.tag == b.tag && a.text == b.text;
}

inline std::ostream& operator<<(std::ostream& out, const LogLine& line) {
    return out << line.level << " " << line.tag << " \"" << line.text << "\"";
}

class LogRecorder {
public:
    LogRecorder() {
        vaxolog_set_sink(&LogRecorder::Sink, this);
        vaxolog_set_level(esyslog_debug);
    }
    ~LogRecorder() {
        vaxolog_set_sink(nullptr, nullptr);
        vaxolog_set_level(esyslog_generic);
    }
    LogRecorder(const LogRecorder&) = delete;
    LogRecorder& operator=(const LogRecorder&) = delete;

    // The lines so far; the recorder starts over.
    std::vector<LogLine> Take() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::exchange(m_lines, std::vector<LogLine>());
    }

private:
    static void Sink(void* context, int32 level, const char* tag, int32 /*line*/,
                     const char* text) {
        auto* const self = static_cast<LogRecorder*>(context);
        const std::lock_guard<std::mutex> lock(self->m_mutex);
        self->m_lines.push_back(LogLine{level, tag, text});
    }

    std::mutex m_mutex;
    std::vector<LogLine> m_lines;
};

#endif
