// The peer: a marshalling proxy as one writes it by hand with Boost.Asio, for the benchmark.
//
//   caller --call--> Marshal --command--> waiting list --io_context, 1 thread--> engine
//   application <--event-- io_context, 1 thread <-- Marshal <------event------ engine
//
// It keeps the promises of the library's proxy that cost something on the road:
// - Commands run one at a time in the order they came. A play holds the rest back until its
//   event has come.
// - A newcomer is joined against every waiting command, oldest first.
// - Every call posts a pass, which ends at once when the queue is held or empty.
// - No lock is held while anything is called but the log.
// - It logs the same lines with the same values, at the same levels, and lists the waiting
//   commands at the debug level; that loop is passed over when the level is lower.
// Any thread may call anything.
//
// Its ways are its own: one mutex for all, std::deque, std::function and shared_ptr, join rules
// as function pointers, lines through spdlog.
#ifndef VAXO_BENCH_ROAD_MARSHAL_H
#define VAXO_BENCH_ROAD_MARSHAL_H

#include <memory>
#include <string>
#include <vector>

#include "vaxotypes.h"

namespace vaxobench {

struct MarshalStream {
    std::string streamGID;
    std::string streamID;
    std::string userID;
    std::string userName;
    std::string title;
    std::vector<std::string> rtmpURLs;
    std::vector<std::string> hlsURLs;
    unsigned int status = 0;
};

class MarshalEngine {
public:
    virtual int SetVideoBitrate(int bitrate) = 0;
    virtual int SetVideoFPS(int fps) = 0;
    virtual int PlayStream(const std::string& streamID, unsigned int chn) = 0;

protected:
    ~MarshalEngine() = default;
};

class MarshalApp {
public:
    virtual void OnPlayState(int state, const std::string& streamID) = 0;
    virtual void OnStreamUpdate(const MarshalStream& info, int flag) = 0;

protected:
    ~MarshalApp() = default;
};

struct MarshalLogOptions {
    std::string path;     // of the file; empty for no file at all
    bool atOnce = false;  // each line to the system as soon as it is written, as the library does
};

class VAXO_API Marshal {
public:
    // Nothing is logged until SetLevel.
    Marshal(std::shared_ptr<MarshalEngine> engine, const MarshalLogOptions& log);

    // Ends the threads; what waits is dropped.
    ~Marshal();
    Marshal(const Marshal&) = delete;
    Marshal& operator=(const Marshal&) = delete;

    void SetApp(std::weak_ptr<MarshalApp> app);

    // 0: accepted.
    int SetVideoBitrate(int bitrate);
    int SetVideoFPS(int fps);
    int PlayStream(const std::string& streamID, unsigned int chn);

    // For the engine, from any thread.
    void OnPlayState(int state, const std::string& streamID);
    void OnStreamUpdate(const MarshalStream& info, int flag);

    // For the benchmark. The level is the library's: -1 nothing, 3 usual, 4 all.
    void SetLevel(int level);
    void Drain();     // returns when what was posted before, events included, has run
    void FlushLog();  // returns when no line waits

private:
    struct Impl;
    std::unique_ptr<Impl> m_pImpl;
};

}  // namespace vaxobench

#endif
