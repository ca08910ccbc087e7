#include "engine/show/Refusal.h"

#include <gtest/gtest.h>

#include "VaxoLiveState.h"

namespace {

using vaxoengine::StateOfRefusal;

constexpr Mediq::VaxoAVState kOtherwise = Mediq::FetchStreamError;

TEST(Refusal, TheServersReasonsAreToldApart) {
    EXPECT_EQ(StateOfRefusal(200, "expired\n", kOtherwise),
              static_cast<Mediq::VaxoAVState>(Strova::VaxoLiveState_SignatureExpired));
    EXPECT_EQ(StateOfRefusal(200, "refused\n", kOtherwise),
              static_cast<Mediq::VaxoAVState>(Strova::VaxoLiveState_SignatureRefused));
}

TEST(Refusal, WithoutAReasonItIsWhatItWouldBeOtherwise) {
    EXPECT_EQ(StateOfRefusal(200, "good\n", kOtherwise), kOtherwise);
    EXPECT_EQ(StateOfRefusal(200, "", kOtherwise), kOtherwise);
    EXPECT_EQ(StateOfRefusal(404, "expired\n", kOtherwise), kOtherwise);
    EXPECT_EQ(StateOfRefusal(0, "refused\n", kOtherwise), kOtherwise);
}

}  // namespace
