// Plays a stream into a view that the application makes itself: a window inside its own window,
// with a border that the application draws. The view follows when the window changes its size.
//
// In the window: "m" shows the picture whole, then cut, then stretched; "q", or closing it, ends.
// Status 0: it was played. 1: it was not, and the last lines say why. 2: called wrongly.
#include <X11/Xutil.h>
#include <X11/keysym.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <memory>

#include "app_window.h"

namespace {

using example::Heard;

constexpr int kBorder = 20;
constexpr unsigned int kChannel = 0;  // of PlayStream, SetView and SetViewMode alike
constexpr int kViewModes = 3;         // fit, fill, stretch

class PlayerWindow {
public:
    explicit PlayerWindow(Strova::IVaxoLive& live) : m_live(live) {
        if (Display* const display = m_window.Connection()) {
            m_view =
                XCreateSimpleWindow(display, m_window.Id(), kBorder, kBorder, 480, 360, 0, 0, 0);
            XMapWindow(display, m_view);
            XSync(display, False);
        }
    }

    bool IsOpen() const { return m_window.Connection() != nullptr; }
    std::shared_ptr<int> View() const { return example::ViewOf(m_view); }

    // Does what the events of the window ask for. False when somebody wants to leave.
    bool Attend() {
        bool stays = true;
        for (XEvent event; m_window.TakeEvent(event);) {
            if (event.type == ConfigureNotify) {
                Fit(event.xconfigure.width, event.xconfigure.height);
            } else if (event.type == KeyPress) {
                const KeySym key = XLookupKeysym(&event.xkey, 0);
                stays = stays && key != XK_q;
                if (key == XK_m) {
                    m_mode = (m_mode + 1) % kViewModes;
                    m_live.SetViewMode(m_mode, kChannel);
                }
            }
        }
        return stays && !m_window.IsClosed();
    }

private:
    void Fit(int width, int height) const {
        const int innerWidth = std::max(width - 2 * kBorder, 1);
        const int innerHeight = std::max(height - 2 * kBorder, 1);
        XResizeWindow(m_window.Connection(), m_view, static_cast<unsigned int>(innerWidth),
                      static_cast<unsigned int>(innerHeight));
        XFlush(m_window.Connection());  // the library sees it by itself
    }

    Strova::IVaxoLive& m_live;
    example::AppWindow m_window{"custom view", 520, 400, 0x203040};
    Window m_view = 0;
    int m_mode = 0;
};

// True when it was left, or ended by who publishes; false when it failed.
bool Watch(example::Events& events, PlayerWindow& window) {
    const auto isOver = [](const Heard& now) { return !example::Flows(now.play); };
    while (window.Attend()) {
        // The window's events wait for these 50 ms at most.
        const Heard now = events.Wait(std::chrono::milliseconds(50), isOver);
        if (isOver(now)) {
            return now.play == Mediq::AVStateEnd;
        }
    }
    return true;
}

}  // namespace

int main(int argc, char** argv) {
    example::Settings settings;
    if (argc != 4 || !example::ReadSettings(settings)) {
        std::fprintf(stderr, "usage: custom_view CHANNEL USER STREAM\n");
        return 2;
    }
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    PlayerWindow window(*live);
    if (!window.IsOpen()) {
        std::fprintf(stderr, "custom_view: there is no screen\n");
        return 1;
    }
    const auto events = std::make_shared<example::Events>();  // held weakly: main keeps it
    bool ok = example::Enter(*live, events, settings, argv[1], argv[2]);
    live->SetView(window.View(), kChannel);  // at any time after Init; here before the play
    ok = ok && example::Play(*live, *events, argv[3], kChannel) && Watch(*events, window);
    live->SetView(nullptr, kChannel);  // the library lets go before the window is destroyed
    return example::Leave(*live, *events) && ok ? 0 : 1;
}
