// The peers' roads.
#include <memory>
#include <optional>

#include "road/Marshal.h"
#include "road/PlainPost.h"
#include "road/Road.h"
#include "road/TempFolder.h"

namespace vaxobench {

namespace {

class Engine final : public MarshalEngine {
public:
    int SetVideoBitrate(int) override {
        TheProbe().Entered();
        return 0;
    }
    int SetVideoFPS(int) override {
        TheProbe().Entered();
        TheProbe().WaitForOpen();
        return 0;
    }
    int PlayStream(const std::string&, unsigned int) override {
        TheProbe().Entered();
        return 0;
    }
};

class App final : public MarshalApp {
public:
    void OnPlayState(int, const std::string&) override { TheProbe().Entered(); }
    void OnStreamUpdate(const MarshalStream&, int) override { TheProbe().Entered(); }
};

MarshalStream AStream() {
    return {"5f1e7c2a90b14d3c",
            "room1-camera-0007",
            "user-000451",
            "Somebody Somewhere",
            "An evening at the harbour",
            {"rtmp://media.example.net/live/room1-camera-0007"},
            {"http://media.example.net/hls/room1-camera-0007.m3u8"},
            0};
}

class MarshalRoad final : public Road {
public:
    MarshalRoad(Logging logging, bool atOnce) {
        MarshalLogOptions log;
        if (logging != Logging::Off) {
            m_level = logging == Logging::File3 ? 3 : 4;
            m_folder.emplace();
            log = {m_folder->File("marshal.log"), atOnce};
        }
        m_live.emplace(std::make_shared<Engine>(), log);
    }

    void Call(int value) override { m_live->SetVideoBitrate(value); }
    void Block() override { m_live->SetVideoFPS(25); }
    void Drain() override { m_live->Drain(); }

    void Hold() override { m_live->PlayStream(m_stream.streamID, 0); }
    void Release() override { m_live->OnPlayState(0, m_stream.streamID); }

    void Listen() override { m_live->SetApp(m_app); }
    void StreamUpdate() override { m_live->OnStreamUpdate(m_stream, 1); }

    void LogOn() override { m_live->SetLevel(m_level); }
    void LogOff() override {
        m_live->SetLevel(-1);
        m_live->FlushLog();
    }

private:
    const std::shared_ptr<App> m_app = std::make_shared<App>();
    const MarshalStream m_stream = AStream();
    int m_level = -1;
    std::optional<TempFolder> m_folder;
    std::optional<Marshal> m_live;  // goes before its folder
};

class PlainPostRoad final : public Road {
public:
    void Call(int value) override { m_post.SetVideoBitrate(value); }
    void Block() override { m_post.SetVideoFPS(25); }
    void Drain() override { m_post.Drain(); }

private:
    Engine m_engine;
    PlainPost m_post{m_engine};
};

}  // namespace

std::unique_ptr<Road> MakeMarshalRoad(Logging logging) {
    return std::make_unique<MarshalRoad>(logging, false);
}

std::unique_ptr<Road> MakeMarshalAtOnceRoad(Logging logging) {
    return std::make_unique<MarshalRoad>(logging, true);
}

std::unique_ptr<Road> MakePlainPostRoad(Logging /*logging*/) {
    return std::make_unique<PlainPostRoad>();
}

}  // namespace vaxobench
