// A signal in every phase of every command that goes to a channel: the channel is left properly,
// nothing new is begun.
#include <signal.h>

#include "AppFixture.h"

namespace apptest {

struct Phase {
    const char* name;
    std::vector<std::string> words;
    const char* fake;
    const char* call;  // the engine got it: this is the phase
    int status;
};

void PrintTo(const Phase& phase, std::ostream* out) {
    *out << phase.name;
}

class PhasesTest : public AppTest, public testing::WithParamInterface<Phase> {
protected:
    static bool EndsWith(const std::string& text, const std::string& end) {
        return text.size() >= end.size() &&
               text.compare(text.size() - end.size(), end.size(), end) == 0;
    }
};

TEST_P(PhasesTest, SignalLeavesTheChannelProperly) {
    const Phase& phase = GetParam();
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        std::filesystem::remove(Path("journal"));
        std::vector<std::string> words = phase.words;
        words.insert(words.end(), {"--log", Path("app.log"), "--timeout", "60"});
        const auto app = Start(words, phase.fake);
        AwaitCall(*app, phase.call);
        app->Signal(signal);
        EXPECT_TRUE(app->AwaitError("leaving; once more ends at once")) << app->Error();
        LetIn();
        EXPECT_EQ(app->End(), phase.status) << app->Error();
        EXPECT_TRUE(EndsWith(Journal(), "Logout\nUninit\n")) << Journal();
        if (Contains(phase.fake, "entry=late")) {
            EXPECT_FALSE(Contains(Journal(), "StartPublishing")) << Journal();
            EXPECT_FALSE(Contains(Journal(), "\nPlayStream")) << Journal();
            EXPECT_FALSE(Contains(Journal(), "UploadLogFile")) << Journal();
        }
        std::filesystem::remove(Path("journal.go"));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Commands, PhasesTest,
    testing::Values(Phase{"PublishEntering", {"publish"}, "entry=late", "Enter", 0},
                    Phase{"PublishBeginning", {"publish"}, "publish=late", "StartPublishing", 0},
                    Phase{"PublishLive", {"publish"}, "", "StartPublishing", 0},
                    Phase{"PublishTyping", {"publish", "--interactive"}, "", "StartPublishing", 0},
                    Phase{"PublishBeforeItsSnapshot",
                          {"publish", "--snapshot", "/dev/null", "--snapshot-after", "600"},
                          "",
                          "StartPublishing",
                          0},
                    Phase{"PlayEntering", {"play"}, "entry=late;streams=a", "Enter", 0},
                    Phase{"PlayWithoutAStream", {"play"}, "", "Enter", 0},
                    Phase{"PlayBeginning", {"play"}, "streams=a;play=late", "PlayStream", 0},
                    Phase{"PlayLive", {"play"}, "streams=a", "PlayStream", 0},
                    Phase{"ListEntering", {"list"}, "entry=late;streams=a", "Enter", 0},
                    Phase{"ListFollowing", {"list", "--follow"}, "streams=a", "Enter", 0},
                    Phase{"UploadEntering", {"upload-log"}, "entry=late", "Enter", 0},
                    Phase{"UploadUnderWay", {"upload-log"}, "upload=never", "UploadLogFile", 7}),
    [](const testing::TestParamInfo<Phase>& one) { return one.param.name; });

}  // namespace apptest
