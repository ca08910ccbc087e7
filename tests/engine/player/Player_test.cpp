#include "engine/player/Player.h"

#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/base/GstRef.h"
#include "engine/player/PlayerRun.h"
#include "engine/source/ClockStamp.h"
#include "engine/view/VirtualScreen.h"

namespace {

using livetest::LocalServers;
using livetest::PlayAddress;
using livetest::PlayerRun;
using livetest::Program;
using livetest::PublishAddress;
using livetest::Publisher;
using livetest::Tracks;
using std::string;
using vaxoengine::Snapshot;

// A stream that the media server has.
class Stream {
public:
    explicit Stream(const string& name, Tracks tracks = Tracks::both)
        : m_publisher(Publisher(PublishAddress(name), tracks)) {
        EXPECT_TRUE(livetest::Eventually([&] {
            return livetest::IsPublished(VaxoMediaName(LocalServers::Shared().App().id, name));
        })) << m_publisher.Output();
    }
    void End() { m_publisher.End(); }

private:
    Program m_publisher;
};

// Nothing of an address behind its "?" may be in a reason.
void ExpectNoSignature(const string& reason) {
    EXPECT_FALSE(reason.empty());
    EXPECT_EQ(reason.find("sig="), string::npos) << reason;
    EXPECT_EQ(reason.find("exp="), string::npos) << reason;
}

size_t Entries(const char* directory) {
    const std::filesystem::directory_iterator begin(directory);
    return static_cast<size_t>(std::distance(begin, {}));
}

TEST(Player, ShowsPicturesOfAStreamAndTellsTheirSizeFirst) {
    const Stream stream("shows");
    PlayerRun run(PlayAddress("shows"));
    ASSERT_TRUE(run.Waits("playing")) << run.Reason();
    EXPECT_TRUE(run.Connected());
    const std::vector<string> events = run.Events();
    ASSERT_GE(events.size(), 2U);
    EXPECT_EQ(events[0], "size 320x180");
    EXPECT_EQ(events[1], "playing");
    Snapshot snapshot;
    ASSERT_TRUE(run.Snapshot(snapshot));
    EXPECT_EQ(snapshot.image.width, 320);
    EXPECT_EQ(snapshot.image.height, 180);
    const unsigned char* const middle = snapshot.image.data + 90 * snapshot.image.stride + 160 * 4;
    EXPECT_NEAR(middle[0], 0, 12);
    EXPECT_NEAR(middle[1], 0xC0, 12);
    EXPECT_NEAR(middle[2], 0, 12);
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const auto micros = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    EXPECT_LT(micros - static_cast<long long>(snapshot.image.time), 30000000);
    EXPECT_GE(micros, static_cast<long long>(snapshot.image.time));
    EXPECT_TRUE(livetest::Eventually([&] { return run.Stats().fps > 10; }));
    EXPECT_TRUE(livetest::Eventually([&] { return run.Stats().bitrate > 10000; }));
    EXPECT_EQ(run.Stats().latencyMillis, -1) << "the pictures carry no clock";
}

TEST(Player, HasNoPictureBeforeTheFirst) {
    PlayerRun run(PlayAddress("nobody"));
    Snapshot snapshot;
    EXPECT_FALSE(run.Snapshot(snapshot));
    EXPECT_EQ(run.Stats().fps, 0);
}

TEST(Player, PlaysVideoAlone) {
    const Stream stream("video", Tracks::video);
    PlayerRun run(PlayAddress("video"));
    EXPECT_TRUE(run.Waits("playing")) << run.Reason();
    EXPECT_EQ(run.Events().front(), "size 320x180");
}

TEST(Player, ADeviceThatCannotBeOpenedCostsNoPicture) {
    const Stream stream("silent");
    PlayerRun run(PlayAddress("silent"), "alsa:there is no such device");
    run.Do([](vaxoengine::Player& player) { player.EnableSound(false); });
    ASSERT_TRUE(run.Waits("playing")) << run.Reason();
    EXPECT_TRUE(livetest::Eventually([&] { return run.Stats().fps > 10; }));
    EXPECT_EQ(run.Events().size(), 2U);
}

// A server of its own that hands on sound without pictures; it asks for no signature.
class PlainServer {
public:
    PlainServer() : m_port(FreePort()) {
        std::filesystem::create_directories(m_directory);
        std::ofstream(m_directory / "nginx.conf")
            << "daemon off;\nmaster_process off;\nerror_log stderr error;\npid nginx.pid;\n"
            << "load_module /usr/lib/nginx/modules/ngx_rtmp_module.so;\nevents {}\n"
            << "rtmp { server { listen 127.0.0.1:" << m_port
            << "; application live { live on; wait_video off; idle_streams off; } } }\n";
        m_program = std::make_unique<Program>(std::vector<string>{
            "/usr/sbin/nginx", "-p", m_directory, "-e", "stderr", "-c", "nginx.conf"});
    }
    ~PlainServer() {
        m_program.reset();
        std::filesystem::remove_all(m_directory);
    }
    string Address() const { return "rtmp://127.0.0.1:" + std::to_string(m_port) + "/live/sound"; }

private:
    static int FreePort() {
        const int fd = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof(address);
        bind(fd, reinterpret_cast<sockaddr*>(&address), length);
        getsockname(fd, reinterpret_cast<sockaddr*>(&address), &length);
        close(fd);
        return ntohs(address.sin_port);
    }

    int m_port;
    std::filesystem::path m_directory =
        std::filesystem::temp_directory_path() / ("livetest-plain-" + std::to_string(getpid()));
    std::unique_ptr<Program> m_program;
};

TEST(Player, PlaysSoundAlone) {
    const PlainServer server;
    // Both ask again until the one before them is there.
    std::unique_ptr<Program> publisher;
    std::unique_ptr<PlayerRun> run;
    EXPECT_TRUE(livetest::Eventually([&] {
        if (publisher == nullptr || publisher->Output().find("refused") != string::npos) {
            publisher = std::make_unique<Program>(Publisher(server.Address(), Tracks::audio));
        }
        if (run == nullptr || !run->Events().empty()) {
            run = std::make_unique<PlayerRun>(server.Address());
        }
        return run->Stats().bitrate > 0;
    }));
    EXPECT_TRUE(run->Waits("playing")) << run->Reason();
    EXPECT_EQ(run->Events(), std::vector<string>{"playing"});
    Snapshot snapshot;
    EXPECT_FALSE(run->Snapshot(snapshot));
}

// A publisher in this process whose pictures carry a clock.
class ClockStream {
public:
    explicit ClockStream(const string& name) {
        m_pipeline = vaxoengine::MakePipeline(
            "videotestsrc is-live=true pattern=black "
            "! video/x-raw,format=I420,width=640,height=360,framerate=30/1 ! identity name=stamp "
            "! x264enc tune=zerolatency speed-preset=ultrafast key-int-max=30 ! h264parse "
            "! flvmux streamable=true ! rtmp2sink name=out sync=false");
        const auto stamp = vaxoengine::Find(m_pipeline, "stamp");
        const vaxoengine::GstRef<GstPad> pad(gst_element_get_static_pad(stamp.get(), "src"));
        gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_BUFFER, Draw, nullptr, nullptr);
        g_object_set(vaxoengine::Find(m_pipeline, "out").get(), "location",
                     PublishAddress(name).c_str(), nullptr);
        gst_element_set_state(m_pipeline.get(), GST_STATE_PLAYING);
        EXPECT_TRUE(livetest::Eventually([&] {
            return livetest::IsPublished(VaxoMediaName(LocalServers::Shared().App().id, name));
        }));
    }
    ~ClockStream() { gst_element_set_state(m_pipeline.get(), GST_STATE_NULL); }

private:
    static GstPadProbeReturn Draw(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer /*data*/) {
        GstBuffer* const buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
        info->data = buffer;
        GstMapInfo map;
        gst_buffer_map(buffer, &map, GST_MAP_READWRITE);
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const auto millis = std::chrono::duration_cast<std::chrono::milliseconds>(now).count();
        vaxoengine::DrawClockStamp(map.data, 640, 360, 640, static_cast<std::uint32_t>(millis));
        gst_buffer_unmap(buffer, &map);
        return GST_PAD_PROBE_OK;
    }

    vaxoengine::GstRef<GstElement> m_pipeline;
};

TEST(Player, TellsHowOldThePicturesAre) {
    const ClockStream stream("clock");
    PlayerRun run(PlayAddress("clock"));
    ASSERT_TRUE(run.Waits("playing")) << run.Reason();
    EXPECT_TRUE(livetest::Eventually([&] { return run.Stats().latencyMillis >= 0; }));
    EXPECT_TRUE(livetest::Eventually([&] { return run.Stats().fps > 20; }));
    // Far more than it takes, for a machine that does much else.
    EXPECT_TRUE(livetest::Eventually([&] {
        const int latency = run.Stats().latencyMillis;
        return latency > 0 && latency < 500;
    })) << run.Stats().latencyMillis;
    RecordProperty("latencyMillis", run.Stats().latencyMillis);
}

TEST(Player, ShowsTheStreamInAWindow) {
    if (livetest::VirtualScreen::Shared() == nullptr) {
        GTEST_SKIP() << "no X server is installed";
    }
    const livetest::TestWindow window(160, 160);
    const Stream stream("window");
    PlayerRun run(PlayAddress("window"));
    bool set = false;
    run.Do([&](vaxoengine::Player& player) {
        set = player.SetWindow(window.Id());
        player.SetMode(vaxoengine::ViewMode_Fill);
    });
    EXPECT_TRUE(set);
    const auto isGreen = [&] {
        const unsigned long pixel = window.Pixel(5, 5);
        return (pixel >> 16) < 0x20 && ((pixel >> 8) & 0xFF) > 0xA0 && (pixel & 0xFF) < 0x20;
    };
    EXPECT_TRUE(livetest::Eventually(isGreen)) << std::hex << window.Pixel(5, 5);
    run.Do([&](vaxoengine::Player& player) { set = player.SetWindow(0x7FFFFFF0); });
    EXPECT_FALSE(set);
    EXPECT_TRUE(run.Waits("playing"));
}

TEST(Player, EndsWhenThePublisherStops) {
    Stream stream("stops");
    PlayerRun run(PlayAddress("stops"));
    ASSERT_TRUE(run.Waits("playing")) << run.Reason();
    stream.End();
    ASSERT_TRUE(run.Waits("ended"));
    EXPECT_EQ(run.Events().back(), "ended");
    EXPECT_EQ(run.Events().size(), 3U);
}

TEST(Player, AStreamThatNobodyPublishesIsNotFound) {
    PlayerRun run(PlayAddress("nobody"));
    ASSERT_TRUE(run.Waits("notFound")) << run.Events().back();
    EXPECT_EQ(run.Events().size(), 1U);
    ExpectNoSignature(run.Reason());
}

TEST(Player, AWrongSignatureIsRefused) {
    const Stream stream("guarded");
    string address = PlayAddress("guarded");
    address.back() = address.back() == 'A' ? 'B' : 'A';
    address[address.size() - 2] = address[address.size() - 2] == 'A' ? 'B' : 'A';
    PlayerRun run(address);
    ASSERT_TRUE(run.Waits("refused")) << run.Events().back();
    EXPECT_EQ(run.Events().size(), 1U);
    ExpectNoSignature(run.Reason());
}

TEST(Player, AClosedPortFails) {
    PlayerRun run("rtmp://127.0.0.1:1/live/42_x?id=42&user=bob&exp=1&sig=secret");
    ASSERT_TRUE(run.Waits("failed"));
    EXPECT_EQ(run.Events().size(), 1U);
    ExpectNoSignature(run.Reason());
    EXPECT_EQ(run.Reason().find("secret"), string::npos);
}

TEST(Player, WhatIsNoAddressDoesNotStart) {
    for (const char* const address :
         {"", "nothing", "http://127.0.0.1/live/x", "rtmp://", "rtmp://h/"}) {
        PlayerRun run(address);
        EXPECT_FALSE(run.Started()) << address;
    }
}

TEST(Player, AServerThatStopsAnsweringEndsTheStream) {
    const Stream stream("frozen");
    PlayerRun run(PlayAddress("frozen"));
    ASSERT_TRUE(run.Waits("playing")) << run.Reason();
    LocalServers::Shared().FreezeMedia();
    EXPECT_TRUE(run.Waits("ended"));
    LocalServers::Shared().ThawMedia();
}

TEST(Player, IsDestroyedWhileAFrozenServerIsAsked) {
    LocalServers::Shared();
    LocalServers::Shared().FreezeMedia();
    const auto before = std::chrono::steady_clock::now();
    for (int round = 0; round < 3; ++round) {
        PlayerRun run(PlayAddress("asked"));
        EXPECT_TRUE(run.Started());
    }
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(10));
    LocalServers::Shared().ThawMedia();
}

TEST(Player, AServerThatNeverAnswersFails) {
    LocalServers::Shared().FreezeMedia();
    PlayerRun run(PlayAddress("unanswered"));
    EXPECT_TRUE(livetest::Eventually([&] { return !run.Events().empty(); }));
    LocalServers::Shared().ThawMedia();
    EXPECT_EQ(run.Events(), std::vector<string>{"failed"});
}

TEST(Player, MayBeDestroyedInsideItsCallbacks) {
    Stream stream("inside");
    for (const char* const event : {"size 320x180", "playing"}) {
        PlayerRun run(PlayAddress("inside"));
        run.DestroyOn(event);
        EXPECT_TRUE(run.Waits(event));
    }
    PlayerRun missing(PlayAddress("missing"));
    missing.DestroyOn("notFound");
    EXPECT_TRUE(missing.Waits("notFound"));
    PlayerRun ending(PlayAddress("inside"));
    ending.DestroyOn("ended");
    EXPECT_TRUE(ending.Waits("playing"));
    stream.End();
    EXPECT_TRUE(ending.Waits("ended"));
}

TEST(Player, TwoPlayAtOnce) {
    const Stream stream("twice");
    PlayerRun one(PlayAddress("twice"));
    PlayerRun two(PlayAddress("twice"));
    EXPECT_TRUE(one.Waits("playing")) << one.Reason();
    EXPECT_TRUE(two.Waits("playing")) << two.Reason();
    one.Destroy();
    EXPECT_TRUE(livetest::Eventually([&] { return two.Stats().fps > 10; }));
}

TEST(Player, LeavesNoThreadAndNoFileBehind) {
    const Stream stream("again");
    const auto play = [] {
        PlayerRun run(PlayAddress("again"));
        EXPECT_TRUE(run.Waits("playing")) << run.Reason();
    };
    // Kept for the process: what the first player loads, and pools of threads.
    play();
    const size_t files = Entries("/proc/self/fd");
    const size_t threads = Entries("/proc/self/task");
    for (int i = 0; i < 10; ++i) {
        play();
        const PlayerRun atOnce(PlayAddress("again"));
        EXPECT_TRUE(atOnce.Started());
    }
    EXPECT_TRUE(livetest::Eventually([&] { return Entries("/proc/self/fd") <= files; }))
        << files << " files before, " << Entries("/proc/self/fd") << " now";
    EXPECT_TRUE(livetest::Eventually([&] { return Entries("/proc/self/task") <= threads + 2; }))
        << threads << " threads before, " << Entries("/proc/self/task") << " now";
}

}  // namespace
