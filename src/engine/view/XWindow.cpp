#include "engine/view/XWindow.h"

#include <algorithm>
#include <deque>
#include <mutex>
#include <utility>

#include <X11/Xlib.h>

#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr int kMaxSide = 8192;
constexpr size_t kMaxRemembered = 256;

int OnXError(Display* display, XErrorEvent* error);

// The windows whose errors are not the application's.
class ErrorFilter {
public:
    // Never destroyed: an error may come while the process ends.
    static ErrorFilter& Shared() {
        static auto* const filter = new ErrorFilter;
        return *filter;
    }

    // Also puts the filter in front of a handler that the application has set meanwhile.
    void Add(unsigned long window) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_windows.push_back(window);
        if (m_windows.size() > kMaxRemembered) {
            m_windows.pop_front();
        }
        const XErrorHandler before = XSetErrorHandler(OnXError);
        if (before != OnXError) {
            m_before = before;
        }
    }

    bool Contains(unsigned long window) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::find(m_windows.begin(), m_windows.end(), window) != m_windows.end();
    }

    XErrorHandler Before() {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_before;
    }

private:
    std::mutex m_mutex;
    std::deque<unsigned long> m_windows;
    XErrorHandler m_before = nullptr;
};

int OnXError(Display* display, XErrorEvent* error) {
    if (ErrorFilter::Shared().Contains(error->resourceid)) {
        syslog(esyslog_generic, kTag, __LINE__, "window %lu: X error %d at request %d",
               error->resourceid, error->error_code, error->request_code);
        return 0;
    }
    // Two handlers that each remember the other as the one before would never end.
    static thread_local bool inside = false;
    const XErrorHandler before = ErrorFilter::Shared().Before();
    if (inside || before == nullptr) {
        return 0;
    }
    inside = true;
    const int result = before(display, error);
    inside = false;
    return result;
}

void InitThreadsOnce() {
    static std::once_flag once;
    std::call_once(once, [] { XInitThreads(); });
}

int Side(int pixels) {
    return std::clamp(pixels, 1, kMaxSide);
}

struct DisplayClose {
    void operator()(Display* display) const { XCloseDisplay(display); }
};

}  // namespace

struct XWindow::Impl {
    std::unique_ptr<Display, DisplayClose> display;
    Window window = 0;
    int width = 1;
    int height = 1;
};

std::unique_ptr<XWindow> XWindow::Open(unsigned long id) {
    InitThreadsOnce();
    auto impl = std::make_unique<Impl>();
    impl->display.reset(XOpenDisplay(nullptr));
    Display* const display = impl->display.get();
    if (display == nullptr) {
        return nullptr;
    }
    ErrorFilter::Shared().Add(id);
    impl->window = id;
    // Before the question, so that no change falls between.
    XSelectInput(display, id, StructureNotifyMask | ExposureMask);
    XWindowAttributes found{};
    if (XGetWindowAttributes(display, id, &found) == 0) {
        return nullptr;
    }
    // The sink draws with the screen's depth; the X server refuses another one.
    if (found.c_class != InputOutput || found.root != DefaultRootWindow(display) ||
        found.depth != DefaultDepth(display, DefaultScreen(display))) {
        return nullptr;
    }
    impl->width = Side(found.width);
    impl->height = Side(found.height);
    return std::unique_ptr<XWindow>(new XWindow(std::move(impl)));
}

XWindow::XWindow(std::unique_ptr<Impl> impl) : m_impl(std::move(impl)) {}

XWindow::~XWindow() = default;

int XWindow::Width() const {
    return m_impl->width;
}

int XWindow::Height() const {
    return m_impl->height;
}

XWindow::Changes XWindow::Poll() {
    Changes changes;
    Display* const display = m_impl->display.get();
    for (int pending = XPending(display); pending > 0; --pending) {
        XEvent event;
        XNextEvent(display, &event);
        if (event.type == DestroyNotify && event.xdestroywindow.window == m_impl->window) {
            changes.gone = true;
        } else if (event.type == Expose) {
            changes.exposed = true;
        } else if (event.type == ConfigureNotify && event.xconfigure.window == m_impl->window) {
            const int width = Side(event.xconfigure.width);
            const int height = Side(event.xconfigure.height);
            changes.resized = changes.resized || width != m_impl->width || height != m_impl->height;
            m_impl->width = width;
            m_impl->height = height;
        }
    }
    return changes;
}

}  // namespace vaxoengine
