// Beautifying as an element of a pipeline: "vaxobeautify".
//
// I420 pictures, in place, of any size; BeautyFilter.h says what happens to them. One
// property:
//
//     features   unsigned, the bits of BeautyFilter: 1 smooth, 2 whiten, 4 sharpen; 0 at first.
//                Others are dropped. May be set and read by any thread, also while pictures
//                flow: the next picture that arrives is the first to follow it.
//
// While it is 0 the pictures pass untouched and are not copied. Otherwise a picture that
// somebody else holds too is copied first, as every element in place does. No picture is
// dropped for being late.
#ifndef VAXO_ENGINE_FILTERS_BEAUTYELEMENT_H
#define VAXO_ENGINE_FILTERS_BEAUTYELEMENT_H

namespace vaxoengine {

constexpr const char* kBeautyElement = "vaxobeautify";

// Makes the element known to this process, once; later calls answer as the first did. Initialises
// GStreamer if nobody has. Any thread.
bool RegisterBeautyElement();

}  // namespace vaxoengine

#endif
