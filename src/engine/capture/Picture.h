// A picture in memory that the filters of the capture change in place.
#ifndef VAXO_ENGINE_CAPTURE_PICTURE_H
#define VAXO_ENGINE_CAPTURE_PICTURE_H

#include <cstddef>

namespace vaxoengine {

// I420, video range (luma 16..235). Odd sizes have rounded-up colour planes. Borrows the
// memory: whoever made it sees to its lifetime.
struct Picture {
    unsigned char* luma = nullptr;
    unsigned char* u = nullptr;
    unsigned char* v = nullptr;
    int width = 0;
    int height = 0;
    std::ptrdiff_t lumaStride = 0;
    std::ptrdiff_t uStride = 0;
    std::ptrdiff_t vStride = 0;
};

}  // namespace vaxoengine

#endif
