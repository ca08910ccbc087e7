#include "conformance/engine/Recorder.h"

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "conformance/engine/Rules.h"
#include "conformance/engine/Texts.h"

namespace conformance {

namespace {

// Recorders that are gone, for the life of the process.
struct Graveyard {
    std::mutex lock;
    std::condition_variable filled;
    std::vector<std::unique_ptr<Recorder>> graves;

    static Graveyard& Shared() {
        static auto* const yard = new Graveyard;
        return *yard;
    }
};

}  // namespace

std::shared_ptr<Recorder> Recorder::Make(std::shared_ptr<Ledger> ledger) {
    return {new Recorder(std::move(ledger)), [](Recorder* recorder) {
                recorder->m_gone = true;
                Graveyard& yard = Graveyard::Shared();
                const std::lock_guard<std::mutex> hold(yard.lock);
                yard.graves.emplace_back(recorder);
                yard.filled.notify_all();
            }};
}

bool AwaitGone(const std::weak_ptr<Recorder>& callback) {
    Graveyard& yard = Graveyard::Shared();
    std::unique_lock<std::mutex> hold(yard.lock);
    return yard.filled.wait_for(hold, Limit(), [&] { return callback.expired(); });
}

void Recorder::Hear(Event event) {
    event.listener = this;
    if (m_gone) {
        m_ledger->Break(rule::Gone, Words(event));
    }
    m_ledger->Heard(event);
}

void Recorder::OnPreviewSnapshot(void* pImage) {
    if (pImage == nullptr) {
        m_ledger->Break(rule::Values, "OnPreviewSnapshot without an image");
    }
    Hear({Told::PreviewPicture});
}

void Recorder::OnRenderSnapshot(void* pImage, int nChannelIdx) {
    if (pImage == nullptr) {
        m_ledger->Break(rule::Values, "OnRenderSnapshot without an image");
    }
    Hear({Told::RenderPicture, nChannelIdx});
}

void Recorder::OnGetStreamList(unsigned int err) {
    Hear({Told::Entered, err});
}

void Recorder::OnStreamUpdate(const Strova::VaxoLiveStream& info, VaxoAVStreamUpdateFlag flag) {
    Hear({Told::Stream, flag, 0, Bytes(info.streamID)});
}

void Recorder::OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) {
    Hear({Told::Counts, onlineNums, onlineCount});
}

void Recorder::OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    Hear({Told::PublishState, eState, 0, Bytes(streamID)});
}

void Recorder::OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    Hear({Told::PlayState, eState, 0, Bytes(streamID)});
}

void Recorder::OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) {
    Hear({Told::Size, width, height, Bytes(streamID)});
}

void Recorder::OnLogout(unsigned int err) {
    Hear({Told::LeftChannel, err});
}

void Recorder::OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) {
    Hear({Told::Lost, err, 0, Bytes(liveChn)});
}

void Recorder::OnReconnected(const vaxo::strutf8& liveChn) {
    Hear({Told::Back, 0, 0, Bytes(liveChn)});
}

}  // namespace conformance
