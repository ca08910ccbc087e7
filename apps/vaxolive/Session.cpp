#include "Session.h"

#include <array>
#include <cstring>

#include "Text.h"
#include "VaxoLiveImage.h"
#include "VaxoLiveState.h"

namespace vaxoapp {

namespace {

constexpr std::size_t kMostStreams = 10000;  // kept of a channel; what is more is passed over
constexpr int kMostPixels = 16384;
constexpr std::size_t kMostName = 1024;

StreamRow RowOf(const Strova::VaxoLiveStream& info) {
    StreamRow row;
    row.streamID = ToStd(info.streamID);
    row.userID = ToStd(info.userID);
    row.userName = ToStd(info.userName);
    row.title = ToStd(info.title).substr(0, kMostName);
    row.status = info.status;
    for (const auto* addresses : {&info.rtmpURLs, &info.hlsURLs}) {
        for (uint32 i = 0; i < addresses->size() && row.addresses.size() < 16; ++i) {
            row.addresses.push_back(Unsigned(ToStd((*addresses)[i])));
        }
    }
    return row;
}

// False for a picture that is not what its record promises.
bool TakeOver(const void* pImage, Picture& picture) {
    const auto* const image = static_cast<const Strova::VaxoLiveImage*>(pImage);
    if (image == nullptr || image->size < sizeof(Strova::VaxoLiveImage) ||
        image->format != Strova::VaxoLiveImage_RGBA || image->data == nullptr ||
        image->width <= 0 || image->width > kMostPixels || image->height <= 0 ||
        image->height > kMostPixels || image->stride < image->width * 4) {
        return false;
    }
    const auto line = static_cast<std::size_t>(image->width) * 4;
    picture.width = image->width;
    picture.height = image->height;
    picture.rgba.resize(line * static_cast<std::size_t>(image->height));
    for (int y = 0; y < image->height; ++y) {
        const auto row = static_cast<std::size_t>(y);
        std::memcpy(picture.rgba.data() + row * line,
                    image->data + row * static_cast<std::size_t>(image->stride), line);
    }
    return true;
}

JsonObject PictureFields(const Picture& picture) {
    return JsonObject().Number("width", picture.width).Number("height", picture.height);
}

}  // namespace

JsonObject StreamRow::Json() const {
    return JsonObject()
        .Text("stream", streamID)
        .Text("user", userID)
        .Text("userName", userName)
        .Text("title", title)
        .Number("status", status)
        .Texts("addresses", addresses);
}

std::string StreamRow::Text() const {
    return Printable(streamID) + "  \"" + Printable(title) + "\"  by " + Printable(userName) +
           " (" + Printable(userID) + ")";
}

std::string ChannelErrorText(unsigned int err) {
    constexpr std::array<const char*, 6> kTexts = {
        "no error",
        "the service cannot be reached",
        "the service does not accept application identifier or sign key",
        "the service does not let this application into the channel",
        "the service does not answer",
        "the service's address cannot be used"};
    if (err < kTexts.size()) {
        return kTexts[err];
    }
    return err == 0xFFFFFFFF ? "the engine refused" : "error " + std::to_string(err);
}

std::string StateText(Mediq::VaxoAVState state) {
    switch (state) {
        case Mediq::AVStateBegin:
            return "live";
        case Mediq::AVStateEnd:
            return "ended";
        case Mediq::TempBroken:
            return "interrupted, trying again";
        case Mediq::FatalError:
            return "failed";
        case Mediq::CreateStreamError:
            return "the server would not create the stream";
        case Mediq::FetchStreamError:
            return "the service would not tell where the stream is";
        case Mediq::NoStreamError:
            return "there is no such stream";
    }
    switch (static_cast<Strova::VaxoLiveState>(state)) {
        case Strova::VaxoLiveState_SignatureRefused:
            return "the server refused the sign key or the application";
        case Strova::VaxoLiveState_SignatureExpired:
            return "the server finds the signature expired: is this machine's clock right?";
        case Strova::VaxoLiveState_NameInUse:
            return "somebody publishes under that name";
    }
    return "state " + std::to_string(static_cast<int>(state));
}

Hue StateHue(Mediq::VaxoAVState state) {
    if (state == Mediq::AVStateBegin) {
        return Hue::Good;
    }
    return state == Mediq::AVStateEnd   ? Hue::Plain
           : state == Mediq::TempBroken ? Hue::Warning
                                        : Hue::Bad;
}

bool IsOver(Mediq::VaxoAVState state) {
    return state != Mediq::AVStateBegin && state != Mediq::TempBroken;
}

void Session::Tell(const char* kind, const JsonObject& fields, const std::string& line, Hue hue) {
    m_report->events.Write(kind, fields);
    if (!line.empty()) {
        m_report->status.Say(line, hue);
    }
}

void Session::PostStop() {
    Update([](SessionState& state) { state.mustStop = true; });
}

void Session::AskToLeave() {
    // Told under the lock: who has read it knows that nothing new will be begun.
    Update([this](SessionState& state) {
        state.mustStop = true;
        Tell("leaving", {}, "leaving; once more ends at once");
    });
}

void Session::PostLine(const std::string& line) {
    Update([&](SessionState& state) { state.lines.push_back(line); });
}

void Session::PostLinesEnd() {
    Update([](SessionState& state) { state.linesEnded = true; });
}

std::size_t Session::LinesWaiting() {
    return With([](const SessionState& state) { return state.lines.size(); });
}

void Session::OnPreviewSnapshot(void* pImage) {
    Picture picture;
    if (!TakeOver(pImage, picture)) {
        return;
    }
    m_report->events.Write("preview-snapshot", PictureFields(picture));
    Update([&](SessionState& state) { state.preview = std::move(picture); });
}

void Session::OnRenderSnapshot(void* pImage, int nChannelIdx) {
    Picture picture;
    if (!TakeOver(pImage, picture)) {
        return;
    }
    m_report->events.Write("render-snapshot", PictureFields(picture).Number("view", nChannelIdx));
    Update([&](SessionState& state) { state.rendered[nChannelIdx] = std::move(picture); });
}

void Session::OnGetStreamList(unsigned int err) {
    Tell("entered", JsonObject().Number("error", err),
         err == 0 ? "entered the channel" : "not entered: " + ChannelErrorText(err),
         err == 0 ? Hue::Good : Hue::Bad);
    Update([&](SessionState& state) { state.entered = err; });
}

void Session::OnStreamUpdate(const Strova::VaxoLiveStream& info,
                             VaxoAVStreamUpdateFlag eUpdateFlag) {
    const StreamRow row = RowOf(info);
    const char* kind = "stream-added";
    std::string text = "stream added: ";
    if (eUpdateFlag == DeletedStream) {
        kind = "stream-gone";
        text = "stream gone: ";
    } else if (eUpdateFlag == CompleteStreamList) {
        kind = "stream-listed";
        text = "stream: ";
    } else if (eUpdateFlag == FetchError) {
        kind = "stream-list-error";
    }
    Tell(kind, row.Json(),
         eUpdateFlag == FetchError ? "the list of streams could not be had" : text + row.Text(),
         eUpdateFlag == FetchError ? Hue::Warning : Hue::Plain);
    Update([&](SessionState& state) {
        state.lastStream = Clock::now();
        if (eUpdateFlag == FetchError) {
            state.isListMissing = true;
        } else if (eUpdateFlag == DeletedStream) {
            state.streams.erase(row.streamID);
        } else if (state.streams.size() < kMostStreams || state.streams.count(row.streamID) != 0) {
            state.streams[row.streamID] = row;
        }
    });
}

void Session::OnCountsUpdate(unsigned int onlineNums, unsigned int onlineCount) {
    m_report->events.Write("counts",
                           JsonObject().Number("online", onlineNums).Number("total", onlineCount));
    Update([&](SessionState& state) {
        state.online = onlineNums;
        state.total = onlineCount;
    });
}

// On leaving, the library ends the publish and every stream of the channel, also what was
// never begun here.
void Session::OnPublishStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    const std::string id = ToStd(streamID);
    if (!With([](const SessionState& state) { return state.isPublishAsked; })) {
        return;
    }
    Tell("publish", JsonObject().Text("stream", id).Text("state", Mediq::VaxoDescription(eState)),
         "publishing " + Printable(id) + ": " + StateText(eState), StateHue(eState));
    Update([&](SessionState& state) { state.publish = eState; });
}

void Session::OnPlayStateUpdate(Mediq::VaxoAVState eState, const vaxo::strutf8& streamID) {
    const std::string id = ToStd(streamID);
    if (!With([&](const SessionState& state) { return state.plays.count(id) != 0; })) {
        return;
    }
    Tell("play", JsonObject().Text("stream", id).Text("state", Mediq::VaxoDescription(eState)),
         "playing " + Printable(id) + ": " + StateText(eState), StateHue(eState));
    Update([&](SessionState& state) { state.plays[id] = eState; });
}

void Session::OnVideoSizeChanged(const vaxo::strutf8& streamID, int width, int height) {
    const std::string id = ToStd(streamID);
    Tell("size", JsonObject().Text("stream", id).Number("width", width).Number("height", height),
         "picture of " + Printable(id) + ": " + std::to_string(width) + "x" +
             std::to_string(height));
    Update([&](SessionState& state) {
        if (state.sizes.size() < kMostStreams) {
            state.sizes[id] = {width, height};
        }
    });
}

void Session::OnLogout(unsigned int err) {
    Tell("left", JsonObject().Number("error", err), "left the channel");
    Update([&](SessionState& state) { state.left = err; });
}

void Session::OnDisconnected(unsigned int err, const vaxo::strutf8& liveChn) {
    Tell("disconnected", JsonObject().Number("error", err).Text("channel", ToStd(liveChn)),
         "connection lost: " + ChannelErrorText(err), Hue::Warning);
    Update([&](SessionState& state) { state.isDisconnected = true; });
}

void Session::OnReconnected(const vaxo::strutf8& liveChn) {
    Tell("reconnected", JsonObject().Text("channel", ToStd(liveChn)), "connection is back",
         Hue::Good);
    Update([&](SessionState& state) { state.isDisconnected = false; });
}

}  // namespace vaxoapp
