// GLib: a main context whose loop one thread runs.
#ifndef VAXO_BENCH_RUNNER_GLIBPEER_H
#define VAXO_BENCH_RUNNER_GLIBPEER_H

#include <glib.h>

#include <thread>

#include "runner/Peer.h"

namespace vaxoengine {

class GlibPeer {
public:
    static constexpr const char* kName = "glib";

    GlibPeer();
    ~GlibPeer();
    GlibPeer(const GlibPeer&) = delete;
    GlibPeer& operator=(const GlibPeer&) = delete;

    void Post(Job job);
    void Call(Job job);

private:
    void Run();

    GMainContext* m_context;
    GMainLoop* m_loop;
    std::thread m_thread;
};

}  // namespace vaxoengine

#endif
