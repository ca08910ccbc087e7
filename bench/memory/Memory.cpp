// Prints, as JSON: what a command takes while it waits in the proxy's queue, what a job takes
// while it waits for its worker, and resident memory and start-up time of a program that only
// initialises, beside an empty one.
#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "live/VaxoLiveProxy.h"
#include "memory/CountingNew.h"
#include "memory/Starts.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxoevent.h"

namespace vaxoengine {

namespace {

constexpr int kWaiting = 64;
constexpr int kStarts = 20;
constexpr int kJobQueue = 5;  // a worker that nobody else uses

CVaxoQueueRunner& Runner() {
    return *CVaxoQueueRunner::GetSharedInstance();
}

// Taken by worker 0 in the middle of a job, so that what it takes for that job itself is there
// in every one of these counts and drops out of their differences.
Counts CountsAtRest() {
    Counts counts;
    Runner().SyncRun([&counts] { counts = CountsNow(); }, 0);
    return counts;
}

struct Each {
    double bytes, usable, allocations, made;
};

// `own` is what taking the counts made itself.
Each PerOne(const Counts& before, const Counts& after, std::int64_t own) {
    const auto share = [](std::int64_t from, std::int64_t to) {
        return static_cast<double>(to - from) / kWaiting;
    };
    return {share(before.bytes, after.bytes), share(before.usable, after.usable),
            share(before.allocations, after.allocations), share(before.made + own, after.made)};
}

void Print(const char* name, const Each& each, bool isLast) {
    std::printf(R"(    "%s": {"bytes": %.1f, "usable_bytes": %.1f, "allocations": %.2f, )"
                R"("allocations_made": %.2f}%s)"
                "\n",
                name, each.bytes, each.usable, each.allocations, each.made, isLast ? "" : ",");
}

// Ends every command that waits for an event, until none is left.
void Drain() {
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    CountsAtRest();
    while (const auto executing = queue->GetExecutingCmd()) {
        queue->SetCmdExecuteCmdDone(executing->GetCmdType());
        CountsAtRest();
    }
}

// Behind a play that never begins. The first round gives the waiting list its storage, which
// it keeps; the second one counts.
Each WaitingCommand(Strova::CVaxoLiveProxy& proxy, const std::function<void(int)>& call) {
    Each each{};
    for (int round = 0; round < 2; ++round) {
        proxy.PlayStream("held", 0);
        const std::int64_t made = CountsAtRest().made;
        const Counts before = CountsAtRest();
        for (int number = 0; number < kWaiting; ++number) {
            call(number);
        }
        each = PerOne(before, CountsAtRest(), before.made - made);
        Drain();
    }
    return each;
}

// As long as most identifiers: fifteen letters.
vaxo::strutf8 StreamID(int number) {
    vaxo::strutf8 streamID;
    streamID.format("stream-%08d", number);
    return streamID;
}

void PrintWaitingCommands() {
    const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    vaxo::stream sign;
    sign = "key";
    proxy->Init(1, sign);
    const std::array<std::pair<const char*, std::function<void(int)>>, 4> calls = {{
        {"EnableMic", [&](int number) { proxy->EnableMic(number % 2 == 0); }},
        {"SetVideoResolution", [&](int number) { proxy->SetVideoResolution(number, number); }},
        {"SetAudioDevice",
         [&](int number) {
             vaxo::strutf8 device = StreamID(number);
             proxy->SetAudioDevice(0, device);
         }},
        {"PlayStream", [&](int number) { proxy->PlayStream(StreamID(number), 0); }},
    }};
    std::printf("  \"list_slot_bytes\": %zu,\n  \"waiting_command\": {\n",
                sizeof(std::shared_ptr<VaxoAVMgrCmd>));
    for (std::size_t index = 0; index < calls.size(); ++index) {
        Print(calls[index].first, WaitingCommand(*proxy, calls[index].second),
              index + 1 == calls.size());
    }
    std::printf("  },\n");
}

// Behind a job that waits, so that worker and caller have both come to rest.
template <std::size_t Captured>
Each QueuedJob() {
    CVAXOEvent begun(true, false);
    CVAXOEvent over(true, false);
    Runner().AsyncRun(
        [&] {
            begun.Post();
            over.Wait(-1);
        },
        kJobQueue);
    begun.Wait(-1);
    const std::array<char, Captured> captured{};
    const Counts before = CountsNow();
    for (int number = 0; number < kWaiting; ++number) {
        Runner().AsyncRun([captured] { static_cast<void>(captured); }, kJobQueue);
    }
    const Each each = PerOne(before, CountsNow(), 0);
    over.Post();
    Runner().SyncRun([] {}, kJobQueue);
    return each;
}

void PrintQueuedJobs() {
    std::printf("  \"queued_job\": {\n");
    Print("capture_16_bytes", QueuedJob<16>(), false);
    Print("capture_48_bytes", QueuedJob<48>(), true);
    std::printf("  },\n");
}

// In turn, so that a busy moment of the machine hits both.
void PrintStarts() {
    constexpr std::array<const char*, 2> kPrograms = {"vaxo_bench_start", "vaxo_bench_empty"};
    std::array<std::vector<Start>, 2> starts;
    for (int count = 0; count < kStarts; ++count) {
        for (std::size_t index = 0; index < kPrograms.size(); ++index) {
            starts[index].push_back(StartOnce(kPrograms[index]));
        }
    }
    std::printf("  \"start_median_of\": %d,\n  \"start\": {\n", kStarts);
    for (std::size_t index = 0; index < kPrograms.size(); ++index) {
        const Start median = MedianOf(starts[index]);
        std::printf(R"(    "%s": {"resident_kib": %ld, "initialised_us": %.0f, "ended_us": %.0f}%s)"
                    "\n",
                    kPrograms[index], median.residentKib, median.lineMicroseconds,
                    median.endMicroseconds, index + 1 == kPrograms.size() ? "" : ",");
    }
    std::printf("  }\n");
}

}  // namespace

}  // namespace vaxoengine

int main() {
    try {
        std::printf("{\n");
        vaxoengine::PrintWaitingCommands();
        vaxoengine::PrintQueuedJobs();
        vaxoengine::PrintStarts();
        std::printf("}\n");
        return 0;
    } catch (const std::exception& error) {
        static_cast<void>(std::fprintf(stderr, "%s\n", error.what()));
        return 1;
    }
}
