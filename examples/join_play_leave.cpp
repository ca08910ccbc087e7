// Joins a channel, plays one of its streams for three seconds and leaves: the smallest program
// that does something with the library. It stands on its own; README.md says how to run it.
//
// Status 0: it was played. 1: it was not, and the standard error says why. 2: called wrongly.
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>

#include "base/VaxoAppSetting.h"
#include "live/VaxoLiveProxy.h"

namespace {

// Events come on a thread of the library, not to be held up: each is noted, and main woken.
class App final : public Strova::IVaxoLiveCallback {
public:
    vaxo::strutf8 stream;  // the one to be played; set before the first event
    // What they said last, -1: nothing; live/VaxoLiveShow.h has the meanings. Read with Wait.
    long long entered = -1, listed = -1, play = -1, left = -1;

    // One of these, once it is something else than `former`; as it is when the time is over.
    long long Wait(const long long& value, long long former, int seconds) {
        std::unique_lock<std::mutex> lock(m_lock);
        m_isNew.wait_for(lock, std::chrono::seconds(seconds), [&] { return value != former; });
        return value;
    }

    void OnGetStreamList(unsigned int err) override { Note(entered, err); }
    void OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) override {
        if (info.streamID == stream) {
            Note(listed, flag);
        }
    }
    void OnPlayStateUpdate(Mediq::VaxoAVState s, const vaxo::strutf8&) override { Note(play, s); }
    void OnLogout(unsigned int err) override { Note(left, err); }
    void OnPublishStateUpdate(Mediq::VaxoAVState, const vaxo::strutf8&) override {}
    void OnVideoSizeChanged(const vaxo::strutf8&, int, int) override {}
    void OnCountsUpdate(unsigned int, unsigned int) override {}
    void OnDisconnected(unsigned int, const vaxo::strutf8&) override {}
    void OnReconnected(const vaxo::strutf8&) override {}
    void OnPreviewSnapshot(void*) override {}
    void OnRenderSnapshot(void*, int) override {}
    using IVaxoLiveCallback::OnPlayStateUpdate, IVaxoLiveCallback::OnPublishStateUpdate,
        IVaxoLiveCallback::OnVideoSizeChanged;  // forms that name a stream by number

private:
    void Note(long long& value, long long now) {
        const std::lock_guard<std::mutex> lock(m_lock);
        value = now;
        m_isNew.notify_all();
    }
    std::mutex m_lock;  // guards the numbers
    std::condition_variable m_isNew;
};

vaxo::stream ReadKey(const char* path) {  // a line of hexadecimal digits
    std::ifstream file(path);
    vaxo::stream key;
    for (char pair[3]; file.get(pair, sizeof(pair));) {
        const auto byte = static_cast<uint8>(std::strtoul(pair, nullptr, 16));
        key.append(&byte, 1);
    }
    return key;
}

// Empty, or a line that says what went wrong.
std::string Visit(Strova::IVaxoLive& live, App& app, const char* channel, const char* user) {
    live.GetStreamList(user, user, channel, 0);  // enters the channel
    if (const auto error = app.Wait(app.entered, -1, 15); error != 0) {
        return "cannot enter the channel: " + std::to_string(error) + "\n";
    }
    app.Wait(app.listed, -1, 5);  // the list of streams follows
    live.PlayStream(app.stream, 0);
    if (const auto state = app.Wait(app.play, -1, 15); state != Mediq::AVStateBegin) {
        return "cannot play the stream: " + std::to_string(state) + "\n";
    }
    std::puts("plays");
    const bool plays = app.Wait(app.play, Mediq::AVStateBegin, 3) == Mediq::AVStateBegin;
    return plays ? "" : "the play was interrupted\n";
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 8) {  // the key in a file: everybody on the machine can read arguments
        std::fputs("arguments: APP-ID KEY-FILE SERVICE MEDIA CHANNEL USER STREAM\n", stderr);
        return 2;
    }
    CVaxoAppSetting::SharedInstance()->SetServiceURL(argv[3]);
    CVaxoAppSetting::SharedInstance()->SetMediaURL(argv[4]);
    const auto app = std::make_shared<App>();  // the library holds it weakly: main keeps it
    app->stream = argv[7];
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    live->SetCallback(app);
    live->Init(static_cast<unsigned int>(std::strtoul(argv[1], nullptr, 10)), ReadKey(argv[2]));
    std::string fault = Visit(*live, *app, argv[5], argv[6]);
    live->Logout();  // ends the play, too
    if (app->Wait(app->left, -1, 15) != 0) {
        fault += "cannot leave the channel\n";
    }
    live->Uninit();
    live->GetLiveChannel();  // a getter comes back when the calls before it have run
    std::fputs(fault.c_str(), stderr);
    return fault.empty() ? 0 : 1;
}
