#include "engine/view/ViewBranch.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "engine/OnLoop.h"
#include "engine/base/GstRef.h"
#include "engine/view/VirtualScreen.h"

namespace {

using livetest::ComesTrue;
using livetest::TestWindow;
using livetest::VirtualScreen;
using vaxoengine::Find;
using vaxoengine::GstRef;
using vaxoengine::MakePipeline;
using vaxoengine::ViewBranch;

// What the pattern of seven bars shows at its top.
constexpr unsigned long kBlack = 0x000000;
constexpr unsigned long kWhite = 0xFFFFFF;
constexpr unsigned long kGreyBar = 0xBFBFBF;
constexpr unsigned long kYellowBar = 0xBFBF00;

bool Near(unsigned long pixel, unsigned long colour) {
    for (int shift = 0; shift < 24; shift += 8) {
        const int a = static_cast<int>((pixel >> shift) & 0xFF);
        const int b = static_cast<int>((colour >> shift) & 0xFF);
        if (a - b > 12 || b - a > 12) {
            return false;
        }
    }
    return pixel <= kWhite;
}

// Bars in a picture of 320 x 160 that flow to another sink, and a view of them.
class ViewBranchTest : public testing::Test {
protected:
    void SetUp() override {
        if (VirtualScreen::Shared() == nullptr) {
            GTEST_SKIP() << "no X server is installed";
        }
        OnLoop([this] { Make(); });
    }

    void TearDown() override {
        OnLoop([this] {
            m_view.reset();
            if (m_pipeline != nullptr) {
                gst_element_set_state(m_pipeline.get(), GST_STATE_NULL);
                m_pipeline.reset();
            }
        });
    }

    void Make() {
        m_pipeline = MakePipeline(
            "videotestsrc is-live=true pattern=smpte75 "
            "! video/x-raw,format=I420,width=320,height=160,framerate=30/1,colorimetry=bt601 "
            "! tee name=tee ! queue ! fakesink name=other sync=true signal-handoffs=true");
        g_signal_connect(Find(m_pipeline, "other").get(), "handoff", G_CALLBACK(OnShown), this);
        m_view = std::make_unique<ViewBranch>(Find(m_pipeline, "tee").get());
    }

    static void OnShown(GstElement* /*sink*/, GstBuffer* /*buffer*/, GstPad* /*pad*/,
                        gpointer test) {
        ++static_cast<ViewBranchTest*>(test)->m_shown;
    }

    void Play() {
        OnLoop([this] { gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING); });
    }

    bool SetWindow(unsigned long window) {
        bool result = false;
        OnLoop([&] { result = m_view->SetWindow(window); });
        return result;
    }

    void SetMode(vaxoengine::ViewMode mode) {
        OnLoop([&] { m_view->SetMode(mode); });
    }

    // More pictures than the queues hold have reached the other sink from now on.
    bool OthersGoOn() {
        const int before = m_shown;
        return ComesTrue([&] { return m_shown >= before + 10; });
    }

    bool Shows(const TestWindow& window, int x, int y, unsigned long colour) {
        const bool result = ComesTrue([&] { return Near(window.Pixel(x, y), colour); });
        EXPECT_TRUE(result) << x << "," << y << ": " << std::hex << window.Pixel(x, y);
        return result;
    }

    GstRef<GstElement> m_pipeline;
    std::unique_ptr<ViewBranch> m_view;
    std::atomic<int> m_shown{0};
};

TEST_F(ViewBranchTest, FitShowsTheWholePictureBetweenBars) {
    const TestWindow window(200, 200);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 5, 60, kGreyBar));
    EXPECT_TRUE(Shows(window, 5, 20, kBlack));
    EXPECT_TRUE(Shows(window, 5, 180, kBlack));
}

TEST_F(ViewBranchTest, FillShowsTheMiddleOfThePictureInTheWholeWindow) {
    const TestWindow window(200, 200);
    SetMode(vaxoengine::ViewMode_Fill);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 5, 5, kYellowBar)) << "the first bar is cut off";
    EXPECT_FALSE(Near(window.Pixel(100, 195), kWhite));
}

TEST_F(ViewBranchTest, StretchShowsTheWholePictureInTheWholeWindow) {
    const TestWindow window(200, 200);
    SetMode(vaxoengine::ViewMode_Stretch);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 5, 5, kGreyBar));
    EXPECT_TRUE(Shows(window, 40, 5, kYellowBar));
}

TEST_F(ViewBranchTest, TheModeChangesWhileItShows) {
    const TestWindow window(200, 200);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 5, 20, kBlack));
    SetMode(vaxoengine::ViewMode_Fill);
    EXPECT_TRUE(Shows(window, 5, 20, kYellowBar));
    SetMode(vaxoengine::ViewMode_Stretch);
    EXPECT_TRUE(Shows(window, 5, 20, kGreyBar));
    SetMode(vaxoengine::ViewMode_Fit);
    EXPECT_TRUE(Shows(window, 5, 20, kBlack));
}

TEST_F(ViewBranchTest, AWindowThatGrowsIsFilledAgain) {
    TestWindow window(100, 50);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 3, 3, kGreyBar));
    window.Resize(400, 200);
    EXPECT_TRUE(Shows(window, 25, 100, kGreyBar)) << "seven bars in 400 pixels";
    EXPECT_TRUE(Shows(window, 90, 100, kYellowBar));
}

TEST_F(ViewBranchTest, AWindowThatIsNoneIsRefusedAndThePicturesFlowOn) {
    Play();
    EXPECT_FALSE(SetWindow(0x7FFFFFF0));
    TestWindow window(100, 100);
    const unsigned long id = window.Id();
    window.Destroy();
    EXPECT_FALSE(SetWindow(id));
    EXPECT_TRUE(OthersGoOn());
    const TestWindow next(100, 100);
    ASSERT_TRUE(SetWindow(next.Id()));
    EXPECT_TRUE(Shows(next, 3, 30, kGreyBar));
}

TEST_F(ViewBranchTest, WithoutAScreenAWindowIsRefused) {
    const TestWindow window(100, 100);
    const std::string display = getenv("DISPLAY");
    unsetenv("DISPLAY");
    EXPECT_FALSE(SetWindow(window.Id()));
    setenv("DISPLAY", display.c_str(), 1);
    EXPECT_TRUE(SetWindow(window.Id()));
}

TEST_F(ViewBranchTest, ErrorsOfOtherWindowsStayTheApplications) {
    VirtualScreen::CountErrors();
    const TestWindow window(100, 100);
    // Twice: the handler must not become the one before itself.
    EXPECT_TRUE(SetWindow(window.Id()));
    EXPECT_FALSE(SetWindow(0x7FFFFFF0));
    const int before = VirtualScreen::Errors();
    VirtualScreen::Shared()->MakeError();
    EXPECT_EQ(VirtualScreen::Errors(), before + 1);
}

TEST_F(ViewBranchTest, AWindowDestroyedWhileItShowsEndsTheViewAlone) {
    Play();
    for (int round = 0; round < 5; ++round) {
        TestWindow window(100, 100);
        ASSERT_TRUE(SetWindow(window.Id()));
        EXPECT_TRUE(Shows(window, 3, 30, kGreyBar));
        window.Destroy();
        EXPECT_TRUE(OthersGoOn());
    }
    const GstRef<GstElement> tee = Find(m_pipeline, "tee");
    EXPECT_TRUE(ComesTrue([&] {
        GST_OBJECT_LOCK(tee.get());
        const int pads = tee->numsrcpads;
        GST_OBJECT_UNLOCK(tee.get());
        return pads == 1;
    })) << "the view lets go of the tee";
}

TEST_F(ViewBranchTest, ComesAndGoesTwentyTimesWhileThePicturesFlow) {
    const TestWindow window(120, 60);
    Play();
    for (int round = 0; round < 20; ++round) {
        ASSERT_TRUE(SetWindow(window.Id()));
        if (round % 5 == 0) {
            EXPECT_TRUE(Shows(window, 3, 3, kGreyBar));
        }
        ASSERT_TRUE(SetWindow(0));
    }
    EXPECT_TRUE(OthersGoOn());
}

TEST_F(ViewBranchTest, NothingIsDrawnAfterTheViewIsTakenAway) {
    const TestWindow window(120, 60);
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 3, 3, kGreyBar));
    ASSERT_TRUE(SetWindow(0));
    const unsigned long left = window.Pixel(3, 3);
    EXPECT_TRUE(OthersGoOn());
    EXPECT_EQ(window.Pixel(3, 3), left);
}

TEST_F(ViewBranchTest, ComesAndGoesInAPipelineThatWasNeverStartedOrIsPaused) {
    const TestWindow window(120, 60);
    EXPECT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(SetWindow(0));
    OnLoop([this] { gst_element_set_state(m_pipeline.get(), GST_STATE_PAUSED); });
    EXPECT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(SetWindow(0));
    EXPECT_TRUE(SetWindow(window.Id()));
    Play();
    EXPECT_TRUE(Shows(window, 3, 3, kGreyBar));
}

TEST_F(ViewBranchTest, ThePictureThatHasAnotherSizeFollows) {
    const TestWindow window(200, 200);
    OnLoop([this] {
        m_view.reset();
        m_pipeline = MakePipeline(
            // A format that few elements know comes of itself.
            "videotestsrc is-live=true pattern=smpte75 ! capsfilter name=size "
            "caps=video/x-raw,width=320,height=160,framerate=30/1 "
            "! tee name=tee ! queue ! fakesink name=other sync=true");
        m_view = std::make_unique<ViewBranch>(Find(m_pipeline, "tee").get());
    });
    Play();
    ASSERT_TRUE(SetWindow(window.Id()));
    EXPECT_TRUE(Shows(window, 5, 20, kBlack));
    OnLoop([this] {
        const vaxoengine::GstCapsRef caps(
            gst_caps_from_string("video/x-raw,width=160,height=160,framerate=30/1"));
        g_object_set(Find(m_pipeline, "size").get(), "caps", caps.get(), nullptr);
    });
    EXPECT_TRUE(Shows(window, 5, 20, kGreyBar)) << "a square picture fills a square window";
}

}  // namespace
