// The library's log.
//
// One function, syslog, called from everywhere on any thread. It shares its name,
// not its signature, with the system logger's: a file that includes both headers
// may call one and get the other, because some argument lists fit both. A line
// goes to the sink if one is set, else to the log file if one is open, else
// nowhere.
//
// Guarantees
// - Every function here may be called from any thread at any time, also from
//   inside a sink and during process exit. Not from a signal handler.
// - A line above the level costs one relaxed load and a compare. Without a sink
//   and a file nothing is formatted either.
// - A line of any length arrives whole. A null "%s" argument prints as the empty
//   text. "%n" writes nothing. vaxoformat.h says the rest about formats.
// - Lines of one thread reach the sink and the file in the order logged.
// - The file is written by a thread of its own, which sees none of the process's
//   signals. Up to 1024 lines wait for it; the caller that logs one more waits
//   for room. The thread gives a line to the system as soon as no other waits, and in a burst
//   every 64 KiB.
// - vaxolog_flush waits for the lines before it. No line is lost when the
//   process ends normally, by a return from main or by exit: the lines that wait
//   are written then, and lines logged later during the exit are written before
//   syslog returns.
// - errno is left alone. Nothing is ever printed to the standard streams.
//
// Non-guarantees
// - A process that is killed, aborts or leaves through _exit or quick_exit may
//   lose the lines that still waited.
// - When the disk is full, the file is taken away or memory runs out, lines are
//   dropped silently: the log never makes its caller fail.
// - After fork, the child logs nowhere until it opens a file or sets a sink of
//   its own. Until then vaxolog_flush returns at once there.
// - Values are printed as they are given: keep secrets out of the arguments.
#ifndef VAXO_VAXOLOG_H
#define VAXO_VAXOLOG_H

#include "vaxostream.h"
#include "vaxotypes.h"

// Levels: the lower, the graver.
enum {
    esyslog_grievous = 0,  // the process cannot go on as it should
    esyslog_error,         // something failed
    esyslog_warning,       // something is wrong and was coped with
    esyslog_generic,       // what happens, in normal use
    esyslog_debug,         // how it happens
};

// Writes one line. `tag` names the module, `line` is the source line of the
// call, then a printf-style format with its values. A null tag or format prints
// as the empty text.
VAXO_API void syslog(int32 level, const char* tag, int32 line, const char* format, ...)
    VAXO_PRINTF_FORMAT(4, 5);

// Receives one whole line a call, without a line end, on the logging thread,
// before syslog returns. `tag` and `text` are never null and live until the sink
// returns. Lines of different threads may arrive at once: the sink brings its
// own lock. No lock of the log is held, so the sink may call every function of
// this header; a line that it logs goes to it again, nested. It must not throw.
//
// Who logs may hold a lock: the command queue does. So a sink calls nothing else
// of the library, and takes no lock that is held where the library is called.
typedef void (*vaxolog_sink)(void* context, int32 level, const char* tag, int32 line,
                             const char* text);

// Replaces the file as the place where lines go; null puts the file back. When
// it returns, the former sink is not running on any other thread and will not
// be called again, so its context may be freed. Hold no lock here that the
// former sink takes.
//
// A sink may call this. It does not wait for its own calls on its own thread, so
// there the context must outlive the sink's return. Of two threads that replace
// one sink at the same time, only the first has it as the former sink and waits
// for it.
VAXO_API void vaxolog_set_sink(vaxolog_sink sink, void* context);

// Lines above this level are dropped unformatted. The default is
// esyslog_generic; below esyslog_grievous nothing is logged, above
// esyslog_debug everything.
VAXO_API void vaxolog_set_level(int32 level);

// Opens (appends to, or creates) the log file, writes out and closes the one
// before, and sets VAXO::g_strLogFileName__. Folders that are missing are made.
//
// 0 on success. -1 when the path is null, empty or cannot be written, when the
// file's thread cannot be had, and during process exit: then the log stays as it
// was, an earlier file goes on, and without one lines go nowhere.
//
// Lines of other threads wait while the file is opened. A sink stays in place;
// the file gets the lines again when it goes. Not from a static initialiser: the
// name may not exist yet.
//
// A line: 2026-11-21 10:11:12.123456 12345 3 CmdQueue:88 text
// that is local time, thread id, level, tag:line, text. Carriage returns, line
// feeds and NUL inside the tag or the text are written as \r, \n and \0, so that
// a line stays a line.
//
// The file is rotated when a line would take it over 5 MiB: NAME.ext becomes
// NAME.1.ext and so on, up to NAME.3.ext, and the oldest is removed. A line
// longer than that has a file of its own.
VAXO_API int32 vaxolog_open(const char* path);

// When it returns, every line logged before the call is in the file: given to
// the system, where every process sees it. A line of another thread counts if
// its syslog returned before this call, in the order that the threads' own
// synchronisation gives. Returns at once without a file.
VAXO_API void vaxolog_flush();

namespace VAXO {
// The name of the current log file as it was given to vaxolog_open, empty before
// the first success. vaxolog_open writes it without a lock that a reader could
// take: open the log before other threads read this.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the interface's name
extern VAXO_API vaxo::strutf8 g_strLogFileName__;
}  // namespace VAXO

#endif
