#include "engine/show/LiveCore.h"

#include <algorithm>
#include <chrono>
#include <ctime>
#include <utility>

#include "base/VaxoAppSetting.h"
#include "engine/show/Addresses.h"
#include "engine/show/LiveStats.h"
#include "engine/show/Texts.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

constexpr const char* kTag = "Engine";
constexpr std::chrono::milliseconds kStatsPeriod{500};

MediaServer ServerOfTheSettings() {
    CVaxoAppSetting* const settings = CVaxoAppSetting::SharedInstance();
    return {Bytes(settings->GetMediaURL()), Bytes(settings->GetUploadURL())};
}

}  // namespace

Strova::VaxoLiveStream ForApplication(const ChannelStream& stream, const VaxoSigner& signer) {
    const MediaServer server = ServerOfTheSettings();
    const long long now = std::time(nullptr);
    Strova::VaxoLiveStream out;
    out.streamGID = Text(stream.streamGID);
    out.streamID = Text(stream.streamID);
    out.userID = Text(stream.userID);
    out.userName = Text(stream.userName);
    out.title = Text(stream.title);
    for (const std::string& address : stream.rtmpURLs) {
        out.rtmpURLs.push_back(Text(SignRtmp(server, address, signer, "play", now)));
    }
    for (const std::string& address : stream.hlsURLs) {
        out.hlsURLs.push_back(Text(SignHls(server, address, signer, now)));
    }
    out.status = stream.status;
    return out;
}

std::string PlayAddress(const VaxoSigner& signer, const std::string& streamID) {
    const MediaServer server = ServerOfTheSettings();
    const std::string address = RtmpAddress(server, signer.appID, streamID);
    return SignRtmp(server, address, signer, "play", std::time(nullptr));
}

VaxoSigner WithUser(VaxoSigner credentials) {
    credentials.user = Bytes(CVaxoAppSetting::SharedInstance()->GetUserID());
    return credentials;
}

LiveCore::LiveCore(VaxoSigner credentials, std::shared_ptr<EventDelivery> delivery,
                   std::shared_ptr<SharedView> view)
    : m_credentials(std::move(credentials)),
      m_view(std::move(view)),
      m_delivery(std::move(delivery)),
      m_reports(m_delivery, m_view),
      m_capture([](const std::string& trouble) {
          syslog(esyslog_warning, kTag, __LINE__, "capture: %s", trouble.c_str());
      }),
      m_publisher(m_capture, PublishHost()),
      m_plays(ThePlayHost()) {
    m_statsTimer.Every(kStatsPeriod, [this] { RenewStats(); });
}

LiveCore::~LiveCore() {
    SetLiveStats({});
}

Publisher::Host LiveCore::PublishHost() {
    Publisher::Host host;
    host.signedAddress = [this](const std::string& id) { return Signed("publish", id); };
    host.whyAddress = [](const std::string& address) {
        return WhyAddress(ServerOfTheSettings(), "publish", address);
    };
    host.answer = [this](Mediq::VaxoAVState state, const std::string& id) {
        m_reports.PublishAnswer(state, id);
    };
    host.change = [this](Mediq::VaxoAVState state, const std::string& id) {
        m_reports.PublishChange(state, id);
    };
    host.announce = [this](bool live) { Announce(live); };
    return host;
}

PlayHost LiveCore::ThePlayHost() {
    PlayHost host;
    host.inChannel = [this] { return m_inside; };
    host.listed = [this](const std::string& id) { return Listed(id); };
    host.signedAddress = [this](const std::string& id) { return Signed("play", id); };
    host.whyAddress = [](const std::string& address) {
        return WhyAddress(ServerOfTheSettings(), "play", address);
    };
    host.begins = [this](const std::string& id) {
        if (m_channel) {
            m_channel->AskKeyFrame(id);
        }
    };
    host.answer = [this](Mediq::VaxoAVState state, const std::string& id) {
        m_reports.PlayAnswer(state, id);
    };
    host.change = [this](Mediq::VaxoAVState state, const std::string& id) {
        m_reports.PlayChange(state, id);
    };
    host.size = [this](const std::string& id, int width, int height) {
        m_reports.VideoSize(id, width, height);
    };
    return host;
}

void LiveCore::Enter(const Member& member) {
    const bool same = m_inside && member.channel == m_member.channel &&
                      member.userID == m_member.userID && member.userName == m_member.userName;
    if (same && m_channel && m_channel->Connected()) {
        m_reports.Entered(ChannelError_None);
        ListAgain();
        return;
    }
    EndMedia();
    DropChannel(ChannelError_Timeout);
    m_member = member;
    ChannelConfig config;
    config.url = Bytes(CVaxoAppSetting::SharedInstance()->GetServiceURL());
    config.identity = std::to_string(m_credentials.appID);
    config.key = m_credentials.key;
    config.channel = member.channel;
    config.userID = member.userID;
    config.userName = member.userName;
    m_entering = true;
    ChannelObserver* const observer = this;
    m_channel = std::make_unique<ChannelService>(std::move(config), observer);
    m_channel->Enter();
    // While the channel answers, for it takes a while.
    if (!std::exchange(m_prepared, true)) {
        EngineLoop::Shared().Post(&Player::Prepare);
    }
}

void LiveCore::Leave() {
    EndMedia();
    if (m_entering) {
        DropChannel(ChannelError_Timeout);
    }
    m_inside = false;
    m_view->SetChannel("");
    m_view->SetStreams({});
    if (!m_channel || m_leaving) {
        m_reports.Left();
        return;
    }
    m_leaving = true;
    m_channel->Leave([this] {
        m_leaving = false;
        m_channel.reset();
        m_reports.Left();
    });
}

void LiveCore::StartPublishing(const std::string& title, const std::string& streamID,
                               const std::string& channel) {
    if (!m_inside || (!channel.empty() && channel != m_member.channel)) {
        m_reports.PublishAnswer(Mediq::CreateStreamError, streamID);
        return;
    }
    m_title = title;
    m_publisher.Start(streamID);
    m_view->SetPublished(m_publisher.StreamID());
}

void LiveCore::StopPublishing() {
    m_publisher.Stop();
    m_view->SetPublished("");
}

void LiveCore::SetVideo(const VideoSettings& settings) {
    m_capture.SetVideo(settings);
    m_publisher.OnVideoSet();
}

void LiveCore::TakePreviewSnapshot() {
    const auto snapshot = std::make_shared<Snapshot>();
    if (m_capture.TakePreviewSnapshot(*snapshot)) {
        m_reports.PreviewSnapshot(snapshot);
    } else {
        syslog(esyslog_warning, kTag, __LINE__, "no picture for a preview snapshot");
    }
}

void LiveCore::TakeRenderSnapshot(unsigned channel) {
    const auto snapshot = std::make_shared<Snapshot>();
    if (m_plays.TakeSnapshot(channel, *snapshot)) {
        m_reports.RenderSnapshot(snapshot, static_cast<int>(channel));
    } else {
        syslog(esyslog_warning, kTag, __LINE__, "no picture for a snapshot of channel %u", channel);
    }
}

void LiveCore::Shutdown() {
    m_statsTimer.Stop();
    EndMedia();
    const bool leaving = std::exchange(m_leaving, false);
    DropChannel(ChannelError_Timeout);
    if (leaving) {
        m_reports.Left();
    }
    m_delivery->Close();
}

void LiveCore::OnChannelEntered(ChannelError error) {
    m_entering = false;
    m_inside = error == ChannelError_None;
    if (m_inside) {
        m_view->SetChannel(m_member.channel);
    }
    m_reports.Entered(error);
    if (!m_inside) {
        m_channel.reset();
    }
}

void LiveCore::OnChannelStream(const ChannelStream& stream, VaxoAVStreamUpdateFlag flag) {
    m_view->SetStreams(m_channel->Streams());
    m_reports.Stream(ForApplication(stream, Signer()), flag);
    if (flag == DeletedStream) {
        m_plays.OnGone(stream.streamID);
    }
}

void LiveCore::OnChannelCounts(unsigned online, unsigned total) {
    m_reports.Counts(online, total);
}

void LiveCore::OnChannelLost(ChannelError error) {
    m_reports.Lost(error, m_member.channel);
}

void LiveCore::OnChannelBack() {
    m_reports.Back(m_member.channel);
}

void LiveCore::OnKeyFrameWanted() {
    if (m_publisher.Active()) {
        m_keyFrames.Ask();
    }
}

void LiveCore::Announce(bool live) {
    if (!live) {
        m_view->SetPublished("");
    }
    if (!m_channel) {
        return;
    }
    if (!live) {
        m_channel->SetPublished(nullptr);
        return;
    }
    const MediaServer server = ServerOfTheSettings();
    ChannelStream stream;
    stream.streamID = m_publisher.StreamID();
    stream.title = m_title;
    stream.status = 1;
    stream.rtmpURLs = {RtmpAddress(server, m_credentials.appID, stream.streamID)};
    const std::string hls = HlsAddress(server, m_credentials.appID, stream.streamID);
    if (!hls.empty()) {
        stream.hlsURLs = {hls};
    }
    m_channel->SetPublished(&stream);
}

void LiveCore::EndMedia() {
    m_plays.StopAll();
    m_publisher.Abandon();
}

// `answer`: to an entry that still waits for one.
void LiveCore::DropChannel(ChannelError answer) {
    m_channel.reset();
    m_inside = false;
    m_view->SetChannel("");
    m_view->SetStreams({});
    if (std::exchange(m_entering, false)) {
        m_reports.Entered(answer);
    }
    if (std::exchange(m_leaving, false)) {
        m_reports.Left();
    }
}

void LiveCore::ListAgain() {
    for (const ChannelStream& stream : m_channel->Streams()) {
        m_reports.Stream(ForApplication(stream, Signer()), CompleteStreamList);
    }
}

bool LiveCore::Listed(const std::string& streamID) const {
    if (!m_channel) {
        return false;
    }
    const std::vector<ChannelStream> streams = m_channel->Streams();
    return std::any_of(streams.begin(), streams.end(),
                       [&](const ChannelStream& stream) { return stream.streamID == streamID; });
}

std::string LiveCore::Signed(const std::string& action, const std::string& streamID) const {
    const MediaServer server = ServerOfTheSettings();
    const std::string address = RtmpAddress(server, m_credentials.appID, streamID);
    std::string signedAddress = SignRtmp(server, address, Signer(), action, std::time(nullptr));
    if (signedAddress.size() - (signedAddress.rfind('/') + 1) > kMaxSignedName) {
        syslog(esyslog_error, kTag, __LINE__, "the names of stream %s and its user are too long",
               streamID.c_str());
        return {};
    }
    return signedAddress;
}

VaxoSigner LiveCore::Signer() const {
    VaxoSigner signer = m_credentials;
    signer.user = m_member.userID;
    return signer;
}

void LiveCore::RenewStats() {
    Strova::VaxoLiveStats stats;
    stats.publishing = m_publisher.Active();
    const Capture::Stats encoded = m_capture.GetStats();
    stats.videoDevice = encoded.videoDevice;
    stats.audioDevice = encoded.audioDevice;
    if (stats.publishing) {
        stats.fps = encoded.fps;
        stats.bitrate = encoded.videoBitrate + encoded.audioBitrate;
    }
    stats.plays = m_plays.GetStats();
    SetLiveStats(stats);
}

}  // namespace vaxoengine
