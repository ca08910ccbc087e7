// What a member of a channel says about itself: the payload of its retained message.
//
//     {"user": "u1", "name": "Ann",
//      "stream": {"id": "s1", "title": "...", "since": 1790000000000,
//                 "rtmp": ["rtmp://..."], "hls": ["http://..."]}}
//
// "stream" is there while the member publishes. A stream identifier that is not UTF-8
// travels as "idHex", its bytes in hexadecimal, so that it arrives as it was. Members that
// know more may write more: unknown names are passed over.
//
// Pure functions, any thread.
#ifndef VAXO_ENGINE_CHANNEL_CHANNELRECORD_H
#define VAXO_ENGINE_CHANNEL_CHANNELRECORD_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace vaxoengine {

constexpr std::size_t kRecordBytes = 65536;   // a whole record
constexpr std::size_t kRecordText = 1024;     // one string, in bytes
constexpr std::size_t kRecordAddresses = 16;  // of each kind

struct ChannelRecord {
    std::string userID;
    std::string userName;
    // Only while publishing:
    std::string streamID;  // empty: publishes nothing
    std::string title;
    long long since = 0;  // milliseconds since 1970: when the stream began
    std::vector<std::string> rtmpURLs;
    std::vector<std::string> hlsURLs;

    bool operator==(const ChannelRecord& other) const;
};

// Never more than kRecordBytes. Bytes of userID, userName and title that are not UTF-8 are
// replaced, and what is over kRecordText is cut between two characters. An address that is
// too long or holds anything but printable ASCII without quote and backslash is left out,
// and so is every one behind the sixteenth. A stream whose identifier is too long is left
// out whole.
std::string WriteRecord(const ChannelRecord& record);

// Nothing for a payload that is not such a record or is over one of the limits.
std::optional<ChannelRecord> ReadRecord(const std::string& payload);

}  // namespace vaxoengine

#endif
