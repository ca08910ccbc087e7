// An X server without a screen, for tests that show windows. One for the process, ended with
// it; DISPLAY is set to it.
#ifndef VAXO_TESTS_ENGINE_VIRTUALSCREEN_H
#define VAXO_TESTS_ENGINE_VIRTUALSCREEN_H

#include <functional>

struct _XDisplay;

namespace livetest {

class VirtualScreen {
public:
    // Null when the X server is not installed; a failed start fails the test.
    static VirtualScreen* Shared();

    _XDisplay* Connection() const { return m_display; }

    // Counts the X errors of windows that are nobody's, as an application's handler sees them.
    static void CountErrors();
    static int Errors();
    void MakeError() const;  // with a window that there is not

private:
    VirtualScreen();
    _XDisplay* m_display = nullptr;
};

// A plain window on it, white until something is drawn.
class TestWindow {
public:
    TestWindow(int width, int height);
    ~TestWindow();
    TestWindow(const TestWindow&) = delete;
    TestWindow& operator=(const TestWindow&) = delete;

    unsigned long Id() const { return m_id; }
    void Resize(int width, int height);
    void Destroy();
    // 0xRRGGBB.
    unsigned long Pixel(int x, int y) const;

private:
    unsigned long m_id;
};

// Asks again and again, for half a minute at most. True when it came true.
bool ComesTrue(const std::function<bool()>& condition);

}  // namespace livetest

#endif
