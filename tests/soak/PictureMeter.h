// When pictures pass the end of a pipeline of this process: how long the longest pause between
// two of them was, and when a flash (a bright picture after dark ones) passed. Times are
// milliseconds of the machine's monotonic clock, so that processes may be compared.
//
// Watches whatever hands pictures to an element of the given name, in every pipeline that is
// made while the process lives: a pause goes on over a reconnect. One such pipeline at a time.
// A picture has passed when the element has taken it; one that waits for the clock takes it
// when it is due.
#ifndef VAXO_TESTS_SOAK_PICTUREMETER_H
#define VAXO_TESTS_SOAK_PICTUREMETER_H

#include <string>
#include <vector>

namespace soak {

double NowMillis();

class PictureMeter {
public:
    // The one meter of the process, for its whole life; later calls give the same, whatever the
    // name. Before any pipeline is made.
    static PictureMeter& Watching(const std::string& element);

    struct Report {
        double gap = 0;               // the longest pause that has ended
        double gapEnd = 0;            // when it did
        double still = -1;            // since the last picture; -1: there was none yet
        std::vector<double> flashes;  // when each passed
    };
    Report Take();  // of the time since the last call; any thread

private:
    explicit PictureMeter(const std::string& element);
    struct Impl;
    Impl* const m_impl;
};

}  // namespace soak

#endif
