#include "road/PlainPost.h"

#include "road/PostThread.h"

namespace vaxobench {

struct PlainPost::Impl {
    explicit Impl(MarshalEngine& to) : engine(to) {}
    MarshalEngine& engine;
    PostThread thread;
};

PlainPost::PlainPost(MarshalEngine& engine) : m_pImpl(std::make_unique<Impl>(engine)) {}
PlainPost::~PlainPost() = default;

int PlainPost::SetVideoBitrate(int bitrate) {
    boost::asio::post(m_pImpl->thread.Context(),
                      [&engine = m_pImpl->engine, bitrate] { engine.SetVideoBitrate(bitrate); });
    return 0;
}

int PlainPost::SetVideoFPS(int fps) {
    boost::asio::post(m_pImpl->thread.Context(),
                      [&engine = m_pImpl->engine, fps] { engine.SetVideoFPS(fps); });
    return 0;
}

void PlainPost::Drain() {
    m_pImpl->thread.Drain();
}

}  // namespace vaxobench
