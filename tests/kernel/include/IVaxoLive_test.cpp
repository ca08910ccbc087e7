// The order and the signatures of the live operations and events, and what an engine or
// an application must and need not implement.
#include "IVaxoLive.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "kernel/include/VirtualSlot.h"

using Mediq::VaxoAVState;
using Strova::IVaxoLive;
using Strova::IVaxoLiveCallback;
using Strova::VaxoLiveStream;

namespace {

typedef vaxo::strutf8 Text;

// The operations of an engine, but for StartPreview and UploadLog.
class NearlyAnEngine : public IVaxoLive {
public:
    int SetView(std::shared_ptr<int> /*view*/, unsigned int /*chn*/) override { return 0; }
    int SetPreviewView(std::shared_ptr<int> /*view*/) override { return 0; }
    int SetViewMode(int /*mode*/, unsigned int /*chn*/) override { return 0; }
    int SetPreviewViewMode(int /*mode*/) override { return 0; }
    int StopPreview() override { return 0; }
    int SetVideoBitrate(int /*bitrate*/) override { return 0; }
    int SetVideoFPS(int /*fps*/) override { return 0; }
    int SetVideoResolution(int /*width*/, int /*height*/) override { return 0; }
    int SetFrontCam(int /*front*/) override { return 0; }
    int GetVideoCaptureDevice(vaxostl::map<Text, Text>& /*list*/) override { return 0; }
    int SetVideoCaptureDeviceId(std::shared_ptr<Text> /*id*/) override { return 0; }
    int GetAudioDeviceList(int /*type*/, vaxostl::map<Text, Text>& /*list*/) override { return 0; }
    int SetAudioDevice(int /*type*/, Text& /*id*/) override { return 0; }
    int EnableMic(bool /*enable*/) override { return 0; }
    int EnableCam(bool /*enable*/) override { return 0; }
    int SetSpeakerPhoneOn(bool /*on*/) override { return 0; }
    int EnableSpk(bool /*enable*/) override { return 0; }
    int EnableTorch(bool /*enable*/) override { return 0; }
    int EnableBeautifying(int /*feature*/) override { return 0; }
    int SetFilter(int /*index*/) override { return 0; }
    int SetCaptureRotation(int /*rotation*/) override { return 0; }
    int TakeSnapshotPreview() override { return 0; }
    int TakeSnapshotRender(int /*chn*/) override { return 0; }
    int SetAuxCallback(Mediq::IVaxoAuxCallback* /*aux*/) override { return 0; }
    int EnableAux(bool /*enable*/) override { return 0; }
    int Init(unsigned int /*appID*/, vaxo::stream /*sign*/) override { return 0; }
    int Uninit() override { return 0; }
    int SetCallback(std::weak_ptr<IVaxoLiveCallback> /*callback*/) override { return 0; }
    int StartPublishing(Text /*title*/, Text /*stream*/, Text /*liveChn*/) override { return 0; }
    Text GetLiveChannel() const override { return {}; }
    Text GetCurrentPublishStreamID() const override { return {}; }
    Text GetCurrentPublishStreamURL() const override { return {}; }
    int StopPublishing() override { return 0; }
    int GetStreamList(Text /*userID*/, Text /*name*/, Text /*liveChn*/, int /*net*/) override {
        return 0;
    }
    int GetStreamList(vaxostl::vector<VaxoLiveStream>& /*streams*/) override { return 0; }
    int PlayStream(const Text& /*stream*/, unsigned int /*chn*/) override { return 0; }
    int StopPlayStream(const Text& /*stream*/) override { return 0; }
    int Logout() override { return 0; }
    virtual int Next() { return 0; }

protected:
    ~NearlyAnEngine() = default;
};

class Engine final : public NearlyAnEngine {
public:
    int StartPreview() override { return 0; }
};

// An application that knows streams by name: the forms by number are the base's.
class ByName : public IVaxoLiveCallback {
public:
    void OnPreviewSnapshot(void* /*image*/) override {}
    void OnRenderSnapshot(void* /*image*/, int /*chn*/) override {}
    void OnGetStreamList(unsigned int /*err*/) override {}
    void OnStreamUpdate(const VaxoLiveStream& /*info*/, VaxoAVStreamUpdateFlag /*flag*/) override {}
    void OnCountsUpdate(unsigned int /*nums*/, unsigned int /*count*/) override {}
    void OnPublishStateUpdate(VaxoAVState /*state*/, const Text& /*stream*/) override { ++named; }
    void OnPlayStateUpdate(VaxoAVState /*state*/, const Text& /*stream*/) override { ++named; }
    void OnVideoSizeChanged(const Text& /*stream*/, int /*width*/, int /*height*/) override {
        ++named;
    }
    void OnLogout(unsigned int /*err*/) override {}
    void OnDisconnected(unsigned int /*err*/, const Text& /*liveChn*/) override {}
    void OnReconnected(const Text& /*liveChn*/) override {}
    virtual void Next() {}

    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

    int named = 0;  // calls of the forms by name

protected:
    ~ByName() = default;
};

class App final : public ByName {};

}  // namespace

TEST(IVaxoLive, TheOperationsContinueThoseOfTheMediaInterface) {
    EXPECT_EQ((SlotOf<int(unsigned int, vaxo::stream)>(&IVaxoLive::Init)), 26);
    EXPECT_EQ(SlotOf<int()>(&IVaxoLive::Uninit), 27);
    EXPECT_EQ(SlotOf<int()>(&IVaxoLive::UploadLog), 28);
    EXPECT_EQ(SlotOf<int(std::weak_ptr<IVaxoLiveCallback>)>(&IVaxoLive::SetCallback), 29);
    EXPECT_EQ((SlotOf<int(Text, Text, Text)>(&IVaxoLive::StartPublishing)), 30);
    EXPECT_EQ(SlotOf<Text() const>(&IVaxoLive::GetLiveChannel), 31);
    EXPECT_EQ(SlotOf<Text() const>(&IVaxoLive::GetCurrentPublishStreamID), 32);
    EXPECT_EQ(SlotOf<Text() const>(&IVaxoLive::GetCurrentPublishStreamURL), 33);
    EXPECT_EQ(SlotOf<int()>(&IVaxoLive::StopPublishing), 34);
    EXPECT_EQ((SlotOf<int(Text, Text, Text, int)>(&IVaxoLive::GetStreamList)), 35);
    EXPECT_EQ(SlotOf<int(vaxostl::vector<VaxoLiveStream>&)>(&IVaxoLive::GetStreamList), 36);
    EXPECT_EQ((SlotOf<int(const Text&, unsigned int)>(&IVaxoLive::PlayStream)), 37);
    EXPECT_EQ(SlotOf<int(const Text&)>(&IVaxoLive::StopPlayStream), 38);
    EXPECT_EQ(SlotOf<int()>(&IVaxoLive::Logout), 39);
}

TEST(IVaxoLive, NothingStandsBehindLogout) {
    EXPECT_EQ(SlotOf<int()>(&NearlyAnEngine::Next), 40);
}

TEST(IVaxoLiveCallback, TheFormsByNumberKeepTheSlotsOfTheBase) {
    EXPECT_EQ((SlotOf<void(VaxoAVState, unsigned int, unsigned int), IVaxoLiveCallback>(
                  &IVaxoLiveCallback::OnPublishStateUpdate)),
              0);
    EXPECT_EQ((SlotOf<void(VaxoAVState, unsigned int, unsigned int, unsigned long long),
                      IVaxoLiveCallback>(&IVaxoLiveCallback::OnPlayStateUpdate)),
              1);
    EXPECT_EQ((SlotOf<void(unsigned long long, int, int), IVaxoLiveCallback>(
                  &IVaxoLiveCallback::OnVideoSizeChanged)),
              2);
}

TEST(IVaxoLiveCallback, TheEventsContinueThoseOfTheBase) {
    EXPECT_EQ(SlotOf<void(void*)>(&IVaxoLiveCallback::OnPreviewSnapshot), 3);
    EXPECT_EQ((SlotOf<void(void*, int)>(&IVaxoLiveCallback::OnRenderSnapshot)), 4);
    EXPECT_EQ(SlotOf<void(unsigned int)>(&IVaxoLiveCallback::OnGetStreamList), 5);
    EXPECT_EQ((SlotOf<void(const VaxoLiveStream&, VaxoAVStreamUpdateFlag)>(
                  &IVaxoLiveCallback::OnStreamUpdate)),
              6);
    EXPECT_EQ((SlotOf<void(unsigned int, unsigned int)>(&IVaxoLiveCallback::OnCountsUpdate)), 7);
    EXPECT_EQ((SlotOf<void(VaxoAVState, const Text&)>(&IVaxoLiveCallback::OnPublishStateUpdate)),
              8);
    EXPECT_EQ((SlotOf<void(VaxoAVState, const Text&)>(&IVaxoLiveCallback::OnPlayStateUpdate)), 9);
    EXPECT_EQ((SlotOf<void(const Text&, int, int)>(&IVaxoLiveCallback::OnVideoSizeChanged)), 10);
    EXPECT_EQ(SlotOf<void(unsigned int)>(&IVaxoLiveCallback::OnLogout), 11);
    EXPECT_EQ((SlotOf<void(unsigned int, const Text&)>(&IVaxoLiveCallback::OnDisconnected)), 12);
    EXPECT_EQ(SlotOf<void(const Text&)>(&IVaxoLiveCallback::OnReconnected), 13);
    EXPECT_EQ(SlotOf<void()>(&ByName::Next), 14);
}

TEST(IVaxoLive, TheInterfacesHoldNothingAndAreNotDestroyedThrough) {
    EXPECT_TRUE((std::is_base_of_v<Mediq::IVaxoVE, IVaxoLive>));
    EXPECT_TRUE((std::is_convertible_v<IVaxoLive*, Mediq::IVaxoVE*>));
    EXPECT_TRUE((std::is_convertible_v<IVaxoLiveCallback*, Mediq::IVaxoVECallback*>));
    EXPECT_EQ(sizeof(IVaxoLive), sizeof(void*));
    EXPECT_EQ(sizeof(IVaxoLiveCallback), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<IVaxoLive>);
    EXPECT_FALSE(std::has_virtual_destructor_v<IVaxoLiveCallback>);
    EXPECT_FALSE(std::is_destructible_v<IVaxoLive>);
    EXPECT_FALSE(std::is_destructible_v<IVaxoLiveCallback>);
}

TEST(IVaxoLive, AnEngineNeedNotUploadLogsAndThenSaysSo) {
    EXPECT_TRUE(std::is_abstract_v<IVaxoLive>);
    EXPECT_TRUE(std::is_abstract_v<NearlyAnEngine>);
    Engine engine;
    IVaxoLive& live = engine;
    EXPECT_EQ(live.UploadLog(), -1);
}

TEST(IVaxoLiveCallback, AnApplicationNeedNotImplementTheFormsByNumber) {
    EXPECT_TRUE(std::is_abstract_v<IVaxoLiveCallback>);
    App app;
    Mediq::IVaxoVECallback& base = app;
    base.OnPublishStateUpdate(Mediq::AVStateBegin, 1U, 2U);
    base.OnPlayStateUpdate(Mediq::AVStateBegin, 1U, 2U, 3ULL);
    base.OnVideoSizeChanged(3ULL, 640, 480);
    EXPECT_EQ(app.named, 0);
}

TEST(IVaxoLiveCallback, BothFormsAreSeenSideBySide) {
    App app;
    IVaxoLiveCallback& callback = app;
    callback.OnPublishStateUpdate(Mediq::AVStateBegin, 1U, 2U);
    callback.OnPublishStateUpdate(Mediq::AVStateBegin, "s1");
    callback.OnPlayStateUpdate(Mediq::AVStateBegin, 1U, 2U, 3ULL);
    callback.OnPlayStateUpdate(Mediq::AVStateBegin, "s1");
    callback.OnVideoSizeChanged(3ULL, 640, 480);
    callback.OnVideoSizeChanged("s1", 640, 480);
    EXPECT_EQ(app.named, 3);
}
