// The highest picture rate of files and cameras. Pictures are only dropped, never repeated.
//
// Not videorate: it aborts the process when a picture of unknown length comes without a
// rate, which every still picture does, and does not limit streams of changing rate.
#ifndef VAXO_ENGINE_SOURCE_PICTURERATE_H
#define VAXO_ENGINE_SOURCE_PICTURERATE_H

#include "engine/base/GstRef.h"

namespace vaxoengine {

// Decides by the stamps alone. One picture may come early by a whole period, because files
// and cameras are not even; over time no more than the rate goes through.
class PictureRate {
public:
    explicit PictureRate(int fps) : m_period(GST_SECOND / static_cast<GstClockTime>(fps)) {}

    // Stamps that go back begin anew.
    bool Passes(GstClockTime stamp);

private:
    GstClockTime m_period;
    GstClockTime m_last = 0;
    GstClockTime m_due = 0;  // of the next picture at exactly the rate
};

// Drops pictures in front of the element of that name.
void LimitPictureRate(const GstRef<GstElement>& bin, const char* name, int fps);

// Caps that promise no more than the rate, also for a stream of unknown rate. Takes the caps.
GstCaps* WithHighestRate(GstCaps* caps, int fps);

}  // namespace vaxoengine

#endif
