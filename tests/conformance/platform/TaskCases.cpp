// Workers and the calls that they run: vaxotask.h.
#include <atomic>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "conformance/platform/Kit.h"
#include "conformance/platform/TaskFixture.h"
#include "vaxotask.h"

namespace conformance {
namespace {

const char* const s_drained = "a worker to run the calls that were pushed";

void MustStart(const Worker& worker) {
    WaitingFor(s_drained);
    Require(worker.Start(), "Start answered false");
}

void InOrder() {
    const int count = Rounds(1000);
    Target target;
    Worker worker("order");
    MustStart(worker);
    int next = 0;  // plain: only the worker touches it
    for (int i = 0; i < count; ++i) {
        Push(worker.Task(), target, [&next, i] {
            Require(next == i, "calls pushed by one thread ran in another order");
            ++next;
        });
    }
    worker.Drain();
    Require(next == count, "a call was lost");
}

void NoneLost() {
    const int producers = 3;
    const int calls = Rounds(2000);
    Target target;
    Worker worker("producers");
    MustStart(worker);
    int next[producers] = {};
    std::atomic<int> running{0};
    Together(producers, [&](int producer) {
        for (int i = 0; i < calls; ++i) {
            Push(worker.Task(), target, [&, producer, i] {
                Require(++running == 1, "a worker ran two calls at once");
                Require(next[producer] == i, "calls pushed by one thread ran in another order");
                ++next[producer];
                --running;
            });
        }
    });
    worker.Drain();
    for (const int ran : next) {
        Require(ran == calls, "a call was lost");
    }
}

void BeforeTheStart() {
    Target target;
    Worker worker("before");
    std::string ran;
    Push(worker.Task(), target, [&ran] { ran += 'a'; });
    Push(worker.Task(), target, [&ran] { ran += 'b'; });
    Require(worker.Task()->getthreadid() == 0, "a push started a worker unasked");
    MustStart(worker);
    Push(worker.Task(), target, [&ran] { ran += 'c'; });
    worker.Drain();
    Require(ran == "abc", "calls pushed before the Start were lost or ran in another order");
}

void FromInside() {
    Target target;
    Worker worker("itself");
    CVAXOTaskBase* const task = worker.Task();
    std::string ran;
    CVAXOEvent done(true, false);
    Push(task, target, [task, &target, &ran, &done] {
        Push(task, target, [&ran, &done] {
            ran += 'c';
            done.Post();
        });
        ran += 'a';
    });
    Push(task, target, [&ran] { ran += 'b'; });
    MustStart(worker);
    WaitingFor("a call that was pushed by a call to run");
    done.Wait(-1);
    worker.Drain();
    Require(ran == "abc", "a call that was pushed by a call did not run after those before it");
}

void PushNeverWaits() {
    Target target;
    Worker worker("busy");
    MustStart(worker);
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();
    int ran = 0;
    const int count = Rounds(3000);
    WaitingFor("pushes to return while a call runs");
    for (int i = 0; i < count; ++i) {
        Push(worker.Task(), target, [&ran] { ++ran; });
    }
    Require(ran == 0, "a worker ran a call inside another one");
    gate.Open();
    WaitingFor(s_drained);
    worker.Drain();
    Require(ran == count, "a call was lost");
}

void WakesForEach() {
    const int count = Rounds(3000);
    Target target;
    Worker worker("wakes");
    MustStart(worker);
    int ran = 0;
    WaitingFor("a push to wake the worker");
    for (int i = 0; i < count; ++i) {
        worker.Drain();
        Push(worker.Task(), target, [&ran] { ++ran; });
    }
    worker.Drain();
    Require(ran == count, "a call was lost");
}

void SeesWhatWasWritten() {
    const int count = Rounds(500);
    Target target;
    Worker worker("visible");
    MustStart(worker);
    int sum = 0;
    for (int i = 1; i <= count; ++i) {
        const auto value = std::make_shared<int>(0);
        *value = i;
        Push(worker.Task(), target, [value, &sum] { sum += *value; });
    }
    worker.Drain();
    Require(sum == count * (count + 1) / 2, "a call did not see what was written before its push");
}

void Numbers() {
    Target target;
    Worker worker("numbers");
    std::set<uint32> numbers;
    const int count = 100;
    for (int i = 0; i < count; ++i) {
        numbers.insert(Push(worker.Task(), target, nullptr));
    }
    Require(numbers.count(vaxotask_invalid_id) == 0, "a push to a worker answered 0");
    Require(numbers.size() == std::size_t(count), "two pushes to a worker have one number");
}

void NullWorker() {
    int ends = 0;
    Target target;
    const uint32 number = Push(nullptr, target, nullptr, [&ends] { ++ends; });
    Require(number == vaxotask_invalid_id, "a push to a null worker answered a number");
    Require(ends == 1, "a null worker kept a copy of the call");
}

void CopyGoesBeforeTheNext() {
    Target target;
    Worker worker("copies");
    MustStart(worker);
    Gate gate(worker.Task(), target);
    gate.AwaitEntered();
    std::string seen;  // plain: all on the worker
    vaxothread_id destroyer = 0;
    Push(
        worker.Task(), target, [&seen] { seen += 'a'; },
        [&seen, &destroyer] {
            seen += 'A';
            destroyer = vaxothread_selfid();
        });
    Push(
        worker.Task(), target, [&seen] { seen += 'b'; }, [&seen] { seen += 'B'; });
    gate.Open();
    worker.Drain();
    Require(seen == "aAbB", "a copy was not destroyed right after its run");
    Require(destroyer == worker.Task()->getthreadid(), "a copy was not destroyed on the worker");
}

void CopyMayPush() {
    Target target;
    Worker worker("pushes");
    CVAXOTaskBase* const task = worker.Task();
    CVAXOEvent done(true, false);
    Push(task, target, nullptr,
         [task, &target, &done] { Push(task, target, [&done] { done.Post(); }); });
    WaitingFor("a push from the destructor of a copy");
    Require(worker.Start(), "Start answered false");
    done.Wait(-1);
    worker.Drain();
}

void DeadHost() {
    auto doomed = std::make_unique<Target>();
    Target target;
    Worker worker("hosts");
    std::string seen;
    Push(
        worker.Task(), *doomed, [&seen] { seen += 'x'; }, [&seen] { seen += 'X'; });
    Push(worker.Task(), target, [&seen] { seen += 'a'; });
    doomed.reset();
    MustStart(worker);
    worker.Drain();
    Require(seen.find('x') == std::string::npos, "a call was invoked whose host had gone");
    Require(seen == "Xa", "a call whose host had gone was not dropped in its turn");
}

void OneThread() {
    Target target;
    Worker first("one");
    Worker second("two");
    MustStart(first);
    MustStart(second);
    CVAXOEvent done(true, false);
    Gate gate(first.Task(), target);
    gate.AwaitEntered();
    WaitingFor("a worker to run its calls while another one is busy");
    Push(second.Task(), target, [&done] { done.Post(); });
    done.Wait(-1);
    gate.Open();
    first.Drain();
    second.Drain();
}

}  // namespace

Cases TaskCases() {
    return {
        {"task/in-order", "Calls pushed by one thread run in the order pushed.", needs_nothing,
         &InOrder},
        {"task/none-lost", "Calls pushed by many threads run one at a time, and none is lost.",
         needs_nothing, &NoneLost},
        {"task/before-the-start", "Calls pushed before the Start wait for it.", needs_nothing,
         &BeforeTheStart},
        {"task/from-inside", "A call may push; that call runs after those already queued.",
         needs_nothing, &FromInside},
        {"task/push-never-waits", "A push never waits for a call that runs.", needs_nothing,
         &PushNeverWaits},
        {"task/wakes-for-each", "A push wakes a worker that sleeps.", needs_nothing, &WakesForEach},
        {"task/sees-what-was-written", "A call sees what its thread wrote before the push.",
         needs_nothing, &SeesWhatWasWritten},
        {"task/numbers", "Pushes to a worker have numbers above 0 that tell them apart.",
         needs_nothing, &Numbers},
        {"task/null-worker", "A null worker takes nothing.", needs_nothing, &NullWorker},
        {"task/copy-goes-before-the-next",
         "The copy of a call is destroyed on the worker before the next call begins.",
         needs_nothing, &CopyGoesBeforeTheNext},
        {"task/copy-may-push", "The destructor of a copy may push: no lock is held.", needs_nothing,
         &CopyMayPush},
        {"task/dead-host", "A call whose host has gone is dropped in its turn.", needs_nothing,
         &DeadHost},
        {"task/own-queue", "Every worker has a thread and a queue of its own.", needs_nothing,
         &OneThread},
    };
}

}  // namespace conformance
