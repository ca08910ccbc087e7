#include "engine/base/HttpGet.h"

#include <algorithm>
#include <utility>

#include <curl/curl.h>

#include "engine/base/EngineLoop.h"

namespace vaxoengine {

namespace {

// A question is rare and over soon: looking after it in turns is good enough.
constexpr std::chrono::milliseconds kTurn{10};

struct EasyCleanup {
    void operator()(CURL* easy) const { curl_easy_cleanup(easy); }
};
struct MultiCleanup {
    void operator()(CURLM* multi) const { curl_multi_cleanup(multi); }
};

std::size_t OnBody(char* data, std::size_t size, std::size_t count, void* body) {
    auto& text = *static_cast<std::string*>(body);
    const std::size_t room = HttpGet::kBodyBytes - text.size();
    text.append(data, std::min(size * count, room));
    return size * count;
}

}  // namespace

struct HttpGet::Impl {
    ~Impl();
    void Turn();
    void End(long status);

    Done done;
    std::string body;
    std::unique_ptr<CURLM, MultiCleanup> multi{curl_multi_init()};
    std::unique_ptr<CURL, EasyCleanup> easy{curl_easy_init()};
    EngineTimer timer;
};

HttpGet::Impl::~Impl() {
    timer.Stop();
    if (multi && easy) {
        curl_multi_remove_handle(multi.get(), easy.get());
    }
}

void HttpGet::Impl::Turn() {
    int running = 0;
    if (!multi || !easy || curl_multi_perform(multi.get(), &running) != CURLM_OK) {
        End(0);
    } else if (running == 0) {
        long status = 0;
        int left = 0;
        const CURLMsg* const message = curl_multi_info_read(multi.get(), &left);
        if (message != nullptr && message->data.result == CURLE_OK) {
            curl_easy_getinfo(easy.get(), CURLINFO_RESPONSE_CODE, &status);
        }
        End(status);
    }
}

// The last: the callback may destroy this.
void HttpGet::Impl::End(long status) {
    timer.Stop();
    const Done call = std::move(done);
    const std::string text = std::move(body);
    call(status, text);
}

HttpGet::HttpGet(const std::string& address, std::chrono::milliseconds limit, Done done)
    : m_impl(std::make_unique<Impl>()) {
    m_impl->done = std::move(done);
    if (CURL* const easy = m_impl->easy.get()) {
        curl_easy_setopt(easy, CURLOPT_URL, address.c_str());
        curl_easy_setopt(easy, CURLOPT_PROTOCOLS_STR, "http,https");
        curl_easy_setopt(easy, CURLOPT_NOSIGNAL, 1L);
        curl_easy_setopt(easy, CURLOPT_TIMEOUT_MS, static_cast<long>(limit.count()));
        curl_easy_setopt(easy, CURLOPT_WRITEFUNCTION, OnBody);
        curl_easy_setopt(easy, CURLOPT_WRITEDATA, &m_impl->body);
        curl_multi_add_handle(m_impl->multi.get(), easy);
    }
    m_impl->timer.Every(kTurn, [impl = m_impl.get()] { impl->Turn(); });
}

HttpGet::~HttpGet() = default;

}  // namespace vaxoengine
