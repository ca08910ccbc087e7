// A program with an engine of its own: memory_engine.cpp defines it, and because it is linked,
// the library's own is not. The program enters a channel, publishes, plays what it publishes and
// leaves; every event is printed. It needs neither servers nor media libraries.
//
// Status 0: every answer came and was the one expected.
#include <cstdio>
#include <memory>

#include "common.h"

namespace {

constexpr unsigned int kAppID = 42;
constexpr const char* kStream = "show";

}  // namespace

int main() {
    const auto live = Strova::CVaxoLiveProxy::GetInstance();
    const auto events = std::make_shared<example::Events>();  // held weakly: main keeps it
    example::Settings settings;
    settings.appID = kAppID;
    settings.key.resize(32);  // this engine signs nothing

    bool ok = example::Enter(*live, events, settings, "room", "ann") &&
              example::Publish(*live, *events, "room", kStream) &&
              example::Play(*live, *events, kStream, 0);

    // A getter asks the engine past the queued calls.
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    ok = ok && live->GetStreamList(streams) == 0 && streams.size() == 1;
    example::Say("publishes at " + example::Text(live->GetCurrentPublishStreamURL()));

    live->StopPlayStream(kStream);
    live->StopPublishing();
    const auto isOver = [](const example::Heard& now) {
        return now.play == Mediq::AVStateEnd && now.publish == Mediq::AVStateEnd;
    };
    ok = isOver(events->Wait(example::kAnswerBound, isOver)) && ok;
    ok = example::Leave(*live, *events) && ok;
    return ok ? 0 : 1;
}
