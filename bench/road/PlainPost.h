// The least that any marshalling costs: a job with one captured int, posted to a thread.
// Joins nothing, holds nothing, logs nothing.
#ifndef VAXO_BENCH_ROAD_PLAINPOST_H
#define VAXO_BENCH_ROAD_PLAINPOST_H

#include <memory>

#include "road/Marshal.h"
#include "vaxotypes.h"

namespace vaxobench {

class VAXO_API PlainPost {
public:
    explicit PlainPost(MarshalEngine& engine);
    ~PlainPost();
    PlainPost(const PlainPost&) = delete;
    PlainPost& operator=(const PlainPost&) = delete;

    int SetVideoBitrate(int bitrate);
    int SetVideoFPS(int fps);
    void Drain();  // returns when what was posted before has run

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace vaxobench

#endif
