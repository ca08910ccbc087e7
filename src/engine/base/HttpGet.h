// One short question over HTTP. Engine's thread only; nothing waits.
#ifndef VAXO_ENGINE_BASE_HTTPGET_H
#define VAXO_ENGINE_BASE_HTTPGET_H

#include <chrono>
#include <functional>
#include <memory>
#include <string>

namespace vaxoengine {

class HttpGet {
public:
    // The answer's status and the beginning of its body, kBodyBytes at most; 0 without an
    // answer within the limit.
    using Done = std::function<void(long status, const std::string& body)>;
    static constexpr std::size_t kBodyBytes = 4096;

    // `done`: later, exactly once, unless destroyed before; it may destroy this. The address may
    // hold a secret: it reaches no log.
    HttpGet(const std::string& address, std::chrono::milliseconds limit, Done done);
    ~HttpGet();  // without a word
    HttpGet(const HttpGet&) = delete;
    HttpGet& operator=(const HttpGet&) = delete;

private:
    struct Impl;
    std::unique_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
