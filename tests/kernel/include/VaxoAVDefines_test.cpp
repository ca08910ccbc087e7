// The values that the public interfaces share, and the log names of the states.
#include "VaxoAVDefines.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <type_traits>
#include <vector>

using Mediq::VaxoAVState;

namespace {

std::string NameOf(int state) {
    return Mediq::VaxoDescription(static_cast<VaxoAVState>(state));
}

}  // namespace

TEST(VaxoAVState, TheValuesAreFixed) {
    EXPECT_EQ(Mediq::AVStateBegin, 0);
    EXPECT_EQ(Mediq::AVStateEnd, 1);
    EXPECT_EQ(Mediq::TempBroken, 2);
    EXPECT_EQ(Mediq::FatalError, 3);
    EXPECT_EQ(Mediq::CreateStreamError, 4);
    EXPECT_EQ(Mediq::FetchStreamError, 5);
    EXPECT_EQ(Mediq::NoStreamError, 6);
}

TEST(VaxoAVStreamUpdateFlag, TheValuesAreFixed) {
    EXPECT_EQ(::CompleteStreamList, 0);
    EXPECT_EQ(::AddedStream, 1);
    EXPECT_EQ(::DeletedStream, 2);
    EXPECT_EQ(::FetchError, 3);
}

TEST(VaxoAVDefines, TheEnumerationsAreUnscopedAndSignedThirtyTwoBitsWide) {
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<VaxoAVState>, int32>));
    EXPECT_TRUE((std::is_same_v<std::underlying_type_t<VaxoAVStreamUpdateFlag>, int32>));
    EXPECT_TRUE((std::is_convertible_v<VaxoAVState, int>));
    EXPECT_TRUE((std::is_convertible_v<VaxoAVStreamUpdateFlag, int>));
    EXPECT_EQ(sizeof(VaxoAVState), 4U);
    EXPECT_EQ(sizeof(VaxoAVStreamUpdateFlag), 4U);
}

TEST(VaxoAVState, EveryStateHasItsLogNameAndAnyOtherValueTheEmptyText) {
    const std::vector<std::string> expected = {
        "",  // -1
        "BEGIN",
        "END",
        "TEMP_BROKEN",
        "FATAL_ERROR",
        "CREATE_STREAM_ERROR",
        "FETCH_STREAM_ERROR",
        "NO_STREAM_ERROR",
        "",  // 7
        "",  // 8
    };
    std::vector<std::string> names;
    for (int state = -1; state <= 8; ++state) {
        names.push_back(NameOf(state));
    }
    EXPECT_EQ(names, expected);
    EXPECT_EQ(NameOf(std::numeric_limits<int>::min()), "");
    EXPECT_EQ(NameOf(std::numeric_limits<int>::max()), "");
}

TEST(VaxoAVState, ALogNameIsStaticText) {
    EXPECT_EQ(Mediq::VaxoDescription(Mediq::TempBroken), Mediq::VaxoDescription(Mediq::TempBroken));
}
