// The log and its sink: vaxolog.h.
#include <atomic>
#include <cerrno>
#include <string>
#include <utility>
#include <vector>

#include "conformance/platform/Kit.h"
#include "vaxolock.h"
#include "vaxolog.h"
#include "vaxothread.h"

namespace conformance {
namespace {

struct Line {
    int32 level;
    std::string tag;
    int32 line;
    std::string text;
    vaxothread_id thread;
};

// Gets the lines while it lives; the level is the default then and afterwards.
class Sink {
public:
    explicit Sink(std::function<void(const Line&)> action = nullptr) : m_action(std::move(action)) {
        vaxolog_set_level(esyslog_generic);
        vaxolog_set_sink(&Sink::Take, this);
    }
    ~Sink() {
        vaxolog_set_sink(nullptr, nullptr);
        vaxolog_set_level(esyslog_generic);
    }
    Sink(const Sink&) = delete;
    Sink& operator=(const Sink&) = delete;

    static void Take(void* context, int32 level, const char* tag, int32 line, const char* text) {
        auto* const sink = static_cast<Sink*>(context);
        Require(tag != nullptr && text != nullptr, "a sink was given a null tag or text");
        const Line whole = {level, tag, line, text, vaxothread_selfid()};
        {
            const CVAXOAutolock guard(sink->m_lock);
            sink->m_lines.push_back(whole);
        }
        if (sink->m_action) {
            sink->m_action(whole);
        }
    }

    std::vector<Line> Lines() {
        const CVAXOAutolock guard(m_lock);
        return m_lines;
    }
    Line Only() {
        const std::vector<Line> lines = Lines();
        Require(lines.size() == 1, "a logged line was not exactly one call of the sink");
        return lines[0];
    }

private:
    std::function<void(const Line&)> m_action;
    CVAXOLock m_lock;
    std::vector<Line> m_lines;
};

// The compiler's check of the format would refuse what some cases log.
typedef void (*Unchecked)(int32, const char*, int32, const char*, ...);
Unchecked LogUnchecked() {
    static const volatile Unchecked s_log = &syslog;
    return s_log;
}

void AsLogged() {
    Sink sink;
    syslog(esyslog_error, "CmdQueue", 88, "%s(%llu/%s)", "Start", 7ULL, "stream");
    const Line line = sink.Only();
    Require(line.level == esyslog_error, "a line reached the sink with another level");
    Require(line.tag == "CmdQueue" && line.line == 88, "a line reached the sink with another tag");
    Require(line.text == "Start(7/stream)", "a line's text is not what printf would write");
}

void OnTheCallingThread() {
    Sink sink;
    const int threads = 3;
    const int count = Rounds(500);
    Together(threads, [&](int number) {
        const vaxothread_id self = vaxothread_selfid();
        for (int i = 0; i < count; ++i) {
            syslog(esyslog_generic, "T", number, "%d %d", static_cast<int>(self), i);
        }
    });
    int next[threads] = {};
    for (const Line& line : sink.Lines()) {
        int& own = next[line.line];
        Require(line.text == std::to_string(line.thread) + " " + std::to_string(own),
                "a line did not reach the sink on the thread that logged it, in its order");
        ++own;
    }
    for (const int got : next) {
        Require(got == count, "a line did not reach the sink before syslog returned");
    }
}

void NullTexts() {
    Sink sink;
    const char* const none = nullptr;
    LogUnchecked()(esyslog_error, nullptr, 1, "[%s]", none);
    LogUnchecked()(esyslog_error, "T", 2, nullptr);
    const std::vector<Line> lines = sink.Lines();
    Require(lines.size() == 2, "a line with a null tag, text or format was lost");
    Require(lines[0].tag.empty(), "a null tag is not the empty text");
    Require(lines[0].text == "[]", "a null %s argument is not the empty text");
    Require(lines[1].text.empty(), "a null format is not the empty text");
}

void StoreConversion() {
    Sink sink;
    int count = 5;
    LogUnchecked()(esyslog_error, "T", 1, "abc%n", &count);
    Require(count == 5, "%n wrote into its argument");
    Require(sink.Only().text == "abc", "%n changed the text");
}

void LongLine() {
    Sink sink;
    const std::string text(1U << 20U, 'x');
    syslog(esyslog_generic, "T", 1, "<%s>", text.c_str());
    Require(sink.Only().text == "<" + text + ">", "a line of a mebibyte did not arrive whole");
}

void Levels() {
    Sink sink;
    std::size_t before = 0;
    const auto passed = [&](int32 limit) {
        vaxolog_set_level(limit);
        for (int32 level = esyslog_grievous; level <= esyslog_debug; ++level) {
            syslog(level, "T", 1, "line");
        }
        const std::size_t now = sink.Lines().size();
        return static_cast<int>(now - std::exchange(before, now));
    };
    for (int32 limit = esyslog_grievous; limit <= esyslog_debug; ++limit) {
        Require(passed(limit) == limit + 1, "not the lines up to the level passed");
    }
    Require(passed(esyslog_debug + 1) == 5, "above the last level a line was dropped");
    Require(passed(esyslog_grievous - 1) == 0, "below the first level a line passed");
    vaxolog_set_level(esyslog_generic);
}

void DefaultLevel() {
    Sink sink;
    syslog(esyslog_generic, "T", 1, "passes");
    syslog(esyslog_debug, "T", 1, "does not");
    Require(sink.Only().text == "passes", "the default level is not esyslog_generic");
}

void ErrnoStays() {
    Sink sink([](const Line&) { errno = EBADF; });
    errno = ENOENT;
    syslog(esyslog_error, "T", 1, "line");
    Require(errno == ENOENT, "errno was changed");
}

void Nested() {
    std::string order;
    Sink sink([&order](const Line& line) {
        order += "(" + line.text;
        if (line.text == "outer") {
            vaxolog_flush();
            syslog(esyslog_error, "T", 2, "inner");
        }
        order += ")";
    });
    WaitingFor("a sink that logs and flushes to return");
    syslog(esyslog_error, "T", 1, "outer");
    Require(order == "(outer(inner))", "a line that a sink logged did not go to it, nested");
}

void ReplacesItself() {
    int late = 0;
    Sink outer;
    {
        Sink first([&](const Line&) {
            WaitingFor("a sink that replaces itself to return");
            vaxolog_set_sink(&Sink::Take, &outer);
            ++late;
        });
        syslog(esyslog_error, "T", 1, "one");
        syslog(esyslog_error, "T", 2, "two");
    }
    Require(late == 1, "a sink was called after it was replaced");
    Require(outer.Only().text == "two", "the sink that replaced another one got no line");
}

// The context of a former sink may be freed: no call is in it, and none comes.
void NoCallAfterwards() {
    const int rounds = Rounds(50);
    std::atomic<bool> stop{false};
    Together(3, [&](int number) {
        if (number != 0) {
            while (!stop) {
                syslog(esyslog_error, "T", 1, "line");
            }
            return;
        }
        for (int round = 0; round < rounds; ++round) {
            std::atomic<int> inside{0};
            std::atomic<int> calls{0};
            {
                const Sink sink([&](const Line&) {
                    ++inside;
                    ++calls;
                    --inside;
                });
                Poll("a line to reach a new sink", [&] { return calls != 0; });
            }
            Require(inside == 0, "a sink was replaced while a call was in it");
            const int then = calls;
            syslog(esyslog_error, "T", 1, "line");
            Require(calls == then, "a sink was called after it was replaced");
        }
        stop = true;
    });
}

}  // namespace

Cases LogCases() {
    return {
        {"log/as-logged", "A line reaches the sink with level, tag, line and text, in one call.",
         needs_sink, &AsLogged},
        {"log/on-the-calling-thread",
         "The sink runs on the logging thread before syslog returns, in the order logged.",
         needs_sink, &OnTheCallingThread},
        {"log/null-texts", "A null tag, format or %s argument prints as the empty text.",
         needs_sink, &NullTexts},
        {"log/store-conversion", "%n writes nothing.", needs_sink, &StoreConversion},
        {"log/long-line", "A line of any length arrives whole.", needs_sink, &LongLine},
        {"log/levels", "Lines above the level are dropped, the others are not.", needs_sink,
         &Levels},
        {"log/default-level", "The default level is esyslog_generic.", needs_sink, &DefaultLevel},
        {"log/errno", "errno is left alone.", needs_sink, &ErrnoStays},
        {"log/nested", "A sink may log and flush; a line that it logs goes to it, nested.",
         needs_sink, &Nested},
        {"log/replaces-itself", "A sink may replace itself.", needs_sink, &ReplacesItself},
        {"log/no-call-afterwards",
         "When a sink was replaced, no call is in it any more and none comes.",
         needs_sink | needs_clock, &NoCallAfterwards},
    };
}

}  // namespace conformance
