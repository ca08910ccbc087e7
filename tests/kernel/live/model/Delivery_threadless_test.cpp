// A delivery that is over before the thread that posted it goes on.
#include <memory>
#include <vector>

#include <gtest/gtest.h>

#include "kernel/live/RecordingApp.h"
#include "kernel/live/model/ThreadlessPlatform.h"
#include "live/VaxoLiveProxy.h"
#include "vaxothread.h"

namespace {

TEST(LiveDelivery, AWorkerFasterThanThePosterIsWhereTheCallbackGoes) {
    const auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    auto app = std::make_shared<livetest::RecordingApp>();
    std::vector<vaxothread_id> threads;
    bool heard = false;
    app->hook = [&](const std::string&) {
        heard = true;
        app.reset();
    };
    app->gone = [&threads] { threads.push_back(vaxothread_selfid()); };
    proxy->SetCallback(std::weak_ptr<Strova::IVaxoLiveCallback>(app));
    threadless::OnPush([](int worker) { threadless::RunOne(worker); });
    {
        const threadless::As engine('E');
        proxy->OnCountsUpdate(1, 2);
    }
    threadless::OnPush({});
    EXPECT_TRUE(heard);
    EXPECT_EQ(threads, std::vector<vaxothread_id>{'2'});
}

}  // namespace
