#include "Windows.h"

#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <thread>

namespace vaxoapp {

namespace {

constexpr unsigned kWidth = 640;
constexpr unsigned kHeight = 360;

}  // namespace

struct Windows::Impl {
    Display* display = nullptr;
    Atom closing = 0;  // the window manager's message that somebody closes a window
    std::vector<unsigned long> windows;
    std::shared_ptr<Session> session;
    int end = -1;  // an eventfd
    std::thread thread;

    void Add(const std::string& title, int left);
    void Run();
};

void Windows::Impl::Add(const std::string& title, int left) {
    const int screen = DefaultScreen(display);
    const int step = 40 * static_cast<int>(windows.size());
    const unsigned long window =
        XCreateSimpleWindow(display, RootWindow(display, screen), left + step, step, kWidth,
                            kHeight, 0, BlackPixel(display, screen), BlackPixel(display, screen));
    XStoreName(display, window, title.c_str());
    XSetWMProtocols(display, window, &closing, 1);
    XMapWindow(display, window);
    windows.push_back(window);
}

void Windows::Impl::Run() {
    std::array<struct pollfd, 2> fds = {{{end, POLLIN, 0}, {ConnectionNumber(display), POLLIN, 0}}};
    while (fds[0].revents == 0) {
        while (XPending(display) > 0) {
            XEvent event;
            XNextEvent(display, &event);
            if (event.type == ClientMessage &&
                static_cast<unsigned long>(event.xclient.data.l[0]) == closing) {
                session->PostStop();
            }
        }
        ::poll(fds.data(), fds.size(), -1);
    }
}

Windows::Windows() = default;

Windows::~Windows() {
    if (!m_impl) {
        return;
    }
    const std::uint64_t one = 1;
    static_cast<void>(::write(m_impl->end, &one, sizeof(one)) == sizeof(one));
    m_impl->thread.join();
    ::close(m_impl->end);
    XCloseDisplay(m_impl->display);
}

bool Windows::Open(const std::vector<std::string>& titles, int left,
                   std::shared_ptr<Session> session) {
    XInitThreads();  // the engine draws on threads of its own
    auto impl = std::make_unique<Impl>();
    impl->display = XOpenDisplay(nullptr);
    if (impl->display == nullptr) {
        return false;
    }
    impl->closing = XInternAtom(impl->display, "WM_DELETE_WINDOW", False);
    for (const std::string& title : titles) {
        impl->Add(title, left);
    }
    XSync(impl->display, False);  // the windows are there for other connections
    impl->session = std::move(session);
    impl->end = ::eventfd(0, EFD_CLOEXEC);
    impl->thread = std::thread([raw = impl.get()] { raw->Run(); });
    m_impl = std::move(impl);
    return true;
}

unsigned long Windows::Id(std::size_t index) const {
    return m_impl && index < m_impl->windows.size() ? m_impl->windows[index] : 0;
}

}  // namespace vaxoapp
