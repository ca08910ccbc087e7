// The kit finds faults: the toy layer (toy/Fault.h) breaks one rule at a time, and the kit,
// in a process of its own, must end with that rule's name.
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <ostream>
#include <string>
#include <vector>

namespace {

struct Ended {
    int status;
    std::string text;  // both streams
};

// Runs the kit over the toy layer. Of a fault that makes a case hang the kit has to tell
// within the limit.
Ended RunKit(const std::string& fault, const std::vector<std::string>& words) {
    std::vector<std::string> all = {VAXO_TOY_KIT, "--leave-out", "names"};
    all.insert(all.end(), words.begin(), words.end());
    std::vector<char*> arguments;
    arguments.reserve(all.size() + 1);
    for (std::string& word : all) {
        arguments.push_back(word.data());
    }
    arguments.push_back(nullptr);
    std::array<int, 2> ends = {-1, -1};
    EXPECT_EQ(pipe(ends.data()), 0);
    const pid_t child = fork();
    if (child == 0) {
        // NOLINTNEXTLINE(concurrency-mt-unsafe): a child has one thread
        setenv("VAXO_TOY_FAULT", fault.c_str(), 1);
        dup2(ends[1], STDOUT_FILENO);
        dup2(ends[1], STDERR_FILENO);
        close(ends[0]);
        close(ends[1]);
        execv(arguments[0], arguments.data());
        _exit(126);
    }
    close(ends[1]);
    Ended ended = {-1, ""};
    std::array<char, 4096> part = {};
    for (ssize_t size = 0; (size = read(ends[0], part.data(), part.size())) > 0;) {
        ended.text.append(part.data(), static_cast<std::size_t>(size));
    }
    close(ends[0]);
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    ended.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return ended;
}

struct Planted {
    const char* fault;
    const char* broken;  // the case that finds it
    const char* rule;
    const char* seen;

    // The case never ends, so the kit's limit is what finds it.
    bool IsEndless() const { return std::string(seen).find("waiting for") == 0; }
};

void PrintTo(const Planted& planted, std::ostream* out) {
    *out << planted.fault << " in " << planted.broken;
}

const Planted s_planted[] = {
    {"mutex-recursive", "mutex/not-recursive", "A mutex is not recursive",
     "a try by the thread that holds the mutex got it"},
    {"mutex-try-always-true", "mutex/try-answers", "false when the mutex is held",
     "a try answered true while another thread held the mutex"},
    {"readers-exclude", "rwlock/readers-share", "Many readers hold the lock at once",
     "waiting for: a second reader to come in beside the first"},
    {"writer-beside-readers", "rwlock/try-beside-reader", "others may read and not write",
     "beside a reader a try to write answered true"},
    {"writer-starves", "rwlock/writer-not-starved", "A stream of readers does not starve a writer",
     "waiting for: a writer that waits to hold new readers back"},
    {"event-loses-a-set", "event/kept", "A signal given before the wait is not lost",
     "a signal that nobody waited for was lost"},
    {"event-never-resets", "event/auto-resets", "ends one wait",
     "a wait did not use up the signal"},
    {"event-always-resets", "event/manual-stays", "stays signalled until the reset",
     "waiting for: a second wait to pass a manual-reset event"},
    {"event-forgets-to-wake", "event/ping-pong", "No wake-up is lost",
     "waiting for: a signal to wake the thread that waits for it"},
    {"event-reset-does-nothing", "event/reset-takes-back", "A reset takes a signal back",
     "a reset left the event signalled"},
    {"event-no-time", "event/times-out", "A wait ends for its time-out, not before it",
     "a time-out of 60 ms was over in less than 30"},
    {"event-short-times", "event/long-time-outs", "too long for the clock waits for the signal",
     "a time-out of weeks or more was over at once"},
    {"thread-id-changes", "thread/stable", "stays the same", "a thread's id changed"},
    {"thread-ids-equal", "thread/distinct", "Live threads have ids of their own",
     "two live threads had one id"},
    {"thread-ids-equal", "worker/id-when-started", "getthreadid() is the worker's id",
     "a worker has the id of the thread that started it"},
    {"task-id-is-late", "worker/id-when-started", "When Start has returned",
     "Start returned before the worker had its thread's id"},
    {"task-out-of-order", "task/in-order", "run in the order pushed",
     "calls pushed by one thread ran in another order"},
    {"task-drops-calls", "task/in-order", "run in the order pushed",
     "calls pushed by one thread ran in another order"},
    {"task-runs-the-rest", "worker/retired-from-outside", "without invoking them",
     "a call was invoked after the worker was retired"},
    {"task-keeps-a-copy", "task/copy-goes-before-the-next", "before the next call begins",
     "a copy was not destroyed right after its run"},
    {"task-destroys-under-its-lock", "task/copy-may-push", "no lock is held",
     "waiting for: a push from the destructor of a copy"},
    {"task-push-waits", "task/push-never-waits", "A push never waits for a call that runs",
     "waiting for: pushes to return while a call runs"},
    {"task-started-by-a-push", "task/before-the-start", "wait for it",
     "a push started a worker unasked"},
    {"task-keeps-what-never-ran", "worker/retired-unstarted", "there and then",
     "a worker without a thread did not destroy its calls at once"},
    {"task-one-number", "task/numbers", "tell them apart", "have one number"},
    {"log-splits-lines", "log/long-line", "A line of any length arrives whole",
     "a logged line was not exactly one call of the sink"},
    {"log-other-thread", "log/on-the-calling-thread", "runs on the logging thread",
     "did not reach the sink on the thread that logged it"},
    {"log-ignores-the-level", "log/levels", "Lines above the level are dropped",
     "not the lines up to the level passed"},
    {"log-prints-null", "log/null-texts", "prints as the empty text",
     "a null %s argument is not the empty text"},
    {"log-flush-does-nothing", "logfile/flush", "every line logged before it is in the file",
     "was not in the file once"},
};

class PlatformKit : public testing::TestWithParam<Planted> {};

TEST_P(PlatformKit, NamesTheRuleThatALayerBreaks) {
    const Planted& planted = GetParam();
    const Ended ended =
        RunKit(planted.fault, {"--limit", planted.IsEndless() ? "2" : "60", planted.broken});
    EXPECT_EQ(ended.status, 1) << ended.text;
    const std::size_t report = ended.text.find("RULE BROKEN  " + std::string(planted.broken));
    ASSERT_NE(report, std::string::npos) << ended.text;
    const std::string told = ended.text.substr(report);
    EXPECT_NE(told.find(planted.rule), std::string::npos) << told;
    EXPECT_NE(told.find(planted.seen), std::string::npos) << told;
}

INSTANTIATE_TEST_SUITE_P(Toy, PlatformKit, testing::ValuesIn(s_planted), [](const auto& given) {
    std::string name;
    for (const char* each = given.param.fault; *each != '\0'; ++each) {
        name += *each == '-' ? '_' : *each;
    }
    return name + "_" + std::to_string(given.index);
});

TEST(PlatformKitItself, FindsNoFaultInAToyWithoutOne) {
    const Ended ended = RunKit("", {});
    EXPECT_EQ(ended.status, 0) << ended.text;
    EXPECT_NE(ended.text.find("all hold"), std::string::npos) << ended.text;
}

TEST(PlatformKitItself, SaysWhatIsLeftOut) {
    const Ended ended = RunKit("", {"thread/name-shows"});
    EXPECT_EQ(ended.status, 77);
    EXPECT_NE(ended.text.find("left out  thread/name-shows"), std::string::npos) << ended.text;
}

TEST(PlatformKitItself, RefusesWhatItDoesNotUnderstand) {
    EXPECT_EQ(RunKit("", {"no/such-case"}).status, 2);
    EXPECT_EQ(RunKit("", {"--leave-out", "everything"}).status, 2);
    EXPECT_EQ(RunKit("", {"--limit", "0"}).status, 2);
}

}  // namespace
