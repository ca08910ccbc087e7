// Publishes the camera, or the test picture where there is none, for some seconds, shows what is
// published in a window if there is a screen, and takes a picture of it into a file.
//
// Status 0: published, pictured, left. 1: not, and the last lines say why. 2: called wrongly.
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <string>

#include "VaxoLiveImage.h"
#include "app_window.h"

namespace {

using example::Heard;
using std::chrono::milliseconds;

// The events, and the preview's picture: that is there for the length of the call only, so it is
// copied at once, and written by who waits for it.
class Publisher final : public example::Events {
public:
    void OnPreviewSnapshot(void* pImage) override {
        const auto& image = *static_cast<const Strova::VaxoLiveImage*>(pImage);
        std::string ppm =
            "P6\n" + std::to_string(image.width) + " " + std::to_string(image.height) + "\n255\n";
        for (int y = 0; y < image.height; ++y) {
            const unsigned char* pixel = image.data + static_cast<std::ptrdiff_t>(y) * image.stride;
            for (int x = 0; x < image.width; ++x, pixel += 4) {
                ppm.append({static_cast<char>(pixel[0]), static_cast<char>(pixel[1]),
                            static_cast<char>(pixel[2])});  // without the alpha byte
            }
        }
        Note("picture taken", [&](Heard&) { m_ppm = ppm; });
    }

    // Asks, and asks again: where there is no picture yet, none comes. Empty after 10 s.
    std::string TakePicture(Strova::IVaxoLive& live) {
        std::string ppm;
        for (int i = 0; i < 50 && ppm.empty(); ++i) {
            live.TakeSnapshotPreview();
            Wait(milliseconds(200), [&](const Heard&) {
                ppm = m_ppm;
                return !ppm.empty();
            });
        }
        return ppm;
    }

private:
    std::string m_ppm;  // used inside Note and Wait alone, which hold a lock
};

// Until the time is over or the window closed. False when the publish failed for good.
bool Stay(example::Events& events, example::AppWindow& window, std::chrono::seconds time) {
    const auto isOver = [](const Heard& now) { return !example::Flows(now.publish); };
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end && !window.IsClosed()) {
        if (isOver(events.Wait(milliseconds(50), isOver))) {
            return false;
        }
        for (XEvent event; window.TakeEvent(event);) {
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    example::Settings settings;
    if (argc != 6 || !example::ReadSettings(settings)) {
        std::fprintf(stderr, "usage: publish_with_preview CHANNEL USER STREAM FILE.ppm SECONDS\n");
        return 2;
    }
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    const auto events = std::make_shared<Publisher>();  // held weakly: main keeps it
    example::AppWindow window("preview", 640, 360, 0);
    bool ok = example::Enter(*live, events, settings, argv[1], argv[2]);
    live->SetPreviewView(example::ViewOf(window.Id()));  // no window: no view, and all else works
    live->StartPreview();
    if (ok && example::Publish(*live, *events, argv[1], argv[3])) {
        const std::string ppm = events->TakePicture(*live);
        ok = !ppm.empty() && std::ofstream(argv[4], std::ios::binary) << ppm << std::flush;
        example::Say((ok ? "picture in " : "no picture in ") + std::string(argv[4]));
        ok = Stay(*events, window, std::chrono::seconds(std::atoi(argv[5]))) && ok;
    } else {
        ok = false;
    }
    live->StopPreview();
    live->SetPreviewView(nullptr);  // the library lets go before the window is destroyed
    return example::Leave(*live, *events) && ok ? 0 : 1;
}
