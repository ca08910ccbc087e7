#include "kernel/live/StressCaller.h"

#include <gtest/gtest.h>

#include <utility>

namespace livetest {

namespace {

// What the gate refuses; see CloseTheGate.
const char* const s_gated = "gated";

}  // namespace

Caller::Caller(unsigned int number, unsigned int seed, Stage& stage, std::function<void()> inside)
    : m_stage(stage),
      m_proxy(stage.proxy),
      m_random(seed * 31 + number),
      m_inside(std::move(inside)),
      m_tag(number * s_tagsPerCaller) {}

void Caller::Account(const char* operation, int result, unsigned int tag) {
    EXPECT_TRUE(result == 0 || result == 1) << operation << " answered " << result;
    if (result == 0) {
        ++calls[operation];
    }
    if (tag != 0) {
        (result == 0 ? accepted : refused).push_back(tag);
    }
}

std::string Caller::Stream() {
    return "s" + std::to_string(m_random.Below(6));
}

void Caller::Play(const std::string& streamID) {
    const unsigned int tag = Tag();
    const int result = m_proxy->PlayStream(streamID.c_str(), tag);
    EXPECT_TRUE(result == 0 || streamID == s_gated);
    Account("PlayStream", result, tag);
}

void Caller::Publish() {
    const unsigned int tag = Tag();
    const char* const streams[] = {"c0", "c1", "p"};
    const char* const channels[] = {"c0", "c1"};
    const char* const stream = streams[m_random.Below(3)];
    const char* const channel = channels[m_random.Below(2)];
    Account("StartPublishing",
            m_proxy->StartPublishing(std::to_string(tag).c_str(), stream, channel), tag);
}

void Caller::Enter() {
    const unsigned int tag = Tag();
    const char* const channel = m_random.Once(2) ? "c0" : "c1";
    Account("GetStreamList",
            m_proxy->GetStreamList(std::to_string(tag).c_str(), "name", channel, 1), tag);
}

void Caller::StreamCall(unsigned int which) {
    switch (which) {
        case 0:
            return Publish();
        case 1:
            return Account("StopPublishing", m_proxy->StopPublishing());
        case 2:
            return Enter();
        case 3:
            return Account("Logout", m_proxy->Logout());
        case 4:
        case 5:
            return Account("StopPlayStream", m_proxy->StopPlayStream(Stream().c_str()));
        case 6:
            return Play(s_gated);
        default:
            return Play(Stream());
    }
}

void Caller::TaggedSetter(unsigned int which) {
    const unsigned int tag = Tag();
    const auto value = static_cast<int>(tag);
    vaxo::strutf8 device = "device";
    switch (which) {
        case 0:
            return Account("SetView", m_proxy->SetView(std::make_shared<int>(value), 1), tag);
        case 1:
            return Account("SetPreviewView", m_proxy->SetPreviewView(std::make_shared<int>(value)),
                           tag);
        case 2:
            return Account("SetViewMode", m_proxy->SetViewMode(value, 1), tag);
        case 3:
            return Account("SetPreviewViewMode", m_proxy->SetPreviewViewMode(value), tag);
        case 4:
            return Account("SetVideoBitrate", m_proxy->SetVideoBitrate(value), tag);
        case 5:
            return Account("SetVideoFPS", m_proxy->SetVideoFPS(value), tag);
        case 6:
            return Account("SetVideoResolution", m_proxy->SetVideoResolution(value, 1), tag);
        case 7:
            return Account("SetFrontCam", m_proxy->SetFrontCam(value), tag);
        case 8:
            return Account("SetAudioDevice", m_proxy->SetAudioDevice(value, device), tag);
        case 9:
            return Account("EnableBeautifying", m_proxy->EnableBeautifying(value), tag);
        case 10:
            return Account("SetFilter", m_proxy->SetFilter(value), tag);
        case 11:
            return Account("SetCaptureRotation", m_proxy->SetCaptureRotation(value), tag);
        case 12:
            return Account("SetVideoCaptureDeviceId",
                           m_proxy->SetVideoCaptureDeviceId(
                               std::make_shared<vaxo::strutf8>(std::to_string(tag).c_str())),
                           tag);
        default:
            return Account("TakeSnapshotRender", m_proxy->TakeSnapshotRender(value), tag);
    }
}

void Caller::Switch(unsigned int which) {
    const bool on = m_random.Once(2);
    switch (which) {
        case 0:
            return Account("StartPreview", m_proxy->StartPreview());
        case 1:
            return Account("StopPreview", m_proxy->StopPreview());
        case 2:
            return Account("EnableMic", m_proxy->EnableMic(on));
        case 3:
            return Account("EnableCam", m_proxy->EnableCam(on));
        case 4:
            return Account("SetSpeakerPhoneOn", m_proxy->SetSpeakerPhoneOn(on));
        case 5:
            return Account("EnableSpk", m_proxy->EnableSpk(on));
        case 6:
            return Account("EnableTorch", m_proxy->EnableTorch(on));
        case 7:
            return Account("EnableAux", m_proxy->EnableAux(on));
        case 8:
            return Account("SetAuxCallback", m_proxy->SetAuxCallback(nullptr));
        case 9:
            return Account("TakeSnapshotPreview", m_proxy->TakeSnapshotPreview());
        case 10:
            return Account("upload", m_proxy->UploadLog());
        default:
            return Account("Init", m_proxy->Init(7, Key()));
    }
}

void Caller::Other(unsigned int which) {
    switch (which) {
        case 0:
            return CloseTheGate();
        case 1:
            return m_stage.followed ? LoseCallback() : ReplaceCallback();
        case 2:
            return !m_stage.steady && m_random.Once(6) ? Account("Uninit", m_proxy->Uninit())
                                                       : Switch(11);
        case 3:
        case 4:
            return ReplaceCallback();
        case 5:
        case 6:
            return ReadAll();
        default:
            return m_stage.Chatter();
    }
}

void Caller::Step() {
    switch (m_random.Below(10)) {
        case 0:
            return TaggedSetter(m_random.Below(14));
        case 1:
            return Switch(m_random.Below(12));
        case 2:
        case 3:
        case 4:
            return Other(m_random.Below(12));
        default:
            return StreamCall(m_random.Below(12));
    }
}

void Caller::StormStep() {
    switch (m_random.Below(4)) {
        case 0:
            return Account("Uninit", m_proxy->Uninit());
        case 1:
            return ReadAll();
        default:
            return Switch(11);
    }
}

void Caller::LogoutStep() {
    switch (m_random.Below(8)) {
        case 0:
            return ReadAll();
        case 1:
            return Enter();
        case 2:
        case 3:
            return Play(Stream());
        default:
            return StreamCall(3);
    }
}

// Outside of the gaps there is always a callback: the former one goes after it was
// replaced.
void Caller::ReplaceCallback() {
    const auto app = std::make_shared<StressApp>(m_stage.book, m_inside);
    EXPECT_EQ(m_proxy->SetCallback(app), 0);
    if (m_app && m_stage.followed) {
        m_app->Replaced(m_stage.times.Tick());
    }
    m_app = app;
}

// The two ways to be without: the object goes, or an empty reference is set.
void Caller::LoseCallback() {
    m_stage.times.OpenGap();
    if (m_random.Once(2)) {
        m_proxy->SetCallback({});
    }
    m_app.reset();
    m_stage.Chatter();
    std::this_thread::yield();
    ReplaceCallback();
    m_stage.times.CloseGap();
}

// A command that refuses the plays of one stream for as long as it waits.
void Caller::CloseTheGate() {
    auto cmd = std::make_shared<VaxoAVMgrCmd>(
        ::SyncCmd, [] { return 0; },
        [](std::shared_ptr<VaxoAVMgrCmd> later) {
            return Plain(later->strExtraData) == s_gated ? CmdJoin_InvalidateLater
                                                         : CmdJoin_CoExist;
        });
    cmd->ddwExtraData = 900;
    EXPECT_EQ(m_proxy->AddCmd(cmd), CmdJoin_CoExist);
}

void Caller::Text(const vaxo::strutf8& answer, const char* expected) const {
    const std::string text = Plain(answer);
    EXPECT_TRUE(text == expected || (!m_stage.steady && text.empty())) << text;
}

void Caller::ReadAll() {
    Text(m_proxy->GetLiveChannel(), "room");
    Text(m_proxy->GetCurrentPublishStreamID(), "id");
    Text(m_proxy->GetCurrentPublishStreamURL(), "url");
    vaxostl::vector<Strova::VaxoLiveStream> streams;
    const int status = m_proxy->GetStreamList(streams);
    EXPECT_EQ(streams.size(), status == 0 ? 2U : 0U);
    vaxostl::map<vaxo::strutf8, vaxo::strutf8> devices;
    const int video = m_proxy->GetVideoCaptureDevice(devices);
    EXPECT_EQ(devices.size(), video == 0 ? 1U : 0U);
    const int audio = m_proxy->GetAudioDeviceList(1, devices);
    EXPECT_EQ(devices.size(), video == 0 || audio == 0 ? 1U : 0U);
    const int worst = m_stage.steady ? 0 : -1;
    EXPECT_TRUE(status >= worst && video >= worst && audio >= worst);
}

}  // namespace livetest
