// Commands typed in, and the ways out: stop, the end of the input, one signal, two signals,
// and a service that does not let go.
#include <signal.h>

#include "AppFixture.h"

namespace apptest {

class LeavingTest : public AppTest {};

TEST_F(LeavingTest, TypedCommandsReachTheEngineAndAreAnswered) {
    const auto app = Start({"publish", "--interactive"});
    app->Write(
        "filter 3\nmic off\nrotation 180\nsize 320x240\nfps 10\nbitrate 500k\nsound off\n\n"
        "# a remark\nvideo test:picture\nplay a\nstop\n");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(),
              "ok filter 3\nok mic off\nok rotation 180\nok size 320x240\nok fps 10\n"
              "ok bitrate 500k\nok sound off\nok video test:picture\nok play a\nok stop\n");
    EXPECT_TRUE(Contains(Journal(),
                         "StartPublishing tester tester room\nSetFilter 3\nEnableMic off\n"
                         "SetCaptureRotation 180\nSetVideoResolution 320 240\nSetVideoFPS 10\n"
                         "SetVideoBitrate 500000\nEnableSpk off\n"
                         "SetVideoCaptureDeviceId test:picture\nPlayStream a 0\n"))
        << Journal();
}

TEST_F(LeavingTest, TypedCommandsThatAreWrongChangeNothing) {
    const auto app = Start({"publish", "--interactive"});
    const std::vector<std::string> wrong = {
        "dance",       "filter",   "filter x", "filter 1 2",         "mic maybe",
        "rotation 45", "size 1x1", "fps 0",    "bitrate -1",         "video no",
        "end b",       "stop now", "snapshot", "snapshot /x/y.png b"};
    for (const std::string& line : wrong) {
        app->Write(line + "\n");
        EXPECT_TRUE(app->AwaitOutput("error " + line + ": ")) << line << app->Output();
    }
    app->Write("stop\n");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "room\nStopPublishing\n")) << Journal();
}

TEST_F(LeavingTest, TypedSnapshotIsThereWhenItIsAnswered) {
    const auto app = Start({"play", "--interactive"}, "streams=a");
    app->Write("snapshot " + Path("s.png") + "\n");
    EXPECT_TRUE(app->AwaitOutput("ok snapshot")) << app->Error();
    EXPECT_TRUE(std::filesystem::exists(Path("s.png")));
    app->Write("status\n");
    EXPECT_TRUE(app->AwaitOutput("\"latency\":42")) << app->Output();
    app->CloseInput();
    EXPECT_EQ(app->End(), 0) << app->Error();
}

TEST_F(LeavingTest, LineThatIsTooLongIsRefusedWhole) {
    const auto app = Start({"publish", "--interactive"});
    app->Write(std::string(10000, 'x') + "\nfilter 4\n");
    app->CloseInput();
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(app->Output(), "too long")) << app->Output();
    EXPECT_TRUE(Contains(app->Output(), "ok filter 4\n")) << app->Output();
    EXPECT_LT(app->Output().size(), 1000U);
}

TEST_F(LeavingTest, LastLineNeedsNoLineEnd) {
    const auto app = Start({"publish", "--interactive"});
    app->Write("filter 5");
    app->CloseInput();
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(), "ok filter 5\n");
}

TEST_F(LeavingTest, SignalLeavesTheChannelProperly) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const auto app = Start({"publish", "--events", Path("events")});
        ASSERT_TRUE(app->AwaitError("published")) << app->Error();
        app->Signal(signal);
        EXPECT_EQ(app->End(), 0) << app->Error();
        EXPECT_TRUE(Contains(Journal(), "StopPublishing\nLogout\nUninit\n")) << Journal();
        const std::string events = Content("events");
        EXPECT_LT(events.find("\"event\":\"published\""), events.find("\"event\":\"left\""));
        EXPECT_TRUE(Contains(events, "\"event\":\"end\",\"code\":0}\n")) << events;
        std::filesystem::remove(Path("journal"));
    }
}

TEST_F(LeavingTest, SignalDuringTheEntryIsNoFailure) {
    // The entry's answer never comes, and leaving waits behind it: so the second signal ends
    // the process, with its own number.
    const auto app = Start({"publish", "--timeout", "60"}, "entry=never");
    AwaitCall(*app, "Enter");
    app->Signal(SIGTERM);
    EXPECT_FALSE(Contains(app->Error(), "no answer")) << app->Error();
    app->Signal(SIGINT);
    const int status = app->End();
    EXPECT_TRUE(status == 128 + SIGINT || status == 128 + SIGTERM) << status;  // one overtakes
}

TEST_F(LeavingTest, SecondSignalEndsAtOnce) {
    const auto app = Start({"publish"}, "logout=never");
    ASSERT_TRUE(app->AwaitError("published")) << app->Error();
    app->Signal(SIGINT);
    AwaitCall(*app, "Logout");
    app->Signal(SIGINT);
    EXPECT_EQ(app->End(), 128 + SIGINT);
    EXPECT_FALSE(Contains(app->Error(), "too long")) << app->Error();
}

TEST_F(LeavingTest, ServiceThatDoesNotLetGoEndsWithSix) {
    const auto app = Start({"publish", "--duration", "0"}, "logout=never");
    EXPECT_EQ(app->End(), 6);
    EXPECT_TRUE(Contains(app->Error(), "leaving takes too long")) << app->Error();
    EXPECT_FALSE(Contains(Journal(), "Uninit")) << Journal();
}

}  // namespace apptest
