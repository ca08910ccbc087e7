// What a watched queue notes about itself, and from where the notes may be read.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "kernel/avmgr/CmdQueueFixture.h"

namespace {

class CmdWatch : public CmdQueueFixture {
protected:
    static std::string Name(const VaxoAVMgrCmdNote& note) {
        return std::string(VaxoDescription(note.type)) + "/" +
               std::string(note.text.c_str(), note.text.length());
    }
    Texts Waiting() {
        Texts names;
        for (const VaxoAVMgrCmdNote& note : queue.ReadNotes().waiting) {
            names.push_back(Name(note));
        }
        return names;
    }
    Texts Decisions() {
        Texts lines;
        for (const VaxoAVMgrCmdDecision& decision : queue.ReadNotes().decisions) {
            std::string line = Name(decision.newcomer) + " " + VaxoDescription(decision.result);
            if (decision.former.id != nullptr) {
                line += " " + Name(decision.former);
            }
            lines.push_back(line);
        }
        return lines;
    }
    // What holds or runs, as "2 PlayStream/a".
    std::string Current() {
        const VaxoAVMgrCmdNotes notes = queue.ReadNotes();
        return std::to_string(notes.phase) +
               (notes.phase == CmdPhase_None ? "" : " " + Name(notes.current));
    }
};

}  // namespace

TEST_F(CmdWatch, UnwatchedQueueTellsOnlyWhatHoldsIt) {
    queue.AddCmd(Make(PlayStream, "a"));
    queue.AddCmd(Make(SyncCmd, "b"));
    Pass();
    const VaxoAVMgrCmdNotes notes = queue.ReadNotes();
    EXPECT_FALSE(notes.isOn);
    EXPECT_EQ(Current(), "2 PlayStream/a");
    EXPECT_FALSE(notes.current.isSinceKnown);
    EXPECT_EQ(notes.waitingCount, 0U);
    EXPECT_TRUE(notes.decisions.empty());
    Done(PlayStream);
    EXPECT_EQ(Current(), "0");
}

TEST_F(CmdWatch, WaitingCommandsAreToldOldestFirstUntilTheyRun) {
    queue.Watch(true);
    for (const char* text : {"a", "b", "c"}) {
        queue.AddCmd(Make(PlayStream, text));
    }
    EXPECT_EQ(Waiting(), (Texts{"PlayStream/a", "PlayStream/b", "PlayStream/c"}));
    Pass();
    EXPECT_EQ(Waiting(), (Texts{"PlayStream/b", "PlayStream/c"}));
    EXPECT_EQ(Current(), "2 PlayStream/a");
    EXPECT_TRUE(queue.ReadNotes().current.isSinceKnown);
    Done(PlayStream);
    EXPECT_EQ(Current(), "2 PlayStream/b");
    Done(PlayStream);
    Done(PlayStream);
    EXPECT_EQ(Current(), "0");
    EXPECT_EQ(Waiting(), Texts{});
}

TEST_F(CmdWatch, AgesCountFromTheMomentOfEachState) {
    queue.Watch(true);
    const auto before = std::chrono::steady_clock::now();
    queue.AddCmd(Make(PlayStream, "a"));
    const auto between = std::chrono::steady_clock::now();
    const auto waitsSince = queue.ReadNotes().waiting.at(0).since;
    EXPECT_GE(waitsSince, before);
    EXPECT_LE(waitsSince, between);
    Pass();
    EXPECT_GE(queue.ReadNotes().current.since, between);
}

TEST_F(CmdWatch, DecisionsNameWhoWasStoredRemovedAndRefused) {
    queue.Watch(true);
    queue.AddCmd(MakeJoin("former", CmdJoin_InvalidateFormer));
    queue.AddCmd(MakeJoin("strict", CmdJoin_InvalidateLater));
    queue.AddCmd(Make(SyncCmd, "late"));
    EXPECT_EQ(Decisions(),
              (Texts{"SyncCmd/former CoExist", "SyncCmd/strict InvalidateFormer SyncCmd/former",
                     "SyncCmd/strict CoExist", "SyncCmd/late InvalidateLater SyncCmd/strict"}));
    EXPECT_EQ(Waiting(), (Texts{"SyncCmd/strict"}));
    Pass();
}

TEST_F(CmdWatch, RunningCommandCanBeReadFromInsideItself) {
    queue.Watch(true);
    std::vector<std::string> seen;
    for (const VaxoAVMgrCmdType type : {SyncCmd, PlayStream}) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(type, [&] {
            seen.push_back(Current());
            return 0;
        });
        cmd->strExtraData = "x";
        queue.AddCmd(cmd);
    }
    Pass();
    EXPECT_EQ(seen, (Texts{"1 SyncCmd/x", "1 PlayStream/x"}));
    EXPECT_EQ(Current(), "2 PlayStream/x");
    Done(PlayStream);
}

TEST_F(CmdWatch, CommandThatReportsItselfIsOverWhenItReturns) {
    queue.Watch(true);
    std::string seen;
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(StopStream, [&] {
        queue.SetCmdExecuteCmdDone(StopStream);
        seen = Current();
        return 0;
    }));
    Pass();
    WaitForWorker0();
    EXPECT_EQ(seen, "1 StopStream/");
    EXPECT_EQ(Current(), "0");
}

TEST_F(CmdWatch, NotesMayBeReadFromJoinsTheObserverAndTheLog) {
    struct Reader final : IVaxoAVMgrCmdQueueCallback {
        explicit Reader(CVaxoAVMgrCmdQueue& q) : queue(q) {}
        void OnCmdRemoved(std::shared_ptr<VaxoAVMgrCmd>) override {
            reads += queue.ReadNotes().isOn ? 1 : 0;
        }
        CVaxoAVMgrCmdQueue& queue;
        int reads = 0;
    } reader(queue);
    queue.Watch(true);
    queue.SetCallback(&reader);
    vaxolog_set_sink([](void* context, int32, const char*, int32,
                        const char*) { static_cast<Reader*>(context)->OnCmdRemoved({}); },
                     &reader);
    queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(
        SyncCmd, [] { return 0; },
        [&](CmdPtr) {
            reader.OnCmdRemoved({});
            return CmdJoin_InvalidateFormer;
        }));
    const int before = reader.reads;
    queue.AddCmd(Make(SyncCmd, "new"));
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_GE(reader.reads, before + 5);  // join, observer, three lines
    queue.SetCallback(nullptr);
    Pass();
}

TEST_F(CmdWatch, WatchThatBeginsLateKnowsWhoWaitsButNotSinceWhen) {
    queue.AddCmd(Make(PlayStream, "held"));
    Pass();
    queue.AddCmd(Make(PlayStream, "old"));
    queue.Watch(true);
    queue.AddCmd(Make(PlayStream, "new"));
    EXPECT_EQ(Waiting(), (Texts{"PlayStream/old", "PlayStream/new"}));
    EXPECT_FALSE(queue.ReadNotes().waiting.at(0).isSinceKnown);
    EXPECT_TRUE(queue.ReadNotes().waiting.at(1).isSinceKnown);
    EXPECT_EQ(Current(), "2 PlayStream/held");
    EXPECT_FALSE(queue.ReadNotes().current.isSinceKnown);
    for (int i = 0; i < 3; ++i) {
        Done(PlayStream);
    }
    EXPECT_EQ(Current(), "0");
    EXPECT_EQ(Waiting(), Texts{});
}

TEST_F(CmdWatch, EndForgetsAndASecondBeginDoesNot) {
    queue.Watch(true);
    queue.AddCmd(Make(SyncCmd, "a"));
    queue.Watch(true);
    EXPECT_EQ(Decisions().size(), 1U);
    queue.Watch(false);
    EXPECT_FALSE(queue.ReadNotes().isOn);
    EXPECT_TRUE(Decisions().empty());
    queue.Watch(true);
    EXPECT_TRUE(Decisions().empty());
    EXPECT_EQ(Waiting(), (Texts{"SyncCmd/a"}));
    Pass();
}

TEST_F(CmdWatch, ManyWaitAndOnlyTheOldestAreCopied) {
    queue.Watch(true);
    constexpr std::size_t kMany = CVaxoAVMgrCmdWatch::kMostWaiting + 10;
    for (std::size_t i = 0; i < kMany; ++i) {
        queue.AddCmd(Make(SyncCmd, "x"));
    }
    const VaxoAVMgrCmdNotes notes = queue.ReadNotes();
    EXPECT_EQ(notes.waitingCount, kMany);
    EXPECT_EQ(notes.waiting.size(), CVaxoAVMgrCmdWatch::kMostWaiting);
    EXPECT_EQ(notes.decisions.size(), CVaxoAVMgrCmdWatch::kMostDecisions);
    Pass();
}

TEST_F(CmdWatch, WatchingChangesNoLineOfTheLog) {
    const auto lines = [&](bool watch) {
        queue.Watch(watch);
        log.Take();
        queue.AddCmd(MakeJoin("a", CmdJoin_InvalidateFormer));
        queue.AddCmd(MakeJoin("b", CmdJoin_InvalidateLater));
        queue.AddCmd(Make(SyncCmd, "c"));
        Pass();
        queue.AddCmd(Make(PlayStream, "d"));
        Pass();
        Done(PlayStream);
        return log.Take();
    };
    const Lines unwatched = lines(false);
    EXPECT_FALSE(unwatched.empty());
    EXPECT_EQ(lines(true), unwatched);
}

TEST_F(CmdWatch, ReadersAndSwitchesMeetWorkOnOtherThreads) {
    std::atomic<bool> isOver{false};
    std::thread reader([&] {
        while (!isOver) {
            const VaxoAVMgrCmdNotes notes = queue.ReadNotes();
            // One command at a time, and its text is whole.
            if (notes.phase != CmdPhase_None) {
                EXPECT_EQ(Name(notes.current).size(), std::string("StopStream/abcdefgh").size());
            }
            EXPECT_LE(notes.waiting.size(), notes.waitingCount);
        }
    });
    std::thread switcher([&] {
        for (bool watch = true; !isOver; watch = !watch) {
            queue.Watch(watch);
        }
    });
    for (int i = 0; i < 500; ++i) {
        auto cmd = std::make_shared<VaxoAVMgrCmd>(StopStream, [&] {
            queue.SetCmdExecuteCmdDone(StopStream);
            return 0;
        });
        cmd->strExtraData = "abcdefgh";
        queue.AddCmd(cmd);
        queue.StartCmdExecute();
    }
    isOver = true;
    reader.join();
    switcher.join();
    WaitForWorker0();
    queue.Watch(true);
    EXPECT_EQ(Waiting(), Texts{});
    EXPECT_EQ(Current(), "0");
}
