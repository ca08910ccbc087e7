// The built-in test picture: moving colour bars, a clock for people, and the clock of
// ClockStamp.h drawn as the picture leaves.
#ifndef VAXO_ENGINE_SOURCE_TESTPICTURE_H
#define VAXO_ENGINE_SOURCE_TESTPICTURE_H

#include <string>

#include "engine/base/GstRef.h"

namespace vaxoengine {

// Launch text of the element that paints.
std::string TestPictureText();
// What follows it once size and rate are fixed: " ! ..." or nothing, when this machine
// cannot write text into pictures.
std::string TestPictureOverlay();
// Draws the time of day into each I420 picture that reaches the element of that name.
void StampTestPicture(const GstRef<GstElement>& pipeline, const char* name);

}  // namespace vaxoengine

#endif
