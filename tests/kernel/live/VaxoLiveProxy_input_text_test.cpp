// Texts that nobody expects: empty, a mebibyte long, with zero bytes, not UTF-8, full of
// format characters. The log shows a text up to its first zero byte; joins, the engine
// and the application get all of it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>

#include "kernel/live/EveryOperation.h"

namespace {

using livetest::AnswerWhatExecutes;
using livetest::EngineCallback;
using livetest::OnlyOf;
using livetest::Settle;
using livetest::Take;
using livetest::TakeOnly;
using livetest::Texts;
using livetest::TheScript;

const std::string s_add = "log 3 CmdProxy: AddCmd: ";
const std::string s_play = "log 3 CmdProxy: OnPlayStateUpdate, call back state: BEGIN, stream ID: ";
const std::string s_publish =
    "log 3 CmdProxy: OnPublishStateUpdate, call back state: BEGIN, stream: ";

vaxo::strutf8 Utf8(const std::string& bytes) {
    return {bytes.data(), static_cast<uint32>(bytes.size())};
}

// Two lists of long lines, without printing them when they differ.
void ExpectSame(const Texts& lines, const Texts& expected) {
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i) {
        EXPECT_TRUE(lines[i] == expected[i])
            << i << ": " << lines[i].size() << " bytes, expected " << expected[i].size() << ": "
            << lines[i].substr(0, 80) << " ... " << expected[i].substr(0, 80);
    }
}

// An engine call in the journal.
std::string Call(const std::string& operation, const Texts& values) {
    std::string list;
    const char* between = "";
    for (const std::string& value : values) {
        list += between + value;
        between = ", ";
    }
    return "engine: " + operation + "(" + list + ")";
}

class LiveInputText : public livetest::LiveProxyFixture {
protected:
    // Plays `one` and `other`, which are different, from the call to the answer. `shown`
    // is what the log shows of `one`.
    void PlayBoth(const std::string& one, const std::string& other, const std::string& shown);
    // Gives this text to every operation and event that takes one.
    void UseEverywhere(const std::string& text, const std::string& shown);
    // What stays of plays, publishes and channel entries that wait, by these texts.
    void JoinBoth(const std::string& one, const std::string& other);
};

void LiveInputText::PlayBoth(const std::string& one, const std::string& other,
                             const std::string& shown) {
    proxy->PlayStream(Utf8(one), 0);
    Settle();
    Texts lines = Take();
    ExpectSame(OnlyOf(lines, s_add), {s_add + "PlayStream(0/" + shown + ")"});
    ExpectSame(OnlyOf(lines, "engine: "), {Call("PlayStream", {one, "0"})});

    EngineCallback()->OnPlayStateUpdate(Mediq::AVStateEnd, Utf8(other));
    Settle();
    lines = Take();
    EXPECT_TRUE(queue->GetExecutingCmd()) << "ended by another stream's event";
    ExpectSame(OnlyOf(lines, "app: "), {"app: OnPlayStateUpdate(1, " + other + ")"});

    EngineCallback()->OnPlayStateUpdate(Mediq::AVStateBegin, Utf8(one));
    Settle();
    lines = Take();
    EXPECT_FALSE(queue->GetExecutingCmd()) << "not ended by its event";
    ExpectSame(OnlyOf(lines, s_play), {s_play + shown});
    ExpectSame(OnlyOf(lines, "app: "), {"app: OnPlayStateUpdate(0, " + one + ")"});
}

void LiveInputText::UseEverywhere(const std::string& text, const std::string& shown) {
    const vaxo::strutf8 all = Utf8(text);
    for (const char* const operation : {"StartPublishing", "GetStreamList", "StopPlayStream"}) {
        TheScript().inside[operation] = &AnswerWhatExecutes;
    }
    proxy->StartPublishing(all, all, all);
    proxy->GetStreamList(all, all, all, 0);
    proxy->StopPlayStream(all);
    vaxo::strutf8 device = all;
    proxy->SetAudioDevice(0, device);
    proxy->SetVideoCaptureDeviceId(std::make_shared<vaxo::strutf8>(all));
    EngineCallback()->OnVideoSizeChanged(all, 1, 2);
    EngineCallback()->OnDisconnected(3, all);
    EngineCallback()->OnReconnected(all);
    Settle();
    const Texts lines = Take();
    ExpectSame(
        OnlyOf(lines, s_add),
        {s_add + "StartPublish(0/" + shown + ")", s_add + "GetInRoom(0/" + shown + ")",
         s_add + "StopStream(0/" + shown + ")", s_add + "SyncCmd(113/)", s_add + "SyncCmd(112/)"});
    ExpectSame(OnlyOf(lines, "engine: "),
               {Call("StartPublishing", {text, text, text}),
                Call("GetStreamList", {text, text, text, "0"}),
                "engine: StopPlayStream(" + text + ")", "engine: SetAudioDevice(0, " + text + ")",
                "engine: SetVideoCaptureDeviceId(" + text + ")"});
    ExpectSame(OnlyOf(lines, "app: OnVideo"), {"app: OnVideoSizeChanged(" + text + ", 1, 2)"});
    ExpectSame(OnlyOf(lines, "app: OnDis"), {"app: OnDisconnected(3, " + text + ")"});
    ExpectSame(OnlyOf(lines, "app: OnRe"), {"app: OnReconnected(" + text + ")"});
    ExpectSame(OnlyOf(lines, s_publish), {s_publish + shown});
    EXPECT_EQ(Executing(), "");
}

void LiveInputText::JoinBoth(const std::string& one, const std::string& other) {
    const std::string shownOne = one.c_str();
    const std::string shownOther = other.c_str();
    HoldWithPlay("hold");
    proxy->PlayStream(Utf8(one), 0);
    proxy->PlayStream(Utf8(other), 0);
    proxy->StopPlayStream(Utf8(one));  // in place of the play of `one`
    proxy->StartPublishing("title", "p", Utf8(other));
    proxy->GetStreamList("user", "name", Utf8(other), 0);  // where that publish goes
    ExpectSame(Waiting(), {"PlayStream(0/" + shownOther + ")", "StopStream(0/" + shownOne + ")",
                           "StartPublish(0/p)", "GetInRoom(0/" + shownOther + ")"});
    proxy->GetStreamList("user", "name", Utf8(one), 0);  // not there, and in place of the entry
    proxy->StartPublishing("title", Utf8(one), "room");  // a stream called like the channel
    ExpectSame(Waiting(), {"PlayStream(0/" + shownOther + ")", "StopStream(0/" + shownOne + ")",
                           "GetInRoom(0/" + shownOne + ")", "StartPublish(0/" + shownOne + ")"});
    proxy->StartPublishing("title", Utf8(other), "room");  // and one that is not
    ExpectSame(Waiting(), {"PlayStream(0/" + shownOther + ")", "StopStream(0/" + shownOne + ")",
                           "StartPublish(0/" + shownOther + ")"});
}

}  // namespace

TEST_F(LiveInputText, EmptyTextsAreTextsLikeOthers) {
    StartEngine();
    PlayBoth("", "x", "");
    PlayBoth("x", "", "x");
    UseEverywhere("", "");
    JoinBoth("", "x");
}

TEST_F(LiveInputText, AnEmptyTextDiffersFromAnother) {
    StartEngine();
    JoinBoth("x", "");
}

TEST_F(LiveInputText, NullTextsAreEmptyTexts) {
    StartEngine();
    const char* const null = nullptr;
    proxy->PlayStream(null, 0);
    Settle();
    EXPECT_EQ(Executing(), "PlayStream(0/)");
    EngineCallback()->OnPlayStateUpdate(Mediq::AVStateBegin, vaxo::strutf8(null, 5));
    Settle();
    EXPECT_EQ(Executing(), "");
    const Texts lines = Take();
    EXPECT_EQ(OnlyOf(lines, "engine: "), Texts{Call("PlayStream", {"", "0"})});
    EXPECT_EQ(OnlyOf(lines, "app: "), Texts{"app: OnPlayStateUpdate(0, )"});
}

TEST_F(LiveInputText, AMebibyteArrivesWhole) {
    const std::string big(1U << 20U, 'a');
    const std::string other = big.substr(1) + "b";
    StartEngine();
    PlayBoth(big, other, big);
    PlayBoth(big, big.substr(1), big);
    UseEverywhere(big, big);
}

TEST_F(LiveInputText, AMebibyteIsComparedToItsLastByte) {
    const std::string big(1U << 20U, 'a');
    StartEngine();
    JoinBoth(big, big.substr(1) + "b");
}

TEST_F(LiveInputText, ZeroBytesAreKeptAndTheLogEndsThere) {
    const std::string one("a\0b", 3);
    const std::string other("a\0c", 3);
    StartEngine();
    PlayBoth(one, other, "a");
    PlayBoth(one, "a", "a");
    UseEverywhere(one, "a");
    JoinBoth(one, other);
}

TEST_F(LiveInputText, ATextThatBeginsWithAZeroByteLooksEmptyAndIsNot) {
    const std::string one("\0", 1);
    StartEngine();
    PlayBoth(one, "", "");
    PlayBoth("", one, "");
    UseEverywhere(one, "");
    JoinBoth(one, "");
}

TEST_F(LiveInputText, BytesThatAreNotUtf8PassUnchanged) {
    // Alone, cut short, too long, a surrogate, past the end of the code space.
    for (const char* const bytes :
         {"\xff\xfe", "\xe4\xbd", "\xc0\xaf", "\xed\xa0\x80", "\xf5\x80\x80\x80", "\x80"}) {
        StartEngine();
        PlayBoth(bytes, "\xef\xbf\xbd", bytes);
        UseEverywhere(bytes, bytes);
    }
}

TEST_F(LiveInputText, FormatAndControlCharactersMeanNothing) {
    for (const char* const text : {"%s%s%n", "%%", "%1000000d", "a\nb\r\n", "\x1b[31m", "(0/x)"}) {
        StartEngine();
        PlayBoth(text, "%", text);
        UseEverywhere(text, text);
    }
}

TEST_F(LiveInputText, AStreamRecordArrivesWholeAfterTheEngineHasFreedIt) {
    const std::string zero("a\0b", 3);
    const std::string big(1U << 20U, 'a');
    StartEngine();
    auto info = std::make_unique<Strova::VaxoLiveStream>();
    info->streamID = Utf8(zero);
    info->title = Utf8(big);
    std::string expected = "app: OnStreamUpdate(/" + zero + "///" + big;
    for (int i = 0; i < 1000; ++i) {
        info->rtmpURLs.Add(std::to_string(i).c_str());
        expected += "/rtmp " + std::to_string(i);
    }
    info->hlsURLs.Add("");
    info->status = 4294967295;
    EngineCallback()->OnStreamUpdate(*info, DeletedStream);
    info.reset();
    Settle();
    ExpectSame(TakeOnly("app: "), {expected + "/hls /4294967295, 2)"});
}

TEST_F(LiveInputText, ASigningKeyOfAnyBytesIsNowhereInTheLog) {
    std::string key(1U << 20U, 'k');
    key[5] = '\0';
    key.replace(10, 6, "secret");
    const vaxo::stream sign(key.data(), static_cast<uint32>(key.size()));
    CVaxoAppSetting::SharedInstance()->SetAppSign(sign);
    TheScript().status["Init"] = 5;
    TheScript().inside["GetStreamList"] = &AnswerWhatExecutes;
    proxy->Init(7, sign);
    proxy->GetStreamList("user", "name", "room1", 0);
    proxy->UploadLog();
    Settle();
    const Texts lines = Take();
    ExpectSame(OnlyOf(lines, "engine: Init("), {"engine: Init(7, " + key + ")"});
    ExpectSame(OnlyOf(lines, "http: Init("), {"http: Init(0, " + key + ")"});
    const Texts logged = OnlyOf(lines, "log ");
    EXPECT_FALSE(logged.empty());
    EXPECT_TRUE(std::none_of(logged.begin(), logged.end(), [](const std::string& line) {
        return line.find("secret") != std::string::npos || line.find("kkk") != std::string::npos;
    }));
}
