// A window of the application on X11, which the library draws into: what two of the examples
// share. There need not be a screen: then it stays closed, and everything else works.
#ifndef VAXO_EXAMPLES_APP_WINDOW_H
#define VAXO_EXAMPLES_APP_WINDOW_H

#include <X11/Xlib.h>

#include <memory>
#include <string>

#include "common.h"

namespace example {

// What SetView and SetPreviewView take: the identifier of an X11 window in an int; null: none.
inline std::shared_ptr<int> ViewOf(Window window) {
    return window == 0 ? nullptr : std::make_shared<int>(static_cast<int>(window));
}

// One thread: the library has connections of its own to the screen.
class AppWindow {
public:
    AppWindow(const char* title, unsigned int width, unsigned int height, unsigned long colour) {
        XInitThreads();  // the library draws on threads of its own
        m_display = XOpenDisplay(nullptr);
        if (m_display == nullptr) {
            return;
        }
        m_id = XCreateSimpleWindow(m_display, DefaultRootWindow(m_display), 0, 0, width, height, 0,
                                   0, colour);
        m_closing = XInternAtom(m_display, "WM_DELETE_WINDOW", False);
        XSetWMProtocols(m_display, m_id, &m_closing, 1);
        XStoreName(m_display, m_id, title);
        XSelectInput(m_display, m_id, StructureNotifyMask | KeyPressMask);
        XMapWindow(m_display, m_id);
        XSync(m_display, False);  // it is there before the library looks for it
        Say("window " + std::to_string(m_id));
    }
    ~AppWindow() {
        if (m_display != nullptr) {
            XCloseDisplay(m_display);
        }
    }
    AppWindow(const AppWindow&) = delete;
    AppWindow& operator=(const AppWindow&) = delete;

    Display* Connection() const { return m_display; }  // null: there is no screen
    Window Id() const { return m_id; }

    // The next event that waits; false when none does. Does not wait for one.
    bool TakeEvent(XEvent& event) {
        if (m_display == nullptr || XPending(m_display) == 0) {
            return false;
        }
        XNextEvent(m_display, &event);
        m_isClosed = m_isClosed || (event.type == ClientMessage &&
                                    static_cast<Atom>(event.xclient.data.l[0]) == m_closing);
        return true;
    }
    // Somebody closed it; seen when that event was taken.
    bool IsClosed() const { return m_isClosed; }

private:
    Display* m_display = nullptr;
    Window m_id = 0;
    Atom m_closing = 0;
    bool m_isClosed = false;
};

}  // namespace example

#endif
