// What the exit scenarios share: an application and an engine that do what the scenario
// says, and objects that act while the process ends. Nothing here is destroyed at exit,
// except what is there for its destructor.
#ifndef VAXO_TESTS_LIVE_EXITWORLD_H
#define VAXO_TESTS_LIVE_EXITWORLD_H

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "IVaxoLive.h"
#include "kernel/live/StressEngine.h"

namespace livetest {

// A door that opens once.
class Gate {
public:
    void Open();
    void Pass();

private:
    std::mutex m_mutex;
    std::condition_variable m_opened;
    bool m_open = false;
};

// Counts events, and runs the scenario's part of one.
class ExitApp final : public Strova::IVaxoLiveCallback {
public:
    std::function<void()> inside;
    std::atomic<int> events{0};

    using IVaxoLiveCallback::OnPlayStateUpdate;
    using IVaxoLiveCallback::OnPublishStateUpdate;
    using IVaxoLiveCallback::OnVideoSizeChanged;

    void OnPreviewSnapshot(void* /*pImage*/) override { Event(); }
    void OnRenderSnapshot(void* /*pImage*/, int /*nChannelIdx*/) override { Event(); }
    void OnGetStreamList(unsigned int /*err*/) override { Event(); }
    void OnStreamUpdate(const Strova::VaxoLiveStream& /*info*/,
                        VaxoAVStreamUpdateFlag /*flag*/) override {
        Event();
    }
    void OnCountsUpdate(unsigned int /*nums*/, unsigned int /*count*/) override { Event(); }
    void OnPublishStateUpdate(Mediq::VaxoAVState /*state*/,
                              const vaxo::strutf8& /*streamID*/) override {
        Event();
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState /*state*/,
                           const vaxo::strutf8& /*streamID*/) override {
        Event();
    }
    void OnVideoSizeChanged(const vaxo::strutf8& /*streamID*/, int /*width*/,
                            int /*height*/) override {
        Event();
    }
    void OnLogout(unsigned int /*err*/) override { Event(); }
    void OnDisconnected(unsigned int /*err*/, const vaxo::strutf8& /*liveChn*/) override {
        Event();
    }
    void OnReconnected(const vaxo::strutf8& /*liveChn*/) override { Event(); }

private:
    void Event() {
        ++events;
        if (inside) {
            inside();
        }
    }
};

// Answers every call at once, but a play as the scenario says, if it says something.
class ExitHost final : public IEngineHost {
public:
    std::function<void(const EngineCall& call)> play;

    int OnCall(const EngineCall& call) override;
    bool OnUpload(const std::string& /*userID*/, bool /*bByUser*/) override { return true; }
};

struct ExitWorld {
    ExitHost host;
    std::shared_ptr<ExitApp> app = std::make_shared<ExitApp>();
    Gate entered;
    Gate go;
    Gate never;
    std::function<void()> late;  // runs after all else that main and the library left
};
ExitWorld& TheWorld();

// Prints a word, without the standard streams, which may be gone.
void Say(const char* word);

// Ends the process with a complaint when something is not as it must be.
void Require(bool right, const char* what);

// The world's application and engine in place, with an engine.
void StartUp();

// Returns when the commands before it are done. Not on worker 0.
void AwaitCommands();

// All that an application does from beginning to end, checked. Not on a worker.
void UseItAll(const char* word);

}  // namespace livetest

#endif
