// The log file: appended to by a thread of its own, rotated by size.
//
// An object is one place for a file; Open may put one file after another into
// it. Meant to be immortal: threads may write while the process exits, so the
// owner never destroys it.
//
// Guarantees
// - Every member may be called from any thread, except the three for fork.
// - Nothing throws. A line that cannot be written is dropped, silently.
// - Lines are written in the order of the calls to Write.
//
// Non-guarantees
// - A Write waits when 1024 lines wait already. An Open and a Shut make every
//   other caller wait until they are done.
#ifndef VAXO_VAXOLOGFILE_H
#define VAXO_VAXOLOGFILE_H

#include <atomic>
#include <memory>
#include <mutex>
#include <string_view>

#include "vaxostream.h"
#include "vaxotypes.h"

class CVAXOLogFile {
public:
    CVAXOLogFile();
    ~CVAXOLogFile();
    CVAXOLogFile(const CVAXOLogFile&) = delete;
    CVAXOLogFile& operator=(const CVAXOLogFile&) = delete;

    // A relaxed load, so that a caller need not make a line for nobody.
    bool IsOpen() const noexcept { return m_isOpen.load(std::memory_order_relaxed); }

    // Finishes the file before, opens this one and sets `name`. 0, or -1 with
    // everything, `name` included, as it was.
    int32 Open(const char* path, vaxo::strutf8& name) noexcept;

    // Writes the time, the calling thread's id, the level, "tag:line", the text and a line end.
    // `text` begins with the level and a blank. Line ends and zero characters in tag and text are
    // written as "\r", "\n" and "\0". What can be put together later is, by the log's thread.
    void Write(std::string_view tag, int32 line, std::string_view text) noexcept;

    // Returns when the lines written before are in the file.
    void Flush() noexcept;

    // For process exit: writes what waits and ends the thread. From then on
    // Write writes before it returns, and Open answers -1.
    void Shut() noexcept;

    // Around fork, on the forking thread. In between nothing is written. In the
    // child there is no file afterwards: its thread stayed with the parent.
    void BeforeFork() noexcept;
    void AfterForkInParent() noexcept;
    void AfterForkInChild() noexcept;

private:
    struct File;

    void Resume() noexcept;

    std::mutex m_lock;              // everything below, and the order of lines
    std::unique_ptr<File> m_pFile;  // null: none is open
    std::unique_ptr<File> m_pLost;  // the parent's, in a forked child; never touched
    bool m_isShut = false;
    std::atomic<bool> m_isOpen{false};
};

#endif
