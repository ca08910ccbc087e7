#include "engine/show/Addresses.h"

#include <string>

#include <gtest/gtest.h>

namespace {

using vaxoengine::MediaServer;

const MediaServer kServer{"rtmp://media.example:1935/live", "https://media.example:8443/upload"};

VaxoSigner Signer() {
    VaxoSigner signer;
    signer.appID = 42;
    signer.key = "secret key";
    signer.user = "bob";
    return signer;
}

TEST(Addresses, AStreamHasAnAddressOfEachKind) {
    EXPECT_EQ(vaxoengine::RtmpAddress(kServer, 42, "a b"),
              "rtmp://media.example:1935/live/42_a~20b");
    EXPECT_EQ(vaxoengine::HlsAddress(kServer, 42, "a b"),
              "https://media.example:8443/hls/42_a~20b/index.m3u8");
}

TEST(Addresses, ASlashAtTheEndOfASettingDoesNotMatter) {
    EXPECT_EQ(vaxoengine::RtmpAddress({"rtmp://h/live/", ""}, 1, "x"), "rtmp://h/live/1_x");
}

TEST(Addresses, WithoutASettingThereIsNone) {
    EXPECT_EQ(vaxoengine::RtmpAddress({}, 42, "x"), "");
    EXPECT_EQ(vaxoengine::HlsAddress({}, 42, "x"), "");
    EXPECT_EQ(vaxoengine::HlsAddress({"", "no address"}, 42, "x"), "");
}

TEST(Addresses, ASignatureIsForTheNameAndTheActionAndSomeMinutes) {
    const std::string address = vaxoengine::RtmpAddress(kServer, 42, "x");
    EXPECT_EQ(vaxoengine::SignRtmp(kServer, address, Signer(), "publish", 1000),
              address + "?" + VaxoSignQuery(Signer(), "publish", "42_x", 1300));
    EXPECT_NE(vaxoengine::SignRtmp(kServer, address, Signer(), "publish", 1000),
              vaxoengine::SignRtmp(kServer, address, Signer(), "play", 1000));
}

TEST(Addresses, AnHlsSignatureStandsInThePath) {
    const std::string address = vaxoengine::HlsAddress(kServer, 42, "x");
    EXPECT_EQ(vaxoengine::SignHls(kServer, address, Signer(), 1000),
              "https://media.example:8443/hls/" + VaxoSignToken(Signer(), "play", "42_x", 1300) +
                  "/42_x/index.m3u8");
}

TEST(Addresses, TheReasonOfARefusalIsAskedForWithTheSameSignature) {
    const std::string address = kServer.mediaURL + "/42_show?id=42&sig=x";
    EXPECT_EQ(vaxoengine::WhyAddress(kServer, "play", address),
              "https://media.example:8443/why?action=play&name=42_show&id=42&sig=x");
    EXPECT_EQ(vaxoengine::WhyAddress(kServer, "play", kServer.mediaURL + "/42_show"), "");
    EXPECT_EQ(vaxoengine::WhyAddress(kServer, "play", "rtmp://elsewhere/live/42_show?sig=x"), "");
    EXPECT_EQ(vaxoengine::WhyAddress({kServer.mediaURL, ""}, "play", address), "");
}

TEST(Addresses, AnotherServersAddressIsNeverSigned) {
    for (const std::string address :
         {"rtmp://evil.example/live/42_x", "rtmp://media.example:1935/livex/42_x",
          "rtmp://media.example:1935/live/", "rtmp://media.example:1935/live/a/b",
          "rtmp://media.example:1935/live/42_x?sig=1", "", "nonsense"}) {
        EXPECT_EQ(vaxoengine::SignRtmp(kServer, address, Signer(), "play", 1000), address);
    }
    for (const std::string address :
         {"https://evil.example/hls/42_x/index.m3u8", "https://media.example:8443/hls//index.m3u8",
          "https://media.example:8443/hls/a/b/index.m3u8", "https://media.example:8443/hls/42_x"}) {
        EXPECT_EQ(vaxoengine::SignHls(kServer, address, Signer(), 1000), address);
    }
}

TEST(Addresses, WithoutASettingNothingIsSigned) {
    EXPECT_EQ(vaxoengine::SignRtmp({}, "rtmp://h/live/1_x", Signer(), "play", 1),
              "rtmp://h/live/1_x");
}

}  // namespace
