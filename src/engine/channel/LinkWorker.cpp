#include "engine/channel/LinkWorker.h"

#include <fcntl.h>
#include <mosquitto.h>
#include <mqtt_protocol.h>
#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

#include "engine/base/Hex.h"
#include "engine/channel/ChannelRecord.h"
#include "engine/channel/LinkThreads.h"
#include "kernel/connection/VaxoWipe.h"

namespace vaxoengine {

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kConnectTime(5000);
constexpr milliseconds kTick(500);
constexpr milliseconds kCrowded(20);
constexpr int kKeepAliveSeconds = 5;  // the library takes up to twice that to notice silence
// A message of our own that the service acknowledges, and how long it may take to.
constexpr milliseconds kPulsePeriod(1500);
constexpr milliseconds kPulsePatience(3000);
constexpr int kRefusal = 0x80;  // reason codes from here on are refusals

bool IsReset(int systemError) {
    return systemError == ECONNRESET || systemError == EPIPE;
}

// Nothing more will come from the other side. While the TLS library shakes hands it may
// swallow the error that says so, and the connection would stand still.
bool IsOver(int handle) {
    char byte = 0;
    const ssize_t left = recv(handle, &byte, 1, MSG_PEEK | MSG_DONTWAIT);
    if (left >= 0 || (errno != EAGAIN)) {
        return left <= 0;
    }
    sockaddr_storage peer = {};
    socklen_t size = sizeof peer;
    return getpeername(handle, reinterpret_cast<sockaddr*>(&peer), &size) != 0;
}

// The library brings up its part of the TLS library with a connection, without a lock.
std::mutex& ConnectMutex() {
    static auto* const mutex = new std::mutex;  // outlives the threads
    return *mutex;
}

class LinkWorker {
public:
    explicit LinkWorker(std::shared_ptr<LinkState> state);
    ~LinkWorker();
    LinkWorker(const LinkWorker&) = delete;
    LinkWorker& operator=(const LinkWorker&) = delete;

    ChannelError Run();

private:
    bool Make();
    void Destroy();
    bool SetKey();
    bool Connect();
    bool Open(const std::string& host, Clock::time_point until);
    bool AwaitOpen(Clock::time_point until);
    ChannelError Serve();
    void Wait();
    int ReadAndWrite();
    void Send(const LinkRequest& request);
    void SendRequests();
    bool TakePulse();
    void Heard();
    ChannelError Reason(int code, int systemError) const;
    void Fail(ChannelError error);

    void OnLog(const std::string& text);
    void OnConnect(int code);
    void OnAcknowledged(int code);
    void OnMessage(const mosquitto_message& message);

    const std::shared_ptr<LinkState> m_state;
    mosquitto* m_client = nullptr;
    ChannelError m_failure = ChannelError_None;
    int m_unanswered = 0;
    bool m_brokenOff = false;
    Clock::time_point m_heard;
    std::optional<Clock::time_point> m_asked;  // a pulse that nothing has come after
    bool m_up = false;
    bool m_finishing = false;
    bool m_leaving = false;
};

LinkWorker::LinkWorker(std::shared_ptr<LinkState> state) : m_state(std::move(state)) {}

LinkWorker::~LinkWorker() {
    Destroy();
}

void LinkWorker::Destroy() {
    if (m_client != nullptr) {
        mosquitto_destroy(std::exchange(m_client, nullptr));
    }
}

bool LinkWorker::Make() {
    const LinkConfig& config = m_state->config;
    m_client = mosquitto_new(config.client.c_str(), true, this);
    if (m_client == nullptr) {
        return false;
    }
    mosquitto_int_option(m_client, MOSQ_OPT_PROTOCOL_VERSION, MQTT_PROTOCOL_V5);
    mosquitto_int_option(m_client, MOSQ_OPT_TCP_NODELAY, 1);
    mosquitto_log_callback_set(m_client, [](mosquitto*, void* self, int, const char* text) {
        static_cast<LinkWorker*>(self)->OnLog(text);
    });
    mosquitto_connect_v5_callback_set(
        m_client, [](mosquitto*, void* self, int code, int, const mosquitto_property*) {
            static_cast<LinkWorker*>(self)->OnConnect(code);
        });
    mosquitto_publish_v5_callback_set(
        m_client, [](mosquitto*, void* self, int, int code, const mosquitto_property*) {
            static_cast<LinkWorker*>(self)->OnAcknowledged(code);
        });
    mosquitto_subscribe_v5_callback_set(m_client, [](mosquitto*, void* self, int, int count,
                                                     const int* codes, const mosquitto_property*) {
        static_cast<LinkWorker*>(self)->OnAcknowledged(
            count > 0 ? *std::max_element(codes, codes + count) : kRefusal);
    });
    mosquitto_message_v5_callback_set(
        m_client,
        [](mosquitto*, void* self, const mosquitto_message* message, const mosquitto_property*) {
            static_cast<LinkWorker*>(self)->OnMessage(*message);
        });
    return mosquitto_username_pw_set(m_client, config.identity.c_str(), nullptr) ==
               MOSQ_ERR_SUCCESS &&
           mosquitto_will_set_v5(m_client, config.willTopic.c_str(), 0, nullptr, 1, true,
                                 nullptr) == MOSQ_ERR_SUCCESS;
}

bool LinkWorker::SetKey() {
    std::string key = ToHex(m_state->config.key);
    const int code =
        mosquitto_tls_psk_set(m_client, key.c_str(), m_state->config.identity.c_str(), nullptr);
    VaxoWipe(key);
    return code == MOSQ_ERR_SUCCESS;
}

// Without waiting: the library begins, AwaitOpen looks after it.
bool LinkWorker::Open(const std::string& host, Clock::time_point until) {
    const LinkConfig& config = m_state->config;
    Destroy();
    m_brokenOff = false;
    if (!LinkThreadsMayRun() || !Make()) {
        Fail(ChannelError_Unreachable);
        return false;
    }
    if (config.address.tls && !SetKey()) {
        Fail(ChannelError_Refused);  // no key, or one that cannot be
        return false;
    }
    {
        const std::lock_guard<std::mutex> lock(ConnectMutex());
        errno = 0;
        const int code =
            mosquitto_connect_async(m_client, host.c_str(), config.address.port, kKeepAliveSeconds);
        // A quick server may have refused the key by now.
        if (Reason(code, errno) == ChannelError_Refused) {
            Fail(ChannelError_Refused);
            return false;
        }
    }
    return AwaitOpen(until);
}

bool LinkWorker::AwaitOpen(Clock::time_point until) {
    const int handle = mosquitto_socket(m_client);
    if (handle < 0) {
        return false;
    }
    fcntl(handle, F_SETFD, FD_CLOEXEC);
    while (!m_state->IsCut()) {
        const auto left = std::chrono::duration_cast<milliseconds>(until - Clock::now());
        if (left.count() <= 0) {
            return false;
        }
        pollfd handles[] = {{m_state->WakeHandle(), POLLIN, 0}, {handle, POLLOUT, 0}};
        poll(handles, 2, static_cast<int>(left.count()));
        if (handles[1].revents != 0) {
            return !IsOver(handle);
        }
        m_state->ClearWake();
    }
    return false;
}

// The first of the host's addresses that answers.
bool LinkWorker::Connect() {
    const auto hosts = ResolveHost(m_state->config.address.host);
    auto until = Clock::now();
    for (const std::string& host : hosts) {
        until += kConnectTime / static_cast<int>(hosts.size());
        if (m_state->IsCut() || m_failure != ChannelError_None) {
            return false;
        }
        if (Open(host, until)) {
            return true;
        }
    }
    return false;
}

ChannelError LinkWorker::Run() {
    if (!Connect()) {
        return m_failure != ChannelError_None ? m_failure : ChannelError_Unreachable;
    }
    LinkEvent open;
    open.kind = LinkEvent::Open;
    m_state->Tell(std::move(open));
    return Serve();
}

ChannelError LinkWorker::Serve() {
    while (!m_state->IsCut()) {
        if (!m_up && IsOver(mosquitto_socket(m_client))) {
            return ChannelError_Unreachable;
        }
        const int code = ReadAndWrite();
        const int systemError = errno;
        SendRequests();
        if (m_failure != ChannelError_None) {
            return m_failure;
        }
        if (code != MOSQ_ERR_SUCCESS || mosquitto_socket(m_client) < 0) {
            return m_leaving ? ChannelError_None : Reason(code, systemError);
        }
        if (m_finishing && !m_up) {
            return ChannelError_None;
        }
        if (!TakePulse()) {
            return ChannelError_Timeout;
        }
        Wait();
    }
    return ChannelError_None;
}

// Until there is something to do.
void LinkWorker::Wait() {
    const int handle = mosquitto_socket(m_client);
    const bool room = m_state->HasRoom();
    // Before the link is up the library wants to write all the time, and yet it is the other
    // side's turn: the greeting has fitted into the socket.
    const bool write = m_up && mosquitto_want_write(m_client);
    const int events = (room ? POLLIN : 0) | (write ? POLLOUT : 0);
    pollfd handles[] = {{m_state->WakeHandle(), POLLIN, 0},
                        {handle, static_cast<short>(events), 0}};
    const auto time = room ? kTick : kCrowded;
    poll(handles, 2, static_cast<int>(time.count()));
    m_state->ClearWake();
}

int LinkWorker::ReadAndWrite() {
    int code = MOSQ_ERR_SUCCESS;
    if (m_state->HasRoom()) {
        errno = 0;
        code = mosquitto_loop_read(m_client, 1);
    }
    if (code == MOSQ_ERR_SUCCESS && mosquitto_want_write(m_client)) {
        errno = 0;
        code = mosquitto_loop_write(m_client, 1);
    }
    return code == MOSQ_ERR_SUCCESS ? mosquitto_loop_misc(m_client) : code;
}

void LinkWorker::SendRequests() {
    // Asked for before the requests are taken: then none can come behind it unseen.
    m_finishing = m_state->IsFinishing();
    if (!m_up || mosquitto_socket(m_client) < 0) {
        return;
    }
    for (const LinkRequest& request : m_state->TakeRequests()) {
        Send(request);
    }
    if (m_finishing && m_unanswered == 0 && !std::exchange(m_leaving, true)) {
        mosquitto_disconnect_v5(m_client, MQTT_RC_NORMAL_DISCONNECTION, nullptr);
    }
}

void LinkWorker::Send(const LinkRequest& request) {
    int code = MOSQ_ERR_SUCCESS;
    if (request.kind == LinkRequest::Subscribe) {
        code = mosquitto_subscribe_v5(m_client, nullptr, request.topic.c_str(), 1, 0, nullptr);
    } else {
        code = mosquitto_publish_v5(m_client, nullptr, request.topic.c_str(),
                                    static_cast<int>(request.payload.size()),
                                    request.payload.data(), 1, request.retained, nullptr);
    }
    ++m_unanswered;
    if (code != MOSQ_ERR_SUCCESS) {
        Fail(ChannelError_Unreachable);
    }
}

// False: the service is silent, though the connection stands. Asked for after what had come
// was read, so that a process that had been stopped does not take its own silence for that.
bool LinkWorker::TakePulse() {
    if (!m_up || m_finishing || !m_state->HasRoom()) {
        Heard();
        return true;
    }
    const auto now = Clock::now();
    if (m_asked) {
        return now - *m_asked < kPulsePatience;
    }
    if (now - m_heard >= kPulsePeriod) {
        LinkRequest pulse;
        pulse.topic = m_state->config.pulseTopic;
        Send(pulse);
        m_asked = now;
    }
    return true;
}

void LinkWorker::Heard() {
    m_heard = Clock::now();
    m_asked.reset();
}

ChannelError LinkWorker::Reason(int code, int systemError) const {
    if (code == MOSQ_ERR_KEEPALIVE) {
        return ChannelError_Timeout;
    }
    const bool handshake =
        code == MOSQ_ERR_TLS || (code == MOSQ_ERR_ERRNO && systemError == EPROTO);
    const bool refused = !m_up && handshake && !m_brokenOff && !IsReset(systemError);
    return refused ? ChannelError_Refused : ChannelError_Unreachable;
}

void LinkWorker::Fail(ChannelError error) {
    if (m_failure == ChannelError_None) {
        m_failure = error;
    }
}

// An end in the middle of the handshake looks like a refusal, except for its text.
void LinkWorker::OnLog(const std::string& text) {
    m_brokenOff = m_brokenOff || text.find("unexpected eof") != std::string::npos;
}

void LinkWorker::OnConnect(int code) {
    if (code == MQTT_RC_SUCCESS) {
        m_up = true;
        Heard();
        LinkEvent up;
        up.kind = LinkEvent::Up;
        m_state->Tell(std::move(up));
        return;
    }
    const bool busy = code == MQTT_RC_SERVER_UNAVAILABLE || code == MQTT_RC_SERVER_BUSY ||
                      code == MQTT_RC_CONNECTION_RATE_EXCEEDED;
    Fail(busy ? ChannelError_Unreachable : ChannelError_Refused);
}

void LinkWorker::OnAcknowledged(int code) {
    Heard();
    --m_unanswered;
    if (code >= kRefusal) {
        Fail(ChannelError_Forbidden);
    }
}

void LinkWorker::OnMessage(const mosquitto_message& message) {
    Heard();
    LinkEvent event;
    event.kind = LinkEvent::Message;
    event.topic = message.topic;
    const auto size = std::min(static_cast<std::size_t>(message.payloadlen), kRecordBytes + 1);
    if (size != 0) {
        event.payload.assign(static_cast<const char*>(message.payload), size);
    }
    m_state->Tell(std::move(event));
    errno = 0;  // the library takes what it finds here for its own
}

}  // namespace

void RunLink(const std::shared_ptr<LinkState>& state) {
    LinkEvent down;
    down.kind = LinkEvent::Down;
    {
        LinkWorker worker(state);
        down.error = worker.Run();
    }
    state->Tell(std::move(down));
}

}  // namespace vaxoengine
