// A program that only initialises: takes the proxy, initialises an engine that does nothing, and
// waits until that has run.
#include "live/VaxoLiveProxy.h"
#include "memory/Resident.h"

int main() {
    const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    vaxo::stream sign;
    sign = "key";
    proxy->Init(1, sign);
    // A getter waits for its turn behind the commands.
    const bool isIdle = proxy->GetLiveChannel().size() == 0;
    vaxoengine::PrintResident();
    return isIdle ? 0 : 1;
}
