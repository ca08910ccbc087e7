#include "Relay.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <list>
#include <mutex>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include "RelayLink.h"

namespace livetest {
namespace {

constexpr std::chrono::seconds kLeaving{1};

// An end that has been sent its FIN. To close it with bytes unread would reset it.
struct Leaving {
    RelayFd fd;
    RelayClock::time_point until;
};

std::runtime_error Failure(const std::string& what) {
    return std::runtime_error("relay: " + what + ": " + std::generic_category().message(errno));
}

std::array<RelayFd, 2> Pipe() {
    std::array<int, 2> ends{-1, -1};
    if (pipe2(ends.data(), O_NONBLOCK | O_CLOEXEC) != 0) {
        throw Failure("pipe");
    }
    return {RelayFd(ends[0]), RelayFd(ends[1])};
}

}  // namespace

// Everything but the tasks and the published number belongs to the thread.
struct Relay::Impl {
    explicit Impl(unsigned short target);
    ~Impl();

    // Has the thread run it between two rounds, and returns when it has.
    void Do(std::function<void()> task);

    void Run();
    void Round();
    void RunTasks();
    void Sweep();
    void Gather();
    int Timeout() const;
    void Serve();
    void Discard(Leaving& end, bool ready);
    void Accept(const std::function<void(RelayFd)>& receive) const;
    void Leave(RelayFd fd);
    void LoseUnderWay();
    void CutAll();
    void EndAll();

    sockaddr_in server;
    unsigned short port = 0;
    RelayFd listener;
    std::array<RelayFd, 2> wake;  // a byte into [1] ends the poll

    bool stop = false;
    RelayWeather weather;
    std::list<RelayLink> links;
    std::list<Leaving> leaving;
    std::vector<pollfd> polled;  // wake, listener, two of every link, leaving

    std::mutex mutex;
    std::condition_variable changed;  // tasks done, or `open`
    std::vector<std::function<void()>> tasks;
    unsigned long long asked = 0;  // tasks so far
    unsigned long long done = 0;
    std::size_t open = 0;

    std::thread thread;
};

Relay::Impl::Impl(unsigned short target)
    : server(RelayLoopback(target)), listener(RelaySocket()), wake(Pipe()) {
    sockaddr_in address = RelayLoopback(0);
    socklen_t size = sizeof(address);
    if (bind(listener.Get(), RelayPlain(address), size) != 0 ||
        listen(listener.Get(), SOMAXCONN) != 0 ||
        getsockname(listener.Get(), RelayPlain(address), &size) != 0) {
        throw Failure("listen");
    }
    port = ntohs(address.sin_port);
    thread = std::thread([this] { Run(); });
}

Relay::Impl::~Impl() {
    Do([this] { stop = true; });
    thread.join();
}

void Relay::Impl::Do(std::function<void()> task) {
    std::unique_lock<std::mutex> lock(mutex);
    tasks.push_back(std::move(task));
    const unsigned long long mine = ++asked;
    // A full pipe will wake it as well.
    [[maybe_unused]] const ssize_t woken = write(wake[1].Get(), "", 1);
    changed.wait(lock, [this, mine] { return done >= mine; });
}

void Relay::Impl::Run() {
    while (!stop) {
        Round();
    }
}

void Relay::Impl::Round() {
    Sweep();
    Gather();
    const int ready = poll(polled.data(), static_cast<nfds_t>(polled.size()), Timeout());
    weather.now = RelayClock::now();
    for (RelayBucket& bucket : weather.buckets) {
        bucket.Fill(weather.now);
    }
    if (ready > 0) {
        Serve();
    }
    RunTasks();
}

void Relay::Impl::RunTasks() {
    std::array<char, 64> bytes{};
    while (read(wake[0].Get(), bytes.data(), bytes.size()) > 0) {
    }
    std::vector<std::function<void()>> mine;
    {
        const std::lock_guard<std::mutex> lock(mutex);
        mine.swap(tasks);
    }
    for (const auto& task : mine) {
        task();
    }
    Sweep();
    const std::lock_guard<std::mutex> lock(mutex);
    done += mine.size();
    if (!mine.empty() || open != links.size()) {
        open = links.size();
        changed.notify_all();
    }
}

void Relay::Impl::Sweep() {
    links.remove_if([this](RelayLink& link) {
        if (!link.Over(weather)) {
            return false;
        }
        if (link.Broken()) {
            link.Doom();
        }
        return true;
    });
    leaving.remove_if([this](const Leaving& end) { return end.until <= weather.now; });
}

void Relay::Impl::Gather() {
    if (!links.empty()) {  // they take turns at a rate that is shared
        links.splice(links.end(), links, links.begin());
    }
    const bool accepts = !weather.frozen && !weather.hung;
    polled.assign({{wake[0].Get(), POLLIN, 0}, {accepts ? listener.Get() : -1, POLLIN, 0}});
    for (const RelayLink& link : links) {
        polled.push_back(link.Wish(kRelayClient, weather));
        polled.push_back(link.Wish(kRelayServer, weather));
    }
    for (const Leaving& end : leaving) {
        polled.push_back({end.fd.Get(), POLLIN, 0});
    }
}

int Relay::Impl::Timeout() const {
    auto due = RelayClock::time_point::max();
    for (const RelayLink& link : links) {
        due = std::min(due, link.Due(weather));
    }
    for (const Leaving& end : leaving) {
        due = std::min(due, end.until);
    }
    if (due == RelayClock::time_point::max()) {
        return -1;
    }
    const auto wait = std::chrono::ceil<std::chrono::milliseconds>(due - RelayClock::now());
    return static_cast<int>(std::clamp<long long>(wait.count(), 0, 60'000));
}

void Relay::Impl::Serve() {
    std::size_t at = 2;
    for (RelayLink& link : links) {
        link.Serve(kRelayClient, polled[at++].revents, weather);
        link.Serve(kRelayServer, polled[at++].revents, weather);
    }
    for (Leaving& end : leaving) {
        Discard(end, polled[at++].revents != 0);
    }
    if (polled[1].revents != 0) {
        Accept([this](RelayFd client) {
            if (weather.refusing) {
                RelayDoom(client);
            } else {
                links.emplace_back(std::move(client), server);
            }
        });
    }
}

void Relay::Impl::Discard(Leaving& end, bool ready) {
    if (!ready) {
        return;
    }
    const ssize_t got = recv(end.fd.Get(), weather.buffer.data(), weather.buffer.size(), 0);
    if (got == 0 || (got < 0 && !RelayComesLater(errno))) {
        end.until = weather.now;
    }
}

void Relay::Impl::Accept(const std::function<void(RelayFd)>& receive) const {
    for (;;) {
        // With flags, because close-on-exec later would be too late for another thread's fork.
        RelayFd client(accept4(listener.Get(), nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC));
        if (client.Get() < 0) {
            return;
        }
        receive(std::move(client));
    }
}

void Relay::Impl::Leave(RelayFd fd) {
    leaving.push_back({std::move(fd), RelayClock::now() + kLeaving});
}

void Relay::Impl::LoseUnderWay() {
    for (RelayLink& link : links) {
        link.LoseUnderWay();
    }
}

void Relay::Impl::CutAll() {
    for (RelayLink& link : links) {
        link.Doom();
    }
    links.clear();
    Accept([](RelayFd client) { RelayDoom(client); });
}

void Relay::Impl::EndAll() {
    for (RelayLink& link : links) {
        for (RelayFd& fd : link.Part()) {
            Leave(std::move(fd));
        }
    }
    links.clear();
    Accept([this](RelayFd client) {
        shutdown(client.Get(), SHUT_WR);
        Leave(std::move(client));
    });
}

Relay::Relay(unsigned short target) : m_impl(std::make_unique<Impl>(target)) {}

Relay::~Relay() = default;

unsigned short Relay::Port() const {
    return m_impl->port;
}

void Relay::SetRate(int upBitsPerSecond, int downBitsPerSecond) {
    m_impl->Do([this, upBitsPerSecond, downBitsPerSecond] {
        const auto now = RelayClock::now();
        m_impl->weather.buckets[kRelayClient].SetRate(upBitsPerSecond, now);
        m_impl->weather.buckets[kRelayServer].SetRate(downBitsPerSecond, now);
    });
}

void Relay::SetDelay(std::chrono::milliseconds eachWay) {
    m_impl->Do([this, eachWay] { m_impl->weather.delay = eachWay; });
}

void Relay::Freeze(bool frozen) {
    m_impl->Do([this, frozen] { m_impl->weather.frozen = frozen; });
}

void Relay::Hang(bool hang) {
    m_impl->Do([this, hang] {
        m_impl->weather.hung = hang;
        m_impl->LoseUnderWay();
    });
}

void Relay::Refuse(bool refuse) {
    m_impl->Do([this, refuse] { m_impl->weather.refusing = refuse; });
}

void Relay::CutAll() {
    m_impl->Do([this] { m_impl->CutAll(); });
}

void Relay::EndAll() {
    m_impl->Do([this] { m_impl->EndAll(); });
}

unsigned Relay::Connections() const {
    std::size_t open = 0;
    m_impl->Do([this, &open] { open = m_impl->links.size(); });
    return static_cast<unsigned>(open);
}

unsigned long long Relay::BytesUp() const {
    unsigned long long bytes = 0;
    m_impl->Do([this, &bytes] { bytes = m_impl->weather.forwarded[kRelayClient]; });
    return bytes;
}

unsigned long long Relay::BytesDown() const {
    unsigned long long bytes = 0;
    m_impl->Do([this, &bytes] { bytes = m_impl->weather.forwarded[kRelayServer]; });
    return bytes;
}

bool Relay::AwaitConnections(unsigned count, std::chrono::milliseconds limit) const {
    std::unique_lock<std::mutex> lock(m_impl->mutex);
    return m_impl->changed.wait_for(lock, limit, [this, count] { return m_impl->open == count; });
}

}  // namespace livetest
