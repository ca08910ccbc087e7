// The table of the proxy's virtual operations, which engine and application may be built
// against: all of IVaxoLive, then the events in their order, then the destructor.
#include <gtest/gtest.h>

#include <memory>

#include "kernel/include/VirtualSlot.h"
#include "live/VaxoLiveProxy.h"

using Mediq::VaxoAVState;
using Strova::CVaxoLiveProxy;
using Strova::VaxoLiveStream;

namespace {

typedef vaxo::strutf8 Text;

class Longer : public CVaxoLiveProxy {
public:
    virtual void Next() {}
};

}  // namespace

TEST(LiveProxySlots, TheOperationsKeepTheirPlaces) {
    EXPECT_EQ((SlotOf<int(std::shared_ptr<int>, unsigned int)>(&CVaxoLiveProxy::SetView)), 0);
    EXPECT_EQ(SlotOf<int(bool)>(&CVaxoLiveProxy::EnableAux), 25);
    EXPECT_EQ((SlotOf<int(unsigned int, vaxo::stream)>(&CVaxoLiveProxy::Init)), 26);
    EXPECT_EQ(SlotOf<int()>(&CVaxoLiveProxy::Logout), 39);
}

TEST(LiveProxySlots, TheEventsFollowInTheirOrderAndTheTwoDestructorsAreLast) {
    EXPECT_EQ(SlotOf<void(void*)>(&CVaxoLiveProxy::OnPreviewSnapshot), 40);
    EXPECT_EQ((SlotOf<void(void*, int)>(&CVaxoLiveProxy::OnRenderSnapshot)), 41);
    EXPECT_EQ(SlotOf<void(unsigned int)>(&CVaxoLiveProxy::OnGetStreamList), 42);
    EXPECT_EQ((SlotOf<void(const VaxoLiveStream&, VaxoAVStreamUpdateFlag)>(
                  &CVaxoLiveProxy::OnStreamUpdate)),
              43);
    EXPECT_EQ((SlotOf<void(unsigned int, unsigned int)>(&CVaxoLiveProxy::OnCountsUpdate)), 44);
    EXPECT_EQ((SlotOf<void(VaxoAVState, const Text&)>(&CVaxoLiveProxy::OnPublishStateUpdate)), 45);
    EXPECT_EQ((SlotOf<void(VaxoAVState, const Text&)>(&CVaxoLiveProxy::OnPlayStateUpdate)), 46);
    EXPECT_EQ((SlotOf<void(const Text&, int, int)>(&CVaxoLiveProxy::OnVideoSizeChanged)), 47);
    EXPECT_EQ(SlotOf<void(unsigned int)>(&CVaxoLiveProxy::OnLogout), 48);
    EXPECT_EQ((SlotOf<void(unsigned int, const Text&)>(&CVaxoLiveProxy::OnDisconnected)), 49);
    EXPECT_EQ(SlotOf<void(const Text&)>(&CVaxoLiveProxy::OnReconnected), 50);
    EXPECT_EQ(SlotOf<void()>(&Longer::Next), 53);
}

TEST(LiveProxySlots, TheRestIsNotVirtual) {
    EXPECT_EQ(SlotOf<void()>(&CVaxoLiveProxy::CreateLive), -1);
    EXPECT_EQ(SlotOf<void()>(&CVaxoLiveProxy::ReleaseLive), -1);
    EXPECT_EQ(SlotOf<std::shared_ptr<Strova::IVaxoLive>() const>(&CVaxoLiveProxy::GetLive), -1);
    EXPECT_EQ((SlotOf<VaxoAVMgrCmdJoinResult(std::shared_ptr<VaxoAVMgrCmd>), CVaxoLiveProxy>(
                  &CVaxoLiveProxy::AddCmd)),
              -1);
}
