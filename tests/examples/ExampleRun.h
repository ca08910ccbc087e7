// The examples as processes, on servers of the test's own.
#ifndef VAXO_TESTS_EXAMPLES_EXAMPLERUN_H
#define VAXO_TESTS_EXAMPLES_EXAMPLERUN_H

#include <memory>
#include <string>
#include <vector>

#include "apps/AppProcess.h"

namespace exampletest {

// Starts an example, without a screen. The servers' addresses are in its environment, and the
// key's file.
std::unique_ptr<apptest::AppProcess> Start(const std::string& example,
                                           const std::vector<std::string>& words);

// The same on the screen of VirtualScreen, which must be there.
std::unique_ptr<apptest::AppProcess> StartOnScreen(const std::string& example,
                                                   const std::vector<std::string>& words);

// Without arguments and without servers: the environment is empty.
std::unique_ptr<apptest::AppProcess> StartBare(const std::string& example);

// A name in the servers' servers.env.
std::string Setting(const std::string& name);

// The sign key's digits, which no output may hold.
std::string KeyDigits();

// Somebody publishes the test picture and the test tone: the example that does that. True when it
// flows; it goes on until the object is gone.
class Publishing {
public:
    Publishing(const std::string& channel, const std::string& stream);
    bool Flows();

private:
    std::unique_ptr<apptest::AppProcess> m_process;
};

// The window that an example's output names, "window <number>"; 0: none.
unsigned long WindowOf(const std::string& output);

// The number of different colours on a grid of points of a window; 0: it is not there.
std::size_t ColoursOf(unsigned long window);

// What a window manager does for who closes or resizes a window.
void Close(unsigned long window);
void Resize(unsigned long window, int width, int height);

// The size of the view in it: of its only child; 0: it has none.
int ViewWidth(unsigned long window);

}  // namespace exampletest

#endif
