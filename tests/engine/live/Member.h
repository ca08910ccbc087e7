// One member of a channel for tests: an engine of its own with a callback that remembers
// what it hears. Several may live in one process.
#ifndef VAXO_TESTS_ENGINE_LIVE_MEMBER_H
#define VAXO_TESTS_ENGINE_LIVE_MEMBER_H

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "live/VaxoLiveShow.h"
#include "servers/LocalServers.h"

namespace livetest {

// A copy of what a snapshot event pointed to.
struct Picture {
    int width = 0;
    int height = 0;
    std::uint64_t time = 0;
    std::vector<unsigned char> rgba;  // width * height * 4

    // Mean of red, green and blue over a part of the picture, given in hundredths.
    struct Colour {
        double red = 0;
        double green = 0;
        double blue = 0;
    };
    Colour Mean(int left, int top, int right, int bottom) const;
};

// Every event an engine gives is in the list, written as "OnPlayStateUpdate(0, stream)":
// states as numbers, of a stream its identifier and the flag.
class Member {
public:
    // Points the settings at the servers, and initialises the engine with the application.
    explicit Member(const LocalServers& servers);
    Member(const LocalServers& servers, const Application& application);
    ~Member();  // Uninit
    Member(const Member&) = delete;
    Member& operator=(const Member&) = delete;

    Strova::CVaxoLiveShow& Engine() { return m_engine; }

    // Waits until an event has come that begins like this and forgets it and those before it.
    // The event; empty after the time given: longer than any answer may take.
    std::string Wait(const std::string& beginning,
                     std::chrono::milliseconds limit = std::chrono::seconds(15));
    std::vector<std::string> TakeEvents();
    std::size_t Count(const std::string& beginning) const;  // since the last Wait or Take

    // The request and its answer.
    std::string Enter(const std::string& channel, const std::string& user);
    std::string Publish(const std::string& streamID);  // the built-in picture and tone
    // A media file's picture and sound.
    std::string PublishFile(const std::string& streamID, const std::string& path);
    std::string Play(const std::string& streamID, unsigned channel = 0);
    std::string Leave();

    Picture PreviewSnapshot();
    Picture RenderSnapshot(int channel = 0);

private:
    class App;

    std::shared_ptr<App> m_app;
    Strova::CVaxoLiveShow m_engine;
};

}  // namespace livetest

#endif
