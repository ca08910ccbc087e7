// The threads of the channel's connections, and what becomes of them when the process ends.
//
// A thread here may be inside the TLS library at any moment, and that library takes itself
// down in an exit handler. So a handler that runs before it tells every thread to end and
// waits for them, one second at most. After that no new thread starts, and a thread that
// did not make it must not touch the TLS library: it asks LinkThreadsMayRun before it makes
// a connection.
//
// Any thread, also during the exit.
#ifndef VAXO_ENGINE_CHANNEL_LINKTHREADS_H
#define VAXO_ENGINE_CHANNEL_LINKTHREADS_H

#include <functional>

namespace vaxoengine {

// Runs `body` in a thread of its own, without the process's signals. `stop` is called, on
// the exiting thread, if the process ends meanwhile: it must not wait. False: there is no
// thread to be had, or the process ends.
bool StartLinkThread(std::function<void()> body, std::function<void()> stop);

bool LinkThreadsMayRun();

}  // namespace vaxoengine

#endif
