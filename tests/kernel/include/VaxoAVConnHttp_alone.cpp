// The header by itself: who uploads the log needs no other include.
#include "connection/VaxoAVConnHttp.h"

namespace {

[[maybe_unused]] bool Upload(CVaxoAVConnHttp& connection) {
    return connection.Init(1, vaxo::stream()) == 0 &&
           connection.UploadLogFile("user", "log.txt", true);
}

}  // namespace
