#include "vaxothread.h"

#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/wait.h>
#include <unistd.h>

#if defined(__linux__)
#include <sys/syscall.h>
#endif

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "threadtools.h"

namespace {

// The name that a thread of its own bears after it has named itself so.
std::string NameAfter(const std::vector<const char*>& names) {
    char kept[64] = "";
    std::thread thread([&names, &kept] {
        for (const char* name : names) {
            vaxothread_set_name(name);
        }
        EXPECT_EQ(0, pthread_getname_np(pthread_self(), kept, sizeof(kept)));
#if defined(__linux__)
        EXPECT_EQ(kept, SystemName(vaxothread_selfid()));
#endif
    });
    thread.join();
    return kept;
}

// Forks and answers the status that `check` gives in the child.
template <class Check>
int InAChild(Check check) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(check());
    }
    int status = -1;
    EXPECT_EQ(child, waitpid(child, &status, 0));
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

TEST(VaxoThreadId, IsTheSameAtEveryCall) {
    const vaxothread_id id = vaxothread_selfid();
    EXPECT_NE(0, id);
    EXPECT_EQ(id, vaxothread_selfid());
}

TEST(VaxoThreadId, DiffersAmongLiveThreads) {
    const int count = 16;
    std::vector<vaxothread_id> ids(count, 0);
    Rendezvous alive(count);
    Threads threads(count, [&alive, &ids](int number) {
        ids[static_cast<std::size_t>(number)] = vaxothread_selfid();
        alive.Meet();
    });
    threads.Join();
    std::set<vaxothread_id> distinct(ids.begin(), ids.end());
    distinct.insert(vaxothread_selfid());
    EXPECT_EQ(count + 1U, distinct.size());
    EXPECT_EQ(0U, distinct.count(0));
}

#if defined(__linux__)
TEST(VaxoThreadId, IsTheKernelsId) {
    EXPECT_EQ(syscall(SYS_gettid), vaxothread_selfid());
    EXPECT_TRUE(OnAnotherThread([] { return vaxothread_selfid() == syscall(SYS_gettid); }));
}

TEST(VaxoThreadId, IsFreshInAForkedChild) {
    const vaxothread_id parent = vaxothread_selfid();
    EXPECT_EQ(0, InAChild([parent] {
                  const vaxothread_id id = vaxothread_selfid();
                  return (id == syscall(SYS_gettid) ? 0 : 1) + (id != parent ? 0 : 2);
              }));
    EXPECT_EQ(parent, vaxothread_selfid());
}

TEST(VaxoThreadId, IsFreshInAChildForkedByAnotherThread) {
    EXPECT_TRUE(OnAnotherThread([] {
        const vaxothread_id parent = vaxothread_selfid();
        const int status = InAChild([parent] {
            const vaxothread_id id = vaxothread_selfid();
            return (id == getpid() ? 0 : 1) + (id != parent ? 0 : 2);
        });
        return status == 0 && vaxothread_selfid() == parent;
    }));
}
#endif

TEST(VaxoThreadName, IsWhatTheSystemShows) {
    EXPECT_EQ("QR.2", NameAfter({"QR.2"}));
}

TEST(VaxoThreadName, CanBeChanged) {
    EXPECT_EQ("later", NameAfter({"first name", "later"}));
}

TEST(VaxoThreadName, IsLeftAloneByANull) {
    EXPECT_EQ("kept", NameAfter({"kept", nullptr}));
}

TEST(VaxoThreadName, MayBeEmpty) {
    EXPECT_EQ("", NameAfter({"before", ""}));
}

#if defined(__linux__)
TEST(VaxoThreadName, KeepsFifteenBytesAndDropsTheRest) {
    EXPECT_EQ("123456789012345", NameAfter({"123456789012345"}));
    EXPECT_EQ("123456789012345", NameAfter({"1234567890123456"}));
    EXPECT_EQ("abcdefghijklmno", NameAfter({"abcdefghijklmnopqrstuvwxyz-and-on-and-on"}));
}
#endif

TEST(VaxoThreadName, BelongsToTheCallingThreadAlone) {
    char before[64] = "";
    char after[64] = "";
    ASSERT_EQ(0, pthread_getname_np(pthread_self(), before, sizeof(before)));
    EXPECT_EQ("someone else", NameAfter({"someone else"}));
    ASSERT_EQ(0, pthread_getname_np(pthread_self(), after, sizeof(after)));
    EXPECT_STREQ(before, after);
}
