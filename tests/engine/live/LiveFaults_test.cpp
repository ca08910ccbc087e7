// Servers that are killed or freeze in any phase of a stream: every request is answered, both
// sides are told in time, and what ran before runs again when the servers do.
#include <algorithm>
#include <chrono>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "engine/live/FaultScene.h"
#include "engine/live/LiveFaultsTable.h"

namespace {

using livetest::ActTold;
using livetest::FaultRow;
using livetest::SceneTold;
using livetest::Story;
using livetest::Timed;
using livetest::Told;
using std::chrono::milliseconds;

// What the engine promises, and the longest pause with one attempt behind it.
constexpr milliseconds kAnswered(10000);
constexpr milliseconds kNoticed(6000);
constexpr milliseconds kPublishBack(4000 + 5000 + 1000);
constexpr milliseconds kPlayBack = 2 * kPublishBack;  // which first needs somebody to publish
constexpr milliseconds kChannelBack(8000 + 8000 + 1000);

// Once for all rows of a fault.
const SceneTold& SceneOf(livetest::Fault fault) {
    static std::map<livetest::Fault, SceneTold> scenes;
    auto found = scenes.find(fault);
    if (found == scenes.end()) {
        found = scenes.emplace(fault, livetest::RunFaultScene(fault)).first;
    }
    return found->second;
}

bool IsNotice(const std::string& word) {
    return word.find(" breaks") != std::string::npos || word.find(" lost") != std::string::npos;
}

milliseconds BackWithin(const std::string& word) {
    if (word == "channel back") {
        return kChannelBack;
    }
    return word == "publish begins" ? kPublishBack : kPlayBack;
}

// What is killed has stood still for a moment before: a slow machine may notice that first.
std::vector<std::string> WithoutHaste(std::vector<std::string> words) {
    std::replace(words.begin(), words.end(), std::string("channel lost 4"),
                 std::string("channel lost 1"));
    return words;
}

void ExpectStory(const std::string& who, const Told& told, const Story& story, bool kills) {
    using livetest::ByKind;
    using livetest::WordsOf;
    const std::vector<std::string> during = WordsOf(told.during);
    EXPECT_EQ(ByKind(kills ? WithoutHaste(during) : during), ByKind(story.during)) << who;
    EXPECT_EQ(ByKind(WordsOf(told.after)), ByKind(story.after)) << who;
    for (const Timed& one : told.during) {
        EXPECT_LT(one.after, IsNotice(one.word) ? kNoticed : kAnswered) << who << ": " << one.word;
    }
    for (const Timed& one : told.after) {
        EXPECT_LT(one.after, BackWithin(one.word)) << who << ": " << one.word;
    }
}

// One answer to each of the two requests to leave, and nothing between or behind them.
void ExpectLeft(const std::string& who, const std::vector<Timed>& end) {
    const std::vector<std::string> words = livetest::WordsOf(end);
    const auto first = std::find(words.begin(), words.end(), "left");
    EXPECT_EQ(std::vector<std::string>(first, words.end()),
              (std::vector<std::string>{"left", "left"}))
        << who;
    for (auto word = words.begin(); word != first; ++word) {
        EXPECT_TRUE(*word == "publish ends" || *word == "play ends") << who << ": " << *word;
    }
    for (const Timed& one : end) {
        EXPECT_LT(one.after, kAnswered) << who << ": " << one.word;
    }
}

// The longest of those that the condition takes, in milliseconds; "-" without any.
template <class Condition>
std::string Longest(const std::vector<const std::vector<Timed>*>& lists, Condition takes) {
    milliseconds longest(-1);
    for (const std::vector<Timed>* const list : lists) {
        for (const Timed& one : *list) {
            longest = takes(one.word) ? std::max(longest, one.after) : longest;
        }
    }
    return longest.count() < 0 ? "-" : std::to_string(longest.count());
}

std::string Saw(const Told& told) {
    using livetest::Joined;
    using livetest::WordsOf;
    return Joined(WordsOf(told.during)) + "; " + Joined(WordsOf(told.after));
}

class LiveFaults : public testing::TestWithParam<FaultRow> {
protected:
    // For script/faults.
    static void Record(const ActTold& told) {
        const std::vector<const std::vector<Timed>*> during = {&told.publisher.during,
                                                               &told.viewer.during};
        const auto any = [](const std::string&) { return true; };
        const auto answers = [](const std::string& word) { return !IsNotice(word); };
        RecordProperty("fault", NameOf(GetParam().fault));
        RecordProperty("phase", NameOf(GetParam().phase));
        RecordProperty("publisher", Saw(told.publisher));
        RecordProperty("viewer", Saw(told.viewer));
        RecordProperty("answered", Longest(during, answers));
        RecordProperty("noticed", Longest(during, IsNotice));
        RecordProperty("back", Longest({&told.publisher.after, &told.viewer.after}, any));
        RecordProperty("left", Longest({&told.publisher.end, &told.viewer.end}, any));
    }
};

TEST_P(LiveFaults, IsToldInTimeAndOver) {
    const FaultRow& row = GetParam();
    const SceneTold& scene = SceneOf(row.fault);
    const ActTold& told = scene.acts.at(row.phase);
    Record(told);
    ExpectStory("publisher", told.publisher, row.publisher, Kills(row.fault));
    ExpectStory("viewer", told.viewer, row.viewer, Kills(row.fault));
    EXPECT_EQ(told.listed, told.published) << "the viewer's list of streams";
    ExpectLeft("publisher", told.publisher.end);
    ExpectLeft("viewer", told.viewer.end);
    EXPECT_TRUE(scene.nothingLeft) << "a stream stayed at the media server";
}

INSTANTIATE_TEST_SUITE_P(All, LiveFaults, testing::ValuesIn(livetest::FaultRows()),
                         [](const testing::TestParamInfo<FaultRow>& row) {
                             return NameOf(row.param.fault) + NameOf(row.param.phase);
                         });

}  // namespace
