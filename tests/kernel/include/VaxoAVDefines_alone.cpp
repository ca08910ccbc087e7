// The header by itself: the values and their names need no other include.
#include "VaxoAVDefines.h"

namespace {

[[maybe_unused]] const char* Name(VaxoAVStreamUpdateFlag flag) {
    return Mediq::VaxoDescription(flag == FetchError ? Mediq::FetchStreamError
                                                     : Mediq::AVStateBegin);
}

}  // namespace
