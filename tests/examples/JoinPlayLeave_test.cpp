// The smallest program: what it needs, what it does, what it says when that fails.
#include <gtest/gtest.h>

#include "ExampleRun.h"

namespace {

using exampletest::KeyDigits;
using exampletest::Setting;

std::vector<std::string> Words(const std::string& keyFile, const std::string& stream) {
    return {Setting("VAXO_APP_ID"),
            keyFile,
            Setting("VAXO_SERVICE_URL"),
            Setting("VAXO_MEDIA_URL"),
            "join",
            "bob",
            stream};
}

TEST(JoinPlayLeave, WithoutArgumentsItSaysWhatItNeeds) {
    const auto program = exampletest::StartBare("join_play_leave");
    EXPECT_EQ(program->End(), 2);
    EXPECT_EQ(program->Output(), "");
    for (const char* const word : {"APP-ID", "KEY-FILE", "SERVICE", "MEDIA", "CHANNEL", "STREAM"}) {
        EXPECT_NE(program->Error().find(word), std::string::npos) << program->Error();
    }
}

TEST(JoinPlayLeave, AStreamOfTheChannelIsPlayed) {
    exampletest::Publishing publishing("join", "show");
    ASSERT_TRUE(publishing.Flows());
    const auto program =
        exampletest::Start("join_play_leave", Words(Setting("VAXO_KEY_FILE"), "show"));
    EXPECT_EQ(program->End(), 0) << program->Error();
    EXPECT_EQ(program->Output(), "plays\n");
    EXPECT_EQ(program->Error(), "");
}

TEST(JoinPlayLeave, AStreamThatIsNotThereIsTold) {
    const auto program =
        exampletest::Start("join_play_leave", Words(Setting("VAXO_KEY_FILE"), "nobody"));
    EXPECT_EQ(program->End(), 1);
    EXPECT_EQ(program->Error(), "cannot play the stream: 6\n");
}

TEST(JoinPlayLeave, AKeyThatIsNotAcceptedIsToldAndNotShown) {
    const auto program =
        exampletest::Start("join_play_leave", Words(Setting("VAXO_OTHER_KEY_FILE"), "show"));
    EXPECT_EQ(program->End(), 1);
    EXPECT_EQ(program->Error(), "cannot enter the channel: 2\n");
    EXPECT_EQ((program->Output() + program->Error()).find(KeyDigits()), std::string::npos);
}

}  // namespace
