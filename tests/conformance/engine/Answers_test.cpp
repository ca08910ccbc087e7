// Every request, from every place: refused in silence, or accepted and answered once.
#include <gtest/gtest.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "conformance/engine/Stage.h"

namespace conformance {

namespace {

// What the answer may say.
enum class Says { Done, Failed, Over, Anything };
enum class Refusal { No, Allowed };

struct Row {
    const char* name;
    Place from;
    std::function<Request()> request;  // when the environment is there
    Says says;
    Refusal refusal = Refusal::No;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

Request EnterOther() {
    return {Ask::Enter, Env().OtherChannel()};
}
Request PlayOnAnotherIndex() {
    return {Ask::Play, Env().PlayableStream(), 3};
}
Request PlayMissing() {
    return {Ask::Play, Env().MissingStream()};
}
Request StopPlayMissing() {
    return {Ask::StopPlay, Env().MissingStream()};
}

std::vector<Row> InPlace() {
    return {
        {"EnteringAChannelIsAnsweredByZero", Place::Initialised, EnterRequest, Says::Done},
        {"EnteringTheChannelAgainIsAnswered", Place::InChannel, EnterRequest, Says::Done},
        {"EnteringAnotherChannelIsAnswered", Place::InChannel, EnterOther, Says::Done},
        {"EnteringAfterALogoutIsAnswered", Place::AfterLogout, EnterRequest, Says::Done},
        {"EnteringAnotherChannelWhilePublishingIsAnswered", Place::Publishing, EnterOther,
         Says::Done},
        {"EnteringAnotherChannelWhilePlayingIsAnswered", Place::Playing, EnterOther, Says::Done},
        {"APublishBegins", Place::InChannel, PublishRequest, Says::Done},
        {"APublishThatStopsIsOver", Place::Publishing, StopPublishRequest, Says::Over},
        {"AStreamThatIsThereIsPlayed", Place::InChannel, PlayRequest, Says::Done},
        {"APlayThatStopsIsOver", Place::Playing, StopPlayRequest, Says::Over},
        {"APublishBesideAPlayBegins", Place::Playing, PublishRequest, Says::Done},
        {"APlayBesideAPublishBegins", Place::Publishing, PlayRequest, Says::Done},
        {"ALogoutIsAnsweredByZero", Place::InChannel, LogoutRequest, Says::Done},
        {"ALogoutWhilePublishingIsAnsweredByZero", Place::Publishing, LogoutRequest, Says::Done},
        {"ALogoutWhilePlayingIsAnsweredByZero", Place::Playing, LogoutRequest, Says::Done},
    };
}

std::vector<Row> OutOfPlace() {
    constexpr Refusal kMay = Refusal::Allowed;
    return {
        {"ASecondPublishOfTheSameStream", Place::Publishing, PublishRequest, Says::Anything, kMay},
        {"APublishOfAnotherStream", Place::Publishing, PublishOtherRequest, Says::Anything, kMay},
        {"ASecondPlayOfTheSameStream", Place::Playing, PlayRequest, Says::Anything, kMay},
        {"ASecondPlayOnAnotherIndex", Place::Playing, PlayOnAnotherIndex, Says::Anything, kMay},
        {"APlayOfAStreamThatIsNowhere", Place::InChannel, PlayMissing, Says::Failed, kMay},
        {"AnotherPlayOfAStreamThatIsNowhere", Place::Playing, PlayMissing, Says::Failed, kMay},
        {"AStopOfAPublishThatNeverWas", Place::InChannel, StopPublishRequest, Says::Over, kMay},
        {"AStopOfAPlayThatNeverWas", Place::InChannel, StopPlayMissing, Says::Over, kMay},
        {"AStopOfAnotherPlay", Place::Playing, StopPlayMissing, Says::Over, kMay},
        {"APublishOutsideAChannel", Place::Initialised, PublishRequest, Says::Failed, kMay},
        {"APlayOutsideAChannel", Place::Initialised, PlayRequest, Says::Failed, kMay},
        {"ALogoutOutsideAChannel", Place::Initialised, LogoutRequest, Says::Anything, kMay},
        {"APublishAfterALogout", Place::AfterLogout, PublishRequest, Says::Failed, kMay},
        {"APlayAfterALogout", Place::AfterLogout, PlayRequest, Says::Failed, kMay},
        {"AStopOfAPublishAfterALogout", Place::AfterLogout, StopPublishRequest, Says::Over, kMay},
        {"AStopOfAPlayAfterALogout", Place::AfterLogout, StopPlayRequest, Says::Over, kMay},
        {"ASecondLogout", Place::AfterLogout, LogoutRequest, Says::Anything, kMay},
        {"AnEntryWithoutServers", Place::CutOffOutside, EnterRequest, Says::Failed, kMay},
        {"APublishWithoutServers", Place::CutOffInChannel, PublishRequest, Says::Failed, kMay},
        {"APlayWithoutServers", Place::CutOffInChannel, PlayRequest, Says::Failed, kMay},
        {"AStopOfAPublishWithoutServers", Place::CutOffInChannel, StopPublishRequest, Says::Over,
         kMay},
        {"ALogoutWithoutServers", Place::CutOffInChannel, LogoutRequest, Says::Anything, kMay},
    };
}

std::vector<Row> WithoutInit(Place from) {
    constexpr Refusal kMay = Refusal::Allowed;
    return {
        {"AnEntry", from, EnterRequest, Says::Failed, kMay},
        {"APublish", from, PublishRequest, Says::Failed, kMay},
        {"AStopOfAPublish", from, StopPublishRequest, Says::Over, kMay},
        {"APlay", from, PlayRequest, Says::Failed, kMay},
        {"AStopOfAPlay", from, StopPlayRequest, Says::Over, kMay},
        {"ALogout", from, LogoutRequest, Says::Anything, kMay},
    };
}

bool IsAsSaid(Says says, const Event& event) {
    switch (says) {
        case Says::Done:
            return event.value == 0;
        case Says::Failed:
            return event.value != 0 && event.value != Mediq::TempBroken;
        case Says::Over:
            return event.value != Mediq::AVStateBegin && event.value != Mediq::TempBroken;
        default:
            return true;
    }
}

class Answers : public testing::TestWithParam<Row> {};

TEST_P(Answers, IsGivenOnce) {
    const Row& row = GetParam();
    Stage stage;
    const bool reached = stage.Reach(row.from);
    if (!reached && stage.ledger->Broken().empty()) {
        GTEST_SKIP() << "this environment cannot cut the servers off";
    }
    ASSERT_TRUE(reached) << "the engine did not get to where the case begins";
    const Request request = row.request();
    const Reply reply = stage.Do(request);
    if (reply.status != 0) {
        EXPECT_EQ(row.refusal, Refusal::Allowed) << "broken rule: " << rule::Accepted << "\n  "
                                                 << Words(request) << " answered " << reply.status;
    } else if (reply.event) {
        EXPECT_TRUE(IsAsSaid(row.says, *reply.event))
            << "broken rule: " << rule::Outcome << "\n  " << Words(request) << " was answered by "
            << Words(*reply.event);
    }
    stage.ledger->AwaitSilence();
}

std::string Name(const testing::TestParamInfo<Row>& row) {
    return row.param.name;
}

INSTANTIATE_TEST_SUITE_P(InPlace, Answers, testing::ValuesIn(InPlace()), Name);
INSTANTIATE_TEST_SUITE_P(OutOfPlace, Answers, testing::ValuesIn(OutOfPlace()), Name);
INSTANTIATE_TEST_SUITE_P(BeforeInit, Answers, testing::ValuesIn(WithoutInit(Place::BeforeInit)),
                         Name);
INSTANTIATE_TEST_SUITE_P(AfterUninit, Answers, testing::ValuesIn(WithoutInit(Place::AfterUninit)),
                         Name);

TEST(Snapshots, OfAPlayCarryItsIndex) {
    if (!Env().TakesSnapshots()) {
        GTEST_SKIP() << "this engine takes no snapshots";
    }
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    const Reply reply = stage.Do({Ask::Play, Env().PlayableStream(), 2});
    ASSERT_TRUE(reply.event && reply.event->value == 0) << "broken rule: " << rule::Outcome;
    EXPECT_EQ(stage.With([](auto& engine) { return engine.TakeSnapshotRender(2); }), 0)
        << "broken rule: " << rule::Accepted;
    const auto ours = [](const Event& event) {
        return event.what == Told::RenderPicture && event.value == 2;
    };
    EXPECT_TRUE(stage.ledger->Await(ours)) << "broken rule: " << rule::Snapshots;
}

TEST(Snapshots, OfThePublishCome) {
    if (!Env().TakesSnapshots()) {
        GTEST_SKIP() << "this engine takes no snapshots";
    }
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    EXPECT_EQ(stage.With([](auto& engine) { return engine.TakeSnapshotPreview(); }), 0)
        << "broken rule: " << rule::Accepted;
    const auto any = [](const Event& event) { return event.what == Told::PreviewPicture; };
    EXPECT_TRUE(stage.ledger->Await(any)) << "broken rule: " << rule::Snapshots;
}

}  // namespace

}  // namespace conformance
