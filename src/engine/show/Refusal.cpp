#include "engine/show/Refusal.h"

#include <chrono>
#include <utility>

#include "VaxoLiveState.h"

namespace vaxoengine {

namespace {

constexpr std::chrono::milliseconds kLimit{1000};
constexpr long kOk = 200;

bool Begins(const std::string& text, const char* with) {
    return text.rfind(with, 0) == 0;
}

Mediq::VaxoAVState Own(Strova::VaxoLiveState state) {
    return static_cast<Mediq::VaxoAVState>(state);
}

}  // namespace

Mediq::VaxoAVState StateOfRefusal(long status, const std::string& body,
                                  Mediq::VaxoAVState otherwise) {
    if (status != kOk) {
        return otherwise;
    }
    if (Begins(body, "expired")) {
        return Own(Strova::VaxoLiveState_SignatureExpired);
    }
    return Begins(body, "refused") ? Own(Strova::VaxoLiveState_SignatureRefused) : otherwise;
}

void Refusal::Ask(const std::string& whyAddress, Mediq::VaxoAVState otherwise,
                  std::function<void(Mediq::VaxoAVState)> done) {
    if (whyAddress.empty()) {
        done(otherwise);
        return;
    }
    m_get = std::make_unique<HttpGet>(
        whyAddress, kLimit,
        [this, otherwise, done = std::move(done)](long status, const std::string& body) {
            const std::unique_ptr<HttpGet> over = std::move(m_get);  // with its descriptors
            done(StateOfRefusal(status, body, otherwise));
        });
}

}  // namespace vaxoengine
