// Five functions of the platform layer without threads, reached through the linker's
// --wrap, so that they ask for memory as the real ones do: the test's own bookkeeping in
// them must not run out of it.
#include <cstdarg>
#include <string>

#include "kernel/live/memory/StarvingNew.h"
#include "vaxoevent.h"
#include "vaxoformat.h"
#include "vaxolock.h"
#include "vaxolog.h"
#include "vaxotask.h"

namespace {

int32 s_level = esyslog_generic;

}  // namespace

// Under the names that the linker gives to a function and to what stands before it: a prefix
// and the function's symbol.
extern "C" {

void __real__Z6syslogiPKciS0_z(int32 level, const char* tag, int32 line, const char* format, ...);
void __wrap__Z6syslogiPKciS0_z(int32 level, const char* tag, int32 line, const char* format, ...);
void __real__Z17vaxorwlock_rdlockP12vaxorwlock_t(hvaxolockrw lock);
void __wrap__Z17vaxorwlock_rdlockP12vaxorwlock_t(hvaxolockrw lock);
void __real__Z17vaxolog_set_leveli(int32 level);
void __wrap__Z17vaxolog_set_leveli(int32 level);
hvaxoevent __real__Z16vaxoevent_createii(int32 autoreset, int32 signaled);
hvaxoevent __wrap__Z16vaxoevent_createii(int32 autoreset, int32 signaled);
uint32 __real__ZN13CVAXOTaskBase8PushTaskEPS_RK10CScopeCall(CVAXOTaskBase* task,
                                                            const CScopeCall& call);
uint32 __wrap__ZN13CVAXOTaskBase8PushTaskEPS_RK10CScopeCall(CVAXOTaskBase* task,
                                                            const CScopeCall& call);

// The log never makes its caller fail. That it drops the line is its own affair; here every
// line arrives, so that a test can read what was said.
void __wrap__Z6syslogiPKciS0_z(int32 level, const char* tag, int32 line, const char* format, ...) {
    if (level > s_level) {
        return;
    }
    const starving::Pause pause;
    std::string text;
    std::va_list args;
    va_start(args, format);
    vaxo::format_append(text, format, args);
    va_end(args);
    __real__Z6syslogiPKciS0_z(level, tag, line, "%s", text.c_str());
}

void __wrap__Z17vaxolog_set_leveli(int32 level) {
    s_level = level;
    __real__Z17vaxolog_set_leveli(level);
}

// Taking a lock needs no memory.
void __wrap__Z17vaxorwlock_rdlockP12vaxorwlock_t(hvaxolockrw lock) {
    const starving::Pause pause;
    __real__Z17vaxorwlock_rdlockP12vaxorwlock_t(lock);
}

// An event that cannot be had is not there.
hvaxoevent __wrap__Z16vaxoevent_createii(int32 autoreset, int32 signaled) {
    starving::Request();
    const starving::Pause pause;
    return __real__Z16vaxoevent_createii(autoreset, signaled);
}

// Queueing a call allocates once, before anything is queued.
uint32 __wrap__ZN13CVAXOTaskBase8PushTaskEPS_RK10CScopeCall(CVAXOTaskBase* task,
                                                            const CScopeCall& call) {
    starving::Request();
    const starving::Pause pause;
    return __real__ZN13CVAXOTaskBase8PushTaskEPS_RK10CScopeCall(task, call);
}
}
