// The commands of the command line against a scripted engine: what reaches the engine, what
// is printed, and how the process ends.
#include <signal.h>

#include "AppFixture.h"

namespace apptest {

class CommandsTest : public AppTest {
protected:
    // The engine was left properly.
    void ExpectLeft() const {
        const std::string end = "Logout\nUninit\n";
        const std::string journal = Journal();
        ASSERT_GE(journal.size(), end.size()) << journal;
        EXPECT_EQ(journal.substr(journal.size() - end.size()), end) << journal;
    }
};

TEST_F(CommandsTest, ListPrintsStreamsWithoutSignaturesAndControlCharacters) {
    const auto app = Start({"list", "--quiet"}, "streams=a,b");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(),
              "a  \"say \"hi\"\"  by Ann ?[31m (ann)\nb  \"say \"hi\"\"  by Ann ?[31m (ann)\n");
    EXPECT_EQ(app->Error(), "");
    ExpectLeft();
}

TEST_F(CommandsTest, ListAsJsonIsOneObjectALine) {
    const auto app = Start({"list", "--json"}, "streams=a,b;added=c;gone=a,b");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(),
              "{\"stream\":\"c\",\"user\":\"ann\",\"userName\":\"Ann \\u001b[31m\",\"title\":"
              "\"say \\\"hi\\\"\",\"status\":1,\"addresses\":[\"rtmp://host/live/42_a\","
              "\"http://host/hls/.../42_a/index.m3u8\"]}\n");
}

TEST_F(CommandsTest, EmptyChannelHasAnEmptyList) {
    const auto app = Start({"list"});
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(), "");
}

TEST_F(CommandsTest, FollowedListEndsOnASignal) {
    const auto app = Start({"list", "--follow"}, "streams=a");
    EXPECT_TRUE(app->AwaitOutput("+  a")) << app->Error();
    app->Signal(SIGTERM);
    EXPECT_EQ(app->End(), 0) << app->Error();
    ExpectLeft();
}

TEST_F(CommandsTest, DevicesNeedNoSettings) {
    const auto app = StartPlain({"devices"}, {});
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(app->Output(),
              "video\ttest:picture\tTest picture\naudio-in\ttest:tone\tBuilt "
              "in\naudio-out\tnone:sink\tBuilt in\n");
}

TEST_F(CommandsTest, EntryThatFailsEndsWithThree) {
    const auto wrong = Start({"list"}, "entry=2");
    EXPECT_EQ(wrong->End(), 3);
    EXPECT_TRUE(Contains(wrong->Error(), "does not accept")) << wrong->Error();
    ExpectLeft();
    const auto refused = Start({"publish"}, "entry=refuse");
    EXPECT_EQ(refused->End(), 3);
}

TEST_F(CommandsTest, EntryWithoutAnAnswerEndsWithSix) {
    // Leaving waits behind the entry, so it takes its 12 s too.
    const auto app = Start({"list", "--timeout", "0.2"}, "entry=never");
    EXPECT_EQ(app->End(), 6);
    EXPECT_TRUE(Contains(app->Error(), "no answer to the entry")) << app->Error();
}

TEST_F(CommandsTest, PublishSetsEverythingBeforeItStarts) {
    PutFile("my film.mp4", "");
    const auto app = Start({"publish",    "--stream",   "s",
                            "--title",    "T",          "--size",
                            "640x360",    "--fps",      "20",
                            "--bitrate",  "900k",       "--rotation",
                            "90",         "--filter",   "3",
                            "--beautify", "5",          "--no-mic",
                            "--no-cam",   "--video",    Path("my film.mp4"),
                            "--audio",    "test:tone",  "--preview-window",
                            "77",         "--duration", "0"});
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_EQ(Journal(),
              "Init 42 32\nSetVideoResolution 640 360\nSetVideoBitrate 900000\nSetVideoFPS 20\n"
              "SetCaptureRotation 90\nSetFilter 3\nEnableBeautifying 5\nEnableMic off\n"
              "EnableCam off\nSetVideoCaptureDeviceId file://" +
                  m_dir.string() +
                  "/my%20film.mp4\nSetAudioDevice 0 test:tone\nSetPreviewView 77\nStartPreview\n"
                  "Enter tester tester room\nStartPublishing T s room\nStopPublishing\nLogout\n"
                  "Uninit\n");
}

TEST_F(CommandsTest, UnknownDeviceEndsWithTwo) {
    for (const std::string option : {"--video", "--audio"}) {
        const auto app = Start({"publish", option, "nothing"});
        EXPECT_EQ(app->End(), 2);
        EXPECT_TRUE(Contains(app->Error(), "unknown device nothing")) << app->Error();
    }
    EXPECT_FALSE(Contains(Journal(), "Enter")) << Journal();
}

TEST_F(CommandsTest, PublishThatFailsEndsWithFour) {
    for (const std::string fake : {"publish=3", "publish=4", "publish=ends"}) {
        const auto app = Start({"publish"}, fake);
        EXPECT_EQ(app->End(), 4) << fake << app->Error();
        ExpectLeft();
    }
}

TEST_F(CommandsTest, PlayTakesTheFirstStreamAndEndsWithIt) {
    const auto app = Start({"play", "--view-window", "5", "--no-sound"}, "streams=b,a;play=ends");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "EnableSpk off\n")) << Journal();
    EXPECT_TRUE(Contains(Journal(), "SetView 5 0\nPlayStream a 0\n")) << Journal();
    EXPECT_FALSE(Contains(Journal(), "\nPlayStream b")) << Journal();
    ExpectLeft();
}

TEST_F(CommandsTest, SeveralStreamsHaveViewsOfTheirOwn) {
    const auto app = Start({"play", "--stream", "a", "--stream", "b", "--view-window", "5",
                            "--view-window", "6", "--duration", "0"},
                           "streams=a,b");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "SetView 5 0\nSetView 6 1\nPlayStream a 0\nPlayStream b 1\n"))
        << Journal();
}

TEST_F(CommandsTest, PlayOfNoSuchStreamEndsWithFive) {
    const auto named = Start({"play", "--stream", "x"}, "play=6");
    EXPECT_EQ(named->End(), 5);
    EXPECT_TRUE(Contains(named->Error(), "there is no such stream")) << named->Error();
    const auto none = Start({"play", "--timeout", "0.2"});
    EXPECT_EQ(none->End(), 5);
    EXPECT_TRUE(Contains(none->Error(), "no stream in the channel")) << none->Error();
    ExpectLeft();
}

TEST_F(CommandsTest, SnapshotsOfBothSidesAreAlike) {
    const auto publish = Start({"publish", "--duration", "0", "--snapshot", Path("p.png")});
    EXPECT_EQ(publish->End(), 0) << publish->Error();
    const auto play = Start({"play", "--duration", "0", "--snapshot", Path("q.png")}, "streams=a");
    EXPECT_EQ(play->End(), 0) << play->Error();
    const auto compare = StartPlain({"compare", Path("p.png"), Path("q.png")}, {});
    EXPECT_EQ(compare->End(), 0) << compare->Output();
    EXPECT_TRUE(Contains(compare->Output(), "64x36 and 64x36")) << compare->Output();
}

TEST_F(CommandsTest, SnapshotThatNeverComesEndsWithOne) {
    const auto app =
        Start({"publish", "--duration", "0", "--snapshot", Path("p.png")}, "picture=none");
    EXPECT_EQ(app->End(), 1);
    EXPECT_FALSE(std::filesystem::exists(Path("p.png")));
    ExpectLeft();
}

TEST_F(CommandsTest, UploadTellsWhatBecameOfIt) {
    const auto done = Start({"upload-log", "--log", Path("log")});
    EXPECT_EQ(done->End(), 0) << done->Error();
    EXPECT_TRUE(Contains(done->Error(), "100000 bytes")) << done->Error();
    EXPECT_TRUE(Contains(Journal(), "UploadLogFile tester " + Path("log"))) << Journal();
    for (const std::string fake : {"upload=failed", "upload=refuse"}) {
        const auto app = Start({"upload-log", "--log", Path("log")}, fake);
        EXPECT_EQ(app->End(), 7) << fake << app->Error();
    }
    const auto silent =
        Start({"upload-log", "--log", Path("log"), "--timeout", "0.5"}, "upload=never");
    EXPECT_EQ(silent->End(), 6) << silent->Error();
}

TEST_F(CommandsTest, UploadTellsOfAttemptsThatFailed) {
    const auto again = Start({"upload-log", "--log", Path("log")}, "upload=again");
    EXPECT_EQ(again->End(), 0) << again->Error();
    const std::size_t first =
        again->Error().find("not uploaded yet: to be tried again, answer 500");
    ASSERT_NE(first, std::string::npos) << again->Error();
    EXPECT_NE(again->Error().find("the server has the log", first), std::string::npos);
    const auto full = Start({"upload-log", "--log", Path("log")}, "upload=full");
    EXPECT_EQ(full->End(), 7);
    EXPECT_TRUE(Contains(full->Error(),
                         "the log was not uploaded: failed, answer 507: the server has no room"))
        << full->Error();
}

TEST_F(CommandsTest, UploadMakesALogThatIsMissingAndFillsAnEmptyOne) {
    PutFile("empty", "");
    for (const std::string name : {"missing", "empty"}) {
        const auto app = Start({"upload-log", "--log", Path(name)}, "upload=whole");
        EXPECT_EQ(app->End(), 0) << app->Error();
        EXPECT_TRUE(Contains(app->Error(), "the server has the log, ")) << app->Error();
        EXPECT_FALSE(Contains(app->Error(), "has the log, 0 bytes")) << app->Error();
        EXPECT_TRUE(Contains(Content(name), "upload of " + Path(name))) << Content(name);
    }
}

TEST_F(CommandsTest, UploadRefusesALogThatIsTooLongAndLeavesItAlone) {
    PutFile("long.log", "");
    std::filesystem::resize_file(Path("long.log"), 50000000);
    const auto app = Start({"upload-log", "--quiet", "--log", Path("long.log")});
    EXPECT_EQ(app->End(), 7);
    EXPECT_TRUE(Contains(app->Error(), "50000000 bytes long, the limit is 16777216"))
        << app->Error();
    EXPECT_EQ(Journal(), "");
    EXPECT_EQ(std::filesystem::file_size(Path("long.log")), 50000000U);
    EXPECT_FALSE(std::filesystem::exists(Path("long.1.log")));
}

TEST_F(CommandsTest, UploadTellsWhenTheLogWasFullAndBeginsAnew) {
    PutFile("old.log", "");
    std::filesystem::resize_file(Path("old.log"), 8000000);
    const auto app = Start({"upload-log", "--log", Path("old.log")}, "upload=whole");
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(app->Error(), "begins anew: the 8000000 bytes")) << app->Error();
    EXPECT_EQ(std::filesystem::file_size(Path("old.1.log")), 8000000U);
    const auto next = Start({"upload-log", "--log", Path("old.log")}, "upload=whole");
    EXPECT_EQ(next->End(), 0) << next->Error();
    EXPECT_FALSE(Contains(next->Error(), "begins anew")) << next->Error();
}

TEST_F(CommandsTest, FilesThatCannotBeWrittenEndWithOne) {
    for (const std::string option : {"--log", "--events"}) {
        PutFile("plain", "");
        const auto app = Start({"list", option, Path("plain") + "/below"});
        EXPECT_EQ(app->End(), 1) << app->Error();
    }
    EXPECT_EQ(Journal(), "");
}

}  // namespace apptest
