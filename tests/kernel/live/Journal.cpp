#include "kernel/live/Journal.h"

#include <mutex>
#include <utility>

#include "vaxolog.h"

namespace livetest {

namespace {

struct State {
    std::mutex mutex;
    std::vector<Line> lines;
    long written = 0;
};

// Never destroyed: workers may write while the program ends.
State& TheState() {
    static auto& s_state = *new State();
    return s_state;
}

void Sink(void* /*context*/, int32 level, const char* tag, int32 /*line*/, const char* text) {
    Note("log " + std::to_string(level) + " " + tag + ": " + text);
}

}  // namespace

void Note(const std::string& text) {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    ++state.written;
    state.lines.push_back(Line{text, vaxothread_selfid()});
}

std::vector<Line> TakeLines() {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return std::exchange(state.lines, std::vector<Line>());
}

std::vector<std::string> Take() {
    return TakeOnly("");
}

std::vector<std::string> TakeOnly(const std::string& prefix) {
    std::vector<std::string> texts;
    for (const Line& line : TakeLines()) {
        if (line.text.compare(0, prefix.size(), prefix) == 0) {
            texts.push_back(line.text);
        }
    }
    return texts;
}

long Written() {
    State& state = TheState();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.written;
}

LogIntoJournal::LogIntoJournal() {
    vaxolog_set_sink(&Sink, nullptr);
    vaxolog_set_level(esyslog_debug);
}

LogIntoJournal::~LogIntoJournal() {
    vaxolog_set_sink(nullptr, nullptr);
    vaxolog_set_level(esyslog_generic);
}

std::string Text(const vaxo::strutf8& s) {
    return s.length() == 0 ? std::string() : std::string(s.c_str(), s.length());
}

}  // namespace livetest
