// An application's callback object for tests: writes every event into the journal as
// "app: Event(arguments)" and then runs the hook, if there is one.
#ifndef VAXO_TESTS_LIVE_RECORDINGAPP_H
#define VAXO_TESTS_LIVE_RECORDINGAPP_H

#include <functional>
#include <string>

#include "IVaxoLive.h"
#include "kernel/live/Journal.h"

namespace livetest {

class RecordingApp final : public Strova::IVaxoLiveCallback {
public:
    ~RecordingApp() {
        if (gone) {
            gone();
        }
    }

    std::function<void(const std::string& event)> hook;  // on the event's thread
    std::function<void()> gone;                          // in the destructor

    void OnPublishStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int) override {
        Event("OnPublishStateUpdate", "by number");
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState, unsigned int, unsigned int,
                           unsigned long long) override {
        Event("OnPlayStateUpdate", "by number");
    }
    void OnVideoSizeChanged(unsigned long long, int, int) override {
        Event("OnVideoSizeChanged", "by number");
    }
    void OnPreviewSnapshot(void* pImage) override {
        Event("OnPreviewSnapshot", pImage == nullptr ? "null" : "image");
    }
    void OnRenderSnapshot(void* pImage, int nChannelIdx) override {
        Event("OnRenderSnapshot",
              (pImage == nullptr ? "null, " : "image, ") + std::to_string(nChannelIdx));
    }
    void OnGetStreamList(unsigned int err) override {
        Event("OnGetStreamList", std::to_string(err));
    }
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) override {
        std::string all = Text(info.streamGID) + "/" + Text(info.streamID) + "/" +
                          Text(info.userID) + "/" + Text(info.userName) + "/" + Text(info.title);
        for (const vaxo::strutf8& url : info.rtmpURLs) {
            all += "/rtmp " + Text(url);
        }
        for (const vaxo::strutf8& url : info.hlsURLs) {
            all += "/hls " + Text(url);
        }
        Event("OnStreamUpdate",
              all + "/" + std::to_string(info.status) + ", " + std::to_string(flag));
    }
    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override {
        Event("OnCountsUpdate", std::to_string(onlineNums) + ", " + std::to_string(onlineCount));
    }
    void OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override {
        Event("OnPublishStateUpdate", std::to_string(eState) + ", " + Text(streamID));
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) override {
        Event("OnPlayStateUpdate", std::to_string(eState) + ", " + Text(streamID));
    }
    void OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) override {
        Event("OnVideoSizeChanged",
              Text(streamID) + ", " + std::to_string(width) + ", " + std::to_string(height));
    }
    void OnLogout(unsigned int err) override { Event("OnLogout", std::to_string(err)); }
    void OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) override {
        Event("OnDisconnected", std::to_string(err) + ", " + Text(liveChn));
    }
    void OnReconnected(const vaxo::strutf8& liveChn) override {
        Event("OnReconnected", Text(liveChn));
    }

private:
    void Event(const std::string& name, const std::string& arguments) {
        const std::string event = name + "(" + arguments + ")";
        Note("app: " + event);
        if (hook) {
            const auto run = hook;  // the hook may replace itself
            run(event);
        }
    }
};

}  // namespace livetest

#endif
