// How a getter asks the engine: the body of CVaxoLiveProxy::AskEngine, for the two
// source files with getters.
#ifndef VAXO_VAXOLIVEASK_H
#define VAXO_VAXOLIVEASK_H

#include <memory>

#include "live/VaxoLiveProxy.h"
#include "utils/VaxoQueueRunner.h"

namespace Strova {

template <class Result, class Read>
Result CVaxoLiveProxy::AskEngine(Result withoutEngine, Read read) const {
    Result result = withoutEngine;
    CVaxoQueueRunner::GetSharedInstance()->SyncRun(
        [&] {
            if (const std::shared_ptr<IVaxoLive> live = GetLive()) {
                result = read(*live);
            }
        },
        0);
    return result;
}

}  // namespace Strova

#endif
