// An X11 window of the application: is it there, how large is it, is it gone.
//
// Uses a connection of its own, so that the application's and the video sink's are left
// alone, and asks for no events of keys and pointer, which the application would miss.
// The window is only looked at. Engine's thread only.
//
// An X error would end the process by default, and a window can vanish at any moment, in the
// middle of a picture. Errors about windows that were ever given to this class are
// therefore logged and forgotten, on whatever connection they come; all others go to the
// handler that was there before. What is not kept away: when the X server itself ends, Xlib
// ends the process.
#ifndef VAXO_ENGINE_VIEW_XWINDOW_H
#define VAXO_ENGINE_VIEW_XWINDOW_H

#include <memory>

namespace vaxoengine {

class XWindow {
public:
    // Empty when there is no screen, no such window, or none that pictures of the
    // screen's own depth can be drawn into.
    static std::unique_ptr<XWindow> Open(unsigned long id);
    ~XWindow();
    XWindow(const XWindow&) = delete;
    XWindow& operator=(const XWindow&) = delete;

    // Pixels, as of the last Poll; at least 1, at most 8192.
    int Width() const;
    int Height() const;

    struct Changes {
        bool gone = false;
        bool resized = false;
        bool exposed = false;  // a part of it has lost its content
    };
    // What has happened since the last call. Does not wait for the X server.
    Changes Poll();

private:
    struct Impl;
    explicit XWindow(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
