// What a line of the log's file looks like:
//
//   2026-11-22 17:05:09.000123 4711 3 Tag:12 text
//
// local time with microseconds, thread, level, tag and line, text. Line ends and zero characters
// in tag and text are written as "\r", "\n" and "\0".
//
// The message has the tag as its name, the line in its source, and begins with the level and a
// blank. The library's formatter of patterns takes the text apart for each line, which was a
// quarter of what a line cost; this keeps the text of the second.
//
// Private to the platform layer. One thread at a time. Include it behind what sets the library's
// macros.
#ifndef VAXO_VAXOLOGLINE_H
#define VAXO_VAXOLOGLINE_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>

#include "spdlog/details/fmt_helper.h"
#include "spdlog/details/os.h"
#include "spdlog/formatter.h"

class CVAXOLogLine final : public spdlog::formatter {
public:
    void format(const spdlog::details::log_msg& msg, spdlog::memory_buf_t& dest) override {
        namespace helper = spdlog::details::fmt_helper;
        FormatTime(msg, dest);
        const std::size_t begin = dest.size();
        const std::string_view text(msg.payload.data(), msg.payload.size());
        const std::size_t blank = text.find(' ') + 1;  // behind the level
        dest.append(text.data(), text.data() + blank);
        helper::append_string_view(msg.logger_name, dest);
        dest.push_back(':');
        helper::append_int(msg.source.line, dest);
        dest.push_back(' ');
        dest.append(text.data() + blank, text.data() + text.size());
        EscapeFrom(begin, dest);
        dest.push_back('\n');
    }

    std::unique_ptr<spdlog::formatter> clone() const override {
        return std::make_unique<CVAXOLogLine>();
    }

private:
    void FormatTime(const spdlog::details::log_msg& msg, spdlog::memory_buf_t& dest) {
        namespace helper = spdlog::details::fmt_helper;
        using std::chrono::microseconds;
        using std::chrono::seconds;
        const auto sinceEpoch = msg.time.time_since_epoch();
        const auto second = std::chrono::duration_cast<seconds>(sinceEpoch);
        if (second != m_second || m_text.size() == 0) {
            Begin(second);
        }
        dest.append(m_text.data(), m_text.data() + m_text.size());
        const auto micros = std::chrono::duration_cast<microseconds>(sinceEpoch - second);
        helper::pad6(static_cast<std::uint32_t>(micros.count()), dest);
        dest.push_back(' ');
        helper::append_int(msg.thread_id, dest);
        dest.push_back(' ');
    }

    // Three searches, each as fast as memory: most lines have none of them.
    static void EscapeFrom(std::size_t begin, spdlog::memory_buf_t& dest) {
        const char* const line = dest.data() + begin;
        const std::size_t size = dest.size() - begin;
        if (!HasAny(line, size, '\n') && !HasAny(line, size, '\r') && !HasAny(line, size, '\0')) {
            return;
        }
        const std::string raw(line, size);
        dest.resize(begin);
        for (const char character : raw) {
            const char letter = Letter(character);
            if (letter != '\0') {
                dest.push_back('\\');
            }
            dest.push_back(letter != '\0' ? letter : character);
        }
    }

    // What stands for a character behind a backslash; 0: it stands for itself.
    static char Letter(char character) {
        switch (character) {
            case '\r':
                return 'r';
            case '\n':
                return 'n';
            case '\0':
                return '0';
            default:
                return '\0';
        }
    }

    static bool HasAny(const char* begin, std::size_t size, char character) {
        return std::memchr(begin, character, size) != nullptr;
    }

    void Begin(std::chrono::seconds second) {
        namespace helper = spdlog::details::fmt_helper;
        const std::tm time = spdlog::details::os::localtime(std::time_t{second.count()});
        m_text.clear();
        helper::append_int(time.tm_year + 1900, m_text);
        m_text.push_back('-');
        helper::pad2(time.tm_mon + 1, m_text);
        m_text.push_back('-');
        helper::pad2(time.tm_mday, m_text);
        m_text.push_back(' ');
        helper::pad2(time.tm_hour, m_text);
        m_text.push_back(':');
        helper::pad2(time.tm_min, m_text);
        m_text.push_back(':');
        helper::pad2(time.tm_sec, m_text);
        m_text.push_back('.');
        m_second = second;
    }

    std::chrono::seconds m_second{0};
    spdlog::memory_buf_t m_text;
};

#endif
