// The surroundings of the library's own engine: servers on this machine, and a member of the
// channel who publishes the test picture for as long as the program runs.
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "base/VaxoAppSetting.h"
#include "conformance/engine/Environment.h"
#include "engine/live/Member.h"
#include "servers/LocalServers.h"

namespace conformance {

namespace {

class ShowEnvironment final : public Environment {
public:
    void SetUp() override {
        m_servers = std::make_unique<livetest::LocalServers>();
        ASSERT_TRUE(m_servers->Running());
        m_publisher = std::make_unique<livetest::Member>(*m_servers);
        m_publisher->Engine().SetVideoResolution(160, 90);
        ASSERT_EQ(m_publisher->Enter(Channel(), "ann"), "OnGetStreamList(0)");
        ASSERT_EQ(m_publisher->Publish(PlayableStream()),
                  "OnPublishStateUpdate(0, " + PlayableStream() + ")");
    }
    void TearDown() override {
        m_publisher.reset();
        m_servers.reset();
    }

    int InitEngine(Strova::IVaxoLive& engine) override {
        const livetest::Application application = m_servers->App();
        vaxo::stream key;
        for (const char byte : application.key) {
            const auto unit = static_cast<uint8>(byte);
            key.append(&unit, 1);
        }
        const int status = engine.Init(application.id, key);
        engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>("test:picture"));
        vaxo::strutf8 tone("test:tone");
        engine.SetAudioDevice(0, tone);
        engine.SetVideoResolution(160, 90);
        return status;
    }

    std::string PlayableStream() const override { return "conformance-there"; }

    // Port 9 of this machine: nobody listens.
    bool CutOff() override {
        CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
        settings->SetServiceURL("mqtts://127.0.0.1:9");
        settings->SetMediaURL("rtmp://127.0.0.1:9/live");
        return true;
    }
    void Restore() override {
        CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
        settings->SetServiceURL(m_servers->ServiceURL().c_str());
        settings->SetMediaURL(m_servers->MediaURL().c_str());
    }

private:
    std::unique_ptr<livetest::LocalServers> m_servers;
    std::unique_ptr<livetest::Member> m_publisher;
};

}  // namespace

std::unique_ptr<Environment> MakeEnvironment() {
    return std::make_unique<ShowEnvironment>();
}

}  // namespace conformance
