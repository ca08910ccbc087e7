#include "runner/Placement.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace vaxoengine {

namespace {

// As it was when first asked, before anybody was kept anywhere. Never empty.
const std::vector<int>& Cores() {
    static const std::vector<int> s_cores = [] {
        std::vector<int> cores;
        cpu_set_t allowed;
        CPU_ZERO(&allowed);
        (void)sched_getaffinity(0, sizeof(allowed), &allowed);
        for (int core = 0; core < CPU_SETSIZE; ++core) {
            if (CPU_ISSET(static_cast<std::size_t>(core), &allowed)) {
                cores.push_back(core);
            }
        }
        if (cores.empty()) {
            cores.push_back(0);
        }
        return cores;
    }();
    return s_cores;
}

}  // namespace

int CallerCore() {
    return Cores().front();
}

int WorkerCore(Placement placement) {
    const std::size_t wanted = placement == Placement::kApart ? 1 : 0;
    return Cores()[std::min(wanted, Cores().size() - 1)];
}

void StayOn(int core) {
    cpu_set_t one;
    CPU_ZERO(&one);
    CPU_SET(static_cast<std::size_t>(core), &one);
    (void)sched_setaffinity(0, sizeof(one), &one);
}

Placed::Placed() {
    CPU_ZERO(&m_before);
    (void)sched_getaffinity(0, sizeof(m_before), &m_before);
}

Placed::~Placed() {
    (void)sched_setaffinity(0, sizeof(m_before), &m_before);
}

}  // namespace vaxoengine
