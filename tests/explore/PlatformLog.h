// Who hears the log lines of the run.
#ifndef VAXO_TESTS_EXPLORE_PLATFORMLOG_H
#define VAXO_TESTS_EXPLORE_PLATFORMLOG_H

#include <functional>
#include <string>

namespace explore {

// Called with every line, on the thread that logs it, between two steps.
void OnLine(std::function<void(const std::string& tag, const std::string& text)> listener);

}  // namespace explore

#endif
