#include "Text.h"

#include <charconv>
#include <sstream>
#include <string_view>
#include <system_error>

namespace vaxoapp {

namespace {

// The length of the UTF-8 character at the start of `text`; 0 when there is none.
std::size_t CharacterLength(std::string_view text) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    const unsigned first = byte(0);
    if (first < 0x80) {
        return 1;
    }
    const std::size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
    if (first < 0xC2 || first > 0xF4 || text.size() < length) {
        return 0;
    }
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0U) != 0x80U) {
            return 0;
        }
    }
    const unsigned second = byte(1);
    const bool isOverlong = (first == 0xE0 && second < 0xA0) || (first == 0xF0 && second < 0x90);
    const bool isNoCharacter = (first == 0xED && second > 0x9F) || (first == 0xF4 && second > 0x8F);
    return isOverlong || isNoCharacter ? 0 : length;
}

// U+0000 to U+001F, U+007F to U+009F: a terminal may act on them.
bool IsControl(std::string_view character) {
    const auto first = static_cast<unsigned char>(character[0]);
    return first < 0x20 || first == 0x7F ||
           (first == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0);
}

void AppendEscaped(std::string& all, char character) {
    constexpr std::string_view kDigits = "0123456789abcdef";
    const auto value = static_cast<unsigned char>(character);
    all += "\\u00";
    all += kDigits[value >> 4U];
    all += kDigits[value & 15U];
}

}  // namespace

std::string ToStd(const vaxo::strutf8& text) {
    return text.size() == 0 ? std::string() : std::string(text.c_str(), text.size());
}

vaxo::strutf8 ToVaxo(const std::string& text) {
    return {text.data(), static_cast<uint32>(text.size())};
}

std::string Printable(const std::string& text, std::size_t limit) {
    std::string all;
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = CharacterLength(rest);
        const std::size_t taken = length == 0 ? 1 : length;
        if (all.size() + taken > limit) {
            return all + "...";
        }
        const std::string_view character = rest.substr(0, taken);
        all += length == 0 || IsControl(character) ? std::string_view("?") : character;
        rest.remove_prefix(taken);
    }
    return all;
}

std::string JsonText(const std::string& text) {
    std::string all = "\"";
    for (std::string_view rest = text; !rest.empty();) {
        const std::size_t length = CharacterLength(rest);
        if (length == 0) {
            all += "\xEF\xBF\xBD";
        } else if (rest[0] == '"' || rest[0] == '\\') {
            all += '\\';
            all += rest[0];
        } else if (length == 1 && IsControl(rest.substr(0, 1))) {
            AppendEscaped(all, rest[0]);
        } else {
            all += rest.substr(0, length);
        }
        rest.remove_prefix(length == 0 ? 1 : length);
    }
    return all + '"';
}

std::string Unsigned(const std::string& address) {
    std::string open = address.substr(0, address.find('?'));
    constexpr std::string_view kFolder = "/hls/";
    const std::size_t folder = open.find(kFolder);
    if (folder != std::string::npos) {
        const std::size_t token = folder + kFolder.size();
        const std::size_t end = open.find('/', token);
        open.replace(token, (end == std::string::npos ? open.size() : end) - token, "...");
    }
    return open;
}

std::string SystemError(int number) {
    return std::generic_category().message(number);
}

bool ParseNumber(const std::string& text, long long least, long long most, long long& out) {
    long long value = 0;
    const char* const end = text.data() + text.size();
    const std::from_chars_result result = std::from_chars(text.data(), end, value);
    if (result.ec != std::errc() || result.ptr != end || value < least || value > most) {
        return false;
    }
    out = value;
    return true;
}

bool ParseSize(const std::string& text, int& width, int& height) {
    const std::size_t cross = text.find('x');
    long long w = 0;
    long long h = 0;
    if (cross == std::string::npos || !ParseNumber(text.substr(0, cross), 64, 3840, w) ||
        !ParseNumber(text.substr(cross + 1), 64, 3840, h) || w % 2 != 0 || h % 2 != 0) {
        return false;
    }
    width = static_cast<int>(w);
    height = static_cast<int>(h);
    return true;
}

bool ParseBitrate(const std::string& text, int& bitrate) {
    long long unit = 1;
    std::string digits = text;
    if (!digits.empty() && (digits.back() == 'k' || digits.back() == 'M')) {
        unit = digits.back() == 'k' ? 1000 : 1000000;
        digits.pop_back();
    }
    constexpr long long kMost = 20000000;
    long long value = 0;
    if (!ParseNumber(digits, 1, kMost, value) || value * unit < 32000 || value * unit > kMost) {
        return false;
    }
    bitrate = static_cast<int>(value * unit);
    return true;
}

std::vector<std::string> Words(const std::string& line) {
    std::vector<std::string> words;
    std::istringstream stream(line);
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    return words;
}

}  // namespace vaxoapp
