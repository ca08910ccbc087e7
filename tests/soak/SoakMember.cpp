// One member of a channel in a process of its own, for script/soak.
//
//   vaxo_soak_member publish ADDRESSES USER LOG FILE     publishes a media file in a loop
//   vaxo_soak_member play    ADDRESSES USER LOG          plays what the other one publishes
//   vaxo_soak_member clip                                ffmpeg's arguments for such a FILE
//
// ADDRESSES is the servers.env that script/servers writes; the sign key is read from the file
// that it names. Orders come as lines on the standard input (Orders.h); "stop" or its end lets
// the member leave the channel and end with status 0. What it says are the events (Listener.h),
// what became of each order, and a sample every second:
//
//   {"ms": ..., "sample": {"fps", "bitrate", "rss" (KiB), "threads", "fds",
//     "gap", "gapEnd", "still", "flashes": PictureMeter.h,
//     "av": [how much later each new beep was due than its flash, in ms; of a play]}}
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "VaxoLiveStats.h"
#include "base/VaxoAppSetting.h"
#include "engine/live/AvMeter.h"
#include "live/VaxoLiveShow.h"
#include "soak/JsonLines.h"
#include "soak/Listener.h"
#include "soak/Orders.h"
#include "soak/OwnFigures.h"
#include "soak/PictureMeter.h"
#include "vaxolog.h"

namespace {

using livetest::AvMeter;
using soak::Listener;
using soak::PictureMeter;
using soak::Say;
using Settings = std::map<std::string, std::string>;

constexpr const char* kStream = "soak";
constexpr const char* kChannel = "soak";
constexpr std::chrono::seconds kAnswer(30);  // longer than any answer may take
constexpr double kPeriod = 1000;             // ms between two samples
constexpr std::size_t kPairsKept = 60;       // of flash and beep: comparing them costs a square

vaxo::strutf8 Text(const std::string& text) {
    return {text.c_str()};
}

// NAME=value, a line each.
Settings ReadSettings(const std::string& path) {
    Settings settings;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (equals != std::string::npos) {
            settings[line.substr(0, equals)] = line.substr(equals + 1);
        }
    }
    return settings;
}

// Hexadecimal digits.
vaxo::stream ReadKey(const std::string& path) {
    std::ifstream file(path);
    std::string digits;
    file >> digits;
    vaxo::stream key;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2) {
        const auto byte =
            static_cast<uint8>(std::strtoul(digits.substr(i, 2).c_str(), nullptr, 16));
        key.append(&byte, 1);
    }
    return key;
}

// The offsets that have not been told yet. A pair that is half seen when the meter forgets is
// lost.
class NewOffsets {
public:
    std::vector<double> Take() {
        std::vector<double> offsets = AvMeter::Shared().Offsets();
        const std::size_t count = offsets.size();
        offsets.erase(offsets.begin(),
                      offsets.begin() + static_cast<std::ptrdiff_t>(std::min(m_told, count)));
        m_told = count;
        if (count > kPairsKept) {
            AvMeter::Shared().Forget();
            m_told = 0;
        }
        return offsets;
    }

private:
    std::size_t m_told = 0;
};

class SoakMember {
public:
    explicit SoakMember(bool publishes)
        : m_publishes(publishes),
          m_pictures(PictureMeter::Watching(publishes ? "pictures" : "shown")) {
        if (!publishes) {
            AvMeter::Shared();
        }
    }
    ~SoakMember() { m_engine.Uninit(); }
    SoakMember(const SoakMember&) = delete;
    SoakMember& operator=(const SoakMember&) = delete;

    bool Begin(Settings settings, const std::string& user, const std::string& file) {
        CVaxoAppSetting* const shared = CVaxoAppSetting::SharedInstance();
        shared->SetServiceURL(Text(settings["VAXO_SERVICE_URL"]));
        shared->SetMediaURL(Text(settings["VAXO_MEDIA_URL"]));
        shared->SetUploadURL(Text(settings["VAXO_UPLOAD_URL"]));
        m_engine.SetCallback(m_listener);
        const auto app =
            static_cast<unsigned>(std::strtoul(settings["VAXO_APP_ID"].c_str(), nullptr, 10));
        if (m_engine.Init(app, ReadKey(settings["VAXO_KEY_FILE"])) != 0 ||
            m_engine.GetStreamList(Text(user), Text(user), kChannel, 0) != 0 ||
            !Answered("entered")) {
            return false;
        }
        return m_publishes ? BeginPublish(file) : BeginPlay();
    }

    // Until somebody says stop, or nobody is there any more.
    void Run() {
        double next = soak::NowMillis() + kPeriod;
        std::string typed;
        while (true) {
            const double left = next - soak::NowMillis();
            if (left <= 0) {
                Sample();
                next += kPeriod;
                continue;
            }
            pollfd input{STDIN_FILENO, POLLIN, 0};
            if (poll(&input, 1, static_cast<int>(left) + 1) <= 0) {
                continue;
            }
            char part[512];
            const ssize_t got = read(STDIN_FILENO, part, sizeof part);
            if (got <= 0) {
                return;
            }
            typed.append(part, static_cast<std::size_t>(got));
            for (std::size_t end = typed.find('\n'); end != std::string::npos;
                 end = typed.find('\n')) {
                const std::string line = typed.substr(0, end);
                typed.erase(0, end + 1);
                if (line == "stop") {
                    return;
                }
                Say({{"order", line}, {"status", soak::Obey(m_engine, kStream, line)}});
            }
        }
    }

    bool Leave() {
        m_listener->Forget();
        const bool stopped = m_publishes ? m_engine.StopPublishing() == 0 && Came("publish")
                                         : m_engine.StopPlayStream(kStream) == 0 && Came("play");
        return m_engine.Logout() == 0 && Answered("left") && stopped;
    }

private:
    bool Came(const std::string& event) { return m_listener->Wait(event, kAnswer).has_value(); }
    bool Answered(const std::string& event) { return m_listener->Wait(event, kAnswer) == 0; }

    bool BeginPublish(const std::string& file) {
        const std::string address = "file://" + file;
        vaxo::strutf8 sound(address.c_str());
        return m_engine.SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(sound)) == 0 &&
               m_engine.SetAudioDevice(0, sound) == 0 &&
               m_engine.StartPublishing("soak", kStream, vaxo::strutf8()) == 0 &&
               Answered("publish");
    }

    bool BeginPlay() {
        return Came("stream") && m_engine.PlayStream(kStream, 0) == 0 && Answered("play");
    }

    void Sample() {
        const soak::OwnFigures own = soak::TakeOwnFigures();
        const PictureMeter::Report pictures = m_pictures.Take();
        const Strova::VaxoLiveStats stats = Strova::VaxoLiveGetStats();
        const bool plays = !m_publishes && !stats.plays.empty();
        Say({{"sample",
              {{"fps", plays ? stats.plays.front().fps : stats.fps},
               {"bitrate", plays ? stats.plays.front().bitrate : stats.bitrate},
               {"rss", own.residentKib},
               {"threads", own.threads},
               {"fds", own.descriptors},
               {"gap", pictures.gap},
               {"gapEnd", pictures.gapEnd},
               {"still", pictures.still},
               {"flashes", pictures.flashes},
               {"av", m_publishes ? std::vector<double>() : m_offsets.Take()}}}});
    }

    const bool m_publishes;
    PictureMeter& m_pictures;
    NewOffsets m_offsets;
    const std::shared_ptr<Listener> m_listener = std::make_shared<Listener>();
    Strova::CVaxoLiveShow m_engine;
};

}  // namespace

int main(int argc, char** argv) {
    const std::vector<std::string> words(argv, argv + argc);
    if (argc == 2 && words[1] == "clip") {
        std::puts(livetest::kFlashAndBeep);
        return 0;
    }
    const bool publishes = argc == 6 && words[1] == "publish";
    if (!publishes && (argc != 5 || words[1] != "play")) {
        std::fputs(
            "vaxo_soak_member publish ADDRESSES USER LOG FILE\n"
            "vaxo_soak_member play ADDRESSES USER LOG\n"
            "vaxo_soak_member clip\n",
            stderr);
        return 2;
    }
    vaxolog_open(words[4].c_str());
    SoakMember member(publishes);
    const bool began = member.Begin(ReadSettings(words[2]), words[3], publishes ? words[5] : "");
    Say({{"began", began}});
    if (began) {
        member.Run();
    }
    const bool left = member.Leave();
    Say({{"left", left}});
    return began && left ? 0 : 1;
}
