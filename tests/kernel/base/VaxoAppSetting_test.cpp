// The settings: what they start with, that each value is its own and a copy, the one line
// that they log, and that threads see whole values.
#include "base/VaxoAppSetting.h"

#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <limits>
#include <string>
#include <thread>
#include <vector>

#include "support/LogRecorder.h"
#include "support/StringText.h"

using vaxotest::bytes;
using vaxotest::text;

namespace {

typedef std::vector<LogLine> Lines;

// One of the four texts among the settings.
struct TextSetting {
    const char* name;
    vaxo::strutf8 (CVaxoAppSetting::*get)();
    void (CVaxoAppSetting::*set)(const vaxo::strutf8&);
};

const TextSetting s_texts[] = {
    {"user", &CVaxoAppSetting::GetUserID, &CVaxoAppSetting::SetUserID},
    {"service", &CVaxoAppSetting::GetServiceURL, &CVaxoAppSetting::SetServiceURL},
    {"media", &CVaxoAppSetting::GetMediaURL, &CVaxoAppSetting::SetMediaURL},
    {"upload", &CVaxoAppSetting::GetUploadURL, &CVaxoAppSetting::SetUploadURL},
};

vaxo::stream Sign(const std::string& key) {
    return {key.data(), static_cast<uint32>(key.size())};
}

std::array<std::string, 4> Texts(CVaxoAppSetting& setting) {
    std::array<std::string, 4> all;
    for (std::size_t i = 0; i < all.size(); ++i) {
        all[i] = text((setting.*s_texts[i].get)());
    }
    return all;
}

// Whether all bytes are the same: a value made of two settings is not.
bool IsUniform(const std::string& value) {
    return value.find_first_not_of(value.empty() ? '\0' : value[0]) == std::string::npos;
}

// Settings of the test's own: what the process has set before does not matter.
class VaxoAppSetting : public ::testing::Test {
protected:
    LogRecorder log;
    CVaxoAppSetting setting;
};

}  // namespace

TEST_F(VaxoAppSetting, NothingIsSetAtFirst) {
    EXPECT_EQ(setting.GetAppID(), 0U);
    EXPECT_EQ(setting.GetAppSign().size(), 0U);
    EXPECT_EQ(Texts(setting), (std::array<std::string, 4>{}));
}

TEST_F(VaxoAppSetting, TheProcessHasOneSetOfSettings) {
    CVaxoAppSetting* const shared = CVaxoAppSetting::SharedInstance();
    ASSERT_NE(shared, nullptr);
    std::array<CVaxoAppSetting*, 8> seen = {};
    std::vector<std::thread> threads;
    threads.reserve(seen.size());
    for (CVaxoAppSetting*& mine : seen) {
        threads.emplace_back([&mine] { mine = CVaxoAppSetting::SharedInstance(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const CVaxoAppSetting* const mine : seen) {
        EXPECT_EQ(mine, shared);
    }
}

TEST_F(VaxoAppSetting, TheApplicationIDIsKeptWhole) {
    setting.SetAppID(7);
    EXPECT_EQ(setting.GetAppID(), 7U);
    setting.SetAppID(std::numeric_limits<unsigned int>::max());
    EXPECT_EQ(setting.GetAppID(), 4294967295U);
    EXPECT_EQ(log.Take(), Lines());
}

TEST_F(VaxoAppSetting, EveryReadOfTheApplicationIDZeroIsLoggedAsAnError) {
    const LogLine line = {esyslog_error, "AppSetting", "GetAppID, app id is 0"};
    EXPECT_EQ(setting.GetAppID(), 0U);
    EXPECT_EQ(log.Take(), Lines{line});
    setting.SetAppID(7);
    setting.GetAppID();
    setting.SetAppID(0);
    EXPECT_EQ(log.Take(), Lines());
    EXPECT_EQ(setting.GetAppID(), 0U);
    EXPECT_EQ(setting.GetAppID(), 0U);
    EXPECT_EQ(log.Take(), (Lines{line, line}));
}

// The sink may ask for settings: no lock is held while the line is written.
TEST_F(VaxoAppSetting, TheLineIsWrittenOutsideTheLock) {
    struct Asked {
        CVaxoAppSetting& setting;
        int lines = 0;
    } asked{setting};
    vaxolog_set_sink(
        [](void* context, int32, const char*, int32, const char*) {
            auto* const me = static_cast<Asked*>(context);
            ++me->lines;
            me->setting.SetUserID("asked by the sink");
        },
        &asked);
    setting.GetAppID();
    vaxolog_set_sink(nullptr, nullptr);
    EXPECT_EQ(asked.lines, 1);
    EXPECT_EQ(text(setting.GetUserID()), "asked by the sink");
}

TEST_F(VaxoAppSetting, EachTextIsAValueOfItsOwn) {
    for (const TextSetting& one : s_texts) {
        (setting.*one.set)(one.name);
    }
    EXPECT_EQ(Texts(setting), (std::array<std::string, 4>{"user", "service", "media", "upload"}));
    EXPECT_EQ(setting.GetAppSign().size(), 0U);
    (setting.*s_texts[1].set)("other");
    EXPECT_EQ(Texts(setting), (std::array<std::string, 4>{"user", "other", "media", "upload"}));
    (setting.*s_texts[2].set)({});
    EXPECT_EQ(Texts(setting), (std::array<std::string, 4>{"user", "other", "", "upload"}));
    EXPECT_EQ(log.Take(), Lines());
}

TEST_F(VaxoAppSetting, TheSigningKeyKeepsAllItsBytes) {
    const std::string key("\0k\xFF\0e\0", 6);
    setting.SetAppSign(Sign(key));
    EXPECT_EQ(bytes(setting.GetAppSign()), key);
    setting.SetAppSign({});
    EXPECT_EQ(setting.GetAppSign().size(), 0U);
}

TEST_F(VaxoAppSetting, ATextKeepsItsZeroBytes) {
    setting.SetUserID(vaxo::strutf8("a\0b", 3));
    EXPECT_EQ(text(setting.GetUserID()), std::string("a\0b", 3));
}

TEST_F(VaxoAppSetting, ASetValueIsACopyOfTheCallers) {
    vaxo::strutf8 user = "user";
    vaxo::stream sign = Sign("key");
    setting.SetUserID(user);
    setting.SetAppSign(sign);
    user[0] = 'X';
    sign[0] = 'X';
    EXPECT_EQ(text(setting.GetUserID()), "user");
    EXPECT_EQ(bytes(setting.GetAppSign()), "key");
}

TEST_F(VaxoAppSetting, AReadValueIsACopyForTheCaller) {
    setting.SetUserID("user");
    setting.SetAppSign(Sign("key"));
    vaxo::strutf8 user = setting.GetUserID();
    vaxo::stream sign = setting.GetAppSign();
    user[0] = 'X';
    sign[0] = 'X';
    EXPECT_EQ(text(setting.GetUserID()), "user");
    EXPECT_EQ(bytes(setting.GetAppSign()), "key");
    setting.SetUserID("other");
    setting.SetAppSign({});
    EXPECT_EQ(text(user), "Xser");
    EXPECT_EQ(bytes(sign), "Xey");
}

TEST_F(VaxoAppSetting, AValueMayBeSetToItself) {
    setting.SetUserID("user");
    setting.SetUserID(setting.GetUserID());
    setting.SetAppSign(Sign("key"));
    setting.SetAppSign(setting.GetAppSign());
    setting.SetMediaURL(setting.GetUserID());
    EXPECT_EQ(text(setting.GetUserID()), "user");
    EXPECT_EQ(bytes(setting.GetAppSign()), "key");
    EXPECT_EQ(text(setting.GetMediaURL()), "user");
}

TEST_F(VaxoAppSetting, TheSigningKeyIsInNoLogLine) {
    setting.SetAppSign(Sign("c0nf1dent1al"));
    setting.GetAppSign();
    setting.SetUserID("user");
    setting.GetAppID();
    EXPECT_EQ(log.Take(), (Lines{{esyslog_error, "AppSetting", "GetAppID, app id is 0"}}));
}

TEST_F(VaxoAppSetting, ReadersSeeWholeValuesWhileWritersChangeThem) {
    const int rounds = 300;
    setting.SetAppID(11);
    std::vector<std::thread> threads;
    for (const char letter : {'a', 'b'}) {
        threads.emplace_back([this, letter] {
            for (int round = 1; round <= rounds; ++round) {
                // Different lengths: a copy of half a change would read past its end.
                const std::string value(static_cast<std::size_t>(round % 40 + 1), letter);
                setting.SetAppSign(Sign(value));
                for (const TextSetting& one : s_texts) {
                    (setting.*one.set)(value.c_str());
                }
                setting.SetAppID(letter == 'a' ? 11 : 0xB0000000U);
            }
        });
    }
    for (int reader = 0; reader < 2; ++reader) {
        threads.emplace_back([this] {
            for (int round = 0; round < rounds; ++round) {
                EXPECT_TRUE(IsUniform(bytes(setting.GetAppSign())));
                for (const std::string& value : Texts(setting)) {
                    EXPECT_TRUE(IsUniform(value)) << value;
                }
                const unsigned int id = setting.GetAppID();
                EXPECT_TRUE(id == 11 || id == 0xB0000000U) << id;
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(log.Take(), Lines());
}
