#include "ExampleRun.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <set>
#include <sstream>

#include "engine/view/VirtualScreen.h"
#include "servers/LocalServers.h"
#include "servers/ServerTools.h"

// Last: it defines macros with everyday names.
#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace exampletest {

namespace {

constexpr int kPoints = 16;  // in each direction

typedef std::map<std::string, std::string> Environment;

std::unique_ptr<apptest::AppProcess> Run(const std::string& example,
                                         const std::vector<std::string>& words,
                                         const Environment& environment) {
    return std::make_unique<apptest::AppProcess>(
        words, environment,
        apptest::Surroundings{false, {}, std::string(VAXO_EXAMPLES_DIR) + "/" + example});
}

Environment Addresses() {
    Environment environment;
    for (const char* const name :
         {"VAXO_APP_ID", "VAXO_KEY_FILE", "VAXO_SERVICE_URL", "VAXO_MEDIA_URL"}) {
        environment[name] = Setting(name);
    }
    return environment;
}

// A window of another program may go at any moment.
int IgnoreError(Display* /*display*/, XErrorEvent* /*error*/) {
    return 0;
}

Display* Connection() {
    XSetErrorHandler(IgnoreError);
    return livetest::VirtualScreen::Shared()->Connection();
}

}  // namespace

std::unique_ptr<apptest::AppProcess> Start(const std::string& example,
                                           const std::vector<std::string>& words) {
    return Run(example, words, Addresses());
}

std::unique_ptr<apptest::AppProcess> StartOnScreen(const std::string& example,
                                                   const std::vector<std::string>& words) {
    Environment environment = Addresses();
    environment["DISPLAY"] = DisplayString(Connection());
    return Run(example, words, environment);
}

std::unique_ptr<apptest::AppProcess> StartBare(const std::string& example) {
    return Run(example, {}, {});
}

std::string Setting(const std::string& name) {
    const std::string& directory = livetest::LocalServers::Shared().Directory();
    std::istringstream lines(livetest::Slurp(directory + "/servers.env"));
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, name.size() + 1, name + "=") == 0) {
            return line.substr(name.size() + 1);
        }
    }
    ADD_FAILURE() << "servers.env has no " << name;
    return {};
}

std::string KeyDigits() {
    std::string digits = livetest::Slurp(Setting("VAXO_KEY_FILE"));
    while (!digits.empty() && digits.back() == '\n') {
        digits.pop_back();
    }
    EXPECT_FALSE(digits.empty());
    return digits;
}

Publishing::Publishing(const std::string& channel, const std::string& stream)
    : m_process(Start("publish_with_preview", {channel, "ann", stream, "/dev/null", "120"})) {}

bool Publishing::Flows() {
    return m_process->AwaitOutput("picture in ");
}

unsigned long WindowOf(const std::string& output) {
    const std::string name = "window ";
    const std::size_t at = output.find(name);
    return at == std::string::npos ? 0
                                   : std::strtoul(output.c_str() + at + name.size(), nullptr, 10);
}

std::size_t ColoursOf(unsigned long window) {
    Display* const display = Connection();
    XWindowAttributes is{};
    XImage* const image = XGetWindowAttributes(display, window, &is) == 0
                              ? nullptr
                              : XGetImage(display, window, 0, 0, static_cast<unsigned>(is.width),
                                          static_cast<unsigned>(is.height), AllPlanes, ZPixmap);
    std::set<unsigned long> colours;
    for (int i = 0; image != nullptr && i < kPoints * kPoints; ++i) {
        colours.insert(XGetPixel(image, (i % kPoints * 2 + 1) * is.width / (2 * kPoints),
                                 (i / kPoints * 2 + 1) * is.height / (2 * kPoints)));
    }
    if (image != nullptr) {
        XDestroyImage(image);
    }
    return colours.size();
}

void Close(unsigned long window) {
    Display* const display = Connection();
    XEvent event{};
    event.xclient.type = ClientMessage;
    event.xclient.window = window;
    event.xclient.message_type = XInternAtom(display, "WM_PROTOCOLS", False);
    event.xclient.format = 32;
    event.xclient.data.l[0] = static_cast<long>(XInternAtom(display, "WM_DELETE_WINDOW", False));
    EXPECT_NE(XSendEvent(display, window, False, NoEventMask, &event), 0);
    XSync(display, False);
}

void Resize(unsigned long window, int width, int height) {
    XResizeWindow(Connection(), window, static_cast<unsigned>(width),
                  static_cast<unsigned>(height));
    XSync(Connection(), False);
}

int ViewWidth(unsigned long window) {
    Window root = 0;
    Window parent = 0;
    Window* children = nullptr;
    unsigned count = 0;
    XWindowAttributes is{};
    if (XQueryTree(Connection(), window, &root, &parent, &children, &count) != 0 && count == 1) {
        XGetWindowAttributes(Connection(), children[0], &is);
    }
    if (children != nullptr) {
        XFree(children);
    }
    return is.width;
}

}  // namespace exampletest
