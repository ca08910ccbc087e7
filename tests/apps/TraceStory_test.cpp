// What "vaxolive trace" understands of a log: spans, joins, what holds the queue, and which
// process each command is of.
#include "TraceFixture.h"
#include "trace/Rules.h"

namespace vaxotrace {

typedef TraceTest TraceStoryTest;

TEST_F(TraceStoryTest, LineIsTakenApartAndWrittenAgain) {
    LogLine line;
    ASSERT_TRUE(ParseLogLine("2024-02-29 23:59:59.000007 12345 3 CmdQueue:88 a text", line));
    EXPECT_EQ(SayDate(line.time), "2024-02-29 23:59:59.000007");
    EXPECT_EQ(line.thread, 12345U);
    EXPECT_EQ(line.level, 3);
    EXPECT_EQ(line.tag, "CmdQueue");
    EXPECT_EQ(line.text, "a text");
    EXPECT_FALSE(ParseLogLine("2024-02-29 23:59:59 12345 3 CmdQueue:88 no micros", line));
    EXPECT_FALSE(ParseLogLine("2024-13-29 23:59:59.000007 12345 3 CmdQueue:88 no month", line));
    EXPECT_FALSE(ParseLogLine("2024-02-29 23:59:59.000007 12345 3 CmdQueue no line", line));
    EXPECT_FALSE(ParseLogLine("", line));
}

TEST_F(TraceStoryTest, CommandTextMayHoldWhatTheLinesAreMadeOf) {
    const std::string name = "PlayStream(0/a), queue size: 7) poped, final queue size: 9)";
    ReadText(LogWriter().Add(100, name, 0).Pop(101, name, 0).RanAndHolds(101, name).Text());
    ASSERT_EQ(m_story.Commands().size(), 1U);
    const Command& command = m_story.Commands().begin()->second;
    EXPECT_EQ(command.name.text, "a), queue size: 7) poped, final queue size: 9");
    EXPECT_EQ(command.fate, Fate::Holding);
}

TEST_F(TraceStoryTest, SpansAreWhatTheLinesSay) {
    LogWriter log;
    log.Add(100, "StartPublish(0/show)", 0).Pause(1000).Pop(101, "StartPublish(0/show)", 0);
    log.Pause(2000).RanAndHolds(101, "StartPublish(0/show)");
    log.Pause(3000).Done(102, "StartPublish(0/show)");
    ReadText(log.Text());
    ASSERT_EQ(m_story.Commands().size(), 1U);
    const Command& command = m_story.Commands().begin()->second;
    const Spans spans = SpansOf(command, kNoTime);
    EXPECT_EQ(spans.waited, 1020);  // from the offer; "added" stands between
    EXPECT_EQ(spans.ran, 2010);
    EXPECT_EQ(spans.held, 3020);
    EXPECT_EQ(command.fate, Fate::Finished);
    EXPECT_EQ(m_diagnosis.processes.at(0).executing, nullptr);
}

TEST_F(TraceStoryTest, CompletionFromInsideTheFunctionHoldsNothing) {
    LogWriter log;
    log.Add(100, "LeaveRoom(0/)", 0).Pop(101, "LeaveRoom(0/)", 0).Done(101, "LeaveRoom(0/)");
    log.Line(101, ">>>>>> execute LeaveRoom(0/) failed", 1, "unnamed");
    ReadText(log.Text());
    const Command& command = *Named("LeaveRoom").at(0);
    EXPECT_EQ(command.fate, Fate::Finished);
    EXPECT_TRUE(command.hasFailed);
    EXPECT_EQ(SpansOf(command, kNoTime).ran, 30);
    EXPECT_EQ(SpansOf(command, kNoTime).held, 0);
    EXPECT_EQ(m_diagnosis.failed.size(), 1U);
}

TEST_F(TraceStoryTest, RemovalNamesBothAndTheRule) {
    LogWriter log;
    log.Add(100, "PlayStream(0/a)", 0).Add(100, "SyncCmd(119/)", 1, {"PlayStream(0/a), CoExist"});
    log.Add(100, "StopStream(0/a)", 2,
            {"PlayStream(0/a), InvalidateFormer", "SyncCmd(119/), CoExist"}, 1);
    ReadText(log.Text());
    const Command& removed = *Named("PlayStream", "a").at(0);
    EXPECT_EQ(removed.fate, Fate::Removed);
    EXPECT_EQ(removed.other, Named("StopStream", "a").at(0)->id);
    EXPECT_EQ(Reason(removed),
              "a waiting PlayStream gives way to a newer StopStream with the same streamID");
    ASSERT_EQ(m_diagnosis.processes.at(0).waiting.size(), 2U);
    EXPECT_EQ(Title(m_diagnosis.processes[0].waiting[0]->name), "SetFilter");
    EXPECT_EQ(Title(m_diagnosis.processes[0].waiting[1]->name), "StopStream a");
}

TEST_F(TraceStoryTest, RefusalNamesTheOneThatRefuses) {
    ReadText(LogWriter()
                 .Add(100, "LeaveRoom(0/)", 0)
                 .Offer(100, "(0/odd)", 1, {"LeaveRoom(0/), InvalidateLater"})
                 .Line(100, "AddCmd, cmd invalid!", 3, "CmdProxy")
                 .Text());
    const Command& refused = *Named("", "odd").at(0);
    EXPECT_EQ(refused.fate, Fate::Refused);
    EXPECT_EQ(refused.otherName.type, "LeaveRoom");
    EXPECT_EQ(m_diagnosis.processes.at(0).waiting.size(), 1U);
    EXPECT_EQ(m_diagnosis.joins.size(), 1U);
}

TEST_F(TraceStoryTest, RotatedFileTellsOfCommandsAcceptedBeforeIt) {
    LogWriter log;
    log.Line(101, "StartCmdExecuteInner").Line(101, "> executing: PlayStream(0/a)");
    log.Add(100, "SyncCmd(119/)", 1, {"StopStream(0/b), CoExist"});
    log.Line(100, "0: StopStream(0/b)", 4).Line(100, "1: SyncCmd(119/)", 4);
    ReadText(log.Text());
    const ProcessDiagnosis& process = m_diagnosis.processes.at(0);
    ASSERT_NE(process.executing, nullptr);
    EXPECT_EQ(process.executing->name.text, "a");
    EXPECT_EQ(process.executing->popped, kNoTime);
    ASSERT_EQ(process.waiting.size(), 2U);
    EXPECT_EQ(process.waiting[0]->name.text, "b");
    EXPECT_EQ(process.waiting[0]->offered, kNoTime);
    EXPECT_NE(Verdict(process).find("or longer"), std::string::npos) << Verdict(process);
    EXPECT_TRUE(Warns("begins in the middle"));
}

TEST_F(TraceStoryTest, HoldThatBeganBeforeTheFileEndsInIt) {
    ReadText(LogWriter().Done(102, "GetInRoom(0/room)").Text());
    EXPECT_EQ(Named("GetInRoom", "room").at(0)->fate, Fate::Finished);
    EXPECT_EQ(m_diagnosis.processes.at(0).executing, nullptr);
}

TEST_F(TraceStoryTest, FilesInOrderAreOneStory) {
    const std::string log = Content(Committed("stuck.log"));
    const std::size_t cut = log.find('\n', log.size() / 3) + 1;
    Read({Put("old.log", log.substr(0, cut)), Put("new.log", log.substr(cut))});
    const std::string inTwo = JsonDiagnosis(m_diagnosis);
    m_story = Story();
    m_report = ReadReport();
    Read({Committed("stuck.log")});
    EXPECT_EQ(inTwo, JsonDiagnosis(m_diagnosis));
    m_story = Story();
    Read({Put("new.log", log.substr(cut)), Put("old.log", log.substr(0, cut))});
    EXPECT_TRUE(Warns("oldest first"));
}

TEST_F(TraceStoryTest, RestartIsAProcessOfItsOwn) {
    LogWriter log;
    log.Add(100, "PlayStream(0/a)", 0).Pop(101, "PlayStream(0/a)", 0);
    log.RanAndHolds(101, "PlayStream(0/a)").Add(100, "SyncCmd(119/)", 0).Pause(5000000);
    log.Add(200, "SyncCmd(100/)", 0).Pop(201, "SyncCmd(100/)", 0).Ran(201, "SyncCmd(100/)");
    ReadText(log.Text());
    ASSERT_EQ(m_diagnosis.processes.size(), 2U);
    EXPECT_NE(m_diagnosis.processes[0].executing, nullptr);
    EXPECT_EQ(m_diagnosis.processes[0].waiting.size(), 1U);
    EXPECT_FALSE(m_diagnosis.processes[0].isLast);
    EXPECT_TRUE(m_diagnosis.processes[1].isRestart);
    EXPECT_EQ(m_diagnosis.processes[1].executing, nullptr);
}

TEST_F(TraceStoryTest, RestartWithTheSameThreadNumbersIsSeen) {
    LogWriter log;
    log.Add(1, "PlayStream(0/a)", 0).Pop(7, "PlayStream(0/a)", 0).RanAndHolds(7, "PlayStream(0/a)");
    log.Pause(5000000).Add(1, "SyncCmd(100/)", 0).Pop(7, "SyncCmd(100/)", 0);
    log.Ran(7, "SyncCmd(100/)");
    ReadText(log.Text());
    ASSERT_EQ(m_diagnosis.processes.size(), 2U);
    EXPECT_EQ(Named("PlayStream", "a").at(0)->fate, Fate::Lost);
    EXPECT_EQ(Named("SyncCmd").at(0)->fate, Fate::Finished);
    EXPECT_EQ(m_diagnosis.lost.size(), 1U);
}

// Both processes are the same real session; a line of one, a line of the other.
TEST_F(TraceStoryTest, InterleavedProcessesAreTwoStories) {
    std::istringstream lines(Content(Committed("stuck.log")));
    std::string both;
    for (std::string line; std::getline(lines, line);) {
        LogLine parsed;
        ASSERT_TRUE(ParseLogLine(line, parsed)) << line;
        const std::string number = " " + std::to_string(parsed.thread) + " ";
        std::string other = line;
        other.replace(other.find(number), number.size(),
                      " " + std::to_string(parsed.thread + 500) + " ");
        both.append(line).append("\n").append(other).append("\n");
    }
    ReadText(both);
    ASSERT_EQ(m_diagnosis.processes.size(), 2U);
    for (const ProcessDiagnosis& process : m_diagnosis.processes) {
        ASSERT_NE(process.executing, nullptr);
        EXPECT_EQ(Title(process.executing->name), "StartPublish show");
        EXPECT_EQ(process.waiting.size(), 6U);
        EXPECT_TRUE(process.isLast);
    }
    EXPECT_EQ(m_diagnosis.commands, 34U);
    EXPECT_EQ(m_diagnosis.joins.size(), 10U);
    EXPECT_TRUE(m_diagnosis.lost.empty());
}

TEST_F(TraceStoryTest, SecondThreadOfOneProcessIsNotAnother) {
    LogWriter log;
    log.Add(100, "SyncCmd(100/)", 0).Pop(101, "SyncCmd(100/)", 0).Ran(101, "SyncCmd(100/)");
    log.Add(150, "SyncCmd(100/)", 0).Add(100, "SyncCmd(119/)", 1, {"SyncCmd(100/), CoExist"});
    log.Pop(101, "SyncCmd(100/)", 1).Ran(101, "SyncCmd(100/)");
    log.Pop(101, "SyncCmd(119/)", 0).Ran(101, "SyncCmd(119/)");
    ReadText(log.Text());
    EXPECT_EQ(m_diagnosis.processes.size(), 1U);
    EXPECT_EQ(m_diagnosis.commands, 3U);
    EXPECT_TRUE(m_diagnosis.lost.empty());
}

TEST_F(TraceStoryTest, StuckSessionSaysWhatHoldsTheQueueAndWhy) {
    Read({Committed("stuck.log")});
    const std::string text = SayDiagnosis(m_diagnosis);
    for (const char* const part :
         {"StartPublish show holds the queue, for 6.33 s", "6 commands behind it",
          "waits for OnPublishStateUpdate, of any stream in any state", "EnableMic, since",
          "stream show: no answer from the media server",
          "LeaveRoom removed by PlayStream choir after 350 ms: a waiting LeaveRoom gives way to "
          "every newer PlayStream"}) {
        EXPECT_NE(text.find(part), std::string::npos) << part << "\n" << text;
    }
}

TEST_F(TraceStoryTest, NormalSessionEndsIdle) {
    Read({Committed("normal.log")});
    ASSERT_EQ(m_diagnosis.processes.size(), 1U);
    EXPECT_EQ(Verdict(m_diagnosis.processes[0]), "The queue is idle.");
    EXPECT_EQ(m_diagnosis.joins.size(), 2U);
    EXPECT_TRUE(m_diagnosis.lost.empty());
    EXPECT_TRUE(m_diagnosis.warnings.empty());
    EXPECT_EQ(Named("LeaveRoom").size(), 1U);
    EXPECT_EQ(m_diagnosis.longest.at(0).command->name.type, "StartPublish");
}

TEST_F(TraceStoryTest, LogBelowGenericSaysSo) {
    ReadText(LogWriter().Line(100, "stream a: lost", 2, "Play").Text());
    EXPECT_TRUE(Warns("below the level \"generic\""));
}

}  // namespace vaxotrace
