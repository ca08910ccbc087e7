// Settings and sign key of the command line: where they come from, what is refused, and that
// the key is never shown.
#include "AppFixture.h"

namespace apptest {

namespace {

std::map<std::string, std::string> Variables(const std::string& keyFile) {
    return {{"VAXO_APP_ID", "42"},
            {"VAXO_KEY_FILE", keyFile},
            {"VAXO_SERVICE_URL", "mqtts://127.0.0.1:1"},
            {"VAXO_CHANNEL", "room"},
            {"VAXO_USER", "ann"}};
}

}  // namespace

class SettingsTest : public AppTest {
protected:
    // Exit status 2, `reason` on the standard error, nothing that reached the engine.
    void ExpectRefused(AppProcess& app, const std::string& reason) const {
        EXPECT_EQ(app.End(), 2);
        EXPECT_TRUE(Contains(app.Error(), reason)) << app.Error();
        EXPECT_FALSE(Contains(app.Error() + app.Output(), m_digits.substr(0, 8)));
        EXPECT_EQ(Journal(), "");
    }
};

TEST_F(SettingsTest, EverySettingComesFromTheEnvironment) {
    const auto app = StartPlain({"list"}, Variables(Path("key")));
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "Init 42 32\nEnter ann ann room\n")) << Journal();
}

TEST_F(SettingsTest, OptionsWinOverTheEnvironmentAndThisOverTheFile) {
    auto variables = Variables(Path("key"));
    variables["VAXO_CHANNEL"] = "fromenvironment";
    PutFile("file.env", "VAXO_CHANNEL=fromfile\nVAXO_USER=fromfile\nVAXO_USER_NAME='From File'\n");
    const auto app =
        StartPlain({"list", "--config", Path("file.env"), "--user", "fromoption"}, variables);
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "Enter fromoption From File fromenvironment\n")) << Journal();
}

TEST_F(SettingsTest, KeyComesFromAVariable) {
    auto variables = Variables("");
    variables["VAXO_SIGN_KEY"] = m_digits;
    const auto app = StartPlain({"list"}, variables);
    EXPECT_EQ(app->End(), 0) << app->Error();
    EXPECT_TRUE(Contains(Journal(), "Init 42 32\n")) << Journal();
}

TEST_F(SettingsTest, MissingKeyIsRefused) {
    const auto app = StartPlain({"list"}, Variables(""));
    ExpectRefused(*app, "no sign key");
}

TEST_F(SettingsTest, KeyFileThatTheGroupCanReadIsRefused) {
    PutFile("key", m_digits, 0640);
    const auto app = Start({"list"});
    ExpectRefused(*app, "chmod 600");
}

TEST_F(SettingsTest, KeyFileThatIsMissingOrNoFileIsRefused) {
    const auto missing = Start({"list", "--key-file", Path("nokey")});
    ExpectRefused(*missing, "No such file");
    const auto folder = Start({"list", "--key-file", m_dir.string()});
    ExpectRefused(*folder, "not a regular file");
}

TEST_F(SettingsTest, KeyThatIsNotHexadecimalIsRefusedAndNotShown) {
    PutFile("key", m_digits.substr(0, 62) + "zz");
    const auto wrong = Start({"list"});
    ExpectRefused(*wrong, "hexadecimal digits alone");
    PutFile("key", m_digits.substr(0, 30));
    const auto brief = Start({"list"});
    ExpectRefused(*brief, "32 to 128");
}

TEST_F(SettingsTest, KeyInTheSettingsFileIsRefusedAndNotShown) {
    PutFile("servers.env", Content("servers.env") + "VAXO_SIGN_KEY=" + m_digits + "\n");
    const auto app = Start({"list"});
    ExpectRefused(*app, "a file of its own");
}

TEST_F(SettingsTest, KeyAsAnOptionIsRefusedAndNotShown) {
    for (const std::string option : {"--sign-key", "--key"}) {
        const auto apart = Start({"list", option, m_digits});
        ExpectRefused(*apart, "not understood: " + option);
        const auto joined = Start({"list", option + "=" + m_digits});
        ExpectRefused(*joined, "not understood: " + option);
    }
}

TEST_F(SettingsTest, LineThatIsNoSettingIsRefusedAndNotShown) {
    PutFile("servers.env", Content("servers.env") + m_digits + "\n");
    const auto app = Start({"list"});
    ExpectRefused(*app, "line 8");
}

TEST_F(SettingsTest, WhatIsNotSetIsNamed) {
    auto variables = Variables(Path("key"));
    variables.erase("VAXO_CHANNEL");
    const auto channel = StartPlain({"list"}, variables);
    ExpectRefused(*channel, "VAXO_CHANNEL");
    const auto media = StartPlain({"publish"}, Variables(Path("key")));
    ExpectRefused(*media, "--media-url");
    const auto upload = Start({"upload-log"});
    ExpectRefused(*upload, "--log");
}

TEST_F(SettingsTest, NumbersOutOfRangeAreRefused) {
    const std::vector<std::vector<std::string>> wrong = {{"list", "--app-id", "0"},
                                                         {"list", "--app-id", "4294967296"},
                                                         {"list", "--app-id", "42x"},
                                                         {"publish", "--size", "640"},
                                                         {"publish", "--size", "32x360"},
                                                         {"publish", "--size", "641x360"},
                                                         {"publish", "--fps", "0"},
                                                         {"publish", "--bitrate", "99M"},
                                                         {"publish", "--rotation", "45"},
                                                         {"play", "--view-window", "0"},
                                                         {"list", "--timeout", "0"},
                                                         {"list", "--log-level", "loud"},
                                                         {"nothing"},
                                                         {}};
    for (const auto& words : wrong) {
        const auto app = Start(words);
        EXPECT_EQ(app->End(), 2) << testing::PrintToString(words);
        EXPECT_EQ(Journal(), "") << testing::PrintToString(words);
    }
}

TEST_F(SettingsTest, HelpTellsHowItEnds) {
    const auto app = StartPlain({"--help"}, {});
    EXPECT_EQ(app->End(), 0);
    EXPECT_TRUE(Contains(app->Output(), "no answer in time")) << app->Output();
}

TEST_F(SettingsTest, KeyIsNowhereInLogEventsAndOutput) {
    const auto app = Start({"publish", "--duration", "0", "--log", Path("log"), "--log-level",
                            "debug", "--events", Path("events")});
    EXPECT_EQ(app->End(), 0) << app->Error();
    const std::string all = app->Output() + app->Error() + Content("log") + Content("events");
    EXPECT_TRUE(Contains(Content("log"), "GetInRoom")) << Content("log");
    EXPECT_TRUE(Contains(Content("events"), "\"event\":\"published\"")) << Content("events");
    EXPECT_FALSE(Contains(all, m_digits.substr(0, 8)));
    EXPECT_FALSE(Contains(all, "SECRET")) << all;
}

}  // namespace apptest
