#include "connection/VaxoUploader.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <system_error>
#include <utility>
#include <vector>

#include "common/xplatform/posix/vaxosignals.h"
#include "connection/VaxoSign.h"
#include "vaxolog.h"
#include "vaxothread.h"

namespace {

const char* const s_tag = "ConnHttp";

constexpr long long kValidSeconds = 5LL * 60;

// The uploaders that have a thread, for the end of the process.
struct Uploaders {
    std::mutex lock;
    std::vector<std::weak_ptr<VaxoUploader>> all;
    bool isClosed = false;
    std::atomic<int> process{0};  // whose threads they are; 0: there was none yet
};

// Never destroyed: uploaders come and go until the very end. The static reference keeps it
// reachable, so that it does not count as a leak.
Uploaders& TheUploaders() {
    static Uploaders& s_uploaders = *new Uploaders;
    return s_uploaders;
}

void ShutAll() {
    Uploaders& uploaders = TheUploaders();
    if (uploaders.process != static_cast<int>(::getpid())) {
        return;  // a forked child, which has neither the threads nor a usable lock
    }
    std::vector<std::weak_ptr<VaxoUploader>> all;
    {
        const std::lock_guard<std::mutex> guard(uploaders.lock);
        uploaders.isClosed = true;
        all.swap(uploaders.all);
    }
    for (const bool isToWait : {false, true}) {  // so that their times pass together
        for (const std::weak_ptr<VaxoUploader>& weak : all) {
            if (const std::shared_ptr<VaxoUploader> uploader = weak.lock()) {
                isToWait ? uploader->Shut() : uploader->AnnounceEnd();
            }
        }
    }
}

// False at the end of the process.
bool Register(const std::shared_ptr<VaxoUploader>& uploader) {
    Uploaders& uploaders = TheUploaders();
    const std::lock_guard<std::mutex> guard(uploaders.lock);
    if (uploaders.isClosed) {
        return false;
    }
    if (uploaders.process == 0) {
        // libcurl is ready by now, so its libraries' own exit functions run after this one.
        if (std::atexit(ShutAll) != 0) {
            return false;
        }
    }
    uploaders.process = static_cast<int>(::getpid());  // a forked child has inherited the rest
    auto& all = uploaders.all;
    all.erase(std::remove_if(all.begin(), all.end(), [](const auto& w) { return w.expired(); }),
              all.end());
    all.push_back(uploader);
    return true;
}

void LogEnd(int32 level, int32 line, const VaxoUpload& upload, const std::string& text) {
    syslog(level, s_tag, line, "upload of %s to %s: %s", upload.file.c_str(),
           upload.to.address.c_str(), text.c_str());
}

}  // namespace

struct VaxoUploader::Deleter {
    void operator()(VaxoUploader* uploader) const {
        // In a forked child its locks may be held, and its thread is elsewhere.
        if (!uploader->IsOfAnotherProcess()) {
            delete uploader;
        }
    }
};

std::shared_ptr<VaxoUploader> VaxoUploader::Make(const VaxoUploaderTimes& times) {
    return {new VaxoUploader(times), Deleter()};
}

bool VaxoUploader::IsOfAnotherProcess() const {
    const int process = m_process.load();
    return process != 0 && process != static_cast<int>(::getpid());
}

bool VaxoUploader::Offer(VaxoUpload upload) {
    const std::string file = upload.file;
    const char* const refusal = Place(upload);
    if (refusal != nullptr) {
        syslog(esyslog_generic, s_tag, __LINE__, "upload of %s not taken: %s", file.c_str(),
               refusal);
    }
    return refusal == nullptr;
}

const char* VaxoUploader::Place(VaxoUpload& upload) {
    if (IsOfAnotherProcess()) {
        return "forked";
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_isEnding) {
        return "the connection ends";
    }
    if (!upload.isByUser && !HasNews(upload)) {
        return "nothing new in it";
    }
    for (VaxoUpload& waiting : m_waiting) {
        if (waiting.file == upload.file && waiting.to.address == upload.to.address) {
            upload.isByUser = upload.isByUser || waiting.isByUser;
            waiting = std::move(upload);
            return nullptr;
        }
    }
    if (m_waiting.size() >= kMaxWaiting) {
        return "too many wait";
    }
    if (!m_thread.joinable() && !StartThread()) {
        return "no thread or no transfer to be had";
    }
    m_waiting.push_back(std::move(upload));
    m_changed.notify_all();
    return nullptr;
}

bool VaxoUploader::StartThread() {
    if (!VaxoTransferReady() || !Register(shared_from_this())) {
        return false;
    }
    const CVAXOSignalsBlocked blocked;
    try {
        m_thread = std::thread([this] { Run(); });
    } catch (const std::system_error&) {
        return false;
    }
    m_process.store(static_cast<int>(::getpid()));
    return true;
}

bool VaxoUploader::HasNews(const VaxoUpload& upload) const {
    const VaxoUploadFile::Content& content = upload.pSnapshot->Snapshot();
    const auto found = m_sent.find(upload.file);
    return found == m_sent.end() ? content.size > 0 : !(found->second == content);
}

void VaxoUploader::AnnounceEnd() {
    if (IsOfAnotherProcess()) {
        return;
    }
    const std::lock_guard<std::mutex> guard(m_lock);
    if (!m_isEnding) {
        m_isEnding = true;
        m_end = Clock::now() + m_times.farewell;
        m_changed.notify_all();
    }
}

void VaxoUploader::Shut() {
    if (IsOfAnotherProcess()) {
        return;
    }
    AnnounceEnd();
    if (m_self.load() == std::this_thread::get_id()) {
        return;
    }
    // Nobody starts the thread from now on, so it may be read without m_lock.
    const std::lock_guard<std::mutex> guard(m_joining);
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void VaxoUploader::Run() {
    m_self.store(std::this_thread::get_id());
    vaxothread_set_name("VaxoUpload");
    std::unique_lock<std::mutex> lock(m_lock);
    for (;;) {
        m_changed.wait(lock, [this] { return m_isEnding || !m_waiting.empty(); });
        if (m_waiting.empty()) {
            return;
        }
        const VaxoUpload upload = std::move(m_waiting.front());
        m_waiting.pop_front();
        // The one before it may have carried all that is in it.
        const bool isToSend = upload.isByUser || HasNews(upload);
        lock.unlock();
        if (isToSend) {
            Upload(upload);
        } else {
            LogEnd(esyslog_generic, __LINE__, upload, "passed over, nothing new in it");
        }
        lock.lock();
    }
}

void VaxoUploader::Upload(const VaxoUpload& upload) {
    std::chrono::milliseconds pause = m_times.firstPause;
    for (unsigned attempt = 1;; ++attempt, pause *= 2) {
        const VaxoTransferResult result =
            IsOver() ? VaxoTransferResult{VaxoTransferEnd::GaveUp, ""} : Attempt(upload);
        if (result.end == VaxoTransferEnd::Done) {
            Remember(upload);
            const std::string size = std::to_string(upload.pSnapshot->Snapshot().size);
            LogEnd(esyslog_generic, __LINE__, upload, "done, " + size + " bytes, " + result.text);
            return;
        }
        if (result.end == VaxoTransferEnd::Refused ||
            (result.end == VaxoTransferEnd::TryAgain && attempt == kMaxAttempts)) {
            LogEnd(esyslog_error, __LINE__, upload, "failed, " + result.text);
            return;
        }
        if (result.end == VaxoTransferEnd::TryAgain) {
            LogEnd(esyslog_warning, __LINE__, upload, "to be tried again, " + result.text);
        }
        if (result.end == VaxoTransferEnd::GaveUp || !Pause(pause)) {
            LogEnd(esyslog_warning, __LINE__, upload, "given up, the connection ends");
            return;
        }
    }
}

VaxoTransferResult VaxoUploader::Attempt(const VaxoUpload& upload) {
    VaxoSigner signer;
    signer.appID = upload.appID;
    signer.key = upload.pKey->Bytes();
    signer.user = upload.user;
    const auto expiry = static_cast<long long>(std::time(nullptr)) + kValidSeconds;
    std::string url =
        upload.to.address + "?" + VaxoSignQuery(signer, "upload", upload.to.path, expiry);
    VaxoWipe(signer.key);
    VaxoTransferResult result =
        VaxoTransfer(url, *upload.pSnapshot, m_times.transfer, [this] { return IsOver(); });
    VaxoWipe(url);
    return result;
}

void VaxoUploader::Remember(const VaxoUpload& upload) {
    const std::lock_guard<std::mutex> guard(m_lock);
    m_sent[upload.file] = upload.pSnapshot->Snapshot();
    if (m_sent.size() > kMaxRemembered) {
        // Any other: forgetting one costs an upload more.
        const auto first = m_sent.begin();
        m_sent.erase(first->first == upload.file ? std::next(first) : first);
    }
}

bool VaxoUploader::IsOver() {
    const std::lock_guard<std::mutex> guard(m_lock);
    return m_isEnding && Clock::now() >= m_end;
}

bool VaxoUploader::Pause(std::chrono::milliseconds length) {
    const Clock::time_point end = Clock::now() + length;
    std::unique_lock<std::mutex> lock(m_lock);
    return !m_changed.wait_until(lock, end, [this, end] { return m_isEnding && m_end < end; });
}
