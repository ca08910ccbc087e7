// An output against the real server: taken, refused, not reached, lost.
#include "engine/output/Output.h"

#include <chrono>
#include <condition_variable>
#include <ctime>
#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "connection/VaxoSign.h"
#include "engine/OnLoop.h"
#include "engine/capture/Capture.h"
#include "servers/LocalServers.h"

namespace {

using livetest::LocalServers;
using vaxoengine::Capture;
using vaxoengine::Output;
using vaxoengine::OutputEvent;

// A capture of the test picture that feeds one output after another.
class OutputToServer : public ::testing::Test {
protected:
    OutputToServer() {
        OnLoop([this] {
            capture = std::make_unique<Capture>([](const std::string&) {});
            capture->SetVideo({300000, 15, 160, 90});
            capture->SetVideoDevice("test:picture");
            capture->SetAudioDevice("test:tone");
            vaxoengine::EncodedSinks sinks;
            sinks.video = [this](GstSample* sample) { Pass(sample, &Output::PushVideo); };
            sinks.audio = [this](GstSample* sample) { Pass(sample, &Output::PushAudio); };
            EXPECT_TRUE(capture->StartEncoding(std::move(sinks)));
        });
    }
    ~OutputToServer() override {
        Close();
        OnLoop([this] {
            capture->StopEncoding();
            capture.reset();
        });
    }

    static std::string Address(const LocalServers& servers, const std::string& name,
                               long long seconds) {
        VaxoSigner signer;
        signer.appID = servers.App().id;
        signer.key = servers.App().key;
        signer.user = "bob";
        const std::string media = VaxoMediaName(signer.appID, name);
        return servers.MediaURL() + "/" + media + "?" +
               VaxoSignQuery(signer, "publish", media, std::time(nullptr) + seconds);
    }

    void Open(const std::string& address) {
        OnLoop([&] {
            auto made = std::make_unique<Output>(address, capture->BaseTime(),
                                                 [this](OutputEvent event, const std::string& why) {
                                                     const std::lock_guard<std::mutex> hold(lock);
                                                     events.push_back(event);
                                                     reasons += why;
                                                     changed.notify_all();
                                                 });
            EXPECT_TRUE(made->Start());
            const std::lock_guard<std::mutex> hold(lock);
            output = std::move(made);
            capture->ForceKeyFrame();
        });
    }

    // Waits until the server has let go of the name.
    void Close() {
        auto closed = std::make_shared<std::promise<void>>();
        OnLoop([&] {
            std::unique_ptr<Output> last;
            {
                const std::lock_guard<std::mutex> hold(lock);
                last = std::move(output);
            }
            if (last) {
                Output::Close(std::move(last), [closed] { closed->set_value(); });
            } else {
                closed->set_value();
            }
        });
        closed->get_future().wait();
    }

    std::vector<OutputEvent> WaitFor(std::size_t count) {
        std::unique_lock<std::mutex> hold(lock);
        changed.wait_for(hold, std::chrono::seconds(15), [&] { return events.size() >= count; });
        return events;
    }

    std::unique_ptr<Capture> capture;
    std::mutex lock;
    std::condition_variable changed;
    std::unique_ptr<Output> output;
    std::vector<OutputEvent> events;
    std::string reasons;

private:
    void Pass(GstSample* sample, void (Output::*push)(GstSample*)) {
        const std::lock_guard<std::mutex> hold(lock);
        output ? (output.get()->*push)(sample) : gst_sample_unref(sample);
    }
};

using Events = std::vector<OutputEvent>;

TEST_F(OutputToServer, FlowsAndAfterTheCloseTheNameIsFreeAtOnce) {
    for (int i = 0; i < 3; ++i) {
        events.clear();
        Open(Address(LocalServers::Shared(), "reused", 100));
        EXPECT_EQ(WaitFor(1), Events{OutputEvent::Flowing}) << reasons;
        OnLoop([this] { EXPECT_GT(output->BytesSent(), 0U); });
        Close();
    }
}

TEST_F(OutputToServer, AnExpiredSignatureIsRefused) {
    Open(Address(LocalServers::Shared(), "late", -10));
    EXPECT_EQ(WaitFor(1), Events{OutputEvent::Refused}) << reasons;
    EXPECT_EQ(reasons.find("sig="), std::string::npos) << reasons;
}

TEST_F(OutputToServer, AForgedSignatureIsRefused) {
    std::string address = Address(LocalServers::Shared(), "forged", 100);
    address.back() = address.back() == 'A' ? 'B' : 'A';
    address[address.size() - 9] = address[address.size() - 9] == 'A' ? 'B' : 'A';
    Open(address);
    EXPECT_EQ(WaitFor(1), Events{OutputEvent::Refused}) << reasons;
}

TEST_F(OutputToServer, AServerThatIsNotThereIsNotReached) {
    Open("rtmp://127.0.0.1:1/live/42_x?sig=secret");
    EXPECT_EQ(WaitFor(1), Events{OutputEvent::Unreachable}) << reasons;
    EXPECT_EQ(reasons.find("secret"), std::string::npos) << reasons;
}

TEST_F(OutputToServer, AServerThatDiesBreaksIt) {
    LocalServers servers;
    Open(Address(servers, "lost", 100));
    EXPECT_EQ(WaitFor(1), Events{OutputEvent::Flowing}) << reasons;
    servers.KillMedia();
    EXPECT_EQ(WaitFor(2), (Events{OutputEvent::Flowing, OutputEvent::Broken})) << reasons;
}

TEST_F(OutputToServer, NothingIsHeardAfterTheClose) {
    Open(Address(LocalServers::Shared(), "quiet", 100));
    Close();
    OnLoop([this] { events.clear(); });
    OnLoop([] {});
    EXPECT_TRUE(events.empty());
}

}  // namespace
