// The parts of the command line that need no engine: texts, pictures, the log's words.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <filesystem>

#include "Compare.h"
#include "Json.h"
#include "Text.h"
#include "Upload.h"

namespace vaxoapp {

namespace {

// A scene of big coloured areas; `moved` shifts a small square over it, `noise` disturbs it.
Picture Scene(int width, int height, int moved, int noise) {
    Picture picture{width, height, {}};
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            const int column = x * 8 / width;
            const bool isSquare =
                x * 16 / width == moved && y * 9 / height >= 4 && y * 9 / height < 6;
            const int disturbed = (x * 7 + y * 13) % (noise + 1);
            for (int i = 0; i < 3; ++i) {
                const int colour = isSquare ? 255 : (column * 37 + i * 60) % 200 + disturbed;
                picture.rgba.push_back(static_cast<unsigned char>(colour));
            }
            picture.rgba.push_back(255);
        }
    }
    return picture;
}

}  // namespace

TEST(CompareTest, SameSceneIsAlikeThoughSomethingMovesAndTheSizeDiffers) {
    const Likeness likeness = ComparePictures(Scene(640, 360, 2, 0), Scene(320, 180, 11, 9));
    EXPECT_TRUE(likeness.sameShape);
    EXPECT_GT(likeness.decibels, 30);
    EXPECT_GT(likeness.contrast, 20);
}

TEST(CompareTest, AnotherSceneAndATurnedOneAreDifferent) {
    const Picture scene = Scene(640, 360, 2, 0);
    Picture mirrored = scene;
    for (std::size_t y = 0; y < 360; ++y) {
        for (std::size_t x = 0; x < 640 * 4; ++x) {
            mirrored.rgba[y * 2560 + x] = scene.rgba[y * 2560 + (639 - x / 4) * 4 + x % 4];
        }
    }
    EXPECT_LT(ComparePictures(scene, mirrored).decibels, 18);
    EXPECT_FALSE(ComparePictures(scene, Scene(360, 640, 2, 0)).sameShape);
}

TEST(CompareTest, BlackPicturesHaveNothingToCompare) {
    const Picture black{64, 36, std::vector<unsigned char>(64 * 36 * 4, 0)};
    EXPECT_LT(ComparePictures(black, black).contrast, 1);
}

TEST(PngFileTest, PictureComesBackAsItWasWritten) {
    const auto path =
        std::filesystem::temp_directory_path() /
        ("vaxopng" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) +
         std::to_string(::getpid()) + ".png");
    const Picture picture = Scene(66, 34, 3, 5);
    Picture read;
    std::string error;
    ASSERT_TRUE(WritePng(path.string(), picture, error)) << error;
    ASSERT_TRUE(ReadPng(path.string(), read, error)) << error;
    EXPECT_EQ(read.width, 66);
    EXPECT_EQ(read.height, 34);
    EXPECT_EQ(read.rgba, picture.rgba);
    std::filesystem::resize_file(path, 100);
    EXPECT_FALSE(ReadPng(path.string(), read, error));
    std::filesystem::remove(path);
    EXPECT_FALSE(WritePng("/nowhere/x.png", picture, error));
    EXPECT_TRUE(error.find("/nowhere/x.png") != std::string::npos) << error;
}

TEST(PngFileTest, DeviceStaysADevice) {
    const auto path =
        std::filesystem::temp_directory_path() / ("vaxopng" + std::to_string(::getpid()) + ".link");
    std::string error;
    for (const char* const device : {"/dev/null", "/dev/full"}) {
        std::filesystem::remove(path);
        std::filesystem::create_symlink(device, path);
        // The picture is larger than what is kept before it is written.
        EXPECT_EQ(WritePng(path.string(), Scene(320, 200, 3, 5), error),
                  std::string(device) == "/dev/null");
        EXPECT_TRUE(std::filesystem::is_symlink(path)) << device;
        EXPECT_TRUE(std::filesystem::is_character_file(device)) << device;
    }
    EXPECT_NE(error.find("picture "), std::string::npos) << error;
    std::filesystem::remove(path);
}

TEST(TextTest, PrintableTextKeepsLettersAndLosesControls) {
    EXPECT_EQ(Printable("gr\xC3\xBC\xC3\x9F"), "gr\xC3\xBC\xC3\x9F");
    EXPECT_EQ(Printable("a\x1b[2J\n\x7f\xC2\x9B"
                        "b"),
              "a?[2J???b");
    EXPECT_EQ(Printable("\xC3"
                        "A\xED\xA0\x80\xF5\xC0\xAF"),
              "?A??????");
    EXPECT_EQ(Printable("abcdef", 3), "abc...");
    EXPECT_EQ(Printable("ab\xC3\xBC", 3), "ab...");
}

TEST(TextTest, JsonTextIsEscaped) {
    EXPECT_EQ(JsonText("a\"\\\n\x01\xC3\xBC\xFF"),
              "\"a\\\"\\\\\\u000a\\u0001\xC3\xBC\xEF\xBF\xBD\"");
    JsonObject object;
    object.Text("t", "x")
        .Number("n", -3)
        .Flag("f", true)
        .Real("r", std::nan(""))
        .Texts("l", {"a", "b"});
    EXPECT_EQ(object.Line(), R"({"t":"x","n":-3,"f":true,"r":0.00,"l":["a","b"]})");
}

TEST(TextTest, AddressLosesQueryAndToken) {
    EXPECT_EQ(Unsigned("rtmp://h/live/42_a?id=42&sig=x"), "rtmp://h/live/42_a");
    EXPECT_EQ(Unsigned("http://h:1/hls/42.ann.9.sig/42_a/index.m3u8?q"),
              "http://h:1/hls/.../42_a/index.m3u8");
    EXPECT_EQ(Unsigned("http://h/hls/42.ann.9.sig"), "http://h/hls/...");
    EXPECT_EQ(Unsigned(""), "");
}

TEST(TextTest, NumbersAreWholeAndInRange) {
    long long value = 7;
    EXPECT_TRUE(ParseNumber("12", 1, 12, value));
    EXPECT_EQ(value, 12);
    for (const char* const text :
         {"", " 1", "1 ", "+1", "0x1", "13", "0", "99999999999999999999"}) {
        EXPECT_FALSE(ParseNumber(text, 1, 12, value)) << text;
    }
    int bitrate = 0;
    EXPECT_TRUE(ParseBitrate("2M", bitrate));
    EXPECT_EQ(bitrate, 2000000);
    for (const char* const text : {"", "k", "31k", "21M", "1G", "9223372036854775807k"}) {
        EXPECT_FALSE(ParseBitrate(text, bitrate)) << text;
    }
}

TEST(UploadTest, LogLinesTellTheEndOfAnUpload) {
    const std::string front = "2026-11-21 10:11:12.123456 12345 3 ";
    unsigned long long bytes = 0;
    std::string reason;
    EXPECT_EQ(ReadUploadNews(front + "ConnHttp:237 upload of /a/b.log to http://h/u: done, 812 "
                                     "bytes, 201",
                             bytes, reason),
              UploadNews::Done);
    EXPECT_EQ(bytes, 812U);
    EXPECT_EQ(
        ReadUploadNews(front + "ConnHttp:242 upload of x to y: failed, status 403", bytes, reason),
        UploadNews::Failed);
    EXPECT_EQ(reason, "failed, status 403");
    EXPECT_EQ(
        ReadUploadNews(front + "ConnHttp:70 upload of x not taken: too many wait", bytes, reason),
        UploadNews::Failed);
    EXPECT_EQ(ReadUploadNews(front + "ConnHttp:246 upload of x to y: to be tried again, no "
                                     "connection",
                             bytes, reason),
              UploadNews::Again);
    EXPECT_EQ(reason, "to be tried again, no connection");
    EXPECT_EQ(ReadUploadNews(front + "CmdQueue:9 upload of x to y: failed, it says", bytes, reason),
              UploadNews::None);
}

}  // namespace vaxoapp
