// Values shared by the public interfaces: stream states and update flags.
#ifndef VAXO_VAXOAVDEFINES_H
#define VAXO_VAXOAVDEFINES_H

#include "vaxotypes.h"

namespace Mediq {

// What became of a publish or a play. A value outside the list is passed on as
// it came: treat it as an error that this version of the library has no name for.
enum VaxoAVState : int32 {
    AVStateBegin = 0,       // media flows
    AVStateEnd = 1,         // ended as asked
    TempBroken = 2,         // interrupted, the engine is trying again
    FatalError = 3,         // failed for good, also: refused by the engine, or no engine
    CreateStreamError = 4,  // the service would not create the stream
    FetchStreamError = 5,   // the service would not tell where the stream is
    NoStreamError = 6,      // there is no such stream
};

// The log name of a state, the empty text for any other value. Static storage.
inline const char* VaxoDescription(VaxoAVState state) {
    static const char* const s_names[] = {
        "BEGIN",
        "END",
        "TEMP_BROKEN",
        "FATAL_ERROR",
        "CREATE_STREAM_ERROR",
        "FETCH_STREAM_ERROR",
        "NO_STREAM_ERROR",
    };
    const auto index = static_cast<uint32>(state);  // a negative value wraps to far outside
    return index < sizeof(s_names) / sizeof(s_names[0]) ? s_names[index] : "";
}

}  // namespace Mediq

// What a stream update means.
enum VaxoAVStreamUpdateFlag : int32 {
    CompleteStreamList = 0,  // one stream of the whole list, as given on entry
    AddedStream = 1,         // a stream that is new, or whose record changed
    DeletedStream = 2,       // a stream that is gone
    FetchError = 3,          // the list could not be had
};

#endif
