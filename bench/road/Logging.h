// The log variants of the cases. Off and On switch the level around what is measured.
#ifndef VAXO_BENCH_ROAD_LOGGING_H
#define VAXO_BENCH_ROAD_LOGGING_H

namespace vaxobench {

enum class Logging {
    Off,    // nothing is logged
    File3,  // a file, at the library's default level
    File4,  // a file, with the listing of the waiting commands
};

inline const char* NameOf(Logging logging) {
    switch (logging) {
        case Logging::File3:
            return "log:file3";
        case Logging::File4:
            return "log:file4";
        default:
            return "log:off";
    }
}

}  // namespace vaxobench

#endif
