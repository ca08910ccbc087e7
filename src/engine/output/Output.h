// One attempt at sending what Capture encodes to the media server. Thrown away and made
// anew on trouble. Engine's thread only, but for the two Push calls, which never block;
// whoever pushes sees to it that the output is not destroyed meanwhile.
#ifndef VAXO_ENGINE_OUTPUT_OUTPUT_H
#define VAXO_ENGINE_OUTPUT_OUTPUT_H

#include <functional>
#include <memory>
#include <string>

#include <gst/gst.h>

#include "engine/output/Flow.h"

namespace vaxoengine {

enum class OutputEvent {
    Flowing,      // the server takes the stream: media was sent
    Refused,      // the server would not have it (address, signature, name in use)
    Unreachable,  // no connection could be made
    Broken,       // the connection was lost after it had been flowing
};

class Output {
public:
    using Callback = std::function<void(OutputEvent, const std::string& reason)>;
    // `onEvent`: engine's thread; Flowing at most once, then or instead one of the others at
    // most once. It may destroy the output.
    Output(const std::string& signedAddress, GstClockTime baseTime, Callback onEvent);
    ~Output();  // says good-bye to the server and closes the connection, later: see Close
    Output(const Output&) = delete;
    Output& operator=(const Output&) = delete;

    bool Start();
    // Any thread, transfer full. Nothing before the first key frame is sent; a network that
    // does not keep up loses whole groups of pictures.
    void PushVideo(GstSample* sample);
    void PushAudio(GstSample* sample);
    unsigned long long BytesSent() const;

    Flow GetFlow() const;

    // Ends the output: nothing is sent any more and there are no events. The server is told,
    // which takes a moment; `closed` is called on the engine's thread when the name is free
    // again, at most a second later.
    static void Close(std::unique_ptr<Output> output, std::function<void()> closed);

private:
    struct Impl;
    std::shared_ptr<Impl> m_impl;
};

}  // namespace vaxoengine

#endif
