// A file that plays in a loop at its own pace, as a part of a media source.
#ifndef VAXO_ENGINE_SOURCE_FILESOURCE_H
#define VAXO_ENGINE_SOURCE_FILESOURCE_H

#include <functional>
#include <memory>
#include <string>

#include "engine/source/SourcePipelines.h"

namespace vaxoengine {

struct FileWish {
    std::string path;
    bool video = false;
    bool audio = false;
};

// The first picture track and the first sound track of a file, those that are wished for.
// Only what lies in the file itself is read: play lists and other files that lead to
// addresses are refused.
//
// At the end it begins again; between the rounds lies a pause of some hundredths of a
// second, and a round takes at least a fifth of a second. `onMissing` tells that a wished
// track is not there (once for each), `onTrouble` that it cannot go on; it may come several
// times. Both on the engine's thread; neither may destroy the part.
std::unique_ptr<SourcePart> MakeFilePart(const FileWish& wish, const SourceFormat& format,
                                         std::shared_ptr<SampleGate> gate,
                                         std::function<void(SourceKind)> onMissing,
                                         TroubleHandler onTrouble);

}  // namespace vaxoengine

#endif
