#include "connection/VaxoUploadTransfer.h"

#include <curl/curl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <memory>
#include <mutex>

namespace {

// libcurl asks the server first whether it wants the body. One that does not know the question
// costs a second, too much for a short file. (Later versions of libcurl have the same limit.)
constexpr unsigned long long kUnaskedUpTo = 1024ULL * 1024;

struct Attempt {
    const VaxoUploadFile& file;
    const std::function<bool()>& isOver;
    unsigned long long offset = 0;
    bool isCut = false;  // the file is shorter than promised
    long unread = 0;     // status of an answer that was there and not read at the end, or 0
};

std::size_t ReadFile(char* buffer, std::size_t size, std::size_t count, void* context) {
    Attempt& attempt = *static_cast<Attempt*>(context);
    const std::size_t got = attempt.file.Read(attempt.offset, buffer, size * count);
    if (got == 0 && attempt.offset < attempt.file.Snapshot().size) {
        attempt.isCut = true;
        return CURL_READFUNC_ABORT;
    }
    attempt.offset += got;
    return got;
}

int SeekFile(void* context, curl_off_t offset, int origin) {
    if (origin != SEEK_SET || offset < 0) {
        return CURL_SEEKFUNC_CANTSEEK;
    }
    static_cast<Attempt*>(context)->offset = static_cast<unsigned long long>(offset);
    return CURL_SEEKFUNC_OK;
}

std::size_t DropAnswer(char* /*bytes*/, std::size_t size, std::size_t count, void* /*context*/) {
    return size * count;
}

int AskWhetherOver(void* context, curl_off_t /*toGet*/, curl_off_t /*got*/, curl_off_t /*toPut*/,
                   curl_off_t /*put*/) {
    return static_cast<Attempt*>(context)->isOver() ? 1 : 0;
}

// The status of the answer that `text` begins with, behind provisional ones; 0: there is none.
long StatusOf(const std::string& text) {
    std::size_t at = 0;
    while (text.compare(at, 5, "HTTP/") == 0) {
        const std::size_t blank = text.find(' ', at);
        const std::size_t end = text.find("\r\n\r\n", at);
        const long status =
            blank == std::string::npos ? 0 : std::strtol(text.c_str() + blank, nullptr, 10);
        if (status >= 200 || end == std::string::npos) {
            return status;
        }
        at = end + 4;
    }
    return 0;
}

// A send that meets the server's reset ends the transfer, and whatever had come before the
// reset is still in the socket.
int CloseSocket(void* context, curl_socket_t handle) {
    std::array<char, 1024> bytes;
    const ssize_t got = ::recv(handle, bytes.data(), bytes.size(), MSG_DONTWAIT);
    static_cast<Attempt*>(context)->unread =
        got > 0 ? StatusOf({bytes.data(), static_cast<std::size_t>(got)}) : 0;
    return ::close(handle);
}

struct HandleEnd {
    void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
};
struct ListEnd {
    void operator()(curl_slist* list) const { curl_slist_free_all(list); }
};

// Sets options and remembers whether all were taken.
class Options {
public:
    explicit Options(CURL* handle) : m_handle(handle) {}

    template <class Value>
    Options& Set(CURLoption option, Value value) {
        m_isGood = curl_easy_setopt(m_handle, option, value) == CURLE_OK && m_isGood;
        return *this;
    }
    bool IsGood() const { return m_isGood; }

private:
    CURL* const m_handle;
    bool m_isGood = true;
};

void SetSafety(Options& options) {
#if LIBCURL_VERSION_NUM >= 0x075500
    options.Set(CURLOPT_PROTOCOLS_STR, "http,https");
#else
    options.Set(CURLOPT_PROTOCOLS, static_cast<long>(CURLPROTO_HTTP | CURLPROTO_HTTPS));
#endif
#if LIBCURL_VERSION_NUM >= 0x075700
    // A name look-up that hangs must not hold the end of the process.
    options.Set(CURLOPT_QUICK_EXIT, 1L);
#endif
    options.Set(CURLOPT_FOLLOWLOCATION, 0L)
        .Set(CURLOPT_SSL_VERIFYPEER, 1L)
        .Set(CURLOPT_SSL_VERIFYHOST, 2L)
        .Set(CURLOPT_NOSIGNAL, 1L)
        // The path must arrive as it was signed.
        .Set(CURLOPT_PATH_AS_IS, 1L);
}

void SetTimes(Options& options, const VaxoTransferTimes& times) {
    options.Set(CURLOPT_CONNECTTIMEOUT_MS, static_cast<long>(times.connect.count()))
        .Set(CURLOPT_LOW_SPEED_LIMIT, 1L)
        .Set(CURLOPT_LOW_SPEED_TIME, static_cast<long>(times.silence.count()))
        .Set(CURLOPT_TIMEOUT_MS, static_cast<long>(times.whole.count()));
}

void SetPut(Options& options, Attempt& attempt) {
    options.Set(CURLOPT_UPLOAD, 1L)
        .Set(CURLOPT_INFILESIZE_LARGE, static_cast<curl_off_t>(attempt.file.Snapshot().size))
        .Set(CURLOPT_READFUNCTION, &ReadFile)
        .Set(CURLOPT_READDATA, static_cast<void*>(&attempt))
        .Set(CURLOPT_SEEKFUNCTION, &SeekFile)
        .Set(CURLOPT_SEEKDATA, static_cast<void*>(&attempt))
        .Set(CURLOPT_WRITEFUNCTION, &DropAnswer)
        .Set(CURLOPT_NOPROGRESS, 0L)
        .Set(CURLOPT_XFERINFOFUNCTION, &AskWhetherOver)
        .Set(CURLOPT_XFERINFODATA, static_cast<void*>(&attempt))
        .Set(CURLOPT_CLOSESOCKETFUNCTION, &CloseSocket)
        .Set(CURLOPT_CLOSESOCKETDATA, static_cast<void*>(&attempt));
}

VaxoTransferEnd EndOfAnswer(long status) {
    if (status >= 200 && status < 300) {
        return VaxoTransferEnd::Done;
    }
    return status == 429 || status >= 500 ? VaxoTransferEnd::TryAgain : VaxoTransferEnd::Refused;
}

std::string TextOfAnswer(long status) {
    return "answer " + std::to_string(status) + (status == 507 ? ": the server has no room" : "");
}

VaxoTransferEnd EndOfError(CURLcode code) {
    switch (code) {
        case CURLE_ABORTED_BY_CALLBACK:
            return VaxoTransferEnd::GaveUp;
        case CURLE_COULDNT_RESOLVE_PROXY:
        case CURLE_COULDNT_RESOLVE_HOST:
        case CURLE_COULDNT_CONNECT:
        case CURLE_WEIRD_SERVER_REPLY:
        case CURLE_PARTIAL_FILE:
        case CURLE_OPERATION_TIMEDOUT:
        case CURLE_SSL_CONNECT_ERROR:
        case CURLE_GOT_NOTHING:
        case CURLE_SEND_ERROR:
        case CURLE_RECV_ERROR:
        case CURLE_HTTP2:
        case CURLE_HTTP2_STREAM:
            return VaxoTransferEnd::TryAgain;
        default:
            return VaxoTransferEnd::Refused;
    }
}

// `isAsked`: the server may be asked before it gets the body. `status`: what it answered, or 0.
VaxoTransferResult Transfer(const std::string& url, Attempt& attempt,
                            const VaxoTransferTimes& times, bool isAsked, long& status) {
    const std::unique_ptr<curl_slist, ListEnd> unasked(curl_slist_append(nullptr, "Expect:"));
    const std::unique_ptr<CURL, HandleEnd> handle(curl_easy_init());
    if (handle == nullptr || unasked == nullptr) {
        return {VaxoTransferEnd::Refused, "no transfer to be had"};
    }
    Options options(handle.get());
    options.Set(CURLOPT_URL, url.c_str());
    if (!isAsked) {
        options.Set(CURLOPT_HTTPHEADER, unasked.get());
    }
    SetSafety(options);
    SetTimes(options, times);
    SetPut(options, attempt);
    if (!options.IsGood()) {
        return {VaxoTransferEnd::Refused, "a transfer option was not taken"};
    }
    const CURLcode code = curl_easy_perform(handle.get());
    if (attempt.isCut) {
        return {VaxoTransferEnd::Refused, "the file was cut meanwhile"};
    }
    curl_easy_getinfo(handle.get(), CURLINFO_RESPONSE_CODE, &status);
    if (status < 200) {
        status = attempt.unread;
    }
    // A server that refuses may close before it has read the body: what it said counts.
    const bool wasRefused = status >= 400 && EndOfError(code) == VaxoTransferEnd::TryAgain;
    if (code == CURLE_OK || wasRefused) {
        return {EndOfAnswer(status), TextOfAnswer(status)};
    }
    return {EndOfError(code), curl_easy_strerror(code)};
}

}  // namespace

bool VaxoTransferReady() {
    // Never cleaned up: the application may use libcurl too, and threads may at exit.
    static std::once_flag s_once;
    static CURLcode s_code = CURLE_FAILED_INIT;
    std::call_once(s_once, [] { s_code = curl_global_init(CURL_GLOBAL_DEFAULT); });
    return s_code == CURLE_OK;
}

VaxoTransferResult VaxoTransfer(const std::string& url, const VaxoUploadFile& file,
                                const VaxoTransferTimes& times,
                                const std::function<bool()>& isOver) {
    const bool isAsked = file.Snapshot().size > kUnaskedUpTo;
    long status = 0;
    Attempt attempt{file, isOver};
    VaxoTransferResult result = Transfer(url, attempt, times, isAsked, status);
    if (!isAsked || status != 417) {
        return result;
    }
    // It does not take the question. (libcurl itself sees to that on kept connections only.)
    Attempt plain{file, isOver};
    return Transfer(url, plain, times, false, status);
}
