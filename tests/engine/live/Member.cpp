#include "engine/live/Member.h"

#include <cstring>
#include <deque>
#include <utility>

#include <gtest/gtest.h>

#include "VaxoLiveImage.h"
#include "base/VaxoAppSetting.h"

namespace livetest {

namespace {

std::string Bytes(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

vaxo::strutf8 Text(const std::string& text) {
    return vaxo::strutf8(text.c_str());
}

Picture Copy(const void* image) {
    const auto* const from = static_cast<const Strova::VaxoLiveImage*>(image);
    Picture picture;
    picture.width = from->width;
    picture.height = from->height;
    picture.time = from->time;
    const std::size_t line = static_cast<std::size_t>(from->width) * 4;
    for (int y = 0; y < from->height; ++y) {
        const unsigned char* const begin =
            from->data + static_cast<std::ptrdiff_t>(y) * from->stride;
        picture.rgba.insert(picture.rgba.end(), begin, begin + line);
    }
    return picture;
}

}  // namespace

Picture::Colour Picture::Mean(int left, int top, int right, int bottom) const {
    Colour sum;
    double count = 0;
    for (int y = height * top / 100; y < height * bottom / 100; ++y) {
        for (int x = width * left / 100; x < width * right / 100; ++x) {
            const auto at = (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) +
                             static_cast<std::size_t>(x)) *
                            4;
            sum.red += rgba[at];
            sum.green += rgba[at + 1];
            sum.blue += rgba[at + 2];
            ++count;
        }
    }
    return {sum.red / count, sum.green / count, sum.blue / count};
}

class Member::App final : public Strova::IVaxoLiveCallback {
public:
    void OnPublishStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int,
                           unsigned long long) override {}
    void OnVideoSizeChanged(unsigned long long, int, int) override {}
    void OnPreviewSnapshot(void* pImage) override {
        Keep(pImage);
        Add("OnPreviewSnapshot()");
    }
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override {
        Keep(pImage);
        Add("OnRenderSnapshot(" + std::to_string(nChannelIdx) + ")");
    }
    void OnGetStreamList(unsigned int err) override {
        Add("OnGetStreamList(" + std::to_string(err) + ")");
    }
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) override {
        Add("OnStreamUpdate(" + Bytes(info.streamID) + ", " + std::to_string(flag) + ")");
    }
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override {
        Add("OnCountsUpdate(" + std::to_string(onlineNums) + ", " + std::to_string(onlineCount) +
            ")");
    }
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override {
        Add("OnPublishStateUpdate(" + std::to_string(eState) + ", " + Bytes(streamID) + ")");
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override {
        Add("OnPlayStateUpdate(" + std::to_string(eState) + ", " + Bytes(streamID) + ")");
    }
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override {
        Add("OnVideoSizeChanged(" + Bytes(streamID) + ", " + std::to_string(width) + ", " +
            std::to_string(height) + ")");
    }
    void OnLogout(unsigned int err) override { Add("OnLogout(" + std::to_string(err) + ")"); }
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override {
        Add("OnDisconnected(" + std::to_string(err) + ", " + Bytes(liveChn) + ")");
    }
    void OnReconnected(const vaxo::strutf8& liveChn) override {
        Add("OnReconnected(" + Bytes(liveChn) + ")");
    }

    mutable std::mutex lock;  // guards the rest
    std::condition_variable changed;
    std::deque<std::string> events;
    Picture picture;

private:
    void Keep(const void* image) {
        Picture copy = Copy(image);
        const std::lock_guard<std::mutex> hold(lock);
        picture = std::move(copy);
    }
    void Add(std::string event) {
        const std::lock_guard<std::mutex> hold(lock);
        events.push_back(std::move(event));
        changed.notify_all();
    }
};

Member::Member(const LocalServers& servers) : Member(servers, servers.App()) {}

Member::Member(const LocalServers& servers, const Application& application)
    : m_app(std::make_shared<App>()) {
    CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
    settings->SetServiceURL(Text(servers.ServiceURL()));
    settings->SetMediaURL(Text(servers.MediaURL()));
    settings->SetUploadURL(Text(servers.UploadURL()));
    m_engine.SetCallback(m_app);
    vaxo::stream key;
    for (const char byte : application.key) {
        const auto unit = static_cast<uint8>(byte);
        key.append(&unit, 1);
    }
    EXPECT_EQ(m_engine.Init(application.id, key), 0);
}

Member::~Member() {
    m_engine.Uninit();
}

std::string Member::Wait(const std::string& beginning, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> hold(m_app->lock);
    const auto until = std::chrono::steady_clock::now() + limit;
    while (true) {
        while (!m_app->events.empty()) {
            const std::string event = std::move(m_app->events.front());
            m_app->events.pop_front();
            if (event.compare(0, beginning.size(), beginning) == 0) {
                return event;
            }
        }
        if (m_app->changed.wait_until(hold, until) == std::cv_status::timeout) {
            return {};
        }
    }
}

std::vector<std::string> Member::TakeEvents() {
    const std::lock_guard<std::mutex> hold(m_app->lock);
    std::vector<std::string> taken(m_app->events.begin(), m_app->events.end());
    m_app->events.clear();
    return taken;
}

std::size_t Member::Count(const std::string& beginning) const {
    const std::lock_guard<std::mutex> hold(m_app->lock);
    std::size_t count = 0;
    for (const std::string& event : m_app->events) {
        count += event.compare(0, beginning.size(), beginning) == 0 ? 1U : 0U;
    }
    return count;
}

std::string Member::Enter(const std::string& channel, const std::string& user) {
    EXPECT_EQ(m_engine.GetStreamList(Text(user), Text("the name of " + user), Text(channel), 0), 0);
    return Wait("OnGetStreamList(");
}

std::string Member::Publish(const std::string& streamID) {
    m_engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>("test:picture"));
    vaxo::strutf8 tone("test:tone");
    m_engine.SetAudioDevice(0, tone);
    EXPECT_EQ(m_engine.StartPublishing(Text("a title"), Text(streamID), vaxo::strutf8()), 0);
    return Wait("OnPublishStateUpdate(");
}

std::string Member::PublishFile(const std::string& streamID, const std::string& path) {
    const std::string address = "file://" + path;
    m_engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(address.c_str()));
    vaxo::strutf8 sound(address.c_str());
    m_engine.SetAudioDevice(0, sound);
    EXPECT_EQ(m_engine.StartPublishing(Text("a title"), Text(streamID), vaxo::strutf8()), 0);
    return Wait("OnPublishStateUpdate(");
}

std::string Member::Play(const std::string& streamID, unsigned channel) {
    EXPECT_EQ(m_engine.PlayStream(Text(streamID), channel), 0);
    return Wait("OnPlayStateUpdate(");
}

std::string Member::Leave() {
    EXPECT_EQ(m_engine.Logout(), 0);
    return Wait("OnLogout(");
}

Picture Member::PreviewSnapshot() {
    EXPECT_EQ(m_engine.TakeSnapshotPreview(), 0);
    EXPECT_NE(Wait("OnPreviewSnapshot("), "");
    const std::lock_guard<std::mutex> hold(m_app->lock);
    return m_app->picture;
}

Picture Member::RenderSnapshot(int channel) {
    EXPECT_EQ(m_engine.TakeSnapshotRender(channel), 0);
    EXPECT_NE(Wait("OnRenderSnapshot("), "");
    const std::lock_guard<std::mutex> hold(m_app->lock);
    return m_app->picture;
}

}  // namespace livetest
