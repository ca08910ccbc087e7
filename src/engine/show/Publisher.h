// The publish of an engine: from a request to its end, through lost connections.
//
// Idle -> Starting -> Live <-> Broken -> Idle. Each request is answered exactly once:
// a start by Begin or an error at most kAnswerLimit later, a stop by End within a second,
// when the server has let go of the name. What happens
// to a running publish meanwhile comes as a change. Engine's thread only.
#ifndef VAXO_ENGINE_SHOW_PUBLISHER_H
#define VAXO_ENGINE_SHOW_PUBLISHER_H

#include <functional>
#include <memory>
#include <mutex>
#include <string>

#include "VaxoAVDefines.h"
#include "engine/base/EngineLoop.h"
#include "engine/capture/Capture.h"
#include "engine/output/Output.h"
#include "engine/output/ServerPulse.h"
#include "engine/show/RateKeeper.h"
#include "engine/show/Refusal.h"
#include "engine/show/Retry.h"

namespace vaxoengine {

class Publisher {
public:
    struct Host {
        std::function<std::string(const std::string& streamID)>
            signedAddress;  // empty: none is set
        // Where the server says why it refuses that address; empty: nowhere.
        std::function<std::string(const std::string& signedAddress)> whyAddress;
        // The answer to a request; a change of a running publish.
        std::function<void(Mediq::VaxoAVState, const std::string& streamID)> answer;
        std::function<void(Mediq::VaxoAVState, const std::string& streamID)> change;
        // The stream is at the server, or is no longer to be had.
        std::function<void(bool live)> announce;
    };

    Publisher(Capture& capture, Host host);
    ~Publisher();  // ends the publish without a word
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;

    // A start while another stream is published replaces it. One of the stream that is live
    // already is answered with Begin.
    void Start(const std::string& streamID);
    void Stop();
    // Ends it without having been asked: a change to End, or the answer to a start.
    void Abandon();
    void OnVideoSet();  // the capture has other settings
    bool Active() const;
    const std::string& StreamID() const;

private:
    enum class State { Idle, Starting, Live, Broken };

    // Where the encoder's threads leave what is to be sent. An output is put in and taken out
    // under the lock, so that none is destroyed while they push.
    struct Junction {
        std::mutex lock;
        Output* output = nullptr;
    };

    void Connect();
    void Disconnect();
    void AnswerStop();
    void OnOutput(OutputEvent event, const std::string& reason);
    void OnFlowing();
    void OnLost(const std::string& reason);
    void OnRefused(const std::string& reason);
    void Fail(Mediq::VaxoAVState state);
    void End();

    Capture& m_capture;
    Host m_host;
    std::shared_ptr<Junction> m_junction = std::make_shared<Junction>();
    std::unique_ptr<Output> m_output;
    std::unique_ptr<ServerPulse> m_pulse;  // while live
    State m_state = State::Idle;
    std::string m_streamID;
    std::string m_address;  // signed, of the last attempt
    RateKeeper m_rate;
    Retry m_retry;
    int m_closing = 0;                        // outputs that say good-bye to the server
    std::unique_ptr<std::string> m_stopping;  // a stop that waits for the server
    std::shared_ptr<Publisher*> m_self = std::make_shared<Publisher*>(this);
    Refusal m_refusal;
    EngineTimer m_limit;  // of the start, or of one attempt to come back
};

}  // namespace vaxoengine

#endif
