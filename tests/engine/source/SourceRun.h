// A media source on the engine's thread whose samples are kept, for tests to look at.
#ifndef VAXO_TESTS_ENGINE_SOURCE_SOURCERUN_H
#define VAXO_TESTS_ENGINE_SOURCE_SOURCERUN_H

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include <gst/gst.h>

#include "engine/OnLoop.h"
#include "engine/base/EngineLoop.h"
#include "engine/source/MediaSource.h"

// What a test needs of a sample.
struct Taken {
    GstClockTime stamp = 0;
    std::string caps;
    std::vector<unsigned char> bytes;
};

class SourceRun {
public:
    SourceRun(const std::string& video, const std::string& audio,
              vaxoengine::SourceFormat format = {}) {
        gst_init(nullptr, nullptr);
        GstClock* const clock = gst_system_clock_obtain();
        // Long ago, as for a capture that has run for a while.
        m_base = gst_clock_get_time(clock) - 50 * GST_SECOND;
        gst_object_unref(clock);
        OnLoop([&] {
            m_source = std::make_unique<vaxoengine::MediaSource>(
                video, audio, format, Sinks(), [this](const std::string& text) {
                    m_troubleOnLoop = vaxoengine::EngineLoop::Shared().IsCurrent();
                    const std::lock_guard<std::mutex> lock(m_mutex);
                    m_troubles.push_back(text);
                    m_changed.notify_all();
                });
            m_started = m_source->Start(m_base);
        });
    }
    ~SourceRun() { Stop(); }
    SourceRun(const SourceRun&) = delete;
    SourceRun& operator=(const SourceRun&) = delete;

    bool Started() const { return m_started; }
    void Stop() {
        OnLoop([this] { m_source.reset(); });
    }
    // Where the owner's running time is.
    GstClockTime Now() const {
        GstClock* const clock = gst_system_clock_obtain();
        const GstClockTime now = gst_clock_get_time(clock) - m_base;
        gst_object_unref(clock);
        return now;
    }

    // Waits until there are that many, or the time is up; what is there.
    std::vector<Taken> Video(std::size_t count) { return Wait(m_video, count); }
    std::vector<Taken> Audio(std::size_t count) { return Wait(m_audio, count); }
    std::vector<std::string> Troubles(std::size_t count) { return Wait(m_troubles, count); }
    bool TroubleCameOnTheLoop() const { return m_troubleOnLoop; }

private:
    vaxoengine::SourceSinks Sinks() {
        const auto into = [this](std::vector<Taken>& list) {
            return [this, &list](GstSample* sample) {
                Taken taken = Take(sample);
                const std::lock_guard<std::mutex> lock(m_mutex);
                list.push_back(std::move(taken));
                m_changed.notify_all();
            };
        };
        return {into(m_video), into(m_audio)};
    }

    static Taken Take(GstSample* sample) {
        Taken taken;
        GstBuffer* const buffer = gst_sample_get_buffer(sample);
        taken.stamp = GST_BUFFER_PTS(buffer);
        gchar* const caps = gst_caps_to_string(gst_sample_get_caps(sample));
        taken.caps = caps;
        g_free(caps);
        taken.bytes.resize(gst_buffer_get_size(buffer));
        gst_buffer_extract(buffer, 0, taken.bytes.data(), taken.bytes.size());
        gst_sample_unref(sample);
        return taken;
    }

    template <class T>
    std::vector<T> Wait(const std::vector<T>& list, std::size_t count) {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_changed.wait_for(lock, std::chrono::seconds(30), [&] { return list.size() >= count; });
        return list;
    }

    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<Taken> m_video;
    std::vector<Taken> m_audio;
    std::vector<std::string> m_troubles;
    GstClockTime m_base = 0;
    bool m_started = false;
    bool m_troubleOnLoop = false;
    std::unique_ptr<vaxoengine::MediaSource> m_source;
};

#endif
