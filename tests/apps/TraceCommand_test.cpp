// "vaxolive trace" as a process: on a log that this very build writes, and how it ends.
#include <chrono>

#include "AppFixture.h"

namespace apptest {

typedef AppTest TraceCommandTest;

// The publisher goes on meanwhile, and its log is being written.
TEST_F(TraceCommandTest, UnansweredPublishIsFoundInTheLogOfTheSameBuild) {
    const auto publish = Start({"publish", "--stream", "show", "--user", "ann", "--log",
                                Path("a.log"), "--timeout", "600", "--quiet"},
                               "publish=never");
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    std::string told;
    while (told.find("StartPublish show holds the queue, for ") != 0 &&
           std::chrono::steady_clock::now() < deadline) {
        const auto trace = StartPlain(
            {"trace", Path("a.log"), "--html", Path("a.html"), "--chrome", Path("a.json")}, {});
        trace->End();
        told = trace->Output();
    }
    EXPECT_EQ(told.find("StartPublish show holds the queue, for "), 0U) << told;
    EXPECT_TRUE(Contains(told, "nothing waits behind it")) << told;
    EXPECT_FALSE(Contains(told, "note:")) << told;
    EXPECT_EQ(Content("a.html").find("<!DOCTYPE html>"), 0U);
    EXPECT_TRUE(Contains(Content("a.json"), "\"traceEvents\""));
}

TEST_F(TraceCommandTest, WhatIsNoLogEndsWithOneAndWrongUseWithTwo) {
    PutFile("x", "hello\n");
    const auto foreign = StartPlain({"trace", Path("x")}, {});
    EXPECT_EQ(foreign->End(), 1);
    EXPECT_TRUE(Contains(foreign->Error(), "no line of this library's log in")) << foreign->Error();
    const auto missing = StartPlain({"trace", Path("none")}, {});
    EXPECT_EQ(missing->End(), 1);
    EXPECT_TRUE(Contains(missing->Error(), "cannot read")) << missing->Error();
    EXPECT_EQ(StartPlain({"trace"}, {})->End(), 2);
    EXPECT_EQ(StartPlain({"trace", Path("x"), "--no-such"}, {})->End(), 2);
}

TEST_F(TraceCommandTest, PageThatCannotBeWrittenEndsWithOne) {
    PutFile("a.log", "2026-11-22 10:00:00.000000 1 3 CmdQueue:1 StartCmdExecuteInner\n");
    const auto trace = StartPlain({"trace", Path("a.log"), "--html", Path("none/a.html")}, {});
    EXPECT_EQ(trace->End(), 1);
    EXPECT_TRUE(Contains(trace->Error(), "cannot write")) << trace->Error();
}

}  // namespace apptest
