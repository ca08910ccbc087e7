// Uploads files one after another on a thread of its own, which it makes when the first is
// offered.
//
// Guarantees
// - Offer, Shut: from any thread, at any moment, also from inside a log sink. No lock is held
//   while anything is logged or sent. Offer does not wait for the network.
// - One transfer at a time, in the order of the offers. At most kMaxWaiting files wait. An
//   offer of a file that waits already, in the same user's and application's name and to
//   the same address, takes the waiting one's place, with what has been added to the file.
// - An attempt that failed for want of a connection, with 429 or with 5xx is repeated, four
//   in all, after a pause that doubles. Each has an address signed anew, valid for 5 minutes.
// - What became of every file that was taken stands in the log, by name and address
//   without the query. The key and the signature appear nowhere.
// - The end of the process shuts every uploader, before what libcurl uses is torn down.
//   Uploaders that nobody destroys are no danger to the exit.
// - A forked child inherits no thread: there Offer refuses, Shut returns at once, and the
//   object's memory is left alone when its owner lets go.
//
// Non-guarantees
// - What was uploaded is remembered for the last kMaxRemembered names, by this object alone.
// - Shut on the upload thread (from inside a log sink there) does not wait.
#ifndef VAXO_VAXOUPLOADER_H
#define VAXO_VAXOUPLOADER_H

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

#include "connection/VaxoUploadAddress.h"
#include "connection/VaxoUploadFile.h"
#include "connection/VaxoUploadTransfer.h"
#include "connection/VaxoWipe.h"

// A sign key in one place, wiped with its last user.
class VaxoUploadKey {
public:
    explicit VaxoUploadKey(const unsigned char* bytes, std::size_t size)
        : m_bytes(bytes, bytes + size) {}
    ~VaxoUploadKey() { VaxoWipe(m_bytes); }
    VaxoUploadKey(const VaxoUploadKey&) = delete;
    VaxoUploadKey& operator=(const VaxoUploadKey&) = delete;

    const std::string& Bytes() const { return m_bytes; }

private:
    std::string m_bytes;
};

struct VaxoUpload {
    std::string file;  // as it was offered
    VaxoUploadAddress to;
    std::string user;
    unsigned int appID = 0;
    std::shared_ptr<const VaxoUploadKey> pKey;
    std::unique_ptr<VaxoUploadFile> pSnapshot;
    bool isByUser = false;  // goes out even with nothing new in it
};

// Pauses and limits in time; tests use others.
struct VaxoUploaderTimes {
    VaxoTransferTimes transfer;
    std::chrono::milliseconds firstPause{1000};  // then twice, then four times as long
    std::chrono::milliseconds farewell{3000};    // what Shut gives to what is under way
};

class VaxoUploader : public std::enable_shared_from_this<VaxoUploader> {
public:
    static constexpr std::size_t kMaxWaiting = 4;  // besides the one under way
    static constexpr std::size_t kMaxRemembered = 64;
    static constexpr unsigned kMaxAttempts = 4;

    static std::shared_ptr<VaxoUploader> Make(const VaxoUploaderTimes& times);

    VaxoUploader(const VaxoUploader&) = delete;
    VaxoUploader& operator=(const VaxoUploader&) = delete;

    // Every member of `upload` is set. True when it was taken.
    bool Offer(VaxoUpload upload);

    // Gives what waits and is under way the farewell time in all, drops the rest (within a
    // second more), and ends the thread. Nothing is taken from then on. May be called again.
    void Shut();
    // The first half of Shut: returns at once.
    void AnnounceEnd();

private:
    typedef std::chrono::steady_clock Clock;
    struct Deleter;

    explicit VaxoUploader(const VaxoUploaderTimes& times) : m_times(times) {}
    ~VaxoUploader() { Shut(); }

    const char* Place(VaxoUpload& upload);  // null: taken; else why not
    bool StartThread();
    bool IsOfAnotherProcess() const;
    bool HasNews(const VaxoUpload& upload) const;

    void Run();
    void Upload(const VaxoUpload& upload);
    VaxoTransferResult Attempt(const VaxoUpload& upload);
    void Remember(const VaxoUpload& upload);
    bool IsOver();
    bool Pause(std::chrono::milliseconds length);  // false: there is no time left for it

    const VaxoUploaderTimes m_times;
    std::atomic<int> m_process{0};            // whose thread it is; 0: none yet
    std::atomic<std::thread::id> m_self{{}};  // the thread, as it says itself
    std::mutex m_joining;                     // one Shut at a time; before m_lock
    std::mutex m_lock;                        // what follows
    std::condition_variable m_changed;
    std::thread m_thread;
    std::deque<VaxoUpload> m_waiting;
    std::map<std::string, VaxoUploadFile::Content> m_sent;  // by file
    bool m_isEnding = false;
    Clock::time_point m_end;  // when the farewell is over
};

#endif
