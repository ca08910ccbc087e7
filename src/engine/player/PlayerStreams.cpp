#include "engine/player/PlayerImpl.h"

namespace vaxoengine {

namespace {

// Null when the probe was called for something else.
GstBuffer* BufferOf(GstPadProbeInfo* info) {
    return (info->type & GST_PAD_PROBE_TYPE_BUFFER) != 0 ? gst_pad_probe_info_get_buffer(info)
                                                         : nullptr;
}

bool IsEvent(GstPadProbeInfo* info, GstEventType type) {
    return (info->type & GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM) != 0 &&
           GST_EVENT_TYPE(gst_pad_probe_info_get_event(info)) == type;
}

void MoveTimes(GstBuffer* buffer, std::int64_t shift) {
    const auto move = [shift](GstClockTime time) {
        if (!GST_CLOCK_TIME_IS_VALID(time)) {
            return time;
        }
        const auto moved = static_cast<std::int64_t>(time) + shift;
        return moved > 0 ? static_cast<GstClockTime>(moved) : GstClockTime{0};
    };
    GST_BUFFER_PTS(buffer) = move(GST_BUFFER_PTS(buffer));
    GST_BUFFER_DTS(buffer) = move(GST_BUFFER_DTS(buffer));
}

}  // namespace

void TellEngine(GstElement* pipeline, GstStructure* news) {
    gst_element_post_message(pipeline, gst_message_new_application(GST_OBJECT(pipeline), news));
}

// The demuxer has found a track. Nothing changes its state here: the parts wait for it.
void Player::Impl::OnPad(GstElement* /*demux*/, GstPad* pad, gpointer impl) {
    auto* const self = static_cast<Impl*>(impl);
    const std::string name = GST_PAD_NAME(pad);
    const auto kind = static_cast<GstPadProbeType>(GST_PAD_PROBE_TYPE_BUFFER |
                                                   GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM);
    if (name == "audio") {
        gst_pad_add_probe(pad, GST_PAD_PROBE_TYPE_BUFFER, OnAudio, self, nullptr);
        return;
    }
    self->hasVideo = true;
    gst_pad_add_probe(pad, kind, OnVideo, self, nullptr);
    const GstRef<GstElement> parser = Find(self->pipeline, "video");
    const GstRef<GstPad> sink(gst_element_get_static_pad(parser.get(), "sink"));
    if (gst_pad_link(pad, sink.get()) != GST_PAD_LINK_OK) {
        TellEngine(self->pipeline.get(), gst_structure_new_empty(kUnknownNews));
    }
}

void Player::Impl::OnShown(GstElement* /*sink*/, GstBuffer* picture, GstPad* pad, gpointer impl) {
    auto* const self = static_cast<Impl*>(impl);
    const GstCapsRef caps(gst_pad_get_current_caps(pad));
    const ShownPictures::News news = self->shown.Shown(picture, caps.get());
    if (news.size) {
        TellEngine(self->pipeline.get(),
                   gst_structure_new(kSizeNews, "width", G_TYPE_INT, news.width, "height",
                                     G_TYPE_INT, news.height, nullptr));
    }
    if (news.first) {
        TellEngine(self->pipeline.get(), gst_structure_new_empty(kPictureNews));
    }
}

GstPadProbeReturn Player::Impl::OnReceived(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer impl) {
    auto* const self = static_cast<Impl*>(impl);
    if (GstBuffer* const buffer = BufferOf(info)) {
        if (self->bytes == 0) {
            TellEngine(self->pipeline.get(), gst_structure_new_empty(kReceivedNews));
        }
        self->bytes += gst_buffer_get_size(buffer);
    } else if (IsEvent(info, GST_EVENT_EOS)) {
        TellEngine(self->pipeline.get(), gst_structure_new_empty(kEndNews));
    }
    return GST_PAD_PROBE_OK;
}

std::int64_t Player::Impl::Now() const {
    return static_cast<std::int64_t>(gst_clock_get_time(clock.get()) - baseTime);
}

// Gives a piece the running time at which it is due.
void Player::Impl::Place(GstPadProbeInfo* info, Shift shift) {
    GstBuffer* const buffer = gst_buffer_make_writable(gst_pad_probe_info_get_buffer(info));
    GST_PAD_PROBE_INFO_DATA(info) = buffer;
    const GstClockTime media = GST_BUFFER_DTS_OR_PTS(buffer);
    if (GST_CLOCK_TIME_IS_VALID(media)) {
        MoveTimes(buffer, (pacer.*shift)(Now(), static_cast<std::int64_t>(media)));
    }
}

GstPadProbeReturn Player::Impl::OnVideo(GstPad* /*pad*/, GstPadProbeInfo* info, gpointer impl) {
    auto* const self = static_cast<Impl*>(impl);
    if (BufferOf(info) != nullptr) {
        self->Place(info, &LivePacer::Picture);
    } else if (IsEvent(info, GST_EVENT_SEGMENT)) {
        // Times are running times from here on.
        GstSegment segment;
        gst_segment_init(&segment, GST_FORMAT_TIME);
        gst_event_unref(gst_pad_probe_info_get_event(info));
        GST_PAD_PROBE_INFO_DATA(info) = gst_event_new_segment(&segment);
    }
    return GST_PAD_PROBE_OK;
}

// The pad leads nowhere: sound has a pipeline of its own.
GstPadProbeReturn Player::Impl::OnAudio(GstPad* pad, GstPadProbeInfo* info, gpointer impl) {
    auto* const self = static_cast<Impl*>(impl);
    self->Place(info, &LivePacer::Sound);
    if (const GstCapsRef caps{gst_pad_get_current_caps(pad)}) {
        self->sound->Push(BufferOf(info), caps.get());
    }
    return GST_PAD_PROBE_DROP;
}

}  // namespace vaxoengine
