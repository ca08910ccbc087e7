// Programs on the runtime alone: the reader-writer lock, and runners that come and go.
#include <memory>

#include "explore/Programs.h"
#include "explore/Sanitizers.h"
#include "explore/Scheduler.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxolock.h"

namespace explore {

namespace {

// ---- The reader-writer lock ----------------------------------------------------

struct LockStage {
    std::unique_ptr<CVAXOLockRW> lock;
    int readers = 0;
    int writers = 0;
    int value = 0;  // written by writers, read by readers: the sanitizer looks
};

LockStage& Locks() {
    static auto& s_stage = *new LockStage();
    return s_stage;
}

void Count(int* count, int change) {
    const Unseen unseen;
    *count += change;
}

void Look() {
    const Unseen unseen;
    if (Locks().writers > 1 || (Locks().writers == 1 && Locks().readers != 0)) {
        Fail("a writer is not alone");
    }
}

void ReadTwice() {
    Locks().lock->LockRD();
    Count(&Locks().readers, 1);
    Locks().lock->LockRD();
    static_cast<void>(Locks().value + 1);
    Locks().lock->Unlock();
    Reach(Kind::Program, &Locks());  // still inside the outer hold
    static_cast<void>(Locks().value + 1);
    Count(&Locks().readers, -1);
    Locks().lock->Unlock();
}

void Write() {
    Locks().lock->LockRW();
    Count(&Locks().writers, 1);
    Reach(Kind::Program, &Locks());  // here somebody else may look in
    ++Locks().value;
    Count(&Locks().writers, -1);
    Locks().lock->Unlock();
}

// The Unlock of a write asked for inside a read ends the read; the next one does nothing.
void ReadThenAskToWrite() {
    Locks().lock->LockRD();
    Count(&Locks().readers, 1);
    Locks().lock->LockRW();
    Count(&Locks().readers, -1);
    Locks().lock->Unlock();
    Locks().lock->Unlock();
}

Program ReentrantLock() {
    Program program;
    program.name = "lock-reentry";
    program.about = "a reader that reads again, a writer, and a reader that asks to write";
    program.prepare = [] {
        Locks() = LockStage();
        Locks().lock = std::make_unique<CVAXOLockRW>();
    };
    program.body = [] {
        const int threads[] = {Spawn("reader", &ReadTwice), Spawn("writer", &Write),
                               Spawn("both", &ReadThenAskToWrite)};
        for (const int thread : threads) {
            Join(thread);
        }
    };
    program.afterStep = &Look;
    program.check = [] {
        if (!Locks().lock->TryLockWR()) {
            Fail("somebody still holds the lock");
        }
        Locks().lock->Unlock();
        Locks().lock.reset();
    };
    return program;
}

// ---- Runners -------------------------------------------------------------------

struct RunnerStage {
    CVaxoQueueRunner* runner = nullptr;
    int first = 0;
    int second = 0;
    int inJob = 0;
};

RunnerStage& Runners() {
    static auto& s_stage = *new RunnerStage();
    return s_stage;
}

// A job that marks when it runs.
std::function<void()> Job(int* count) {
    return [count] {
        Reach(Kind::Program, count);
        Count(count, 1);
    };
}

void MustHaveRunOnceAtMost() {
    if (Runners().first > 1 || Runners().second > 1) {
        Fail("a job has run twice");
    }
}

void MustHaveRun(const int& count, int times) {
    const Unseen unseen;
    if (count != times) {
        Fail("a job was waited for and has not run");
    }
}

Program RunnerComesAndGoes() {
    Program program;
    program.name = "runner-goes";
    program.about = "a runner of one's own, destroyed while its jobs run or wait";
    program.prepare = [] { Runners() = RunnerStage(); };
    program.body = [] {
        CVaxoQueueRunner runner;
        runner.AsyncRun(Job(&Runners().first), 0);
        runner.AsyncRun(Job(&Runners().second), 5);
    };
    program.check = &MustHaveRunOnceAtMost;
    return program;
}

Program RunnerWaits() {
    Program program;
    program.name = "runner-waits";
    program.about = "two threads wait for jobs of one runner";
    program.prepare = [] { Runners() = RunnerStage(); };
    program.body = [] {
        CVaxoQueueRunner runner;
        const auto runAndLook = [&runner](int* count) {
            runner.SyncRun(Job(count), 0);
            MustHaveRun(*count, 1);
        };
        const int other = Spawn("other", [&] { runAndLook(&Runners().first); });
        runAndLook(&Runners().second);
        Join(other);
    };
    return program;
}

Program RunnerDestroyedByJob() {
    Program program;
    program.name = "runner-destroyed-by-job";
    program.about = "a job destroys the runner that runs it";
    program.prepare = [] { Runners() = RunnerStage(); };
    program.body = [] {
        auto* const runner = new CVaxoQueueRunner();
        runner->AsyncRun(
            [runner] {
                delete runner;
                Count(&Runners().first, 1);
            },
            0);
    };
    program.check = [] {
        if (Runners().first != 1) {
            Fail("the job has not run");
        }
    };
    return program;
}

// Two threads ask for the same new worker.
Program SameWorker() {
    Program program;
    program.name = "same-worker";
    program.about = "two threads use a new queue id: one worker, one job at a time";
    program.prepare = [] { Runners() = RunnerStage(); };
    program.body = [] {
        CVaxoQueueRunner runner;
        const auto job = [] {
            Count(&Runners().inJob, 1);
            if (Runners().inJob != 1) {
                Fail("two jobs of one id at a time");
            }
            Reach(Kind::Program, &Runners());
            Count(&Runners().inJob, -1);
            Count(&Runners().first, 1);
        };
        const int other = Spawn("other", [&] { runner.SyncRun(job, 5); });
        runner.SyncRun(job, 5);
        Join(other);
        MustHaveRun(Runners().first, 2);
    };
    return program;
}

}  // namespace

void AddRuntimePrograms(std::vector<Program>& programs) {
    for (const auto& make :
         {&ReentrantLock, &RunnerComesAndGoes, &RunnerWaits, &RunnerDestroyedByJob, &SameWorker}) {
        programs.push_back(make());
    }
}

}  // namespace explore
