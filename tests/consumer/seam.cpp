// Links the live front end with a platform layer of the program's own.
#include "kernel/utils/ScriptedPlatform.h"
#include "utils/VaxoQueueRunner.h"

int main() {
    CVaxoQueueRunner runner;
    bool ran = false;
    runner.AsyncRun([&ran] { ran = true; }, 2);
    scripted::RunAll();
    return ran ? 0 : 1;
}
