#include "engine/base/ServerWay.h"

#include <atomic>
#include <memory>
#include <string>
#include <thread>

#include <gio/gio.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <netinet/tcp.h>

#include "engine/base/GstRef.h"

namespace vaxoengine {
namespace {

struct Unref {
    void operator()(gpointer object) const { g_object_unref(object); }
};
template <class T>
using Owned = std::unique_ptr<T, Unref>;

// A server that takes connections and says nothing.
class ServerWayTest : public testing::Test {
protected:
    void SetUp() override {
        gst_init(nullptr, nullptr);
        m_listener.reset(g_socket_listener_new());
        m_port = g_socket_listener_add_any_inet_port(m_listener.get(), nullptr, nullptr);
        ASSERT_NE(m_port, 0U);
        m_pipeline = MakePipeline("appsrc ! rtmp2sink name=sink");
        m_sink = Find(m_pipeline, "sink");
        ASSERT_NE(m_sink, nullptr);
        const std::string address = "rtmp://127.0.0.1:" + std::to_string(m_port) + "/live/a";
        g_object_set(m_sink.get(), "location", address.c_str(), nullptr);
    }

    Owned<GSocketConnection> Connect(const char* host) const {
        const Owned<GSocketClient> client(g_socket_client_new());
        return Owned<GSocketConnection>(g_socket_client_connect_to_host(
            client.get(), host, static_cast<guint16>(m_port), nullptr, nullptr));
    }

    static bool SendsAtOnce(const Owned<GSocketConnection>& connection) {
        gint value = 0;
        g_socket_get_option(g_socket_connection_get_socket(connection.get()), IPPROTO_TCP,
                            TCP_NODELAY, &value, nullptr);
        return value != 0;
    }

    Owned<GSocketListener> m_listener;
    unsigned m_port = 0;
    GstRef<GstElement> m_pipeline;
    GstRef<GstElement> m_sink;
    std::atomic<int> m_told{0};
};

TEST_F(ServerWayTest, ConnectionToTheServerIsToldAndSendsAtOnce) {
    std::atomic<long> took{-1};
    const ServerWay way(m_pipeline.get(), m_sink.get(), [&](std::chrono::milliseconds millis) {
        took = millis.count();
        ++m_told;
    });
    const Owned<GSocketConnection> connection = Connect("127.0.0.1");
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(m_told, 1);
    EXPECT_GE(took, 0);
    EXPECT_TRUE(SendsAtOnce(connection));
}

TEST_F(ServerWayTest, OtherConnectionsOfTheApplicationAreLeftAlone) {
    const ServerWay way(m_pipeline.get(), m_sink.get(),
                        [&](std::chrono::milliseconds) { ++m_told; });
    const Owned<GSocketConnection> connection = Connect("localhost");  // by another name
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(m_told, 0);
    EXPECT_FALSE(SendsAtOnce(connection));
}

TEST_F(ServerWayTest, EachThatLooksIsTold) {
    const auto count = [&](std::chrono::milliseconds) { ++m_told; };
    const ServerWay one(m_pipeline.get(), m_sink.get(), count);
    const ServerWay other(m_pipeline.get(), m_sink.get(), count);
    ASSERT_NE(Connect("127.0.0.1"), nullptr);
    EXPECT_EQ(m_told, 2);
}

TEST_F(ServerWayTest, NothingIsToldAfterItsEnd) {
    {
        const ServerWay way(m_pipeline.get(), m_sink.get(),
                            [&](std::chrono::milliseconds) { ++m_told; });
    }
    const Owned<GSocketConnection> connection = Connect("127.0.0.1");
    ASSERT_NE(connection, nullptr);
    EXPECT_EQ(m_told, 0);
    EXPECT_FALSE(SendsAtOnce(connection));
}

// As an element does that is turned down: on the thread that has made its connection.
TEST_F(ServerWayTest, ErrorHangsUpTheConnectionOfItsThread) {
    const ServerWay way(m_pipeline.get(), m_sink.get());
    const Owned<GSocketConnection> connection = Connect("127.0.0.1");
    const Owned<GSocketConnection> accepted(
        g_socket_listener_accept(m_listener.get(), nullptr, nullptr, nullptr));
    ASSERT_NE(accepted, nullptr);
    GST_ELEMENT_ERROR(m_sink.get(), RESOURCE, NOT_FOUND, ("turned down"), (nullptr));
    char byte = 0;
    EXPECT_EQ(g_socket_receive(g_socket_connection_get_socket(accepted.get()), &byte, 1, nullptr,
                               nullptr),
              0);
}

TEST_F(ServerWayTest, ErrorOfAnotherThreadLeavesTheConnectionAlone) {
    const ServerWay way(m_pipeline.get(), m_sink.get());
    const Owned<GSocketConnection> connection = Connect("127.0.0.1");
    std::thread([this] {
        GST_ELEMENT_ERROR(m_sink.get(), RESOURCE, NOT_FOUND, ("turned down"), (nullptr));
    }).join();
    EXPECT_TRUE(g_socket_connection_is_connected(connection.get()));
    char byte = 0;
    GSocket* const socket = g_socket_connection_get_socket(connection.get());
    EXPECT_EQ(g_socket_send(socket, &byte, 1, nullptr, nullptr), 1);
}

TEST_F(ServerWayTest, TellingNobodyIsAllowed) {
    const ServerWay way(m_pipeline.get(), m_sink.get());
    EXPECT_TRUE(SendsAtOnce(Connect("127.0.0.1")));
}

}  // namespace
}  // namespace vaxoengine
