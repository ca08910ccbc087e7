#include "engine/channel/ChannelService.h"

#include <algorithm>
#include <chrono>
#include <optional>
#include <random>
#include <utility>

#include "engine/base/Backoff.h"
#include "engine/base/EngineLoop.h"
#include "engine/channel/ChannelLink.h"
#include "engine/channel/ChannelMembers.h"
#include "engine/channel/ChannelRecord.h"
#include "engine/channel/ServiceAddress.h"
#include "kernel/connection/VaxoSign.h"
#include "vaxolog.h"

namespace vaxoengine {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kAnswerTime(8000);
constexpr BackoffLimits kBackoff{milliseconds(500), milliseconds(8000), BackoffLimits::kNever};
constexpr milliseconds kLeaveTime(2000);
// When the service has forgotten everything, the other members need as long to tell it again.
constexpr milliseconds kReturnTime(4000);
constexpr std::size_t kChannelBytes = 512;

std::string RandomName() {
    static const char kDigits[] = "0123456789abcdef";
    std::random_device random;
    std::string name;
    for (int i = 0; i < 4; ++i) {
        unsigned bits = random();
        for (int k = 0; k < 8; ++k, bits >>= 4U) {
            name += kDigits[bits & 15U];
        }
    }
    return name;
}

long long Now() {
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    return std::chrono::duration_cast<milliseconds>(now).count();
}

const std::string& OneOf(const std::string& wish, const std::string& otherwise) {
    return wish.empty() ? otherwise : wish;
}

}  // namespace

struct ChannelService::Impl : std::enable_shared_from_this<Impl> {
    enum class Phase { Out, Entering, In, Lost, Leaving };

    Impl(ChannelConfig channelConfig, ChannelObserver* channelObserver);

    void Enter();
    void SetPublished(const ChannelStream* stream);
    void AskKeyFrame(const std::string& streamID) const;
    void Leave(std::function<void()> done);
    void Abandon();

    void Refuse(ChannelError error);
    void Connect();
    void OnLink(const std::vector<LinkEvent>& events);
    void OnUp();
    void OnMessage(const LinkEvent& message);
    void OnComplete();
    void OnEntered();
    void OnBack();
    void OnDown(ChannelError error);
    void RetryLater();
    void DropMissing();
    void TellChanges();
    void TellCounts();
    void Left();
    void PublishRecord() const;
    std::string Topic(const char* kind) const;
    void DropLink();

    // The observer may leave, or destroy the service, in any of its calls.
    template <class Call>
    void Tell(Call call) {
        if (observer != nullptr) {
            call(*observer);
        }
    }

    const ChannelConfig config;
    const std::string base;    // "live/<identity>/<channel>/"
    const std::string prefix;  // of global identifiers
    ChannelObserver* observer;
    Phase phase = Phase::Out;
    std::string session;
    std::optional<ServiceAddress> address;
    std::unique_ptr<ChannelLink> link;
    bool open = false;
    bool up = false;
    bool complete = false;  // the list of this link is
    bool warned = false;
    ChannelRecord record;
    ChannelMembers members;
    std::pair<unsigned, unsigned> counts;
    Backoff backoff{kBackoff};
    EngineTimer timer;    // answer, next attempt or leave, as the phase says
    EngineTimer missing;  // for members that were there before a loss
    std::vector<std::function<void()>> done;
};

ChannelService::Impl::Impl(ChannelConfig channelConfig, ChannelObserver* channelObserver)
    : config(std::move(channelConfig)),
      base("live/" + VaxoSafeName(OneOf(config.topicIdentity, config.identity)) + "/" +
           VaxoSafeName(config.channel) + "/"),
      prefix(config.identity + "/" + config.channel + "/"),
      observer(channelObserver),
      members(prefix) {
    record.userID = config.userID;
    record.userName = config.userName;
}

std::string ChannelService::Impl::Topic(const char* kind) const {
    return base + kind + "/" + session;
}

void ChannelService::Impl::Enter() {
    if (phase != Phase::Out) {
        return;
    }
    phase = Phase::Entering;
    session = RandomName();
    members = ChannelMembers(prefix);
    counts = {};
    warned = false;
    backoff.Reset();
    address = ParseServiceAddress(config.url);
    if (!address) {
        Refuse(ChannelError_Address);
    } else if (VaxoSafeName(config.channel).size() > kChannelBytes) {
        Refuse(ChannelError_Forbidden);
    } else {
        Connect();
    }
}

// Not from within Enter: its caller does not expect to be called.
void ChannelService::Impl::Refuse(ChannelError error) {
    timer.Once(milliseconds(0), [this, error] {
        const auto self = shared_from_this();
        OnDown(error);
    });
}

void ChannelService::Impl::Connect() {
    open = false;
    up = false;
    complete = false;
    LinkConfig linkConfig;
    linkConfig.address = *address;
    linkConfig.identity = config.identity;
    linkConfig.key = config.key;
    linkConfig.client = session;
    linkConfig.willTopic = Topic("m");
    linkConfig.pulseTopic = Topic("p");
    link = std::make_unique<ChannelLink>(
        std::move(linkConfig), [weak = weak_from_this()](const std::vector<LinkEvent>& events) {
            if (const auto self = weak.lock()) {
                self->OnLink(events);
            }
        });
    timer.Once(kAnswerTime, [this] {
        const auto self = shared_from_this();
        OnDown(open ? ChannelError_Timeout : ChannelError_Unreachable);
    });
}

void ChannelService::Impl::DropLink() {
    link.reset();
    up = false;
}

void ChannelService::Impl::OnLink(const std::vector<LinkEvent>& events) {
    for (const LinkEvent& event : events) {
        if (link == nullptr) {
            return;  // ended by one of the events before
        }
        switch (event.kind) {
            case LinkEvent::Open:
                open = true;
                break;
            case LinkEvent::Up:
                OnUp();
                break;
            case LinkEvent::Message:
                OnMessage(event);
                break;
            case LinkEvent::Down:
                OnDown(event.error);
                break;
        }
    }
    // Once for all of them: what came and went within a batch is not worth a word.
    if (phase == Phase::In && complete) {
        TellChanges();
        TellCounts();
    }
}

// The service sends what it has retained in answer to the first subscription; the message
// to oneself comes behind it, and then the list is complete.
void ChannelService::Impl::OnUp() {
    up = true;
    if (phase == Phase::Leaving) {
        return;
    }
    members.DoubtAll();
    PublishRecord();
    link->Subscribe(base + "m/+");
    link->Subscribe(Topic("k"));
    link->Subscribe(Topic("b"));
    link->Publish(Topic("b"), "complete", false);
}

void ChannelService::Impl::PublishRecord() const {
    if (up && phase != Phase::Leaving) {
        link->Publish(Topic("m"), WriteRecord(record), true);
    }
}

void ChannelService::Impl::OnMessage(const LinkEvent& message) {
    const std::string membersBase = base + "m/";
    if (phase == Phase::Leaving) {
        return;
    }
    if (message.topic == Topic("b")) {
        OnComplete();
        return;
    }
    if (message.topic == Topic("k")) {
        Tell([](ChannelObserver& told) { told.OnKeyFrameWanted(); });
        return;
    }
    if (message.topic.compare(0, membersBase.size(), membersBase) != 0) {
        return;
    }
    const std::string member = message.topic.substr(membersBase.size());
    if (message.payload.empty()) {
        members.Remove(member);
        return;
    }
    if (const auto said = ReadRecord(message.payload)) {
        members.Put(member, *said);
    } else if (!std::exchange(warned, true)) {
        syslog(esyslog_warning, "Engine", __LINE__,
               "channel: a record of %u bytes is broken and ignored, and so is every other one",
               static_cast<unsigned>(message.payload.size()));
    }
}

void ChannelService::Impl::OnComplete() {
    if (std::exchange(complete, true)) {
        return;
    }
    timer.Stop();
    backoff.Reset();
    const bool back = phase == Phase::Lost;
    phase = Phase::In;
    if (back) {
        OnBack();
    } else {
        OnEntered();
    }
}

void ChannelService::Impl::OnEntered() {
    syslog(esyslog_generic, "Engine", __LINE__, "channel: entered, %u members", members.Online());
    const auto streams = members.TakeChanges();
    Tell([](ChannelObserver& told) { told.OnChannelEntered(ChannelError_None); });
    for (const ChannelChange& change : streams) {
        Tell([&](ChannelObserver& told) {
            told.OnChannelStream(change.stream, CompleteStreamList);
        });
    }
}

void ChannelService::Impl::OnBack() {
    syslog(esyslog_generic, "Engine", __LINE__, "channel: back, %u members", members.Online());
    if (members.AnyDoubtful()) {
        missing.Once(kReturnTime, [this] {
            const auto self = shared_from_this();
            DropMissing();
        });
    }
    Tell([](ChannelObserver& told) { told.OnChannelBack(); });
}

void ChannelService::Impl::DropMissing() {
    members.DropDoubtful();
    TellChanges();
    TellCounts();
}

void ChannelService::Impl::TellChanges() {
    for (const ChannelChange& change : members.TakeChanges()) {
        Tell([&](ChannelObserver& told) { told.OnChannelStream(change.stream, change.flag); });
    }
}

void ChannelService::Impl::TellCounts() {
    const std::pair<unsigned, unsigned> now(members.Online(), members.Total());
    if (std::exchange(counts, now) != now) {
        Tell([&](ChannelObserver& told) { told.OnChannelCounts(now.first, now.second); });
    }
}

void ChannelService::Impl::OnDown(ChannelError error) {
    DropLink();
    missing.Stop();
    timer.Stop();
    if (phase == Phase::Leaving) {
        Left();
    } else if (phase == Phase::Entering) {
        phase = Phase::Out;
        syslog(esyslog_warning, "Engine", __LINE__, "channel: not entered, error %u",
               static_cast<unsigned>(error));
        Tell([&](ChannelObserver& told) { told.OnChannelEntered(error); });
    } else if (phase == Phase::In) {
        phase = Phase::Lost;
        syslog(esyslog_warning, "Engine", __LINE__, "channel: lost, error %u",
               static_cast<unsigned>(error));
        RetryLater();
        Tell([&](ChannelObserver& told) { told.OnChannelLost(error); });
    } else if (phase == Phase::Lost) {
        RetryLater();
    }
}

void ChannelService::Impl::RetryLater() {
    timer.Once(*backoff.Next(milliseconds(0)), [this] {
        const auto self = shared_from_this();
        Connect();
    });
}

void ChannelService::Impl::SetPublished(const ChannelStream* stream) {
    const std::string before = record.streamID;
    record.streamID = stream != nullptr ? stream->streamID : std::string();
    record.title = stream != nullptr ? stream->title : std::string();
    record.rtmpURLs = stream != nullptr ? stream->rtmpURLs : std::vector<std::string>();
    record.hlsURLs = stream != nullptr ? stream->hlsURLs : std::vector<std::string>();
    if (record.streamID != before) {
        record.since = Now();
    }
    if (record.streamID.size() > kRecordText) {
        syslog(esyslog_error, "Engine", __LINE__,
               "channel: a stream identifier of %u bytes is too long to be told",
               static_cast<unsigned>(record.streamID.size()));
    }
    PublishRecord();
}

void ChannelService::Impl::Leave(std::function<void()> leaveDone) {
    observer = nullptr;
    done.push_back(std::move(leaveDone));
    if (phase == Phase::Leaving) {
        return;
    }
    phase = Phase::Leaving;
    missing.Stop();
    const bool known = up;
    if (known) {
        link->Publish(Topic("m"), {}, true);
        link->Finish();
    } else {
        DropLink();
    }
    timer.Once(known ? kLeaveTime : milliseconds(0), [this] {
        const auto self = shared_from_this();
        OnDown(ChannelError_Timeout);
    });
}

void ChannelService::Impl::AskKeyFrame(const std::string& streamID) const {
    if (!up || phase != Phase::In) {
        return;
    }
    for (const ChannelStream& stream : members.Streams()) {
        if (stream.streamID == streamID) {
            link->Publish(base + "k/" + stream.streamGID.substr(prefix.size()), "", false);
        }
    }
}

void ChannelService::Impl::Left() {
    phase = Phase::Out;
    for (const auto& call : std::exchange(done, {})) {
        if (call) {
            call();
        }
    }
}

void ChannelService::Impl::Abandon() {
    observer = nullptr;
    done.clear();
    phase = Phase::Out;
    timer.Stop();
    missing.Stop();
    DropLink();
}

ChannelService::ChannelService(ChannelConfig config, ChannelObserver* observer)
    : m_impl(std::make_shared<Impl>(std::move(config), observer)) {}

ChannelService::~ChannelService() {
    m_impl->Abandon();
}

void ChannelService::Enter() {
    m_impl->Enter();
}

void ChannelService::SetPublished(const ChannelStream* stream) {
    m_impl->SetPublished(stream);
}

void ChannelService::AskKeyFrame(const std::string& streamID) {
    m_impl->AskKeyFrame(streamID);
}

void ChannelService::Leave(std::function<void()> done) {
    m_impl->Leave(std::move(done));
}

std::vector<ChannelStream> ChannelService::Streams() const {
    return m_impl->members.Streams();
}

bool ChannelService::Connected() const {
    return m_impl->phase == Impl::Phase::In;
}

}  // namespace vaxoengine
