#include "engine/live/FaultCast.h"

#include <algorithm>
#include <memory>

#include <gtest/gtest.h>

namespace livetest {

namespace {

using Clock = Heard::Clock;
using std::chrono::milliseconds;

// For what may take its time; longer than every bound that is tested.
constexpr milliseconds kPatience(25000);

vaxo::strutf8 Text(const std::string& text) {
    return {text.c_str()};
}

milliseconds Between(Clock::time_point from, Clock::time_point to) {
    return std::chrono::duration_cast<milliseconds>(to - from);
}

bool IsAnswerOf(const std::string& kind, const std::string& word) {
    const bool solicited = word.find(" breaks") == std::string::npos;
    return !kind.empty() && solicited && word.compare(0, kind.size(), kind) == 0;
}

}  // namespace

Part::Part(const LocalServers& servers, const std::string& theName, const Story& theStory)
    : name(theName), story(theStory), m_member(servers), m_ear(m_member) {
    m_member.Engine().SetVideoResolution(160, 90);
    m_member.Engine().SetVideoCaptureDeviceId(
        std::make_shared<vaxo::strutf8>(Text("test:picture")));
    vaxo::strutf8 tone = Text("test:tone");
    m_member.Engine().SetAudioDevice(0, tone);
}

void Part::Asks(const char* what) {
    kind = what;
    asked = Clock::now();
}

void Part::Enter(const std::string& channel) {
    Asks("entry");
    EXPECT_EQ(m_member.Engine().GetStreamList(Text(name), Text(name), Text(channel), 0), 0);
}

void Part::Publish(const std::string& streamID) {
    Asks("publish");
    EXPECT_EQ(m_member.Engine().StartPublishing(Text("title"), Text(streamID), Text("")), 0);
}

void Part::Play(const std::string& streamID) {
    Asks("play");
    EXPECT_EQ(m_member.Engine().PlayStream(Text(streamID), 0), 0);
}

void Part::Leave() {
    Asks("left");
    EXPECT_EQ(m_member.Engine().Logout(), 0);
}

bool Part::AwaitWords(std::size_t count, Clock::time_point from) const {
    return m_ear.Await(
        [count](const std::vector<Heard>& heard) {
            const auto ofStory = [](const Heard& one) { return !WordOf(one.event).empty(); };
            return static_cast<std::size_t>(std::count_if(heard.begin(), heard.end(), ofStory)) >=
                   count;
        },
        kPatience, from);
}

bool Part::AwaitAnswer() const {
    return m_ear.Await(
        [this](const std::vector<Heard>& heard) {
            return std::any_of(heard.begin(), heard.end(), [this](const Heard& one) {
                return IsAnswerOf(kind, WordOf(one.event));
            });
        },
        kPatience, asked);
}

bool Part::Listed(const std::string& streamID) {
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    m_member.Engine().GetStreamList(streams);
    return std::any_of(streams.begin(), streams.end(), [&](const Strova::VaxoLiveStream& stream) {
        return stream.streamID == Text(streamID);
    });
}

std::vector<Timed> Part::Words(Clock::time_point from, Clock::time_point to,
                               Clock::time_point base) const {
    std::vector<Timed> told;
    for (const Heard& one : m_ear.Since(from)) {
        const std::string word = WordOf(one.event);
        if (one.at < to && !word.empty()) {
            const bool answer = IsAnswerOf(kind, word) && asked >= from && asked <= one.at;
            told.push_back({word, Between(answer ? asked : std::min(base, one.at), one.at)});
        }
    }
    return told;
}

Act::Act(const LocalServers& servers, const FaultRow& row)
    : phase(row.phase),
      stream(NameOf(row.phase)),
      publisher(servers, "ann", row.publisher),
      viewer(servers, "bob", row.viewer) {}

bool Act::Publishes() const {
    return phase != Phase::Entering && phase != Phase::PublishStarting;
}

bool Act::Plays() const {
    return phase == Phase::Playing || phase == Phase::Leaving;
}

bool Act::PublishesAtTheEnd() const {
    return phase != Phase::Entering && phase != Phase::Leaving;
}

void Act::AskWhatStarts() {
    if (phase == Phase::Entering) {
        publisher.Enter(stream);
        viewer.Enter(stream);
    } else if (phase == Phase::PublishStarting) {
        publisher.Publish(stream);
    } else if (phase == Phase::PlayStarting) {
        viewer.Play(stream);
    }
}

void Act::AskAgain() {
    if (publisher.asksAgain || viewer.asksAgain) {
        AskWhatStarts();
    }
}

}  // namespace livetest
