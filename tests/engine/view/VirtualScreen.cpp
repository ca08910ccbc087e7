#include "engine/view/VirtualScreen.h"

#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

// Last: they define macros with everyday names.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

#include "Within.h"

namespace livetest {

namespace {

constexpr int kStartSeconds = 30;
constexpr const char* kServer = "/usr/bin/Xvfb";

constexpr unsigned long kNoWindow = 0x7FFFFFE0;

pid_t serverPid = -1;
std::atomic<int> errors{0};

int OnError(Display* /*display*/, XErrorEvent* error) {
    errors += error->resourceid == kNoWindow ? 1 : 0;
    return 0;
}

void EndServer() {
    if (serverPid > 0) {
        kill(serverPid, SIGTERM);
        waitpid(serverPid, nullptr, 0);
        serverPid = -1;
    }
}

// The number of the display that the server has chosen; empty when it did not start.
std::string StartServer() {
    int ends[2];
    if (pipe(ends) != 0) {
        return "";
    }
    serverPid = fork();
    if (serverPid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        const std::string number = std::to_string(ends[1]);
        execl(kServer, kServer, "-displayfd", number.c_str(), "-screen", "0", "640x480x24",
              "-nolisten", "tcp", "-noreset", static_cast<char*>(nullptr));
        _exit(127);
    }
    close(ends[1]);
    std::string number;
    pollfd waiting{ends[0], POLLIN, 0};
    char c = 0;
    while (poll(&waiting, 1, kStartSeconds * 1000) == 1 && read(ends[0], &c, 1) == 1 && c != '\n') {
        number += c;
    }
    close(ends[0]);
    return c == '\n' ? number : "";
}

}  // namespace

VirtualScreen* VirtualScreen::Shared() {
    if (access(kServer, X_OK) != 0) {
        return nullptr;
    }
    // Never destroyed: its connection is used until the process ends.
    static VirtualScreen* const screen = new VirtualScreen;
    return screen;
}

VirtualScreen::VirtualScreen() {
    XInitThreads();
    const std::string number = StartServer();
    EXPECT_FALSE(number.empty()) << "the X server did not start";
    if (serverPid > 0) {
        std::atexit(EndServer);
    }
    setenv("DISPLAY", (":" + number).c_str(), 1);
    m_display = XOpenDisplay(nullptr);
    EXPECT_NE(m_display, nullptr);
}

void VirtualScreen::CountErrors() {
    XSetErrorHandler(OnError);
}

int VirtualScreen::Errors() {
    return errors;
}

void VirtualScreen::MakeError() const {
    XMapWindow(m_display, kNoWindow);
    XSync(m_display, False);
}

TestWindow::TestWindow(int width, int height) {
    Display* const display = VirtualScreen::Shared()->Connection();
    m_id =
        XCreateSimpleWindow(display, DefaultRootWindow(display), 0, 0, static_cast<unsigned>(width),
                            static_cast<unsigned>(height), 0, 0, 0xFFFFFF);
    XMapWindow(display, m_id);
    XSync(display, False);
}

TestWindow::~TestWindow() {
    Destroy();
}

void TestWindow::Resize(int width, int height) {
    Display* const display = VirtualScreen::Shared()->Connection();
    XResizeWindow(display, m_id, static_cast<unsigned>(width), static_cast<unsigned>(height));
    XSync(display, False);
}

void TestWindow::Destroy() {
    if (m_id != 0) {
        Display* const display = VirtualScreen::Shared()->Connection();
        XDestroyWindow(display, m_id);
        XSync(display, False);
        m_id = 0;
    }
}

unsigned long TestWindow::Pixel(int x, int y) const {
    XImage* const image =
        XGetImage(VirtualScreen::Shared()->Connection(), m_id, x, y, 1, 1, AllPlanes, ZPixmap);
    const unsigned long pixel = image != nullptr ? XGetPixel(image, 0, 0) & 0xFFFFFF : 0x1000000;
    if (image != nullptr) {
        XDestroyImage(image);
    }
    return pixel;
}

bool ComesTrue(const std::function<bool()>& condition) {
    return Within(std::chrono::seconds(30), condition);
}

}  // namespace livetest
