// Which cores the caller and the worker run on.
//
// Left alone, the kernel wakes a worker now on the caller's core, now on another one, and stays
// with its choice for a while. A call to a sleeping worker takes several times as long in the
// second case (another core has to be interrupted), so the choice would decide a comparison.
#ifndef VAXO_BENCH_RUNNER_PLACEMENT_H
#define VAXO_BENCH_RUNNER_PLACEMENT_H

#include <sched.h>

namespace vaxoengine {

enum class Placement {
    kApart,     // one core each, where the process has two
    kTogether,  // both on one core
};

// The cores the process may use: the first is the caller's.
int CallerCore();
int WorkerCore(Placement placement);

// Keeps the calling thread on a core from here on. A system that does not let it is let be.
void StayOn(int core);

// Keeps the calling thread on the caller's core and the peer's worker on its own. When this
// goes, the calling thread (which is still the same) is free again; the worker stays where it
// is until it ends. Threads made in between take over the caller's core.
class Placed {
public:
    template <class Peer>
    Placed(Peer& peer, Placement placement) : Placed() {
        peer.Call([placement] { StayOn(WorkerCore(placement)); });
        StayOn(CallerCore());
    }
    ~Placed();
    Placed(const Placed&) = delete;
    Placed& operator=(const Placed&) = delete;

private:
    Placed();

    cpu_set_t m_before;
};

}  // namespace vaxoengine

#endif
