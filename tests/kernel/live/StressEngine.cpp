#include "kernel/live/StressEngine.h"

#include <atomic>
#include <cstdlib>
#include <iterator>
#include <thread>
#include <tuple>
#include <vector>

#include "connection/VaxoAVConnHttp.h"
#include "live/VaxoLiveShow.h"
#include "utils/VaxoQueueRunner.h"
#include "vaxothread.h"

namespace livetest {

namespace {

IEngineHost* s_host = nullptr;
std::atomic<int> s_misuses{0};
std::atomic<int> s_created{0};
std::atomic<int> s_alive{0};
std::atomic<int> s_connectionsDestroyed{0};
std::atomic<int> s_running{0};

int Add(std::atomic<int>& number, int difference) {
    return number.fetch_add(difference, std::memory_order_relaxed);
}

bool OnWorker0() {
    return CVaxoQueueRunner::GetSharedInstance()->GetDefaultTask()->getthreadid() ==
           vaxothread_selfid();
}

void CheckThread() {
    if (!OnWorker0()) {
        Add(s_misuses, 1);
    }
}

// Stands for one operation that runs.
class Turn {
public:
    Turn() {
        CheckThread();
        if (Add(s_running, 1) != 0) {
            Add(s_misuses, 1);
        }
    }
    ~Turn() { Add(s_running, -1); }
    Turn(const Turn&) = delete;
    Turn& operator=(const Turn&) = delete;
};

// A setter's first value as a number.
unsigned int TagOf(int value) {
    return static_cast<unsigned int>(value);
}
unsigned int TagOf(bool value) {
    return value ? 1 : 0;
}
unsigned int TagOf(const std::shared_ptr<int>& view) {
    return view ? static_cast<unsigned int>(*view) : 0;
}
unsigned int TagOf(const std::shared_ptr<vaxo::strutf8>& text) {
    return text ? Number(Plain(*text)) : 0;
}
unsigned int TagOf(const Mediq::IVaxoAuxCallback* callback) {
    return callback == nullptr ? 0 : 1;
}
unsigned int TagOfFirst(const std::tuple<>& /*values*/) {
    return 0;
}
template <class... Values>
unsigned int TagOfFirst(const std::tuple<Values...>& values) {
    return TagOf(std::get<0>(values));
}

vaxo::strutf8 Read(const char* answer) {
    CheckThread();
    return answer;
}

int AddDevice(vaxostl::map<vaxo::strutf8, vaxo::strutf8>& list) {
    CheckThread();
    list.set("device", "name");
    return 0;
}

}  // namespace

void SetEngineHost(IEngineHost* host) {
    s_host = host;
}
int EngineMisuses() {
    return s_misuses;
}
int EnginesCreated() {
    return s_created;
}
int EnginesAlive() {
    return s_alive;
}
int ConnectionsDestroyed() {
    return s_connectionsDestroyed;
}

std::string Plain(const vaxo::strutf8& text) {
    return text.length() == 0 ? std::string() : std::string(text.c_str(), text.length());
}

unsigned int Number(const std::string& text) {
    return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, 10));
}

vaxo::stream Key() {
    vaxo::stream key;
    key = "key";
    return key;
}

}  // namespace livetest

using livetest::Number;
using livetest::Plain;

// What an engine knows, as bare as the lists of a real one: a read of an engine that is
// gone, or together with a write, is seen by the sanitizers.
struct Strova::CVaxoLiveShow::Impl {
    Impl() : streams(std::begin(livetest::s_listedStreams), std::end(livetest::s_listedStreams)) {}

    int Call(const char* operation, const std::string& text, unsigned int tag) {
        const livetest::Turn turn;
        if (livetest::s_host == nullptr) {
            return 0;
        }
        livetest::EngineCall call;
        call.operation = operation;
        call.text = text;
        call.tag = tag;
        call.callback = callback.lock();
        return livetest::s_host->OnCall(call);
    }

    const std::vector<std::string> streams;
    std::weak_ptr<IVaxoLiveCallback> callback;
};

namespace Strova {

CVaxoLiveShow::CVaxoLiveShow() : m_pImpl(new Impl()) {
    livetest::Add(livetest::s_created, 1);
    livetest::Add(livetest::s_alive, 1);
}

CVaxoLiveShow::~CVaxoLiveShow() {
    livetest::Add(livetest::s_alive, -1);
}

// The setters, one definition a row of the library's table.
#define VAXO_LIVE_CALL(number, operation)
#define VAXO_LIVE_SETTER(number, operation, status, parameters, values)                           \
    int CVaxoLiveShow::operation parameters {                                                     \
        return m_pImpl->Call(#operation, "", livetest::TagOfFirst(std::forward_as_tuple values)); \
    }
#include "live/VaxoLiveCalls.inc"

int CVaxoLiveShow::GetVideoCaptureDevice(
    vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outDeviceList) {
    return livetest::AddDevice(outDeviceList);
}
int CVaxoLiveShow::GetAudioDeviceList(int /*deviceType*/,
                                      vaxostl::map<vaxo::strutf8, vaxo::strutf8>& outListDevice) {
    return livetest::AddDevice(outListDevice);
}

int CVaxoLiveShow::Init(unsigned int dwAppID, vaxo::stream /*sign*/) {
    return m_pImpl->Call("Init", "", dwAppID);
}
int CVaxoLiveShow::Uninit() {
    return m_pImpl->Call("Uninit", "", 0);
}
int CVaxoLiveShow::UploadLog() {
    return -1;
}
int CVaxoLiveShow::SetCallback(std::weak_ptr<IVaxoLiveCallback> callback) {
    m_pImpl->callback = callback;
    return 0;
}
int CVaxoLiveShow::StartPublishing(vaxo::strutf8 title, vaxo::strutf8 streamID,
                                   vaxo::strutf8 /*liveChn*/) {
    return m_pImpl->Call("StartPublishing", Plain(streamID), Number(Plain(title)));
}
vaxo::strutf8 CVaxoLiveShow::GetLiveChannel() const {
    return livetest::Read("room");
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamID() const {
    return livetest::Read("id");
}
vaxo::strutf8 CVaxoLiveShow::GetCurrentPublishStreamURL() const {
    return livetest::Read("url");
}
int CVaxoLiveShow::StopPublishing() {
    return m_pImpl->Call("StopPublishing", "", 0);
}
int CVaxoLiveShow::GetStreamList(vaxo::strutf8 userID, vaxo::strutf8 /*userName*/,
                                 vaxo::strutf8 liveChn, int /*netType*/) {
    return m_pImpl->Call("GetStreamList", Plain(liveChn), Number(Plain(userID)));
}
int CVaxoLiveShow::GetStreamList(vaxostl::vector<VaxoLiveStream>& outStreams) {
    for (const std::string& streamID : m_pImpl->streams) {
        VaxoLiveStream stream;
        stream.streamID = streamID.c_str();
        outStreams.Add(stream);
        std::this_thread::yield();  // an Uninit may come in between
    }
    return 0;
}
int CVaxoLiveShow::PlayStream(const vaxo::strutf8& streamID, unsigned int chn) {
    return m_pImpl->Call("PlayStream", Plain(streamID), chn);
}
int CVaxoLiveShow::StopPlayStream(const vaxo::strutf8& streamID) {
    return m_pImpl->Call("StopPlayStream", Plain(streamID), 0);
}
int CVaxoLiveShow::Logout() {
    return m_pImpl->Call("Logout", "", 0);
}

}  // namespace Strova

struct CVaxoAVConnHttp::Impl {};

CVaxoAVConnHttp::CVaxoAVConnHttp() = default;

CVaxoAVConnHttp::~CVaxoAVConnHttp() {
    livetest::Add(livetest::s_connectionsDestroyed, 1);
}

int CVaxoAVConnHttp::Init(unsigned int /*dwAppID*/, vaxo::stream /*sign*/) {
    return 0;
}

bool CVaxoAVConnHttp::UploadLogFile(vaxo::strutf8 userID, vaxo::strutf8 /*fileName*/,
                                    bool bByUser) {
    return livetest::s_host == nullptr || livetest::s_host->OnUpload(Plain(userID), bByUser);
}
