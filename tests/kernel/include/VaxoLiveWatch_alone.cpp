// The header by itself: who watches the queue needs no other include.
#include "VaxoLiveWatch.h"

namespace {

[[maybe_unused]] vaxo::strutf8 Report() {
    return Strova::VaxoLiveDescribeQueue(Strova::VaxoLiveDumpQueue());
}

}  // namespace
