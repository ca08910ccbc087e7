// Ends in the middle of things. The cuts are made after the n-th call of a row of calls that do
// not wait for each other, and at the n-th event of a round that does; an ordinary entry with a
// new engine, or with the one that is left, shows that nothing stayed behind.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdlib>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "conformance/engine/Stage.h"

namespace conformance {

namespace {

struct End {
    const char* name;
    void (*make)(Stage& stage);
    bool usable;  // the engine goes on
};

void PrintTo(const End& end, std::ostream* out) {
    *out << end.name;
}

void LeaveTwice(Stage& stage) {
    stage.Call(LogoutRequest());
    stage.Do(LogoutRequest());
}

void ReplaceAndLeave(Stage& stage) {
    stage.ReplaceCallback();
    stage.Do(LogoutRequest());
}

std::vector<End> Ends() {
    return {
        {"ADestructor", [](Stage& stage) { stage.Destroy(); }, false},
        {"AnUninit", [](Stage& stage) { stage.Uninit(); }, false},
        {"AnUninitAndADestructor",
         [](Stage& stage) {
             stage.Uninit();
             stage.Destroy();
         },
         false},
        {"ALogout", [](Stage& stage) { stage.Do(LogoutRequest()); }, true},
        {"TwoLogouts", LeaveTwice, true},
        {"AnotherCallback", ReplaceAndLeave, true},
        {"ACallbackThatGoes",
         [](Stage& stage) {
             stage.DropCallback();
             stage.ReplaceCallback();
         },
         true},
        {"ASecondInit", [](Stage& stage) { EXPECT_EQ(stage.Init(), 0); }, true},
    };
}

std::vector<Request> Row() {
    return {EnterRequest(),    PublishRequest(),
            PlayRequest(),     {Ask::Play, Env().MissingStream()},
            StopPlayRequest(), StopPublishRequest(),
            LogoutRequest(),   EnterRequest()};
}

// The cut has been made: what is left must be silent, and an entry must succeed.
void ExpectGoesOn(Stage& stage, const End& end) {
    if (!end.usable) {
        return;  // a new engine enters at the beginning of the next round
    }
    EXPECT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted << ": a second Init";
    const Reply entered = stage.Do(EnterRequest());
    EXPECT_TRUE(entered.event.has_value()) << "broken rule: " << rule::Answered;
}

class Teardown : public testing::TestWithParam<End> {};

TEST_P(Teardown, AfterAnyCallIsSurvived) {
    const std::vector<Request> row = Row();
    for (std::size_t cut = 0; cut <= row.size() && !HasFailure(); ++cut) {
        SCOPED_TRACE("after " + std::to_string(cut) + " calls");
        Stage stage;
        ASSERT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted;
        for (std::size_t at = 0; at < cut; ++at) {
            stage.Call(row[at]);
        }
        GetParam().make(stage);
        ExpectGoesOn(stage, GetParam());
    }
}

// Enters, plays and publishes, each upon the answer before it, until so many events have come.
void RunUntil(Stage& stage, std::size_t events) {
    for (const Request& request : {EnterRequest(), PlayRequest(), PublishRequest()}) {
        const int number = stage.Start(request).first;
        stage.ledger->AwaitAnswerOrCount(number, events);
        if (stage.ledger->Count() >= events) {
            return;
        }
    }
    stage.Call(StopPlayRequest());
}

TEST_P(Teardown, AtAnyEventIsSurvived) {
    constexpr std::size_t kEvents = 7;
    for (std::size_t cut = 1; cut <= kEvents && !HasFailure(); ++cut) {
        SCOPED_TRACE("at event " + std::to_string(cut));
        Stage stage;
        ASSERT_EQ(stage.Init(), 0) << "broken rule: " << rule::Accepted;
        RunUntil(stage, cut);
        GetParam().make(stage);
        ExpectGoesOn(stage, GetParam());
    }
}

INSTANTIATE_TEST_SUITE_P(Ends, Teardown, testing::ValuesIn(Ends()),
                         [](const testing::TestParamInfo<End>& end) -> std::string {
                             return end.param.name;
                         });

TEST(Engines, ATenthEngineIsAsGoodAsTheFirst) {
    for (int i = 0; i < 10; ++i) {
        Stage stage;
        ASSERT_TRUE(stage.Reach(Place::InChannel));
    }
}

}  // namespace

}  // namespace conformance
