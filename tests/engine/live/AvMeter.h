// Measures how picture and sound of a played stream stand to each other, by a flash and a beep
// that were published at the same moment.
//
// Looks at what every player of the process hands to its sinks: when the first bright picture
// and the first loud sample after darkness and silence are due, on the one clock that all
// pipelines share. One player at a time. For the whole life of the process, once made.
#ifndef VAXO_TESTS_ENGINE_LIVE_AVMETER_H
#define VAXO_TESTS_ENGINE_LIVE_AVMETER_H

#include <chrono>
#include <optional>
#include <vector>

namespace livetest {

// A video file of flashes and beeps, one of each every second, at 30 pictures a second.
// ffmpeg's arguments for it, but for the output.
extern const char* const kFlashAndBeep;

class AvMeter {
public:
    static AvMeter& Shared();

    void Forget();
    // How much later than the flash the beep was due, in milliseconds, of each pair that was
    // seen since Forget.
    std::vector<double> Offsets() const;
    // The middle one of `count` pairs; empty when they do not come in time.
    std::optional<double> Median(std::size_t count, std::chrono::seconds limit);

private:
    AvMeter();
    struct Impl;
    Impl* const m_impl;
};

}  // namespace livetest

#endif
