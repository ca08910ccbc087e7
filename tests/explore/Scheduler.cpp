#include "explore/Scheduler.h"

#include <pthread.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_map>
#include <utility>
#include <vector>

#include "explore/Baton.h"
#include "explore/Hash.h"
#include "explore/Sanitizers.h"

namespace explore {

namespace {

const std::size_t kMaxSteps = 50000;  // more in one run: it does not end

struct Thread {
    int index = 0;
    std::string name;
    std::function<void()> body;
    Kept kept = Kept::UntilItEnds;
    bool ended = false;
    // The step it is about to make.
    Kind kind = Kind::ThreadStart;
    const void* object = nullptr;
    std::function<bool()> ready;  // empty: at once
    Kept waits = Kept::UntilItEnds;
    std::uint64_t history = 0;
    std::uint64_t run = 0;  // the one it has made a step in
    char work = 0;          // its address stands for all that it has done
    Baton baton;
};

// A system thread that serves one controlled thread after another.
struct Runner {
    Baton baton;
    Thread* thread = nullptr;
};

struct Object {
    std::uint64_t name = 0;     // the same in every run with the same past
    std::uint64_t history = 0;  // of the last step on it
    int number = 0;             // for people
    int holder = -1;
};

struct Step {
    int thread;
    Kind kind;
    int object;
};

struct World {
    std::vector<std::unique_ptr<Thread>> threads;
    std::vector<Runner*> idle;
    std::unordered_map<const void*, Object> objects;
    std::vector<Step> steps;
    std::uint64_t state = 0;
    int numbers = 0;
    Baton controller;
    Chooser* chooser = nullptr;
    Record* record = nullptr;
    Record* report = nullptr;
    const std::function<void()>* afterStep = nullptr;
    bool recording = false;
    std::uint64_t run = 0;
    char begin = 0;  // its address stands for what was done before the run
};

// Never destroyed: the system threads stay.
World& W() {
    static auto& s_world = *new World();
    return s_world;
}

thread_local Thread* t_self = nullptr;

std::uint64_t Term(std::uint64_t name, std::uint64_t history) {
    return Mix(Mix(0x9E3779B97F4A7C15U, name), history);
}

Object& ObjectAt(const void* address) {
    World& world = W();
    const auto found = world.objects.find(address);
    if (found != world.objects.end()) {
        return found->second;
    }
    Object object;
    const std::uint64_t past = t_self != nullptr ? t_self->history : 0;
    object.name =
        Mix(past, static_cast<std::uint64_t>(world.numbers) * (t_self == nullptr ? 1 : 0));
    object.history = object.name;
    object.number = ++world.numbers;
    world.state += Term(object.name, object.history);
    return world.objects.emplace(address, object).first->second;
}

// The step is made now: it comes after the last one of its thread and of its object, and
// nothing else is known of its place.
void Happened(Thread& self) {
    World& world = W();
    Object& object = ObjectAt(self.object);
    const auto index = static_cast<std::uint64_t>(self.index);
    world.state -= Term(index, self.history) + Term(object.name, object.history);
    self.history = Mix(Mix(self.history, object.history), static_cast<std::uint64_t>(self.kind));
    object.history = self.history;
    world.state += Term(index, self.history) + Term(object.name, object.history);

    Record& record = *world.record;
    ++record.steps;
    record.trace = Mix(Mix(record.trace, index), static_cast<std::uint64_t>(self.kind));
    record.trace = Mix(record.trace, static_cast<std::uint64_t>(object.number));
    world.steps.push_back({self.index, self.kind, object.number});
    if (world.steps.size() > kMaxSteps) {
        Fail("the run does not end");
    }
}

bool IsReady(const Thread& thread) {
    return !thread.ended && (!thread.ready || thread.ready());
}

std::string Waits(const Thread& thread) {
    std::string text = "  " + thread.name + " " + NameOf(thread.kind);
    const Object& object = ObjectAt(thread.object);
    text += " " + std::to_string(object.number);
    if (object.holder >= 0) {
        text += ", held by " + W().threads[static_cast<std::size_t>(object.holder)]->name;
    }
    return text + "\n";
}

// Nobody can go on: the end of the run, or a deadlock.
void NobodyGoesOn() {
    std::string held;
    for (const auto& thread : W().threads) {
        if (!thread->ended && thread->waits == Kept::UntilItEnds) {
            held += Waits(*thread);
        }
    }
    if (!held.empty()) {
        Fail("deadlock: nothing can go on while these wait\n" + held);
    }
}

// Who goes on; null when all is over. `before` is null when it cannot.
Thread* Pick(Thread* before) {
    World& world = W();
    Decision decision = {world.state, 0, -1, -1};
    int count = 0;
    Thread* only = nullptr;
    for (const auto& thread : world.threads) {
        if (IsReady(*thread)) {
            decision.ready |= 1U << static_cast<unsigned>(thread->index);
            ++count;
            only = thread.get();
        }
    }
    if (count == 0) {
        NobodyGoesOn();
        return nullptr;
    }
    if (count == 1) {
        return only;
    }
    if (before != nullptr && (decision.ready >> static_cast<unsigned>(before->index) & 1U) != 0) {
        decision.current = static_cast<std::int16_t>(before->index);
    }
    const int chosen = world.recording ? world.chooser->Choose(decision) : DefaultOf(decision);
    decision.chosen = static_cast<std::int16_t>(chosen);
    if (world.recording) {
        Record& record = *world.record;
        if (record.decisions == Record::kDecisions) {
            Fail("the run has too many decisions");
        }
        record.decision[record.decisions++] = decision;
    }
    return world.threads[static_cast<std::size_t>(chosen)].get();
}

void Give(Thread* next) {
    (next != nullptr ? next->baton : W().controller).Give();
}

// The calling thread stands before its step; others may go first.
void Yield(Thread& self) {
    Release(&self.work);
    Thread* const next = Pick(&self);
    if (next != &self) {
        Give(next);
        self.baton.Take();
    }
    if (std::exchange(self.run, W().run) != W().run) {
        Acquire(&W().begin);
    }
    Happened(self);
}

void RunBody(Thread& self) {
    t_self = &self;
    {
        const Unseen unseen;
        self.baton.Take();
        Happened(self);
    }
    Acquire(&self.index);
    self.body();
    self.body = nullptr;
    Release(&self.index);
    Release(&self.work);
    const Unseen unseen;
    self.kind = Kind::ThreadEnd;
    self.object = &self;
    Happened(self);
    self.ended = true;
    if (*W().afterStep) {
        (*W().afterStep)();
    }
    t_self = nullptr;
}

// The life of a system thread. Ended threads hand over only once this one is free again.
void* Serve(void* argument) {
    auto* const runner = static_cast<Runner*>(argument);
    for (;;) {
        {
            const Unseen unseen;
            runner->baton.Take();
        }
        RunBody(*runner->thread);
        const Unseen unseen;
        W().idle.push_back(runner);
        Give(Pick(nullptr));
    }
}

Runner* TakeRunner() {
    World& world = W();
    if (!world.idle.empty()) {
        Runner* const runner = world.idle.back();
        world.idle.pop_back();
        return runner;
    }
    auto* const runner = new Runner();  // for the life of the process
    pthread_t thread;
    if (pthread_create(&thread, nullptr, &Serve, runner) != 0) {
        Fail("the system gives no thread");
    }
    pthread_detach(thread);
    return runner;
}

// What a run leaves: workers that wait, and their place in the list.
void BeginRun(Record& record) {
    World& world = W();
    while (!world.threads.empty() && world.threads.back()->ended) {
        world.threads.pop_back();
    }
    world.objects.clear();
    world.steps.clear();
    world.numbers = 0;
    world.state = 0;
    for (const auto& thread : world.threads) {
        thread->history = static_cast<std::uint64_t>(thread->index);
        world.state += Term(thread->history, thread->history);
    }
    ++record.schedules;
    record.steps = 0;
    record.trace = 0;
    record.decisions = 0;
}

}  // namespace

int DefaultOf(const Decision& decision) {
    if (decision.current >= 0) {
        return decision.current;
    }
    return __builtin_ctz(decision.ready);
}

void Run(const std::function<void()>& body, Chooser& chooser, Record& record,
         const std::function<void()>& afterStep) {
    World& world = W();
    world.record = &record;
    world.chooser = &chooser;
    world.afterStep = &afterStep;
    {
        const Unseen unseen;
        BeginRun(record);
    }
    world.recording = true;
    ++world.run;
    Release(&world.begin);
    Spawn("main", body);
    const Unseen unseen;
    Give(Pick(nullptr));
    world.controller.Take();
    world.recording = false;
    for (const auto& thread : world.threads) {
        Acquire(&thread->work);
    }
}

std::size_t ThreadsLeft() {
    std::size_t count = 0;
    for (const auto& thread : W().threads) {
        count += thread->ended ? 0U : 1U;
    }
    return count;
}

int Spawn(const std::string& name, std::function<void()> body, Kept kept) {
    if (t_self != nullptr) {
        Reach(Kind::Program, &W().threads);
    }
    int index = 0;
    {
        const Unseen unseen;
        World& world = W();
        if (world.threads.size() == static_cast<std::size_t>(kMaxThreads)) {
            Fail("too many threads");
        }
        index = static_cast<int>(world.threads.size());
        world.threads.push_back(std::make_unique<Thread>());
        Thread& thread = *world.threads.back();
        thread.index = index;
        thread.name = name;
        thread.body = std::move(body);
        thread.kept = kept;
        thread.object = &thread;
        thread.history = Mix(t_self != nullptr ? t_self->history : 0, 1);
        world.state += Term(static_cast<std::uint64_t>(index), thread.history);
        Runner* const runner = TakeRunner();
        runner->thread = &thread;
        Release(&thread.index);
        runner->baton.Give();
    }
    return index;
}

void Join(int thread) {
    Thread* const joined = W().threads[static_cast<std::size_t>(thread)].get();
    Reach(Kind::Program, joined, [joined] { return joined->ended; });
    Acquire(&joined->index);
}

int Self() {
    return t_self != nullptr ? t_self->index : -1;
}

const char* SelfName() {
    return t_self != nullptr ? t_self->name.c_str() : "the explorer";
}

void Reach(Kind kind, const void* object) {
    Reach(kind, object, nullptr);
}

void Reach(Kind kind, const void* object, std::function<bool()> ready, Kept kept) {
    const Unseen unseen;
    Thread* const self = t_self;
    if (self == nullptr) {
        if (ready && !ready()) {
            Fail(std::string("outside a run, something ") + NameOf(kind) + " that is held");
        }
        return;
    }
    self->kind = kind;
    self->object = object;
    self->ready = std::move(ready);
    self->waits = kept;
    Yield(*self);
    self->ready = nullptr;
    self->waits = Kept::UntilItEnds;
    if (*W().afterStep) {
        (*W().afterStep)();
    }
}

void Forget(const void* object) {
    const Unseen unseen;
    const auto found = W().objects.find(object);
    if (found != W().objects.end()) {
        W().state -= Term(found->second.name, found->second.history);
        W().objects.erase(found);
    }
}

void Holds(const void* object, int thread) {
    const Unseen unseen;
    if (t_self != nullptr) {
        ObjectAt(object).holder = thread;
    }
}

void ReportTo(Record* record) {
    W().report = record;
}

void Fail(const std::string& what) {
    Record* const record = W().report;
    if (record != nullptr && !record->failed) {
        std::snprintf(record->failure, sizeof(record->failure), "%s", what.c_str());
        record->failed = true;
    }
    if (std::getenv("VAXO_EXPLORE_TRACE") != nullptr || record == nullptr) {
        std::fputs((what + "\n" + Trace()).c_str(), stderr);
    }
    // Without the sanitizers' farewell, which would take the run's state for a fault.
    syscall(SYS_exit_group, 3);
    std::abort();
}

std::string Trace() {
    const Unseen unseen;
    const World& world = W();
    std::string text;
    for (const Step& step : world.steps) {
        text += world.threads[static_cast<std::size_t>(step.thread)]->name + " " +
                NameOf(step.kind) + " " + std::to_string(step.object) + "\n";
    }
    return text;
}

}  // namespace explore
