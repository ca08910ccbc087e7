// Runs one command through the process-wide queue.
#include <cstdio>
#include <memory>

#include "avmgr/VaxoAVMgrCmdQueue.h"
#include "utils/VaxoQueueRunner.h"

int main() {
    bool ran = false;
    const auto queue = CVaxoAVMgrCmdQueue::GetSharedInstance();
    queue->AddCmd(std::make_shared<VaxoAVMgrCmd>(SyncCmd, [&ran] {
        ran = true;
        return 0;
    }));
    queue->StartCmdExecute();
    CVaxoQueueRunner::GetSharedInstance()->SyncRun([] {}, 0);
    std::printf("queue: %s\n", ran ? "ran" : "did not run");
    return ran ? 0 : 1;
}
