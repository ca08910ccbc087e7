// Plain X11 windows of the program's own, for people who have none to give. Closing one
// asks the command to leave.
#ifndef VAXO_APPS_WINDOWS_H
#define VAXO_APPS_WINDOWS_H

#include <memory>
#include <string>
#include <vector>

#include "Session.h"

namespace vaxoapp {

class Windows {
public:
    Windows();
    ~Windows();  // closes them: whoever draws in one must have stopped
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    // One window for each title, the first one `left` pixels from the screen's left edge where
    // no window manager places them. False without a screen. At most once.
    bool Open(const std::vector<std::string>& titles, int left, std::shared_ptr<Session> session);

    unsigned long Id(std::size_t index) const;  // 0 when there is no such window

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace vaxoapp

#endif
