// The order and the signatures of the media operations and events, and the nature of the
// two interfaces.
#include "IVaxoVE.h"

#include <gtest/gtest.h>

#include <memory>
#include <type_traits>

#include "kernel/include/VirtualSlot.h"

using Mediq::IVaxoAuxCallback;
using Mediq::IVaxoVE;
using Mediq::IVaxoVECallback;
using Mediq::VaxoAVState;

namespace {

typedef vaxostl::map<vaxo::strutf8, vaxo::strutf8> Devices;

// Leaves the forms that name a stream by number to the base.
class PicturesOnly : public IVaxoVECallback {
public:
    void OnPreviewSnapshot(void* /*pImage*/) override {}
    void OnRenderSnapshot(void* /*pImage*/, int /*nChannelIdx*/) override {}

protected:
    ~PicturesOnly() = default;
};

// Gives the base's five operations bodies and adds one.
class AllFive : public PicturesOnly {
public:
    void OnPublishStateUpdate(VaxoAVState /*eState*/, unsigned int /*dwServerKey*/,
                              unsigned int /*dwRoomKey*/) override {}
    void OnPlayStateUpdate(VaxoAVState /*eState*/, unsigned int /*dwServerKey*/,
                           unsigned int /*dwRoomKey*/, unsigned long long /*ID*/) override {}
    void OnVideoSizeChanged(unsigned long long /*ID*/, int /*width*/, int /*height*/) override {}
    virtual void Next() {}

protected:
    ~AllFive() = default;
};

}  // namespace

TEST(IVaxoVE, TheOperationsThatConcernViewsAndVideoStandInTheirOrder) {
    EXPECT_EQ((SlotOf<int(std::shared_ptr<int>, unsigned int)>(&IVaxoVE::SetView)), 0);
    EXPECT_EQ(SlotOf<int(std::shared_ptr<int>)>(&IVaxoVE::SetPreviewView), 1);
    EXPECT_EQ((SlotOf<int(int, unsigned int)>(&IVaxoVE::SetViewMode)), 2);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetPreviewViewMode), 3);
    EXPECT_EQ(SlotOf<int()>(&IVaxoVE::StartPreview), 4);
    EXPECT_EQ(SlotOf<int()>(&IVaxoVE::StopPreview), 5);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetVideoBitrate), 6);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetVideoFPS), 7);
    EXPECT_EQ((SlotOf<int(int, int)>(&IVaxoVE::SetVideoResolution)), 8);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetFrontCam), 9);
}

TEST(IVaxoVE, TheOperationsThatConcernDevicesStandInTheirOrder) {
    EXPECT_EQ(SlotOf<int(Devices&)>(&IVaxoVE::GetVideoCaptureDevice), 10);
    EXPECT_EQ(SlotOf<int(std::shared_ptr<vaxo::strutf8>)>(&IVaxoVE::SetVideoCaptureDeviceId), 11);
    EXPECT_EQ((SlotOf<int(int, Devices&)>(&IVaxoVE::GetAudioDeviceList)), 12);
    EXPECT_EQ((SlotOf<int(int, vaxo::strutf8&)>(&IVaxoVE::SetAudioDevice)), 13);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::EnableMic), 14);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::EnableCam), 15);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::SetSpeakerPhoneOn), 16);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::EnableSpk), 17);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::EnableTorch), 18);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::EnableBeautifying), 19);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetFilter), 20);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::SetCaptureRotation), 21);
    EXPECT_EQ(SlotOf<int()>(&IVaxoVE::TakeSnapshotPreview), 22);
    EXPECT_EQ(SlotOf<int(int)>(&IVaxoVE::TakeSnapshotRender), 23);
    EXPECT_EQ(SlotOf<int(IVaxoAuxCallback*)>(&IVaxoVE::SetAuxCallback), 24);
    EXPECT_EQ(SlotOf<int(bool)>(&IVaxoVE::EnableAux), 25);
}

TEST(IVaxoVECallback, TheEventsStandInTheirOrder) {
    EXPECT_EQ((SlotOf<void(VaxoAVState, unsigned int, unsigned int)>(
                  &IVaxoVECallback::OnPublishStateUpdate)),
              0);
    EXPECT_EQ((SlotOf<void(VaxoAVState, unsigned int, unsigned int, unsigned long long)>(
                  &IVaxoVECallback::OnPlayStateUpdate)),
              1);
    EXPECT_EQ((SlotOf<void(unsigned long long, int, int)>(&IVaxoVECallback::OnVideoSizeChanged)),
              2);
    EXPECT_EQ(SlotOf<void(void*)>(&IVaxoVECallback::OnPreviewSnapshot), 3);
    EXPECT_EQ((SlotOf<void(void*, int)>(&IVaxoVECallback::OnRenderSnapshot)), 4);
}

TEST(IVaxoVECallback, NothingStandsBehindTheFifthEvent) {
    EXPECT_EQ(SlotOf<void()>(&AllFive::Next), 5);
}

TEST(IVaxoVECallback, TheFormsThatNameAStreamByNumberMustBeImplemented) {
    EXPECT_TRUE(std::is_abstract_v<PicturesOnly>);
    EXPECT_FALSE(std::is_abstract_v<AllFive>);
}

TEST(IVaxoVE, TheInterfacesHoldNothingAndAreNotDestroyedThrough) {
    EXPECT_TRUE(std::is_abstract_v<IVaxoVE>);
    EXPECT_TRUE(std::is_abstract_v<IVaxoVECallback>);
    EXPECT_EQ(sizeof(IVaxoVE), sizeof(void*));
    EXPECT_EQ(sizeof(IVaxoVECallback), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<IVaxoVE>);
    EXPECT_FALSE(std::has_virtual_destructor_v<IVaxoVECallback>);
    EXPECT_FALSE(std::is_destructible_v<IVaxoVE>);
    EXPECT_FALSE(std::is_destructible_v<IVaxoVECallback>);
}
