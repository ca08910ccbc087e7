// A small HTTP server on a loopback port, for tests of what sends to one: it records the
// requests and answers them as told. Every connection brings one request and is closed.
// A client that asks first whether its body is wanted is told to send it, unless the
// answer comes before the body.
//
// Any thread may call it. Destroying it closes all connections and ends its threads.
#ifndef VAXO_TESTS_CONNECTION_HTTPSERVER_H
#define VAXO_TESTS_CONNECTION_HTTPSERVER_H

#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace httptest {

struct Request {
    std::string method;
    std::string path;   // without the query
    std::string query;  // without the "?"
    std::string body;
};

// A status to answer with, or one of these.
enum : int {
    CloseAtOnce = -1,   // reads the request and closes the connection
    NeverAnswer = -2,   // reads the request and keeps silent
    AfterRelease = -3,  // reads the request, answers 201 when Release has been called
    Redirect = -4,      // 302 to another path of this server
    DieHalfway = -5     // reads half of the body, resets the connection
};

// Answers with a status (below 1000) without having read the body, or with half of it read,
// and closes. What the client has sent and nobody read makes the system reset the connection
// behind the answer.
constexpr int Unread(int status) {
    return -1000 - status;
}
constexpr int HalfRead(int status) {
    return -2000 - status;
}

class HttpServer {
public:
    // The answers in the order of the connections; the last one also to all that follow.
    // A server that does not accept listens all the same, so that clients can connect.
    explicit HttpServer(std::vector<int> answers, bool isAccepting = true);
    ~HttpServer();
    HttpServer(const HttpServer&) = delete;
    HttpServer& operator=(const HttpServer&) = delete;

    std::string URL(const std::string& path = "/upload") const;

    // For a server that was made not accepting.
    void Accept();
    void Release();

    // Waits for that many whole requests, half a minute at most; then those there are.
    std::vector<Request> Requests(std::size_t count);
    // The most connections that were unanswered at one time.
    int MostAtOnce();
    // How many connections came, also those whose request was not read to its end.
    std::size_t Connections();

private:
    void Run();
    void Serve(int connection, int answer);
    void ServeInPart(int connection, int answer);
    // Reads the head and that share of the body, in halves: 0, 1 or 2.
    bool ReadRequest(int connection, Request& request, std::size_t halves) const;
    // False when the server ends.
    bool Readable(int handle) const;
    int NextAnswer();
    void Reply(int connection, int status) const;

    int m_listener = -1;
    int m_wake[2] = {-1, -1};  // becomes readable at the end
    int m_port = 0;

    std::mutex m_lock;  // what follows
    std::condition_variable m_changed;
    const std::vector<int> m_answers;
    std::size_t m_next = 0;
    std::vector<Request> m_requests;
    std::vector<std::thread> m_threads;
    bool m_isReleased = false;
    bool m_isEnding = false;
    int m_open = 0;
    int m_mostOpen = 0;
    std::thread m_acceptor;
};

}  // namespace httptest

#endif
