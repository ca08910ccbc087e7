// The queue runner beside its peers: what each of them is stands in its header, what makes it
// fair in Peer.h, what is measured in PostAndRun.h, Post.h and RoundTrip.h.
//
// Each benchmark makes its own peer and ends its threads before it returns, so repetitions may
// be interleaved at random.
#include <benchmark/benchmark.h>

#include <cstddef>
#include <string>

#include "runner/AsioPeer.h"
#include "runner/FutexPeer.h"
#include "runner/GlibPeer.h"
#include "runner/LockedDequePeer.h"
#include "runner/Placement.h"
#include "runner/PostAndRun.h"
#include "runner/RoundTrip.h"
#include "runner/SharedWord.h"
#include "runner/TbbPeer.h"
#include "runner/VaxoPeer.h"

namespace vaxoengine {

namespace {

// Takes its samples itself, all of them in one iteration, and reports their median as the time.
void RegisterSampled(const std::string& name, void (*body)(benchmark::State&)) {
    benchmark::RegisterBenchmark(name.c_str(), body)->Iterations(1)->UseManualTime();
}

template <class Peer>
void RegisterPostAndRun(std::size_t producers) {
    const std::string name =
        "PostAndRun/producers:" + std::to_string(producers) + '/' + Peer::kName;
    benchmark::RegisterBenchmark(name.c_str(), &PostAndRun<Peer>, producers)->UseManualTime();
}

template <class Peer, Placement kPlacement>
void RegisterIdle(const std::string& name) {
    RegisterSampled("RoundTrip/" + name + '/' + Peer::kName, &RoundTripIdle<Peer, kPlacement>);
}

// Peers of one case stand beside each other, so that they run close to each other in time.
template <class... Peers>
void RegisterAll() {
    for (const std::size_t producers : {1U, 2U, 4U}) {
        (RegisterPostAndRun<Peers>(producers), ...);
    }
    for (const bool shared : {false, true}) {
        const std::string name = shared ? "SharedWord/shared/word" : "SharedWord/alone/word";
        benchmark::RegisterBenchmark(name.c_str(), &SharedWord, shared);
    }
    (RegisterSampled(std::string("Post/asleep/") + Peers::kName, &PostAsleep<Peers>), ...);
    (RegisterSampled(std::string("Post/busy/") + Peers::kName, &PostBusy<Peers>), ...);
    (RegisterSampled(std::string("RoundTrip/busy/") + Peers::kName, &RoundTripBusy<Peers>), ...);
    (RegisterIdle<Peers, Placement::kApart>("idle"), ...);
    RegisterIdle<FutexPeer, Placement::kApart>("idle");
    (RegisterIdle<Peers, Placement::kTogether>("idle-near"), ...);
    RegisterIdle<FutexPeer, Placement::kTogether>("idle-near");
}

}  // namespace

}  // namespace vaxoengine

int main(int argc, char** argv) {
    using namespace vaxoengine;
    RegisterAll<VaxoPeer, AsioPeer, GlibPeer, LockedDequePeer, TbbPeer>();
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
