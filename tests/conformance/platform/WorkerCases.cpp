// How workers begin and end: vaxotask.h.
#include <atomic>
#include <string>

#include "conformance/platform/Kit.h"
#include "conformance/platform/SystemName.h"
#include "conformance/platform/TaskFixture.h"
#include "vaxotask.h"

namespace conformance {
namespace {

void IdWhenStarted() {
    for (int round = Rounds(100); round > 0; --round) {
        Target target;
        Worker worker("id");
        CVAXOTaskBase* const task = worker.Task();
        vaxothread_id inside = 0;
        bool known = false;
        Push(task, target, [task, &inside, &known] {
            inside = vaxothread_selfid();
            known = task->getthreadid() == inside;
        });
        Require(task->getthreadid() == 0, "a worker that was not started has a thread's id");
        Require(worker.Start(), "Start answered false");
        const vaxothread_id id = task->getthreadid();
        Require(id != 0, "Start returned before the worker had its thread's id");
        Require(id != vaxothread_selfid(), "a worker has the id of the thread that started it");
        WaitingFor("a worker to run the calls that were pushed");
        worker.Drain();
        Require(known, "the worker's first call did not find its thread's id");
        Require(id == inside, "a worker's id is not that of the thread that runs its calls");
    }
}

void NameBeforeTheFirstCall() {
    for (int round = Rounds(100); round > 0; --round) {
        Target target;
        char name[] = "QR.2";
        CVAXOTaskBase* const task = VAXOTaskCreate(name, ethr_priority_normal);
        name[0] = 'X';  // it was copied
        std::string seen;
        CVAXOEvent done(true, false);
        Push(task, target, [&seen, &done] {
            seen = SystemName();
            done.Post();
        });
        Require(task->Start(), "Start answered false");
        done.Wait(-1);
        Require(seen == "QR.2", "a worker's thread did not have its name before the first call");
        task->Release();
    }
}

void NullName() {
    Target target;
    CVAXOTaskBase* const task = VAXOTaskCreate(nullptr, ethr_priority_normal);
    Require(task != nullptr, "VAXOTaskCreate answered null");
    Require(task->RefCount() == 1, "a new worker has another count than 1");
    Require(task->Start(), "Start answered false");
    CVAXOEvent done(true, false);
    Push(task, target, [&done] { done.Post(); });
    done.Wait(-1);
    Require(task->Release(), "the last Release of a worker answered false");
}

void StartedOnce() {
    for (int round = Rounds(50); round > 0; --round) {
        Target target;
        Worker worker("once");
        CVAXOTaskBase* const task = worker.Task();
        std::atomic<int> strangers{0};
        Together(3, [&](int) {
            Require(worker.Start(), "Start answered false");
            const vaxothread_id id = task->getthreadid();
            Require(id != 0, "Start returned before the worker had its thread's id");
            Push(task, target, [id, &strangers] { strangers += vaxothread_selfid() != id; });
        });
        Push(task, target, [task] { Require(task->Start(), "a further Start answered false"); });
        WaitingFor("a worker to run the calls that were pushed");
        worker.Drain();
        Require(strangers == 0, "a worker that was started by many has more than one thread");
    }
}

// Counts what becomes of the calls, and tells when all copies have gone.
struct Fates {
    explicit Fates(int calls) : missing(calls) {}

    void PushTo(CVAXOTaskBase* task, Target& target) {
        Push(
            task, target, [this] { ++runs; },
            [this] {
                if (vaxothread_selfid() != worker) {
                    ++strangers;
                }
                if (--missing == 0) {
                    over.Raise();
                }
            });
    }

    std::atomic<int> missing;
    std::atomic<int> runs{0};
    std::atomic<int> strangers{0};
    std::atomic<vaxothread_id> worker{0};
    Flag over;
};

const char* const s_destroyed = "the calls of a retired worker to be destroyed";

void RetiredFromOutside() {
    for (int round = Rounds(50); round > 0; --round) {
        const int calls = 5;
        Target target;
        Worker worker("outside");
        Fates fates(calls);
        Require(worker.Start(), "Start answered false");
        fates.worker = worker.Task()->getthreadid();
        Flag entered;
        Flag open;
        std::atomic<bool> finished{false};
        Push(worker.Task(), target, [&] {
            entered.Raise();
            open.Await("a worker to be retired without waiting for its call");
            finished = true;
        });
        entered.Await("a worker to run the call that was pushed");
        for (int i = 0; i < calls; ++i) {
            fates.PushTo(worker.Task(), target);
        }
        Require(worker.Drop(), "the last Release of a worker answered false");
        Require(!finished, "a worker was retired, and its call was cut short");
        open.Raise();
        fates.over.Await(s_destroyed);
        Require(finished, "the call that ran was not finished");
        Require(fates.runs == 0, "a call was invoked after the worker was retired");
        Require(fates.strangers == 0, "a call was not destroyed on the worker");
    }
}

void RetiredFromInside() {
    for (int round = Rounds(50); round > 0; --round) {
        Target target;
        CVAXOTaskBase* const task = VAXOTaskCreate(nullptr, ethr_priority_normal);
        Fates fates(2);
        Require(task->Start(), "Start answered false");
        fates.worker = task->getthreadid();
        Gate gate(task, target);
        Push(task, target,
             [task] { Require(task->Release(), "the last Release of a worker answered false"); });
        fates.PushTo(task, target);
        fates.PushTo(task, target);
        WaitingFor("a worker to be retired by its own call");
        gate.Open();  // from here on the call owns the only reference
        fates.over.Await(s_destroyed);
        Require(fates.runs == 0, "a call was invoked after the worker was retired");
        Require(fates.strangers == 0, "a call was not destroyed on the worker");
    }
}

void RetiredUnstarted() {
    const int calls = 5;
    Target target;
    Worker worker("unstarted");
    Fates fates(calls);
    fates.worker = vaxothread_selfid();
    for (int i = 0; i < calls; ++i) {
        fates.PushTo(worker.Task(), target);
    }
    Require(worker.Task()->getthreadid() == 0, "a push started a worker unasked");
    Require(worker.Drop(), "the last Release of a worker answered false");
    Require(fates.missing == 0, "a worker without a thread did not destroy its calls at once");
    Require(fates.runs == 0, "a call was invoked though the worker was never started");
    Require(fates.strangers == 0, "a worker without a thread destroyed its calls on another one");
}

void RetiredByACopy() {
    for (int round = Rounds(50); round > 0; --round) {
        Target target;
        CVAXOTaskBase* const task = VAXOTaskCreate(nullptr, ethr_priority_normal);
        Require(task->Start(), "Start answered false");
        std::atomic<int> last{0};
        Flag released;
        task->AddRef();
        Push(task, target, nullptr, [task, &last, &released] {
            last += task->Release() ? 1 : 0;
            released.Raise();
        });
        last += task->Release() ? 1 : 0;
        released.Await("the destructor of a copy to drop a reference to its worker");
        Require(last == 1, "not one Release but another number was told to be the last");
    }
}

void ReferenceKeeps() {
    Target target;
    Worker worker("shared");
    Require(worker.Start(), "Start answered false");
    worker.Task()->AddRef();
    Require(!worker.Task()->Release(), "Release answered true while a reference was left");
    int runs = 0;
    Push(worker.Task(), target, [&runs] { ++runs; });
    WaitingFor("a worker that somebody holds to run its calls");
    worker.Drain();
    Require(runs == 1, "a worker that somebody holds lost a call");
}

void NoneLeftOver() {
    const int rounds = Rounds(200);
    const int calls = 4;
    Fates fates(rounds * calls);
    Target target;
    for (int round = 0; round < rounds; ++round) {
        Worker worker("short");
        if (round % 4 != 0) {
            Require(worker.Start(), "Start answered false");
        }
        for (int i = 0; i < calls; ++i) {
            fates.PushTo(worker.Task(), target);
        }
    }
    fates.over.Await("every copy to be destroyed, whenever its worker was retired");
}

}  // namespace

Cases WorkerCases() {
    return {
        {"worker/id-when-started", "When Start has returned, getthreadid() is the worker's id.",
         needs_nothing, &IdWhenStarted},
        {"worker/name-before-the-first-call", "A worker's thread is named before its first call.",
         needs_names, &NameBeforeTheFirstCall},
        {"worker/null-name", "A worker may have a null name, and starts with one reference.",
         needs_nothing, &NullName},
        {"worker/started-once", "Many may start a worker: it has one thread.", needs_nothing,
         &StartedOnce},
        {"worker/retired-from-outside",
         "A retired worker finishes its call and destroys the rest without invoking them.",
         needs_nothing, &RetiredFromOutside},
        {"worker/retired-from-inside", "A worker may be retired by its own call.", needs_nothing,
         &RetiredFromInside},
        {"worker/retired-unstarted",
         "A worker that never got a thread destroys its calls there and then.", needs_nothing,
         &RetiredUnstarted},
        {"worker/retired-by-a-copy", "The destructor of a copy may drop the last reference.",
         needs_nothing, &RetiredByACopy},
        {"worker/reference-keeps", "A worker stays while somebody holds a reference.",
         needs_nothing, &ReferenceKeeps},
        {"worker/none-left-over", "Every copy is destroyed, whenever the worker is retired.",
         needs_nothing, &NoneLeftOver},
    };
}

}  // namespace conformance
