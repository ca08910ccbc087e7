// The channel service against the real server.
#include "engine/channel/ChannelService.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "Within.h"
#include "engine/OnLoop.h"
#include "engine/channel/ChannelMember.h"

namespace channeltest {
namespace {

long long Milliseconds() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
}

void AwaitNextMillisecond() {
    for (const long long now = Milliseconds(); Milliseconds() <= now;) {
    }
}

TEST(ChannelService, TwoMembersSeeEachOthersStreamComeAndGoWithEveryField) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    EXPECT_TRUE(ann.Connected());
    ann.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    ASSERT_TRUE(ann.Hears("added s1"));
    const auto streams = bob.Streams();
    ASSERT_EQ(streams.size(), 1U);
    ChannelStream expected = StreamNamed("s1");
    expected.userID = "ann";
    expected.userName = "ann's name";
    expected.status = 1;
    expected.streamGID = streams[0].streamGID;
    EXPECT_TRUE(streams[0] == expected);
    const std::string prefix = ConfigOf("ann").identity + "/room 1/+/";
    EXPECT_EQ(streams[0].streamGID.substr(0, prefix.size()), prefix);

    bob.Publish(StreamNamed("s2"));
    ASSERT_TRUE(ann.Hears("added s2"));
    ann.Publish(StreamNamed("s1", "another title"));
    ASSERT_TRUE(bob.Hears("added s1"));
    EXPECT_EQ(bob.Streams()[0].title, "another title");
    ann.EndPublish();
    ASSERT_TRUE(bob.Hears("deleted s1"));
    EXPECT_TRUE(ann.Leave());
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(bob.Streams().size(), 1U);
}

TEST(ChannelService, EntryListsEveryStreamBeforeAnyChange) {
    std::vector<std::unique_ptr<Member>> others;
    for (int i = 0; i < 30; ++i) {
        others.push_back(std::make_unique<Member>(ConfigOf("u" + std::to_string(i)), false));
        others.back()->Publish(StreamNamed("s" + std::to_string(i)));
        others.back()->Enter();
    }
    for (const auto& other : others) {
        ASSERT_TRUE(other->Hears("entered 0"));
    }
    Member ann(ConfigOf("ann"), false);
    ann.Publish(StreamNamed("own"));
    ann.Enter();
    ASSERT_TRUE(ann.Hears("counts 31/31"));
    const auto words = ann.Words();
    ASSERT_EQ(words.size(), 33U);
    EXPECT_EQ(words[0], "entered 0");
    EXPECT_EQ(ann.Count("list own"), 1U);
    for (int i = 0; i < 30; ++i) {
        EXPECT_EQ(ann.Count("list s" + std::to_string(i)), 1U);
    }
}

TEST(ChannelService, ChannelsDoNotSeeEachOther) {
    Member bob(ConfigOf("bob", "room"));
    ASSERT_TRUE(bob.Hears("counts 1/1"));
    Member ann(ConfigOf("ann", "room2"), false);
    ann.Publish(StreamNamed("s1"));
    ann.Enter();
    ASSERT_TRUE(ann.Hears("counts 1/1"));
    Member eve(ConfigOf("eve", "room"));
    ASSERT_TRUE(bob.Hears("counts 2/2"));
    EXPECT_EQ(bob.Count("added s1"), 0U);
}

TEST(ChannelService, AStreamIdentifierOfAnyBytesArrivesAsItWas) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"), false);
    ann.Publish(StreamNamed("\xFF/\xC3"));
    ann.Enter();
    EXPECT_TRUE(bob.Hears("added \xFF/\xC3"));
}

TEST(ChannelService, OfTwoStreamsWithOneIdentifierTheOlderIsListedUntilItGoes) {
    Member bob(ConfigOf("bob"));
    Member first(ConfigOf("first"));
    Member second(ConfigOf("second"));
    for (Member* const member : {&bob, &first, &second}) {
        ASSERT_TRUE(member->Hears("entered 0"));
    }
    first.Publish(StreamNamed("s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    AwaitNextMillisecond();  // of two the older is decided by the clock
    second.Publish(StreamNamed("s1"));
    second.Publish(StreamNamed("s1", "changed"));
    Member late(ConfigOf("late"));
    ASSERT_TRUE(late.Hears("list s1"));
    EXPECT_EQ(late.Streams()[0].userID, "first");
    EXPECT_EQ(bob.Streams().size(), 1U);
    EXPECT_TRUE(first.Leave());
    ASSERT_TRUE(bob.Hears("deleted s1"));
    ASSERT_TRUE(bob.Hears("added s1"));
    EXPECT_EQ(bob.Streams()[0].userID, "second");
}

TEST(ChannelService, LeavingIsAnsweredWhetherConnectedOrNot) {
    Member idle(ConfigOf("idle"), false);
    EXPECT_TRUE(idle.Leave());
    EXPECT_TRUE(idle.Leave());
    Member entering(ConfigOf("entering"));
    EXPECT_TRUE(entering.Leave());
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("counts 1/1"));
    LocalServers::Shared().KillChannel();
    EXPECT_TRUE(ann.Leave());
    LocalServers::Shared().StartChannel();
}

TEST(ChannelService, TheObserverMayDestroyTheServiceInItsCall) {
    Member bob(ConfigOf("bob"), false);
    bob.Publish(StreamNamed("s1"));
    bob.Enter();
    ASSERT_TRUE(bob.Hears("list s1"));
    Member ann(ConfigOf("ann"), false);
    ann.onEntered = [&] { ann.Drop(); };
    ann.Enter();
    ASSERT_TRUE(ann.Hears("entered 0"));
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words().size(), 1U);
}

TEST(ChannelService, AKeyFrameIsAskedOfTheStreamsPublisherAlone) {
    Member bob(ConfigOf("bob"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("entered 0"));
    ann.Publish(StreamNamed("of ann"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    bob.Publish(StreamNamed("of bob"));
    Member viewer(ConfigOf("viewer"));
    ASSERT_TRUE(viewer.Hears("entered 0"));
    ASSERT_TRUE(viewer.Hears("counts 3/3"));
    ASSERT_TRUE(bob.Hears("counts 3/3"));
    ASSERT_TRUE(ann.Hears("counts 3/3"));
    viewer.AskKeyFrame("of nobody");
    viewer.AskKeyFrame("of ann");
    ASSERT_TRUE(ann.Hears("key frame"));
    bob.AskKeyFrame("of bob");  // behind the others, so that they would have been heard
    ASSERT_TRUE(bob.Hears("key frame"));
    EXPECT_EQ(bob.Count("key frame"), 1U);
    EXPECT_EQ(ann.Count("key frame"), 1U);
    EXPECT_EQ(viewer.Count("key frame"), 0U);
}

TEST(ChannelService, NothingIsHeardAfterLeave) {
    Member bob(ConfigOf("bob"));
    ASSERT_TRUE(bob.Hears("entered 0"));
    Member ann(ConfigOf("ann"));
    ASSERT_TRUE(ann.Hears("counts 2/2"));
    ASSERT_TRUE(bob.Hears("counts 2/2"));
    const auto heard = ann.Words();
    EXPECT_TRUE(ann.Leave());
    ASSERT_TRUE(bob.Hears("counts 1/2"));
    EXPECT_EQ(ann.Words(), heard);
}

TEST(ChannelServiceDeathTest, AProcessMayEndInTheMiddleOfEverything) {
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            std::vector<std::unique_ptr<Member>> members;
            for (int i = 0; i < 4; ++i) {
                members.push_back(std::make_unique<Member>(ConfigOf("ann")));
            }
            if (members[0]->Hears("entered 0")) {
                std::exit(0);
            }
        },
        testing::ExitedWithCode(0), "");
}

std::size_t EntriesOf(const char* directory) {
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(directory)) {
        count += entry.path().empty() ? 0U : 1U;
    }
    return count;
}

bool Reaches(const char* directory, std::size_t count) {
    return Within(kUpperBound, [&] { return EntriesOf(directory) <= count; });
}

TEST(ChannelService, FiftyEntriesLeaveNoThreadAndNoHandleBehind) {
    {
        Member first(ConfigOf("first"));  // what stays for the life of the process
        ASSERT_TRUE(first.Hears("entered 0"));
        EXPECT_TRUE(first.Leave());
    }
    const std::size_t threads = EntriesOf("/proc/self/task");
    const std::size_t handles = EntriesOf("/proc/self/fd");
    for (int i = 0; i < 50; ++i) {
        Member ann(ConfigOf("ann"));
        if (i % 3 != 0) {
            ASSERT_TRUE(ann.Hears("entered 0"));
        }
        if (i % 2 == 0) {
            EXPECT_TRUE(ann.Leave());
        }
    }
    EXPECT_TRUE(Reaches("/proc/self/task", threads));
    EXPECT_TRUE(Reaches("/proc/self/fd", handles));
}

}  // namespace
}  // namespace channeltest
