// The kit with the memory engine, as a process of its own.
#ifndef VAXO_TESTS_CONFORMANCE_KITPROCESS_H
#define VAXO_TESTS_CONFORMANCE_KITPROCESS_H

#include <string>

namespace conformance {

struct KitRun {
    bool passed = false;  // it ended by itself, with status 0
    std::string output;
};

// Runs the cases that `filter` names, until the first that fails.
KitRun RunKit(const std::string& fault, const std::string& filter);

}  // namespace conformance

#endif
