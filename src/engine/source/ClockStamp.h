// A clock in the picture that programs can read: the built-in test picture carries it, and
// whoever plays the stream can tell how old the picture is.
//
// One row of 40 squares across the top of the picture: white is 1, black is 0. First 32 bits,
// the highest first: milliseconds since 1970, modulo 2^32; then 8 bits: the sum of the four
// bytes modulo 256. Square n begins at n*width/40 and is width/40 high, both rounded down.
// It survives encoding, scaling that keeps the shape, and a change of brightness; it does not
// survive bars, turning and mirroring.
//
// A picture narrower than 160 has no room for it: none is drawn, none is read. All squares
// black would look like any dark picture, so 0 is drawn as 1.
#ifndef VAXO_ENGINE_SOURCE_CLOCKSTAMP_H
#define VAXO_ENGINE_SOURCE_CLOCKSTAMP_H

#include <cstdint>

namespace vaxoengine {

// Draws into the luma plane of a picture. Any thread.
void DrawClockStamp(unsigned char* luma, int width, int height, int stride, std::uint32_t millis);
// Reads it from pixels of `step` bytes each of which the first is looked at (1: a luma
// plane; 4: RGBA, red). False when there is none or it is damaged; one damaged picture in
// some hundreds is taken for a whole one. Any thread.
bool ReadClockStamp(const unsigned char* pixels, int width, int height, int stride, int step,
                    std::uint32_t& millis);

}  // namespace vaxoengine

#endif
