#include "engine/output/ServerPulse.h"

#include <array>
#include <cstddef>
#include <random>
#include <utility>

#include <gio/gio.h>

#include "engine/base/EngineLoop.h"
#include "engine/base/GstRef.h"

namespace vaxoengine {

namespace {

constexpr guint kRtmpPort = 1935;
constexpr std::size_t kHello = 1536;  // the parts of a handshake behind its version byte
constexpr unsigned char kVersion = 3;

// Chunk stream 2, a message of type 4 (user control) with 6 bytes: event 6, a ping request,
// and a time that comes back with the answer.
constexpr std::array<unsigned char, 18> kPing = {2, 0, 0, 0, 0, 0, 6, 4, 0,
                                                 0, 0, 0, 0, 6, 0, 0, 0, 0};

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using GRef = std::unique_ptr<T, Unref>;

// Version, time 0, four zeroes and whatever one likes.
std::string Hello() {
    std::string hello(1 + kHello, '\0');
    hello[0] = static_cast<char>(kVersion);
    std::minstd_rand random(std::random_device{}());
    for (std::size_t i = 1 + 8; i < hello.size(); ++i) {
        hello[i] = static_cast<char>(random());
    }
    return hello;
}

}  // namespace

// Operations that are under way hold it, and do nothing once it is closed.
struct ServerPulse::Impl : std::enable_shared_from_this<Impl> {
    std::string host;
    guint16 port = kRtmpPort;
    std::function<void()> onSilence;
    bool closed = false;

    GRef<GCancellable> cancel;
    GRef<GSocketConnection> connection;
    std::array<char, 4096> room{};
    std::string heard;  // of the handshake, until it is complete
    bool open = false;
    std::string toSend;
    bool sending = false;
    bool waiting = false;  // for a sign of life
    EngineTimer period;
    EngineTimer patience;

    unsigned number = 0;  // of the connection

    // What an operation carries. It does nothing when its connection is no longer the one.
    struct Ticket {
        std::shared_ptr<Impl> self;
        unsigned number;
        bool Good() const { return !self->closed && self->number == number; }
    };
    static Ticket Take(gpointer ticket);
    gpointer Draw() { return new Ticket{shared_from_this(), number}; }

    void Beat();
    void Ask();
    void Connect();
    void OnConnected(GRef<GSocketConnection> made);
    void Read();
    void OnRead(gssize size);
    void Send(const std::string& bytes);
    void Write();
    void OnWritten(gssize size);
    void Hang();
    void Close();
};

// Of an operation that has ended.
ServerPulse::Impl::Ticket ServerPulse::Impl::Take(gpointer ticket) {
    const std::unique_ptr<Ticket> owner(static_cast<Ticket*>(ticket));
    return *owner;
}

void ServerPulse::Impl::Beat() {
    if (waiting) {
        return;
    }
    Ask();
    if (!connection) {
        Connect();
    } else if (open) {
        Send(std::string(kPing.begin(), kPing.end()));
    }
}

void ServerPulse::Impl::Ask() {
    waiting = true;
    patience.Once(kPulsePatience, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            const auto tell = std::move(self->onSilence);
            self->Close();
            tell();
        }
    });
}

void ServerPulse::Impl::Connect() {
    const GRef<GSocketClient> client(g_socket_client_new());
    g_socket_client_set_enable_proxy(client.get(), FALSE);
    cancel.reset(g_cancellable_new());
    g_socket_client_connect_to_host_async(
        client.get(), host.c_str(), port, cancel.get(),
        [](GObject* source, GAsyncResult* result, gpointer ticket) {
            const Ticket mine = Take(ticket);
            GRef<GSocketConnection> made(
                g_socket_client_connect_to_host_finish(G_SOCKET_CLIENT(source), result, nullptr));
            if (mine.Good()) {
                mine.self->OnConnected(std::move(made));
            }
        },
        Draw());
}

void ServerPulse::Impl::OnConnected(GRef<GSocketConnection> made) {
    if (!made) {
        Hang();
        return;
    }
    connection = std::move(made);
    heard.clear();
    Send(Hello());
    Read();
}

void ServerPulse::Impl::Read() {
    GInputStream* const in = g_io_stream_get_input_stream(G_IO_STREAM(connection.get()));
    g_input_stream_read_async(
        in, room.data(), room.size(), G_PRIORITY_DEFAULT, cancel.get(),
        [](GObject* source, GAsyncResult* result, gpointer ticket) {
            const Ticket mine = Take(ticket);
            const gssize size = g_input_stream_read_finish(G_INPUT_STREAM(source), result, nullptr);
            if (mine.Good()) {
                mine.self->OnRead(size);
            }
        },
        Draw());
}

void ServerPulse::Impl::OnRead(gssize size) {
    if (size <= 0) {
        Hang();
        return;
    }
    waiting = false;
    patience.Stop();
    if (!open) {
        heard.append(room.data(), static_cast<std::size_t>(size));
        // Version and hello of the server, and our own hello come back.
        if (heard.size() >= 1 + 2 * kHello) {
            open = true;
            Send(heard.substr(1, kHello));
            heard.clear();
        }
    }
    Read();
}

void ServerPulse::Impl::Send(const std::string& bytes) {
    toSend += bytes;
    Write();
}

void ServerPulse::Impl::Write() {
    if (sending || toSend.empty() || !connection) {
        return;
    }
    sending = true;
    GBytes* const bytes = g_bytes_new(toSend.data(), toSend.size());
    GOutputStream* const out = g_io_stream_get_output_stream(G_IO_STREAM(connection.get()));
    g_output_stream_write_bytes_async(
        out, bytes, G_PRIORITY_DEFAULT, cancel.get(),
        [](GObject* source, GAsyncResult* result, gpointer ticket) {
            const Ticket mine = Take(ticket);
            const gssize size =
                g_output_stream_write_bytes_finish(G_OUTPUT_STREAM(source), result, nullptr);
            if (mine.Good()) {
                mine.self->OnWritten(size);
            }
        },
        Draw());
    g_bytes_unref(bytes);
}

void ServerPulse::Impl::OnWritten(gssize size) {
    sending = false;
    if (size < 0) {
        return;  // reading tells
    }
    toSend.erase(0, static_cast<std::size_t>(size));
    Write();
}

// The connection has ended, or was not to be had: again with the next beat.
void ServerPulse::Impl::Hang() {
    ++number;
    waiting = false;
    patience.Stop();
    if (cancel) {
        g_cancellable_cancel(cancel.get());
    }
    if (connection) {
        g_socket_close(g_socket_connection_get_socket(connection.get()), nullptr);
        connection.reset();
    }
    open = false;
    sending = false;
    toSend.clear();
}

void ServerPulse::Impl::Close() {
    closed = true;
    onSilence = nullptr;
    period.Stop();
    Hang();
}

ServerPulse::ServerPulse(const std::string& address, std::function<void()> onSilence)
    : m_impl(std::make_shared<Impl>()) {
    m_impl->onSilence = std::move(onSilence);
    // The query holds a signature and is not parsed.
    const std::string plain = address.substr(0, address.find('?'));
    char* scheme = nullptr;
    char* host = nullptr;
    int port = 0;
    const bool parsed = g_uri_split_network(plain.c_str(), G_URI_FLAGS_NONE, &scheme, &host, &port,
                                            nullptr) != FALSE;
    const std::string kind = parsed ? scheme : "";
    m_impl->host = parsed && host != nullptr ? host : "";
    g_free(scheme);
    g_free(host);
    if (kind != "rtmp" || m_impl->host.empty()) {
        return;
    }
    m_impl->port = static_cast<guint16>(port > 0 ? port : static_cast<int>(kRtmpPort));
    m_impl->period.Every(kPulsePeriod, [weak = std::weak_ptr<Impl>(m_impl)] {
        if (const auto self = weak.lock()) {
            self->Beat();
        }
    });
    m_impl->Beat();
}

ServerPulse::~ServerPulse() {
    m_impl->Close();
}

}  // namespace vaxoengine
