#include "engine/source/FileAddress.h"

#include <filesystem>
#include <fstream>

#include <glib.h>

namespace vaxoengine {

namespace {

constexpr const char* kScheme = "file://";
constexpr std::size_t kSchemeLength = 7;
constexpr std::size_t kMaxAddress = 8192;

bool CanRead(const std::string& path) {
    std::error_code error;
    // Regular first: opening a pipe would wait for its other end.
    if (!std::filesystem::is_regular_file(path, error)) {
        return false;
    }
    return std::ifstream(path, std::ios::binary).is_open();
}

}  // namespace

std::string ReadableFile(const std::string& address) {
    if (address.size() > kMaxAddress || address.compare(0, kSchemeLength, kScheme) != 0 ||
        address.size() <= kSchemeLength || address[kSchemeLength] != '/' ||
        address.find('\0') != std::string::npos) {
        return {};
    }
    gchar* const decoded = g_filename_from_uri(address.c_str(), nullptr, nullptr);
    if (decoded != nullptr) {
        std::string path = decoded;
        g_free(decoded);
        if (CanRead(path)) {
            return path;
        }
    }
    std::string literal = address.substr(kSchemeLength);
    return CanRead(literal) ? literal : std::string();
}

std::string AddressOfFile(const std::string& path) {
    gchar* const made = g_filename_to_uri(path.c_str(), nullptr, nullptr);
    std::string address = made != nullptr ? made : "";
    g_free(made);
    return address;
}

}  // namespace vaxoengine
