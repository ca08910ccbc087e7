// Enters a channel without any servers: the engine that is linked has to say why it cannot.
// Its answer comes by the whole road: proxy, queue, worker, settings, engine and back.
#include <cstdio>
#include <cstdlib>
#include <future>
#include <memory>
#include <vector>

#include "live/VaxoLiveProxy.h"
#include "vaxolog.h"

namespace {

class Answer : public Strova::IVaxoLiveCallback {
public:
    void OnGetStreamList(unsigned int err) override { m_answer.set_value(err); }
    void OnStreamUpdate(const Strova::VaxoLiveStream& /*info*/,
                        VaxoAVStreamUpdateFlag /*eUpdateFlag*/) override {}
    void OnCountsUpdate(unsigned int /*onlineNums*/, unsigned int /*onlineCount*/) override {}
    void OnPublishStateUpdate(Mediq::VaxoAVState /*eState*/,
                              const vaxo::strutf8& /*streamID*/) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState /*eState*/,
                           const vaxo::strutf8& /*streamID*/) override {}
    void OnVideoSizeChanged(const vaxo::strutf8& /*streamID*/, int /*width*/,
                            int /*height*/) override {}
    void OnLogout(unsigned int /*err*/) override {}
    void OnDisconnected(unsigned int /*err*/, const vaxo::strutf8& /*liveChn*/) override {}
    void OnReconnected(const vaxo::strutf8& /*liveChn*/) override {}
    void OnPreviewSnapshot(void* /*pImage*/) override {}
    void OnRenderSnapshot(void* /*pImage*/, int /*nChannelIdx*/) override {}

    unsigned int Wait() { return m_answer.get_future().get(); }

private:
    std::promise<unsigned int> m_answer;
};

}  // namespace

// enter EXPECTED: what OnGetStreamList has to tell
int main(int argc, char** argv) {
    const auto expected = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 5UL;
    const auto answer = std::make_shared<Answer>();
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    live->SetCallback(answer);
    const std::vector<unsigned char> key(32, 7);
    live->Init(42, vaxo::stream(key.data(), 32));
    live->GetStreamList("ann", "Ann", "room", 0);
    const unsigned int err = answer->Wait();
    live->Uninit();
    vaxolog_flush();
    std::printf("enter: the channel answered %u\n", err);
    return err == expected ? 0 : 1;
}
