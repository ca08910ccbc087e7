// The object itself: the singleton, its layout, and the way of a command into the queue.
#include "live/VaxoLiveProxy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <future>
#include <thread>
#include <type_traits>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"
#include "support/PrivateAccess.h"

using Strova::CVaxoLiveProxy;

namespace {

using livetest::Settle;
using livetest::Take;
using livetest::Texts;

class LiveProxy : public livetest::LiveProxyFixture {};

struct Callback {
    typedef std::weak_ptr<Strova::IVaxoLiveCallback> CVaxoLiveProxy::*type;
};
struct Engine {
    typedef std::shared_ptr<Strova::IVaxoLive> CVaxoLiveProxy::*type;
};
struct Connection {
    typedef CVaxoAVConnHttp CVaxoLiveProxy::*type;
};

std::ptrdiff_t Offset(const CVaxoLiveProxy& proxy, const void* part) {
    const void* const whole = &proxy;
    return static_cast<const char*>(part) - static_cast<const char*>(whole);
}

}  // namespace

template struct PrivateAccess<Callback, &CVaxoLiveProxy::m_pCB>;
template struct PrivateAccess<Engine, &CVaxoLiveProxy::m_pLive>;
template struct PrivateAccess<Connection, &CVaxoLiveProxy::m_connHttp>;

// Without the fixture, which takes the proxy itself: in a process of its own this is the
// first use.
TEST(LiveProxyInstance, ThreadsThatMeetInTheFirstCallGetTheSameProxyCreatedOnce) {
    const bool first = livetest::Written() == 0;  // a proxy's creation would stand there
    livetest::Take();
    const std::size_t count = 16;
    std::promise<void> start;
    const std::shared_future<void> started(start.get_future());
    std::array<std::shared_ptr<CVaxoLiveProxy>, count> got;
    std::vector<std::thread> threads;
    threads.reserve(count);
    for (std::shared_ptr<CVaxoLiveProxy>& mine : got) {
        threads.emplace_back([&mine, started] {
            started.wait();
            mine = CVaxoLiveProxy::GetInstance();
        });
    }
    start.set_value();
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_TRUE(got[0]);
    for (const std::shared_ptr<CVaxoLiveProxy>& mine : got) {
        EXPECT_EQ(mine, got[0]);
        EXPECT_FALSE(mine.owner_before(got[0]) || got[0].owner_before(mine));
    }
    EXPECT_EQ(Take(), first ? Texts{"http: created"} : Texts());
}

TEST_F(LiveProxy, EveryCallOfGetInstanceGivesAnotherOwningReference) {
    const long before = proxy.use_count();
    std::shared_ptr<CVaxoLiveProxy> one = CVaxoLiveProxy::GetInstance();
    const std::shared_ptr<CVaxoLiveProxy> two = CVaxoLiveProxy::GetInstance();
    EXPECT_EQ(one, proxy);
    EXPECT_EQ(proxy.use_count(), before + 2);
    one.reset();
    EXPECT_EQ(proxy.use_count(), before + 1);
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveProxy, TheTwoInterfacesStandFirstThenTheThreeMembers) {
    const auto word = static_cast<std::ptrdiff_t>(sizeof(void*));
    const CVaxoLiveProxy& object = *proxy;
    EXPECT_EQ(Offset(object, static_cast<const Strova::IVaxoLive*>(&object)), 0);
    EXPECT_EQ(Offset(object, static_cast<const Strova::IVaxoLiveCallback*>(&object)), word);
    EXPECT_EQ(Offset(object, &Private<Callback>(object)), 2 * word);
    EXPECT_EQ(Offset(object, &Private<Engine>(object)), 4 * word);
    EXPECT_EQ(Offset(object, &Private<Connection>(object)), 6 * word);
    EXPECT_EQ(sizeof(object), 7 * sizeof(void*));
}

TEST_F(LiveProxy, TheClassIsDestroyedVirtuallyAndNotCopied) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CVaxoLiveProxy>);
    EXPECT_FALSE(std::is_copy_constructible_v<CVaxoLiveProxy>);
    EXPECT_FALSE(std::is_copy_assignable_v<CVaxoLiveProxy>);
    EXPECT_TRUE((std::is_convertible_v<CVaxoLiveProxy*, Strova::IVaxoLive*>));
    EXPECT_TRUE((std::is_convertible_v<CVaxoLiveProxy*, Strova::IVaxoLiveCallback*>));
}

TEST_F(LiveProxy, TheHttpConnectionIsTheMember) {
    EXPECT_EQ(&proxy->GetConnHttp(), &Private<Connection>(*proxy));
    EXPECT_EQ(&proxy->GetConnHttp(), &proxy->GetConnHttp());
}

TEST_F(LiveProxy, TheDestructorGivesUpTheConnectionThenTheEngineThenTheCallback) {
    std::weak_ptr<CVaxoLiveProxy> weak;
    {
        const auto own = std::make_shared<CVaxoLiveProxy>();
        weak = own;
        EXPECT_EQ(Take(), Texts{"http: created"});
        EXPECT_FALSE(own->GetLive());
        own->SetCallback(app);
        own->CreateLive();
        EXPECT_EQ(Take(), (Texts{"engine: created", "engine: SetCallback()"}));
        // An engine reports to the shared instance, whoever made it.
        EXPECT_EQ(livetest::EngineCallback(), proxy);
    }
    EXPECT_TRUE(weak.expired());
    EXPECT_EQ(Take(), (Texts{"http: destroyed", "engine: destroyed"}));
    EXPECT_EQ(app.use_count(), 1);
}

TEST_F(LiveProxy, TheRoadOfOneRequest) {
    StartEngine();
    EXPECT_EQ(proxy->StartPublishing("title", "s1", "room1"), 0);
    Settle();
    EXPECT_EQ(Take(), (Texts{
                          "log 3 CmdProxy: AddCmd: StartPublish(0/s1)",
                          "log 3 CmdQueue: AddCmd, going to add StartPublish(0/s1), current queue "
                          "size: 0 >>>>>",
                          "log 3 CmdQueue: >> added StartPublish(0/s1), queue size: 1",
                          "log 4 CmdQueue: 0: StartPublish(0/s1)",
                          "log 3 CmdQueue: StartCmdExecuteInner",
                          "log 3 CmdQueue: PopCmd, cmd StartPublish(0/s1) poped, final queue "
                          "size: 0",
                          "engine: StartPublishing(title, s1, room1)",
                          "log 3 CmdQueue: > executed StartPublish, waiting for result",
                      }));
    EXPECT_EQ(Executing(), "StartPublish(0/s1)");

    livetest::EngineCallback()->OnPublishStateUpdate(Mediq::AVStateBegin, "s1");
    Settle();
    EXPECT_EQ(Executing(), "");
    const std::vector<livetest::Line> lines = livetest::TakeLines();
    ASSERT_EQ(lines.size(), 6U);
    EXPECT_EQ(lines[0].text, "log 3 CmdQueue: SetCmdExecuteCmdDone, cmd type: StartPublish");
    EXPECT_EQ(lines[1].text, "log 3 CmdQueue: >> current executing cmd: StartPublish(0/s1)");
}
