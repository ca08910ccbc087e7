#include "JsonTexts.h"

namespace vaxoapp {

const std::vector<JsonKind>& ResultTexts() {
    static const std::vector<JsonKind> s_results = {
        {"list", "change stream user userName title status addresses",
         "one line for each stream; \"change\" with --follow alone"},
        {"devices", "kind id name", "one line for each device"},
        {"upload-log", "file uploaded bytes code reason",
         R"(one line at the end; "bytes" when it was uploaded, "code" and "reason" when not)"},
        {"compare", "alike verdict decibels limit contrast sizes", "one line"},
    };
    return s_results;
}

const std::vector<JsonKind>& EventTexts() {
    static const std::vector<JsonKind> s_events = {
        {"start", "user channel", "the settings are complete"},
        {"entered", "error", "the answer to the entry into the channel"},
        {"stream-listed", "stream user userName title status addresses",
         "a stream that was there already"},
        {"stream-added", "stream user userName title status addresses", "a stream began"},
        {"stream-gone", "stream user userName title status addresses", "a stream ended"},
        {"stream-list-error", "stream user userName title status addresses",
         "the list of streams could not be had"},
        {"counts", "online total", "people in the channel"},
        {"publish-start", "stream", "a publish is asked for"},
        {"publish", "stream state", "what became of it, and every change"},
        {"published", "address", "it is live"},
        {"play-start", "stream view", "a play is asked for"},
        {"play", "stream state", "what became of it, and every change"},
        {"size", "stream width height", "the picture of a play has a size, or another one"},
        {"stats", "publishing fps bitrate camera microphone plays online total connected",
         "once a second"},
        {"camera", "device", "another camera took over"},
        {"microphone", "device", "another microphone took over"},
        {"no-screen", "", "there is no screen to show a window on"},
        {"preview-snapshot", "width height", "a picture of what is published came"},
        {"render-snapshot", "width height view", "a picture of a play came"},
        {"snapshot", "file width height", "a picture was written"},
        {"command", "line error", "a typed command is done; an empty error: it went well"},
        {"status", "publishing fps bitrate camera microphone plays online total connected",
         "the answer to the typed command status, with --json"},
        {"help", "text", "the answer to the typed command help, with --json"},
        {"log-begun", "before", "the log was full and begins anew"},
        {"upload-again", "reason", "an upload failed and will be tried again"},
        {"uploaded", "bytes", "the server has the log"},
        {"disconnected", "error channel", "the connection to the channel is lost"},
        {"reconnected", "channel", "it is back"},
        {"leaving", "", "Ctrl-C, or another signal, asked to leave"},
        {"left", "error", "the channel was left"},
        {"failed", "code reason", "something failed"},
        {"end", "code", "the last line of a run that entered, or tried to"},
    };
    return s_events;
}

const std::vector<FieldText>& FieldTexts() {
    static const std::vector<FieldText> s_fields = {
        {"ms", "milliseconds of a clock that all processes of the machine share"},
        {"event", "the kind of the event"},
        {"address", "where the stream is, without signature"},
        {"addresses", "where the stream can be had, without signatures"},
        {"alike", "whether the pictures show the same"},
        {"before", "bytes that the log had"},
        {"bitrate", "bits a second"},
        {"bytes", "how long the log is that the server has"},
        {"camera", "where the picture comes from"},
        {"change", "+ added, - gone, * changed"},
        {"channel", "the channel's name"},
        {"code", "the exit status that this is a reason for"},
        {"connected", "whether there is a connection to the channel"},
        {"contrast", "of the plainer picture, 0 to 128"},
        {"decibels", "how alike they are, 99 at most"},
        {"device", "the device's name"},
        {"error", "a number, 0: none; of a typed command: what is wrong, in words"},
        {"file", "the file's name"},
        {"fps", "pictures a second"},
        {"height", "in pixels"},
        {"id", "what --video, --audio and --speaker take"},
        {"kind", "video, audio-in or audio-out"},
        {"latency", "how old the picture is, in milliseconds; -1: not known"},
        {"limit", "decibels that are alike enough"},
        {"line", "what was typed"},
        {"microphone", "where the sound comes from"},
        {"name", "the name for people"},
        {"online", "people who are there now"},
        {"plays", "objects with stream, fps, bitrate and latency"},
        {"publishing", "whether there is a publish"},
        {"reason", "why, in words"},
        {"sizes", "objects with width and height, the first picture's first"},
        {"state", "BEGIN, END and other names of states"},
        {"status", "the stream's status, a number of the service's"},
        {"stream", "the stream's name"},
        {"text", "the commands, a line each"},
        {"title", "the stream's title"},
        {"total", "people who have been there"},
        {"uploaded", "whether the server has the log"},
        {"user", "who publishes it; of start: who enters"},
        {"userName", "the same for people"},
        {"verdict", "alike, different, different shapes, or nothing to see in one of them"},
        {"view", "the number of the play, from 0"},
        {"width", "in pixels"},
    };
    return s_fields;
}

}  // namespace vaxoapp
