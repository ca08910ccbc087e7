// What the engine answers at once.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "conformance/engine/Stage.h"

namespace conformance {

namespace {

struct Given {
    std::string channel;
    std::string stream;
    std::string address;
};

Given TextsOf(Stage& stage) {
    return stage.With([](auto& engine) {
        return Given{Bytes(engine.GetLiveChannel()), Bytes(engine.GetCurrentPublishStreamID()),
                     Bytes(engine.GetCurrentPublishStreamURL())};
    });
}

void ExpectNothingNamed(Stage& stage, const char* when) {
    const Given given = TextsOf(stage);
    EXPECT_EQ(given.channel, "") << "broken rule: " << rule::Empty << "\n  channel, " << when;
    EXPECT_EQ(given.stream, "") << "broken rule: " << rule::Empty << "\n  stream, " << when;
    EXPECT_EQ(given.address, "") << "broken rule: " << rule::Empty << "\n  address, " << when;
}

struct Listing {
    int status = 0;
    std::vector<std::string> streams;
};

// The list getter with an argument that holds one stream already.
Listing ListOf(Stage& stage) {
    return stage.With([](auto& engine) {
        vaxostl::vector<Strova::VaxoLiveStream> streams;
        Strova::VaxoLiveStream former;
        former.streamID = "was here before";
        streams.push_back(former);
        Listing listing{engine.GetStreamList(streams), {}};
        for (const Strova::VaxoLiveStream& stream : streams) {
            listing.streams.push_back(Bytes(stream.streamID));
        }
        return listing;
    });
}

// Nothing is known here: an error and no change, or an empty list.
void ExpectNothingListed(Stage& stage, const char* when) {
    const Listing listing = ListOf(stage);
    if (listing.status == 0) {
        EXPECT_EQ(listing.streams, std::vector<std::string>())
            << "broken rule: " << rule::Filled << "\n  " << when;
    } else {
        EXPECT_EQ(listing.streams, std::vector<std::string>{"was here before"})
            << "broken rule: " << rule::Untouched << "\n  " << when;
    }
}

class Nowhere : public testing::TestWithParam<Place> {};

TEST_P(Nowhere, NothingIsNamedOrListed) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(GetParam()));
    ExpectNothingNamed(stage, "where there is none");
    ExpectNothingListed(stage, "where there is none");
}

INSTANTIATE_TEST_SUITE_P(Getters, Nowhere,
                         testing::Values(Place::BeforeInit, Place::Initialised, Place::AfterLogout,
                                         Place::AfterUninit),
                         [](const testing::TestParamInfo<Place>& place) -> std::string {
                             switch (place.param) {
                                 case Place::BeforeInit:
                                     return "BeforeInit";
                                 case Place::Initialised:
                                     return "BeforeAnEntry";
                                 case Place::AfterLogout:
                                     return "AfterALogout";
                                 default:
                                     return "AfterUninit";
                             }
                         });

TEST(Getters, NameTheChannelAndItsStreams) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::InChannel));
    EXPECT_EQ(TextsOf(stage).channel, Env().Channel()) << "broken rule: " << rule::Named;
    const Listing listing = ListOf(stage);
    const std::set<std::string> once(listing.streams.begin(), listing.streams.end());
    EXPECT_EQ(listing.status, 0) << "broken rule: " << rule::Filled;
    EXPECT_EQ(once.size(), listing.streams.size()) << "broken rule: " << rule::Filled << ": twice";
    EXPECT_EQ(once.count(Env().PlayableStream()), 1U) << "broken rule: " << rule::Filled;
    EXPECT_EQ(once.count("was here before"), 0U) << "broken rule: " << rule::Filled;
}

TEST(Getters, NameThePublishWhileItRuns) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    EXPECT_EQ(TextsOf(stage).stream, PublishRequest().id) << "broken rule: " << rule::Named;
    ASSERT_EQ(stage.Do(StopPublishRequest()).status, 0) << "broken rule: " << rule::Accepted;
    const Given after = TextsOf(stage);
    EXPECT_EQ(after.stream, "") << "broken rule: " << rule::Empty;
    EXPECT_EQ(after.address, "") << "broken rule: " << rule::Empty;
    EXPECT_EQ(after.channel, Env().Channel()) << "broken rule: " << rule::Named;
}

TEST(Getters, NameTheOtherChannelAfterItWasEntered) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Publishing));
    ASSERT_EQ(stage.Do({Ask::Enter, Env().OtherChannel()}).status, 0)
        << "broken rule: " << rule::Accepted;
    EXPECT_EQ(TextsOf(stage).channel, Env().OtherChannel()) << "broken rule: " << rule::Named;
}

// Device lists: filled, or a status and no change. -1000 is no kind of device.
TEST(Getters, OfDevicesFillTheirMapOrLeaveItAlone) {
    Stage stage;
    ASSERT_TRUE(stage.Reach(Place::Initialised));
    for (const int kind : {-1000, 0, 1, 1000}) {
        stage.With([kind](auto& engine) {
            vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
            devices.set("was here before", "x");
            if (engine.GetAudioDeviceList(kind, devices) != 0) {
                EXPECT_EQ(devices.size(), 1U)
                    << "broken rule: " << rule::Untouched << "\n  audio devices, kind " << kind;
            }
            return 0;
        });
    }
    stage.With([](auto& engine) {
        vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
        devices.set("was here before", "x");
        if (engine.GetVideoCaptureDevice(devices) != 0) {
            EXPECT_EQ(devices.size(), 1U) << "broken rule: " << rule::Untouched << "\n  cameras";
        }
        return 0;
    });
}

}  // namespace

}  // namespace conformance
