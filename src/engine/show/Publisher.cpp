#include "engine/show/Publisher.h"

#include <utility>

#include "VaxoLiveState.h"
#include "engine/show/Limits.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Publish";

}  // namespace

Publisher::Publisher(Capture& capture, Host host)
    : m_capture(capture),
      m_host(std::move(host)),
      m_rate(capture, [this] { return m_output ? m_output->GetFlow() : Flow(); }),
      m_retry(kPublishBackoff) {}

Publisher::~Publisher() {
    End();
}

void Publisher::Start(const std::string& streamID) {
    if (m_state == State::Live && m_streamID == streamID) {
        m_host.answer(Mediq::AVStateBegin, streamID);
        return;
    }
    AnswerStop();
    End();
    m_streamID = streamID;
    m_state = State::Starting;
    const std::shared_ptr<Junction> junction = m_junction;
    EncodedSinks sinks;
    sinks.video = [junction](GstSample* sample) {
        const std::lock_guard<std::mutex> hold(junction->lock);
        junction->output != nullptr ? junction->output->PushVideo(sample)
                                    : gst_sample_unref(sample);
    };
    sinks.audio = [junction](GstSample* sample) {
        const std::lock_guard<std::mutex> hold(junction->lock);
        junction->output != nullptr ? junction->output->PushAudio(sample)
                                    : gst_sample_unref(sample);
    };
    if (!m_capture.StartEncoding(std::move(sinks))) {
        Fail(Mediq::FatalError);
        return;
    }
    m_rate.Begin();
    m_limit.Once(kAnswerLimit, [this] { Fail(Mediq::FatalError); });
    Connect();
}

void Publisher::Stop() {
    AnswerStop();
    m_stopping = std::make_unique<std::string>(m_streamID);
    End();
    if (m_closing == 0) {
        AnswerStop();
    }
}

void Publisher::AnswerStop() {
    if (m_stopping) {
        const std::unique_ptr<std::string> streamID = std::move(m_stopping);
        m_host.answer(Mediq::AVStateEnd, *streamID);
    }
}

void Publisher::Abandon() {
    AnswerStop();
    if (m_state != State::Idle) {
        Fail(Mediq::AVStateEnd);
    }
}

void Publisher::OnVideoSet() {
    m_rate.OnSet();
}

bool Publisher::Active() const {
    return m_state != State::Idle;
}

const std::string& Publisher::StreamID() const {
    return m_streamID;
}

void Publisher::Connect() {
    m_address = m_host.signedAddress(m_streamID);
    if (m_address.empty()) {
        syslog(esyslog_error, kTag, __LINE__, "no media server is set");
        Fail(Mediq::CreateStreamError);
        return;
    }
    auto output = std::make_unique<Output>(
        m_address, m_capture.BaseTime(),
        [this](OutputEvent event, const std::string& reason) { OnOutput(event, reason); });
    if (!output->Start()) {
        Fail(Mediq::FatalError);
        return;
    }
    {
        const std::lock_guard<std::mutex> hold(m_junction->lock);
        m_output = std::move(output);
        m_junction->output = m_output.get();
    }
    m_capture.ForceKeyFrame();
}

void Publisher::Disconnect() {
    m_pulse.reset();
    m_rate.OnLost();
    std::unique_ptr<Output> output;
    {
        const std::lock_guard<std::mutex> hold(m_junction->lock);
        m_junction->output = nullptr;
        output = std::move(m_output);
    }
    if (output) {
        ++m_closing;
        Output::Close(std::move(output), [weak = std::weak_ptr<Publisher*>(m_self)] {
            if (const std::shared_ptr<Publisher*> self = weak.lock()) {
                --(*self)->m_closing;
                (*self)->AnswerStop();
            }
        });
    }
}

void Publisher::OnOutput(OutputEvent event, const std::string& reason) {
    if (event == OutputEvent::Flowing) {
        OnFlowing();
        return;
    }
    syslog(esyslog_warning, kTag, __LINE__, "stream %s: %s", m_streamID.c_str(), reason.c_str());
    if (m_state == State::Starting && event == OutputEvent::Refused) {
        OnRefused(reason);
    } else if (m_state == State::Starting) {
        Fail(Mediq::FatalError);
    } else {
        OnLost(reason);
    }
}

void Publisher::OnRefused(const std::string& reason) {
    if (reason.find("already") != std::string::npos) {
        Fail(static_cast<Mediq::VaxoAVState>(Strova::VaxoLiveState_NameInUse));
        return;
    }
    m_refusal.Ask(m_host.whyAddress(m_address), Mediq::CreateStreamError,
                  [this](Mediq::VaxoAVState state) { Fail(state); });
}

void Publisher::OnFlowing() {
    const bool answers = m_state == State::Starting;
    m_state = State::Live;
    m_limit.Stop();
    m_retry.Reset();
    m_pulse = std::make_unique<ServerPulse>(
        m_address, [this] { OnOutput(OutputEvent::Broken, "the server is silent"); });
    m_rate.OnConnected();
    m_host.announce(true);
    (answers ? m_host.answer : m_host.change)(Mediq::AVStateBegin, m_streamID);
}

// A refusal counts as a loss here: the server may still hold the connection that was lost.
void Publisher::OnLost(const std::string& /*reason*/) {
    Disconnect();
    const bool first = std::exchange(m_state, State::Broken) == State::Live;
    if (first) {
        m_host.change(Mediq::TempBroken, m_streamID);
    }
    m_limit.Stop();
    const bool again = m_retry.Again([this] {
        m_limit.Once(kAttemptLimit, [this] { OnLost("no answer"); });
        Connect();
    });
    if (!again) {
        Fail(Mediq::FatalError);
    }
}

// Ends it for good: the answer to a start, else a change.
void Publisher::Fail(Mediq::VaxoAVState state) {
    const bool answers = m_state == State::Starting;
    const std::string streamID = m_streamID;
    End();
    (answers ? m_host.answer : m_host.change)(state, streamID);
}

void Publisher::End() {
    m_refusal.Stop();
    m_limit.Stop();
    m_retry.Reset();
    // The channel first, so that viewers know why the stream ends.
    const bool active = std::exchange(m_state, State::Idle) != State::Idle;
    if (active) {
        m_host.announce(false);
    }
    Disconnect();
    if (active) {
        m_capture.StopEncoding();
    }
    m_streamID.clear();
}

}  // namespace vaxoengine
