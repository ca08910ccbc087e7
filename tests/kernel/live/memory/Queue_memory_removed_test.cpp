// Memory that runs out while a join removes a command.
#include <gtest/gtest.h>

#include <memory>
#include <new>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "kernel/live/memory/Starved.h"

namespace {

// Looks, when it goes, whether a lock is held: what a command captured may call the queue.
struct Captured {
    explicit Captured(int& held) : locksHeld(held) {}
    ~Captured() { locksHeld = threadless::MutexesHeld(); }
    Captured(const Captured&) = delete;
    Captured& operator=(const Captured&) = delete;

    int& locksHeld;
};

}  // namespace

TEST(VaxoCmdQueueMemory, ARemovedCommandIsNotDestroyedUnderTheLock) {
    for (long refused = 0; refused != 3; ++refused) {
        SCOPED_TRACE(refused);
        int locksHeld = -1;
        CVaxoAVMgrCmdQueue queue;
        {
            const auto captured = std::make_shared<Captured>(locksHeld);
            queue.AddCmd(std::make_shared<VaxoAVMgrCmd>(
                PlayStream, [captured] { return 0; },
                [](const std::shared_ptr<VaxoAVMgrCmd>&) { return CmdJoin_InvalidateFormer; }));
        }
        const auto later = std::make_shared<VaxoAVMgrCmd>(SyncCmd, [] { return 0; });
        {
            const starving::Watch watch(refused, starving::Then::Works, starving::Callers);
            try {
                EXPECT_EQ(queue.AddCmd(later), CmdJoin_InvalidateFormer);
                EXPECT_EQ(locksHeld, 0);
            } catch (const std::bad_alloc&) {
                EXPECT_TRUE(watch.Refused());
                EXPECT_EQ(locksHeld, -1);  // it still waits
            }
        }
        starving::ExpectNothingHeld();
        const auto expected = locksHeld == 0 ? CmdJoin_CoExist : CmdJoin_InvalidateFormer;
        EXPECT_EQ(queue.AddCmd(later), expected);
        EXPECT_EQ(locksHeld, 0);
    }
}
