// Memory that runs out in the values that calls and events carry: maps of strings, formatted
// strings, streams, the settings. (What a refusal does to one string, buffer or array, and to
// a map whose keys cannot be copied, stands in the tests of common/xplatform.)
#include <gtest/gtest.h>

#include <functional>
#include <new>
#include <string>
#include <utility>
#include <vector>

#include "base/VaxoAppSetting.h"
#include "kernel/live/Journal.h"
#include "kernel/live/memory/Starved.h"

namespace {

using livetest::Text;
using starving::Then;
using starving::Watch;

typedef vaxostl::map<vaxo::strutf8, vaxo::strutf8> Devices;
typedef std::vector<std::pair<std::string, std::string>> Entries;

Entries EntriesOf(const Devices& devices) {
    Entries entries;
    for (auto it = devices.begin(); it != devices.end(); ++it) {
        entries.emplace_back(Text(it->first), Text(it->second));
    }
    return entries;
}

// Runs `use` with that request refused; whether there was one. `threw` says what came out.
bool UseStarved(const std::function<void()>& use, long refused, bool& threw) {
    const Watch watch(refused, Then::Works, starving::Callers);
    threw = false;
    try {
        use();
    } catch (const std::bad_alloc&) {
        threw = true;
    }
    starving::ExpectTold(threw, watch);
    return watch.Refused();
}

// Starves a change of a map of two devices: it is as before, or as it should be.
long StarveChange(const std::function<void(Devices&)>& change, const Entries& after) {
    return starving::RefuseOneAfterTheOther([&](long refused) {
        Devices devices;
        devices.set("cam1", "front");
        devices.set("cam2", "back");
        const Entries before = EntriesOf(devices);
        bool threw = false;
        const bool any = UseStarved([&] { change(devices); }, refused, threw);
        EXPECT_EQ(EntriesOf(devices), threw ? before : after);
        EXPECT_EQ(devices.size(), (threw ? before : after).size());
        change(devices);
        EXPECT_EQ(EntriesOf(devices), after);
        return any;
    });
}

}  // namespace

TEST(VaxoValuesMemory, AnEntryOfStringsIsSetWholeOrNotAtAll) {
    const Entries added = {{"cam1", "front"}, {"cam2", "back"}, {"cam3", "usb"}};
    EXPECT_GE(StarveChange([](Devices& devices) { devices.set("cam3", "usb"); }, added), 5);
    EXPECT_GE(StarveChange([](Devices& devices) { devices.insert("cam3", "usb"); }, added), 5);
    EXPECT_GE(StarveChange([](Devices& devices) { devices.set("cam1", "a longer name"); },
                           {{"cam1", "a longer name"}, {"cam2", "back"}}),
              3);
}

TEST(VaxoValuesMemory, ACopyOfAMapOfStringsLeavesNothingBehind) {
    Devices devices;
    for (const char* const id : {"cam1", "cam2", "cam3", "cam4"}) {
        devices.set(id, "name");
    }
    bool threw = false;
    const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
        return UseStarved([&] { EXPECT_EQ(Devices(devices).size(), 4U); }, refused, threw);
    });
    EXPECT_EQ(requests, 4 * 3);  // node, key, value
    EXPECT_EQ(devices.size(), 4U);
}

TEST(VaxoValuesMemory, AFormattedStringIsAsBeforeOrWhole) {
    bool threw = false;
    const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
        vaxo::strutf8 text("before");
        const bool any = UseStarved(
            [&] { text.format("%s-%d-%8.3f-%s", "a text that is long", 7, 2.5, text.c_str()); },
            refused, threw);
        EXPECT_EQ(Text(text), threw ? "before" : "a text that is long-7-   2.500-before");
        return any;
    });
    EXPECT_GE(requests, 1);
}

// A list of addresses that cannot be had is missing in the copy: the array says so by being
// empty, and nobody throws. The texts are there or the copy is not.
TEST(VaxoValuesMemory, ACopyOfAStreamHasAllItsTexts) {
    Strova::VaxoLiveStream stream;
    stream.streamGID = "group";
    stream.streamID = "s1";
    stream.userID = "user";
    stream.userName = "name";
    stream.title = "title";
    stream.rtmpURLs.Add("rtmp://one");
    stream.hlsURLs.Add("http://two");
    bool threw = false;
    const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
        return UseStarved(
            [&] {
                const Strova::VaxoLiveStream copy(stream);
                EXPECT_TRUE(copy.title == stream.title && copy.streamGID == stream.streamGID);
                EXPECT_LE(copy.rtmpURLs.size() + copy.hlsURLs.size(), 2U);
            },
            refused, threw);
    });
    EXPECT_EQ(requests, 5 + 2 * 2);
}

TEST(VaxoValuesMemory, ASettingIsAsBeforeOrSet) {
    const vaxo::strutf8 user("somebody with a longer name");
    const vaxo::stream sign("another key", 11);
    bool threw = false;
    const long requests = starving::RefuseOneAfterTheOther([&](long refused) {
        CVaxoAppSetting setting;
        setting.SetUserID("ann");
        setting.SetAppSign(vaxo::stream("key", 3));
        const bool any = UseStarved(
            [&] {
                setting.SetUserID(user);
                setting.SetAppSign(sign);
            },
            refused, threw);
        starving::ExpectNothingHeld();
        EXPECT_EQ(Text(setting.GetUserID()), threw && refused == 1 ? "ann" : Text(user));
        EXPECT_EQ(setting.GetAppSign().size(), threw ? 3U : 11U);
        return any;
    });
    EXPECT_EQ(requests, 2);
}
