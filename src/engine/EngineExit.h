// The end of the process in the middle of work: what still runs is shut down before the
// libraries below it are, which do not expect to be used any more then.
#ifndef VAXO_ENGINE_ENGINEEXIT_H
#define VAXO_ENGINE_ENGINEEXIT_H

#include <functional>

namespace vaxoengine {

// `shutdown` runs on the engine's thread when the process exits, waited for at most two
// seconds. Call it after the libraries were initialised. Once for the process; later calls do
// nothing.
void AtProcessExit(std::function<void()> shutdown);

}  // namespace vaxoengine

#endif
