#include "engine/base/ServerWay.h"

#include <algorithm>
#include <mutex>
#include <utility>
#include <vector>

#include <gio/gio.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include "engine/base/GstRef.h"

namespace vaxoengine {

namespace {

using std::chrono::milliseconds;

// On the client, which makes one connection: when it began to (g_get_monotonic_time).
constexpr const char* kBegan = "vaxo-began";

// The last connection that this thread has made. An element has a thread of its own for its
// connection, and reports from there what it is refused.
struct Made {
    Made() { g_weak_ref_init(&connection, nullptr); }
    ~Made() { g_weak_ref_clear(&connection); }
    Made(const Made&) = delete;
    Made& operator=(const Made&) = delete;

    GWeakRef connection;
};
thread_local Made t_made;

void HangUp() {
    void* const connection = g_weak_ref_get(&t_made.connection);
    if (connection != nullptr) {
        g_socket_shutdown(g_socket_connection_get_socket(G_SOCKET_CONNECTION(connection)), TRUE,
                          TRUE, nullptr);
        g_object_unref(connection);
    }
}

// The thread that reports.
GstBusSyncReply OnMessage(GstBus* /*bus*/, GstMessage* message, gpointer /*unused*/) {
    if (GST_MESSAGE_TYPE(message) == GST_MESSAGE_ERROR) {
        HangUp();
    }
    return GST_BUS_PASS;
}

void SendAtOnce(GIOStream* connection) {
    GSocket* const socket = g_socket_connection_get_socket(G_SOCKET_CONNECTION(connection));
    const GSocketFamily family = g_socket_get_family(socket);
    if (family == G_SOCKET_FAMILY_IPV4 || family == G_SOCKET_FAMILY_IPV6) {
        g_socket_set_option(socket, IPPROTO_TCP, TCP_NODELAY, 1, nullptr);
    }
}

void NoteBeginning(GObject* client) {
    auto* const now = g_new(gint64, 1);
    *now = g_get_monotonic_time();
    g_object_set_data_full(client, kBegan, now, g_free);
}

milliseconds SinceBeginning(GObject* client) {
    const auto* const began = static_cast<const gint64*>(g_object_get_data(client, kBegan));
    const gint64 micros = began != nullptr ? g_get_monotonic_time() - *began : 0;
    return milliseconds(micros / 1000);
}

}  // namespace

struct ServerWay::Hook {
    std::mutex mutex;
    std::vector<const ServerWay*> ways;

    // Never destroyed: connections may be made while the process ends.
    static Hook& Shared() {
        static Hook* const hook = new Hook;
        return *hook;
    }

    Hook() {
        // The signal is known once its class is; the class then stays.
        void* const type = g_type_class_ref(G_TYPE_SOCKET_CLIENT);
        g_signal_add_emission_hook(g_signal_lookup("event", G_TYPE_FROM_CLASS(type)), 0, OnEvent,
                                   nullptr, nullptr);
    }

    void Add(const ServerWay* way) {
        const std::lock_guard<std::mutex> lock(mutex);
        ways.push_back(way);
    }

    void Remove(const ServerWay* way) {
        const std::lock_guard<std::mutex> lock(mutex);
        ways.erase(std::remove(ways.begin(), ways.end(), way), ways.end());
    }

    // client, event, address, connection
    static gboolean OnEvent(GSignalInvocationHint* /*hint*/, guint count, const GValue* values,
                            gpointer /*unused*/) {
        void* const address = count == 4 ? g_value_get_object(&values[2]) : nullptr;
        if (address != nullptr && G_IS_NETWORK_ADDRESS(address)) {
            Shared().OnEvent(G_NETWORK_ADDRESS(address),
                             static_cast<GSocketClientEvent>(g_value_get_enum(&values[1])), values);
        }
        return TRUE;  // and the next time
    }

    void OnEvent(GNetworkAddress* address, GSocketClientEvent event, const GValue* values) {
        if (event != G_SOCKET_CLIENT_CONNECTING && event != G_SOCKET_CLIENT_CONNECTED) {
            return;
        }
        const std::string host = g_network_address_get_hostname(address);
        const unsigned port = g_network_address_get_port(address);
        auto* const client = static_cast<GObject*>(g_value_get_object(&values[0]));
        const std::lock_guard<std::mutex> lock(mutex);
        const auto leadsThere = [&](const ServerWay* way) {
            return way->m_port == port && way->m_host == host;
        };
        if (std::none_of(ways.begin(), ways.end(), leadsThere)) {
            return;
        }
        if (event == G_SOCKET_CLIENT_CONNECTING) {
            NoteBeginning(client);
            g_weak_ref_set(&t_made.connection, nullptr);
            return;
        }
        auto* const connection = static_cast<GIOStream*>(g_value_get_object(&values[3]));
        if (G_IS_SOCKET_CONNECTION(connection)) {
            SendAtOnce(connection);
            g_weak_ref_set(&t_made.connection, connection);
        }
        const milliseconds took = SinceBeginning(client);
        for (const ServerWay* const way : ways) {
            if (leadsThere(way) && way->m_onConnected) {
                way->m_onConnected(took);
            }
        }
    }
};

ServerWay::ServerWay(GstElement* pipeline, GstElement* element, OnConnected onConnected)
    : m_onConnected(std::move(onConnected)) {
    const GstRef<GstBus> bus(gst_element_get_bus(pipeline));
    gst_bus_set_sync_handler(bus.get(), OnMessage, nullptr, nullptr);
    gchar* host = nullptr;
    g_object_get(element, "host", &host, "port", &m_port, nullptr);
    m_host = host != nullptr ? host : "";
    g_free(host);
    Hook::Shared().Add(this);
}

ServerWay::~ServerWay() {
    Hook::Shared().Remove(this);
}

}  // namespace vaxoengine
