#include "engine/channel/ChannelRecord.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>
#include <utility>

#include "engine/base/Hex.h"

namespace vaxoengine {

namespace {

using nlohmann::json;

constexpr long long kLatest = 1LL << 53;  // what every JSON reader can hold

unsigned ByteAt(const std::string& text, std::size_t at) {
    return at < text.size() ? static_cast<unsigned char>(text[at]) : 0U;
}

// The length of the UTF-8 character at `at`; 0: none. The null byte is none, because it
// ends a text everywhere behind this.
std::size_t CharacterAt(const std::string& text, std::size_t at) {
    const unsigned lead = ByteAt(text, at);
    if (lead < 0x80) {
        return lead == 0 ? 0 : 1;
    }
    const std::size_t length = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    unsigned lowest = 0x80;
    unsigned highest = 0xBF;
    // Not the long way round, no surrogates, nothing above U+10FFFF.
    if (lead == 0xE0) {
        lowest = 0xA0;
    } else if (lead == 0xED) {
        highest = 0x9F;
    } else if (lead == 0xF0) {
        lowest = 0x90;
    } else if (lead == 0xF4) {
        highest = 0x8F;
    }
    if (lead < 0xC2 || lead > 0xF4) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        const unsigned byte = ByteAt(text, at + i);
        if (byte < lowest || byte > highest) {
            return 0;
        }
        lowest = 0x80;
        highest = 0xBF;
    }
    return length;
}

bool IsText(const std::string& bytes) {
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = CharacterAt(bytes, at);
        if (length == 0) {
            return false;
        }
        at += length;
    }
    return true;
}

std::string CleanText(const std::string& bytes) {
    static const std::string kUnknown = "\xEF\xBF\xBD";
    std::string text;
    for (std::size_t at = 0; at < bytes.size();) {
        const std::size_t length = CharacterAt(bytes, at);
        const std::string next = length == 0 ? kUnknown : bytes.substr(at, length);
        if (text.size() + next.size() > kRecordText) {
            break;
        }
        text += next;
        at += std::max<std::size_t>(length, 1);
    }
    return text;
}

bool IsAddress(const std::string& text) {
    return !text.empty() && text.size() <= kRecordText &&
           std::all_of(text.begin(), text.end(),
                       [](char c) { return c > ' ' && c <= '~' && c != '"' && c != '\\'; });
}

int DigitOf(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    return c >= 'a' && c <= 'f' ? c - 'a' + 10 : -1;
}

// Empty for what is not hexadecimal.
std::string FromHex(const std::string& hex) {
    std::string bytes;
    for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
        const int high = DigitOf(hex[i]);
        const int low = DigitOf(hex[i + 1]);
        if (high < 0 || low < 0) {
            return {};
        }
        bytes += static_cast<char>(high * 16 + low);
    }
    return hex.size() % 2 == 0 ? bytes : std::string();
}

json WriteAddresses(const std::vector<std::string>& addresses) {
    json list = json::array();
    for (const std::string& address : addresses) {
        if (list.size() < kRecordAddresses && IsAddress(address)) {
            list.push_back(address);
        }
    }
    return list;
}

json WriteStream(const ChannelRecord& record) {
    json stream = {{"title", CleanText(record.title)},
                   {"since", std::clamp(record.since, 0LL, kLatest)},
                   {"rtmp", WriteAddresses(record.rtmpURLs)},
                   {"hls", WriteAddresses(record.hlsURLs)}};
    if (IsText(record.streamID)) {
        stream["id"] = record.streamID;
    } else {
        stream["idHex"] = ToHex(record.streamID);
    }
    return stream;
}

// A member of an object that may be missing: true and `value` as it was. False: there, and
// not a text within the limit.
bool ReadText(const json& object, const char* name, std::size_t limit, std::string* value) {
    const auto found = object.find(name);
    if (found == object.end()) {
        return true;
    }
    const auto* text = found->get_ptr<const json::string_t*>();
    if (text == nullptr || text->size() > limit || !IsText(*text)) {
        return false;
    }
    *value = *text;
    return true;
}

bool ReadAddresses(const json& object, const char* name, std::vector<std::string>* addresses) {
    const auto found = object.find(name);
    if (found == object.end()) {
        return true;
    }
    if (!found->is_array() || found->size() > kRecordAddresses) {
        return false;
    }
    for (const json& item : *found) {
        const auto* text = item.get_ptr<const json::string_t*>();
        if (text == nullptr || !IsAddress(*text)) {
            return false;
        }
        addresses->push_back(*text);
    }
    return true;
}

bool ReadSince(const json& stream, long long* since) {
    const auto found = stream.find("since");
    const auto* number =
        found == stream.end() ? nullptr : found->get_ptr<const json::number_integer_t*>();
    if (number == nullptr || *number < 0 || *number > kLatest) {
        return false;
    }
    *since = *number;
    return true;
}

bool ReadStream(const json& stream, ChannelRecord* record) {
    std::string hex;
    if (!stream.is_object() || !ReadText(stream, "id", kRecordText, &record->streamID) ||
        !ReadText(stream, "idHex", 2 * kRecordText, &hex)) {
        return false;
    }
    if (!hex.empty()) {
        record->streamID = FromHex(hex);
    }
    return !record->streamID.empty() && ReadText(stream, "title", kRecordText, &record->title) &&
           ReadSince(stream, &record->since) && ReadAddresses(stream, "rtmp", &record->rtmpURLs) &&
           ReadAddresses(stream, "hls", &record->hlsURLs);
}

}  // namespace

bool ChannelRecord::operator==(const ChannelRecord& other) const {
    return std::tie(userID, userName, streamID, title, since, rtmpURLs, hlsURLs) ==
           std::tie(other.userID, other.userName, other.streamID, other.title, other.since,
                    other.rtmpURLs, other.hlsURLs);
}

std::string WriteRecord(const ChannelRecord& record) {
    json object = {{"user", CleanText(record.userID)}, {"name", CleanText(record.userName)}};
    if (!record.streamID.empty() && record.streamID.size() <= kRecordText) {
        object["stream"] = WriteStream(record);
    }
    return object.dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<ChannelRecord> ReadRecord(const std::string& payload) {
    if (payload.size() > kRecordBytes) {
        return std::nullopt;
    }
    const json object = json::parse(payload, nullptr, false);
    ChannelRecord record;
    if (!object.is_object() || !ReadText(object, "user", kRecordText, &record.userID) ||
        !ReadText(object, "name", kRecordText, &record.userName)) {
        return std::nullopt;
    }
    const auto stream = object.find("stream");
    if (stream != object.end() && !ReadStream(*stream, &record)) {
        return std::nullopt;
    }
    return record;
}

}  // namespace vaxoengine
