// One engine with its callback, in the state that a case begins with.
#ifndef VAXO_TESTS_CONFORMANCE_STAGE_H
#define VAXO_TESTS_CONFORMANCE_STAGE_H

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "conformance/engine/Ledger.h"
#include "conformance/engine/Recorder.h"
#include "conformance/engine/Rules.h"
#include "conformance/engine/Texts.h"
#include "conformance/engine/Worker.h"
#include "live/VaxoLiveShow.h"

namespace conformance {

// Where an engine stands before a request.
enum class Place {
    BeforeInit,
    Initialised,
    InChannel,
    Publishing,
    Playing,
    AfterLogout,
    AfterUninit,
    CutOffOutside,   // initialised, then no server in reach
    CutOffInChannel  // in the channel, then no server in reach
};

struct Reply {
    int status = 0;
    std::optional<Event> event{};
};

// From here on, other names to publish under.
void NextCase();
// The requests of the environment's names.
Request EnterRequest();
Request PublishRequest();
Request PublishOtherRequest();
Request PlayRequest();
Request StopPlayRequest();
inline Request StopPublishRequest() {
    return {Ask::StopPublish};
}
inline Request LogoutRequest() {
    return {Ask::Logout};
}

class Stage {
public:
    Stage();   // an engine without Init, with a callback
    ~Stage();  // Uninit, if it was initialised; the engine goes; broken rules fail the test
    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    // false: the engine did not get there, which has been told.
    bool Reach(Place place);

    Reply Do(const Request& request);  // the call, and its answer when it was accepted
    // The call alone: the request's number in the ledger, and the status.
    std::pair<int, int> Start(const Request& request);
    int Call(const Request& request) { return Start(request).second; }
    int Init();
    int Uninit();
    void Destroy();                               // on the worker
    std::shared_ptr<Recorder> ReplaceCallback();  // with another recorder: the former one
    void DropCallback();                          // and waits until it is gone
    void CheckBroken();                           // tells the rules broken so far, once

    // `use` with the engine, on the worker; its result.
    template <class Use>
    auto With(Use use) {
        decltype(use(*engine)) result{};
        Worker::Shared().Run([&] { result = use(*engine); });
        return result;
    }

    const std::shared_ptr<Ledger> ledger = std::make_shared<Ledger>();
    std::shared_ptr<Strova::CVaxoLiveShow> engine;
    std::shared_ptr<Recorder> recorder;

private:
    bool Succeeds(const Request& request);

    bool m_initialised = false;
    bool m_cutOff = false;
    std::size_t m_checked = 0;
};

}  // namespace conformance

#endif
