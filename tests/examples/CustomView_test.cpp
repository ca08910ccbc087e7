// A stream in a view that the application made.
#include <gtest/gtest.h>

#include "ExampleRun.h"
#include "engine/view/VirtualScreen.h"

namespace {

using livetest::ComesTrue;

TEST(CustomView, TheStreamIsDrawnIntoTheViewOfTheApplicationWhateverItsSize) {
    if (livetest::VirtualScreen::Shared() == nullptr) {
        GTEST_SKIP() << "the X server is not installed";
    }
    exampletest::Publishing publishing("view", "show");
    ASSERT_TRUE(publishing.Flows());
    const auto program = exampletest::StartOnScreen("custom_view", {"view", "bob", "show"});
    ASSERT_TRUE(program->AwaitOutput("play show: BEGIN")) << program->Output() << program->Error();
    const unsigned long window = exampletest::WindowOf(program->Output());
    EXPECT_TRUE(ComesTrue([&] { return exampletest::ColoursOf(window) > 4; }));
    EXPECT_EQ(exampletest::ViewWidth(window), 480);
    exampletest::Resize(window, 340, 240);
    EXPECT_TRUE(ComesTrue([&] { return exampletest::ViewWidth(window) == 300; }));
    EXPECT_TRUE(ComesTrue([&] { return exampletest::ColoursOf(window) > 4; }));
    exampletest::Close(window);
    EXPECT_EQ(program->End(), 0) << program->Output() << program->Error();
}

TEST(CustomView, WithoutAScreenItSaysSo) {
    const auto program = exampletest::Start("custom_view", {"view", "bob", "show"});
    EXPECT_EQ(program->End(), 1);
    EXPECT_EQ(program->Error(), "custom_view: there is no screen\n");
}

}  // namespace
