// The two device lists: filled by the engine on worker 0 in the caller's own map, past
// the command queue, without a line in the log.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "kernel/live/LiveProxyFixture.h"
#include "kernel/live/ProxyCalls.h"

namespace {

using livetest::Settle;
using livetest::Take;
using livetest::Text;
using livetest::Texts;
using livetest::TheScript;

typedef vaxostl::map<vaxo::strutf8, vaxo::strutf8> Devices;

class LiveProxyDevices : public livetest::LiveProxyFixture {
protected:
    // An engine with two devices of either kind that answers the lists with 3 and 4.
    void StartEngineWithDevices() {
        TheScript().devices = {{"id2", "second"}, {"id1", "first"}};
        TheScript().status["GetVideoCaptureDevice"] = 3;
        TheScript().status["GetAudioDeviceList"] = 4;
        StartEngine();
    }

    static Texts Entries(Devices& devices) {
        Texts entries;
        for (auto it = devices.begin(); !it.atEnd(); ++it) {
            entries.push_back(Text(it->first) + "=" + Text(it->second));
        }
        return entries;
    }

    // Both lists, of kind 1 the audio devices.
    Texts AskBoth() {
        Devices video;
        Devices audio;
        Texts answered = {std::to_string(live.GetVideoCaptureDevice(video)),
                          std::to_string(live.GetAudioDeviceList(1, audio))};
        for (Devices* devices : {&video, &audio}) {
            const Texts entries = Entries(*devices);
            answered.insert(answered.end(), entries.begin(), entries.end());
        }
        return answered;
    }

    const Texts answers = {"3", "4", "id1=first", "id2=second", "id1=first", "id2=second"};
    const Texts calls = {"engine: GetVideoCaptureDevice()", "engine: GetAudioDeviceList(1)"};
    Mediq::IVaxoVE& live = *proxy;
};

}  // namespace

TEST_F(LiveProxyDevices, TheListsAnswerTheEnginesStatusAndEntriesAndLogNothing) {
    StartEngineWithDevices();
    EXPECT_EQ(AskBoth(), answers);
    EXPECT_EQ(Take(), calls);
}

TEST_F(LiveProxyDevices, TheKindOfAudioDeviceReachesTheEngine) {
    StartEngine();
    Devices audio;
    EXPECT_EQ(live.GetAudioDeviceList(0, audio), 0);
    EXPECT_EQ(live.GetAudioDeviceList(-7, audio), 0);
    EXPECT_EQ(Take(), (Texts{"engine: GetAudioDeviceList(0)", "engine: GetAudioDeviceList(-7)"}));
}

TEST_F(LiveProxyDevices, TheEngineIsAskedOnWorker0) {
    StartEngineWithDevices();
    AskBoth();
    const vaxothread_id worker0 = livetest::Worker0();
    const std::vector<livetest::Line> lines = livetest::TakeLines();
    EXPECT_EQ(lines.size(), calls.size());
    for (const livetest::Line& line : lines) {
        EXPECT_EQ(line.thread, worker0) << line.text;
    }
}

TEST_F(LiveProxyDevices, WithoutAnEngineTheMapStaysAsItWas) {
    Devices devices;
    devices.set("mine", "kept");
    EXPECT_EQ(live.GetVideoCaptureDevice(devices), -1);
    EXPECT_EQ(live.GetAudioDeviceList(0, devices), -1);
    EXPECT_EQ(Entries(devices), Texts{"mine=kept"});
    EXPECT_EQ(Take(), Texts());
}

TEST_F(LiveProxyDevices, TheEngineAddsToTheCallersMap) {
    StartEngineWithDevices();
    Devices devices;
    devices.set("id1", "old name");
    devices.set("mine", "kept");
    EXPECT_EQ(live.GetVideoCaptureDevice(devices), 3);
    EXPECT_EQ(Entries(devices), (Texts{"id1=first", "id2=second", "mine=kept"}));
}

TEST_F(LiveProxyDevices, TheListsOvertakeTheCommandsOfAHeldQueue) {
    StartEngineWithDevices();
    HoldWithPlay("s1");
    proxy->SetFilter(1);
    Settle();
    Take();
    EXPECT_EQ(AskBoth(), answers);
    EXPECT_EQ(Take(), calls);
    EXPECT_EQ(Executing(), "PlayStream(0/s1)");
    CompleteExecuting();
    EXPECT_EQ(livetest::TakeOnly("engine: "), Texts{"engine: SetFilter(1)"});
}

TEST_F(LiveProxyDevices, TheListsMayBeAskedFromInsideAnEngineCall) {
    StartEngineWithDevices();
    Texts got;
    TheScript().inside["SetFilter"] = [&] { got = AskBoth(); };
    proxy->SetFilter(1);
    Settle();
    EXPECT_EQ(got, answers);
}

TEST_F(LiveProxyDevices, TheListsMayBeAskedFromInsideACallback) {
    StartEngineWithDevices();
    Texts got;
    app->hook = [&](const std::string& /*event*/) { got = AskBoth(); };
    proxy->OnCountsUpdate(1, 2);
    Settle();
    EXPECT_EQ(got, answers);
}
