// Publishes with a preview: with a screen, without one, and the picture that it takes.
#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <sstream>

#include "ExampleRun.h"
#include "engine/view/VirtualScreen.h"
#include "servers/LocalServers.h"
#include "servers/ServerTools.h"

namespace {

std::string Picture() {
    return livetest::LocalServers::Shared().Directory() + "/preview.ppm";
}

TEST(PublishWithPreview, WithoutAScreenItPublishesAndTakesAPicture) {
    std::filesystem::remove(Picture());
    const auto program =
        exampletest::Start("publish_with_preview", {"preview", "ann", "mine", Picture(), "20"});
    ASSERT_TRUE(program->AwaitOutput("picture in ")) << program->Output();
    EXPECT_TRUE(livetest::IsPublished("42_mine"));
    EXPECT_EQ(program->Output().find("window"), std::string::npos);

    std::istringstream ppm(livetest::Slurp(Picture()));
    std::string kind;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t most = 0;
    ppm >> kind >> width >> height >> most;
    ppm.get();
    const std::string pixels(std::istreambuf_iterator<char>(ppm), {});
    EXPECT_EQ(kind + " " + std::to_string(most), "P6 255");
    ASSERT_GT(width * height, 0U);
    ASSERT_EQ(pixels.size(), width * height * 3);
    std::set<std::string> colours;
    for (std::size_t at = 0; at < pixels.size(); at += 3) {
        colours.insert(pixels.substr(at, 3));
    }
    EXPECT_GT(colours.size(), 8U) << "the test picture has bars of eight colours and a clock";
}

TEST(PublishWithPreview, LeavesWhenItsTimeIsOver) {
    const auto program =
        exampletest::Start("publish_with_preview", {"preview", "ann", "soon", Picture(), "1"});
    EXPECT_EQ(program->End(), 0) << program->Output() << program->Error();
    EXPECT_NE(program->Output().find("left: 0"), std::string::npos) << program->Output();
    EXPECT_TRUE(livetest::Eventually([] { return !livetest::IsPublished("42_soon"); }));
}

TEST(PublishWithPreview, ThePreviewIsDrawnIntoTheWindow) {
    if (livetest::VirtualScreen::Shared() == nullptr) {
        GTEST_SKIP() << "the X server is not installed";
    }
    const auto program = exampletest::StartOnScreen("publish_with_preview",
                                                    {"preview", "ann", "seen", Picture(), "60"});
    ASSERT_TRUE(program->AwaitOutput("picture in ")) << program->Output() << program->Error();
    const unsigned long window = exampletest::WindowOf(program->Output());
    EXPECT_TRUE(livetest::ComesTrue([&] { return exampletest::ColoursOf(window) > 4; }));
    exampletest::Close(window);
    EXPECT_EQ(program->End(), 0) << program->Output() << program->Error();
}

}  // namespace
