#include "engine/live/LiveFaultsTable.h"

#include <algorithm>
#include <array>
#include <stdexcept>
#include <utility>

namespace livetest {

namespace {

std::string Kind(const std::string& word) {
    return word.substr(0, word.find(' '));
}

// "OnPlayStateUpdate(2, name)": 2.
std::string Number(const std::string& event) {
    const std::size_t from = event.find('(') + 1;
    return event.substr(from, event.find_first_of(",)", from) - from);
}

std::string Media(const std::string& kind, const std::string& state) {
    static const std::array<const char*, 3> kStates = {" begins", " ends", " breaks"};
    for (std::size_t i = 0; i < kStates.size(); ++i) {
        if (state == std::to_string(i)) {
            return kind + kStates[i];
        }
    }
    return kind + " fails " + state;
}

std::vector<FaultRow> MakeRows() {
    const Story nothing;
    const Story enters{{"entry begins"}, {}};
    const Story publishes{{"publish begins"}, {}};
    const Story plays{{"play begins"}, {}};
    const Story publishBreaks{{"publish breaks"}, {"publish begins"}};
    const Story playBreaks{{"play breaks"}, {"play begins"}};
    const Story publishFails{{"publish fails 3"}, {"publish begins"}};
    const Story playFails{{"play fails 3"}, {"play begins"}};
    const Story leavesPublish{{"publish ends", "left"}, {}};
    const Story leavesPlay{{"play ends", "left"}, {}};
    // The number is the channel's error: 1 for a service that is not there, 4 for a silent one.
    const auto lost = [](const char* number, Story media) {
        media.during.push_back(std::string("channel lost ") + number);
        media.after.emplace_back("channel back");
        return media;
    };
    const auto refusedEntry = [](const char* number) {
        return Story{{std::string("entry fails ") + number}, {"entry begins"}};
    };
    std::vector<FaultRow> rows;
    for (const Fault fault : {Fault::MediaKilled, Fault::MediaFrozen}) {
        rows.push_back({fault, Phase::Entering, enters, enters});
        rows.push_back({fault, Phase::PublishStarting, publishFails, nothing});
        rows.push_back({fault, Phase::Live, publishBreaks, nothing});
        rows.push_back({fault, Phase::PlayStarting, publishBreaks, playFails});
        rows.push_back({fault, Phase::Playing, publishBreaks, playBreaks});
        rows.push_back({fault, Phase::Leaving, leavesPublish, leavesPlay});
    }
    for (const auto& [fault, number] :
         {std::pair(Fault::ChannelKilled, "1"), std::pair(Fault::ChannelFrozen, "4")}) {
        const Story gone = lost(number, nothing);
        rows.push_back({fault, Phase::Entering, refusedEntry(number), refusedEntry(number)});
        rows.push_back({fault, Phase::PublishStarting, lost(number, publishes), gone});
        rows.push_back({fault, Phase::Live, gone, gone});
        rows.push_back({fault, Phase::PlayStarting, gone, lost(number, plays)});
        rows.push_back({fault, Phase::Playing, gone, gone});
        rows.push_back({fault, Phase::Leaving, leavesPublish, leavesPlay});
    }
    for (const auto& [fault, number] :
         {std::pair(Fault::BothKilled, "1"), std::pair(Fault::BothFrozen, "4")}) {
        const Story gone = lost(number, nothing);
        const Story broken = lost(number, publishBreaks);
        rows.push_back({fault, Phase::Entering, refusedEntry(number), refusedEntry(number)});
        rows.push_back({fault, Phase::PublishStarting, lost(number, publishFails), gone});
        rows.push_back({fault, Phase::Live, broken, gone});
        rows.push_back({fault, Phase::PlayStarting, broken, lost(number, playFails)});
        rows.push_back({fault, Phase::Playing, broken, lost(number, playBreaks)});
        rows.push_back({fault, Phase::Leaving, leavesPublish, leavesPlay});
    }
    return rows;
}

}  // namespace

const std::vector<FaultRow>& FaultRows() {
    static const std::vector<FaultRow> rows = MakeRows();
    return rows;
}

const FaultRow& RowOf(Fault fault, Phase phase) {
    const auto& rows = FaultRows();
    const auto found = std::find_if(rows.begin(), rows.end(), [&](const FaultRow& row) {
        return row.fault == fault && row.phase == phase;
    });
    if (found == rows.end()) {
        throw std::logic_error("no row for " + NameOf(fault) + NameOf(phase));
    }
    return *found;
}

bool HitsMedia(Fault fault) {
    return fault != Fault::ChannelKilled && fault != Fault::ChannelFrozen;
}

bool HitsChannel(Fault fault) {
    return fault != Fault::MediaKilled && fault != Fault::MediaFrozen;
}

bool Kills(Fault fault) {
    return fault == Fault::MediaKilled || fault == Fault::ChannelKilled ||
           fault == Fault::BothKilled;
}

std::string NameOf(Fault fault) {
    static const std::array<const char*, 6> kNames = {
        "MediaKilled", "MediaFrozen", "ChannelKilled", "ChannelFrozen", "BothKilled", "BothFrozen"};
    return kNames.at(static_cast<std::size_t>(fault));
}

std::string NameOf(Phase phase) {
    static const std::array<const char*, 6> kNames = {"WhileEntering", "WhileAPublishStarts",
                                                      "WhileLive",     "WhileAPlayStarts",
                                                      "WhilePlaying",  "WhileLeaving"};
    return kNames.at(static_cast<std::size_t>(phase));
}

std::string WordOf(const std::string& event) {
    const std::string name = event.substr(0, event.find('('));
    const std::string number = Number(event);
    if (name == "OnGetStreamList") {
        return number == "0" ? "entry begins" : "entry fails " + number;
    }
    if (name == "OnPublishStateUpdate") {
        return Media("publish", number);
    }
    if (name == "OnPlayStateUpdate") {
        return Media("play", number);
    }
    if (name == "OnDisconnected") {
        return "channel lost " + number;
    }
    if (name == "OnReconnected") {
        return "channel back";
    }
    if (name == "OnLogout") {
        return number == "0" ? "left" : "left with " + number;
    }
    return {};
}

std::vector<std::string> ByKind(std::vector<std::string> words) {
    std::stable_sort(
        words.begin(), words.end(),
        [](const std::string& one, const std::string& other) { return Kind(one) < Kind(other); });
    return words;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text.empty() ? "-" : text;
}

std::ostream& operator<<(std::ostream& out, const FaultRow& row) {
    return out << NameOf(row.fault) << NameOf(row.phase);
}

}  // namespace livetest
