#include <unistd.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <string>

#include "instructions/Operations.h"
#include "live/VaxoLiveProxy.h"
#include "memory/IdleEngine.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxoevent.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr int kJobQueue = 5;      // a worker that nobody else uses
constexpr int kCommandQueue = 0;  // the worker of the proxy's commands

CVaxoQueueRunner& Runner() {
    return *CVaxoQueueRunner::GetSharedInstance();
}

// Every job is there before the first one runs, behind one that waits.
void PostAndRun(int count) {
    CVAXOEvent begun(true, false);
    CVAXOEvent open(true, false);
    Runner().AsyncRun(
        [&] {
            begun.Post();
            open.Wait(-1);
        },
        kJobQueue);
    begun.Wait(-1);
    for (; count > 0; --count) {
        Runner().AsyncRun([] {}, kJobQueue);
    }
    open.Post();
    Runner().SyncRun([] {}, kJobQueue);
}

void RoundTrip(int count) {
    for (; count > 0; --count) {
        Runner().SyncRun([] {}, kJobQueue);
    }
}

// A job that does its work and posts itself again: all of it on the one worker, which never
// sleeps in between.
struct Chain {
    std::function<void()> work;
    int left;
    CVAXOEvent over{true, false};

    void Step() {
        if (left == 0) {
            over.Post();
            return;
        }
        --left;
        work();
        Runner().AsyncRun([this] { Step(); }, kCommandQueue);
    }

    void RunThrough() {
        Runner().AsyncRun([this] { Step(); }, kCommandQueue);
        over.Wait(-1);
        // The job that posted may still be on its way out.
        Runner().SyncRun([] {}, kCommandQueue);
    }
};

std::shared_ptr<Strova::CVaxoLiveProxy> Initialised() {
    auto proxy = Strova::CVaxoLiveProxy::GetInstance();
    vaxo::stream sign;
    sign = "key";
    proxy->Init(1, sign);
    Runner().SyncRun([] {}, kCommandQueue);
    return proxy;
}

// Each step of the chain makes so many calls, which wait until it is over: the n-th of them is
// made with n - 1 waiting. The passes that they post run before the next step.
template <int Calls>
void CallsInChain(int count) {
    vaxolog_set_level(-1);
    const auto proxy = Initialised();
    Chain chain{[&proxy] {
                    for (int number = 0; number < Calls; ++number) {
                        proxy->EnableMic(true);
                    }
                },
                count};
    chain.RunThrough();
}

// The log as it is without an application that sets it: at its level, and nobody listens.
void CallUnheard(int count) {
    const auto proxy = Initialised();
    Chain chain{[&proxy] { proxy->EnableMic(true); }, count};
    chain.RunThrough();
}

// Every event is given to the proxy from inside the event before, so the delivering worker
// never sleeps in between.
class Listener final : public Strova::IVaxoLiveCallback {
public:
    explicit Listener(int count) : m_left(count) {}

    // The forms that name a stream by number stay visible.
    using Strova::IVaxoLiveCallback::OnPlayStateUpdate;
    using Strova::IVaxoLiveCallback::OnPublishStateUpdate;
    using Strova::IVaxoLiveCallback::OnVideoSizeChanged;

    void Wait() { m_over.Wait(-1); }

    void OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) override {
        if (m_left == 0) {
            m_over.Post();
            return;
        }
        --m_left;
        m_engine->OnCountsUpdate(onlineNums, onlineCount);
    }

    void OnPreviewSnapshot(void* /*pImage*/) override {}
    void OnRenderSnapshot(void* /*pImage*/, int /*nChannelIdx*/) override {}
    void OnGetStreamList(unsigned int /*err*/) override {}
    void OnStreamUpdate(const Strova::VaxoLiveStream& /*info*/,
                        VaxoAVStreamUpdateFlag /*eUpdateFlag*/) override {}
    void OnPublishStateUpdate(Mediq::VaxoAVState /*eState*/,
                              const vaxo::strutf8& /*streamID*/) override {}
    void OnPlayStateUpdate(Mediq::VaxoAVState /*eState*/,
                           const vaxo::strutf8& /*streamID*/) override {}
    void OnVideoSizeChanged(const vaxo::strutf8& /*streamID*/, int /*width*/,
                            int /*height*/) override {}
    void OnLogout(unsigned int /*err*/) override {}
    void OnDisconnected(unsigned int /*err*/, const vaxo::strutf8& /*liveChn*/) override {}
    void OnReconnected(const vaxo::strutf8& /*liveChn*/) override {}

private:
    const std::shared_ptr<Strova::IVaxoLiveCallback> m_engine = IdleEngineCallback();
    int m_left;
    CVAXOEvent m_over{true, false};
};

void Event(int count) {
    vaxolog_set_level(-1);
    const auto proxy = Initialised();
    const auto listener = std::make_shared<Listener>(count);
    proxy->SetCallback(listener);
    IdleEngineCallback()->OnCountsUpdate(1, 2);
    listener->Wait();
    Runner().SyncRun([] {}, 2);
}

void LogAboveLevel(int count) {
    for (; count > 0; --count) {
        syslog(esyslog_debug, "bench", __LINE__, "%s(%d)", "a line of the usual length", count);
    }
}

// At most as many lines as may wait for the file's thread: past that callers wait for it.
void LogToFile(int count) {
    const std::string path =
        (std::filesystem::temp_directory_path() / ("vaxo_bench_" + std::to_string(::getpid())))
            .string();
    vaxolog_open(path.c_str());
    for (; count > 0; --count) {
        syslog(esyslog_generic, "bench", __LINE__, "%s(%d)", "a line of the usual length", count);
    }
    vaxolog_flush();
    static_cast<void>(std::filesystem::remove(path));
}

}  // namespace

std::vector<Operation> FrontOperations() {
    return {
        {"job", "", true, 2000, &PostAndRun, "a job posted to a busy worker, and its run"},
        {"job-chained", "", true, 2000, &CallsInChain<0>,
         "a job posted by the worker itself, and its run"},
        {"round-trip", "", false, 1000, &RoundTrip, "SyncRun on a worker that sleeps"},
        {"call-0-waiting", "job-chained", true, 2000, &CallsInChain<1>,
         "EnableMic with nothing waiting, its pass and its run; log off"},
        {"call-0-waiting-unheard", "job-chained", true, 2000, &CallUnheard,
         "the same with the log at its level and nobody listening"},
        {"calls-8", "", true, 300, &CallsInChain<8>, "eight calls in a row, and a job; log off"},
        {"call-8-waiting", "calls-8", true, 300, &CallsInChain<9>,
         "EnableMic with eight waiting, its pass and its run; log off"},
        {"event", "", true, 2000, &Event,
         "OnCountsUpdate from the engine to the application; log off"},
        {"syslog-above-level", "", true, 20000, &LogAboveLevel, "a line that the level drops"},
        {"syslog-to-file", "", false, 500, &LogToFile, "a line into the file, its thread included"},
    };
}

}  // namespace vaxoengine
