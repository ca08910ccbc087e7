#include "explore/PlatformLog.h"

#include <cstdarg>
#include <utility>

#include "explore/Sanitizers.h"
#include "vaxoformat.h"
#include "vaxolog.h"

namespace explore {

namespace {

std::function<void(const std::string&, const std::string&)>& Listener() {
    static auto& s_listener = *new std::function<void(const std::string&, const std::string&)>();
    return s_listener;
}

}  // namespace

void OnLine(std::function<void(const std::string& tag, const std::string& text)> listener) {
    Listener() = std::move(listener);
}

}  // namespace explore

namespace VAXO {
vaxo::strutf8 g_strLogFileName__;
}

void syslog(int32 level, const char* tag, int32 /*line*/, const char* format, ...) {
    const explore::Unseen unseen;
    if (level > esyslog_generic || !explore::Listener()) {
        return;
    }
    std::string text;
    std::va_list args;
    va_start(args, format);
    vaxo::format_append(text, format, args);
    va_end(args);
    explore::Listener()(tag, text);
}

void vaxolog_set_sink(vaxolog_sink /*sink*/, void* /*context*/) {}

void vaxolog_set_level(int32 /*level*/) {}

int32 vaxolog_open(const char* path) {
    VAXO::g_strLogFileName__ = path;
    return 0;
}

void vaxolog_flush() {}
