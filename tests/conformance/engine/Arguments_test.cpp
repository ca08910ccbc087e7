// Odd arguments: a status, and the engine goes on.
#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "conformance/engine/Stage.h"

namespace conformance {

namespace {

using Strova::IVaxoLive;

struct OddCall {
    const char* name;
    std::function<void(IVaxoLive&)> call;
};

void PrintTo(const OddCall& odd, std::ostream* out) {
    *out << odd.name;
}

std::string Long() {
    return std::string(70000, 'x');
}

void SetViews(IVaxoLive& engine) {
    for (const unsigned channel : {0U, 1U, 1000U, UINT_MAX}) {
        engine.SetView(nullptr, channel);
        engine.SetViewMode(0, channel);
    }
    engine.SetPreviewView(nullptr);
}

void SetNumbers(IVaxoLive& engine) {
    for (const int number : {INT_MIN, -1, 0, 1, 45, 99, 641, 100000, INT_MAX}) {
        engine.SetViewMode(number, 0);
        engine.SetPreviewViewMode(number);
        engine.SetVideoBitrate(number);
        engine.SetVideoFPS(number);
        engine.SetVideoResolution(number, 360);
        engine.SetVideoResolution(640, number);
        engine.SetFrontCam(number);
        engine.EnableBeautifying(number);
        engine.SetFilter(number);
        engine.SetCaptureRotation(number);
    }
}

void SetDevices(IVaxoLive& engine) {
    engine.SetVideoCaptureDeviceId(nullptr);
    for (const std::string& name : {std::string(), std::string("no such device"), Long()}) {
        engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(Utf8(name)));
        for (const int kind : {INT_MIN, -1, 0, 1, 2, INT_MAX}) {
            vaxo::strutf8 device = Utf8(name);
            engine.SetAudioDevice(kind, device);
        }
    }
}

void TurnSwitches(IVaxoLive& engine) {
    for (const bool on : {true, true, false, false}) {
        engine.EnableMic(on);
        engine.EnableCam(on);
        engine.SetSpeakerPhoneOn(on);
        engine.EnableSpk(on);
        engine.EnableTorch(on);
        engine.EnableAux(on);
    }
    engine.SetAuxCallback(nullptr);
    engine.StopPreview();
    engine.StartPreview();
    engine.StartPreview();
    engine.StopPreview();
    engine.StopPreview();
}

void TakePictures(IVaxoLive& engine) {
    engine.TakeSnapshotPreview();
    for (const int index : {INT_MIN, -1, 7, INT_MAX}) {
        engine.TakeSnapshotRender(index);
    }
}

std::vector<OddCall> OddCalls() {
    return {{"NullViewsAndIndicesNobodyUses", SetViews},
            {"NumbersOutOfRange", SetNumbers},
            {"DevicesThatAreNotThere", SetDevices},
            {"SwitchesTurnedTwice", TurnSwitches},
            {"SnapshotsOfNothing", TakePictures}};
}

class OddControls : public testing::TestWithParam<OddCall> {
protected:
    // The calls, and then an ordinary round; the ledger sees what comes of it.
    static void Try(Stage& stage) {
        stage.With([](auto& engine) {
            GetParam().call(engine);
            return 0;
        });
    }
};

TEST_P(OddControls, AreSurvivedBeforeInitAndAfterUninit) {
    Stage stage;
    Try(stage);
    ASSERT_TRUE(stage.Reach(Place::Initialised));
    Try(stage);
    stage.Uninit();
    Try(stage);
}

TEST_P(OddControls, LeaveAPublishAndALogoutPossible) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Playing));
    Try(stage);
    ASSERT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted << ": a second Init";
    const Reply left = stage.Do(LogoutRequest());
    EXPECT_TRUE(left.status == 0 && left.event) << "broken rule: " << rule::Answered;
}

TEST_P(OddControls, AreSurvivedWhilePublishing) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    Try(stage);
    const Reply stopped = stage.Do(StopPublishRequest());
    EXPECT_TRUE(stopped.status == 0 && stopped.event) << "broken rule: " << rule::Answered;
}

INSTANTIATE_TEST_SUITE_P(Arguments, OddControls, testing::ValuesIn(OddCalls()),
                         [](const testing::TestParamInfo<OddCall>& odd) -> std::string {
                             return odd.param.name;
                         });

struct OddText {
    const char* name;
    std::string text;
};

void PrintTo(const OddText& odd, std::ostream* out) {
    *out << odd.name;
}

class OddTexts : public testing::TestWithParam<OddText> {};

// Whatever the name, each request is refused in silence or answered with that very name.
TEST_P(OddTexts, AreRefusedOrAnsweredAsTheyStand) {
    const std::string& text = GetParam().text;
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    for (const Ask what : {Ask::StopPlay, Ask::Play, Ask::StopPlay, Ask::Publish}) {
        stage.Do({what, text, UINT_MAX});
    }
    stage.Do(StopPublishRequest());
    stage.Do({Ask::Enter, text});
    const Reply left = stage.Do(LogoutRequest());
    EXPECT_EQ(left.status, 0) << "broken rule: " << rule::Accepted;
}

INSTANTIATE_TEST_SUITE_P(
    Arguments, OddTexts,
    testing::Values(OddText{"Empty", ""}, OddText{"VeryLong", Long()},
                    OddText{"WithAZeroByte", std::string("a\0b", 3)},
                    OddText{"NoUtf8", "\xff\xfe\x80"}, OddText{"WithSlashes", "a/../b?c=d&e#f+"},
                    OddText{"WithFormats", "%s%n%d"}, OddText{"WithQuotes", "\"\\\n\t{}[]"}),
    [](const testing::TestParamInfo<OddText>& odd) -> std::string { return odd.param.name; });

TEST(Arguments, AnInitWithoutIdentifierAndKeyIsSurvived) {
    Stage stage;
    const int status = stage.With([](auto& engine) { return engine.Init(0, vaxo::stream()); });
    EXPECT_TRUE(stage.Reach(Place::Initialised)) << "Init was tried before, and gave " << status;
    EXPECT_TRUE(stage.Do(EnterRequest()).event) << "broken rule: " << rule::Answered;
}

TEST(Arguments, OddUsersAreRefusedOrAnswered) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Initialised));
    for (const std::string& user : {std::string(), Long(), std::string("\xff/\0+#", 5)}) {
        const int number = stage.ledger->Asked(EnterRequest());
        const int status = stage.With([&](auto& engine) {
            return engine.GetStreamList(Utf8(user), Utf8(user), Utf8(Env().Channel()), INT_MIN);
        });
        stage.ledger->Returned(number, status);
        EXPECT_TRUE(status != 0 || stage.ledger->Answer(number))
            << "broken rule: " << rule::Answered;
    }
}

}  // namespace

}  // namespace conformance
