#include "conformance/engine/Stage.h"

#include <atomic>

namespace conformance {

Request EnterRequest() {
    return {Ask::Enter, Env().Channel()};
}

namespace {

std::atomic<int> s_case{0};

}  // namespace

void NextCase() {
    s_case += 2;
}

Request PublishRequest() {
    return {Ask::Publish, Env().OwnStream(s_case)};
}

Request PublishOtherRequest() {
    return {Ask::Publish, Env().OwnStream(s_case + 1)};
}

Request PlayRequest() {
    return {Ask::Play, Env().PlayableStream()};
}

Request StopPlayRequest() {
    return {Ask::StopPlay, Env().PlayableStream()};
}

Stage::Stage() : recorder(Recorder::Make(ledger)) {
    NextCase();
    Worker::Shared().Run([this] {
        engine = std::make_shared<Strova::CVaxoLiveShow>();
        engine->SetCallback(recorder);
    });
}

Stage::~Stage() {
    ledger->SetHook({});
    if (m_cutOff) {
        Env().Restore();
    }
    if (engine && m_initialised) {
        Uninit();
    }
    Destroy();
    ledger->AwaitSilence();
    CheckBroken();
}

void Stage::CheckBroken() {
    const std::vector<std::string> broken = ledger->Broken();
    for (; m_checked < broken.size(); ++m_checked) {
        ADD_FAILURE() << broken[m_checked];
    }
}

std::pair<int, int> Stage::Start(const Request& request) {
    const int number = ledger->Asked(request);
    const int status = With([&](auto& live) { return Perform(live, request); });
    ledger->Returned(number, status);
    return {number, status};
}

Reply Stage::Do(const Request& request) {
    const auto [number, status] = Start(request);
    Reply reply{status, {}};
    if (status == 0) {
        reply.event = ledger->Answer(number);
    }
    return reply;
}

int Stage::Init() {
    ledger->Initialised();
    const int status = With([](auto& live) { return Env().InitEngine(live); });
    m_initialised = m_initialised || status == 0;
    return status;
}

int Stage::Uninit() {
    const int status = With([](auto& live) { return live.Uninit(); });
    m_initialised = false;
    ledger->Uninitialised();
    return status;
}

void Stage::Destroy() {
    Worker::Shared().Run([this] { engine.reset(); });
    ledger->Uninitialised();
}

std::shared_ptr<Recorder> Stage::ReplaceCallback() {
    std::shared_ptr<Recorder> former = std::exchange(recorder, Recorder::Make(ledger));
    With([this](auto& live) { return live.SetCallback(recorder); });
    return former;
}

void Stage::DropCallback() {
    const std::weak_ptr<Recorder> gone = recorder;
    recorder.reset();
    if (!AwaitGone(gone)) {
        ledger->Break(rule::Weak, "the application let go of its callback, and it is still held");
    }
}

bool Stage::Succeeds(const Request& request) {
    const Reply reply = Do(request);
    if (reply.status != 0) {
        ledger->Break(rule::Accepted, Words(request) + " answered " + std::to_string(reply.status));
    } else if (reply.event && reply.event->value != 0) {
        ledger->Break(rule::Outcome,
                      Words(request) + " was answered by " + Words(*reply.event) + ", not by 0");
    }
    return ledger->Broken().empty();
}

bool Stage::Reach(Place place) {
    if (place == Place::BeforeInit) {
        return true;
    }
    if (const int status = Init(); status != 0) {
        ledger->Break(rule::Accepted, "Init answered " + std::to_string(status));
        return false;
    }
    const bool outside = place == Place::Initialised || place == Place::CutOffOutside;
    if (!outside && place != Place::AfterUninit) {
        if (!Succeeds(EnterRequest())) {
            return false;
        }
        const bool listed = ledger->Await([](const Event& event) {
            return event.what == Told::Stream && event.id == Env().PlayableStream();
        });
        if (!listed) {
            ledger->Break(rule::Listed, "the stream " + Env().PlayableStream() + " did not come");
            return false;
        }
    }
    if (place == Place::CutOffInChannel || place == Place::CutOffOutside) {
        m_cutOff = true;
        return Env().CutOff();
    }
    if (place == Place::AfterUninit) {
        Uninit();
        return true;
    }
    if (place == Place::Publishing || place == Place::Playing) {
        return Succeeds(place == Place::Playing ? PlayRequest() : PublishRequest());
    }
    return place != Place::AfterLogout || Succeeds(LogoutRequest());
}

}  // namespace conformance
