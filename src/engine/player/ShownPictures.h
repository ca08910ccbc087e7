// What a player has shown: how many pictures, the last one, and how old it was.
// Shown is called by the sink's thread, the rest on any thread.
#ifndef VAXO_ENGINE_PLAYER_SHOWNPICTURES_H
#define VAXO_ENGINE_PLAYER_SHOWNPICTURES_H

#include <mutex>

#include <gst/gst.h>

#include "engine/base/GstRef.h"
#include "engine/view/Snapshot.h"

namespace vaxoengine {

class ShownPictures {
public:
    struct News {
        bool first = false;
        bool size = false;  // other than that of the picture before
        int width = 0;
        int height = 0;
    };
    News Shown(GstBuffer* picture, GstCaps* caps);

    uint64 Count() const;
    int LatencyMillis() const;  // -1: no picture has carried a clock
    bool Last(Snapshot& out) const;

private:
    mutable std::mutex m_mutex;
    GstSampleRef m_last;
    uint64 m_time = 0;  // microseconds since 1970
    uint64 m_count = 0;
    int m_width = 0;
    int m_height = 0;
    int m_latency = -1;
};

}  // namespace vaxoengine

#endif
