#include "PngFile.h"

#include <png.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "Text.h"

namespace vaxoapp {

namespace {

constexpr png_uint_32 kMostPixels = 16384;

png_image Header() {
    png_image header = {};
    header.version = PNG_IMAGE_VERSION;
    return header;
}

}  // namespace

bool WritePng(const std::string& path, const Picture& picture, std::string& error) {
    png_image header = Header();
    header.width = static_cast<png_uint_32>(picture.width);
    header.height = static_cast<png_uint_32>(picture.height);
    header.format = PNG_FORMAT_RGBA;
    const std::string name = "picture " + Printable(path) + ": ";
    std::error_code ignored;
    const auto kind = std::filesystem::status(path, ignored).type();
    // A device or a pipe must not be replaced by a file, nor removed when writing fails.
    const bool isReplaced = kind == std::filesystem::file_type::regular ||
                            kind == std::filesystem::file_type::not_found;
    const std::string target = isReplaced ? path + ".part" : path;
    std::FILE* const file = std::fopen(target.c_str(), "wbe");
    if (file == nullptr) {
        error = name + SystemError(errno);
        return false;
    }
    bool isWritten =
        png_image_write_to_stdio(&header, file, 0, picture.rgba.data(), 0, nullptr) != 0;
    error = isWritten ? "" : name + header.message;
    if (std::fclose(file) != 0 && isWritten) {
        isWritten = false;
        error = name + SystemError(errno);
    }
    if (isWritten && isReplaced && std::rename(target.c_str(), path.c_str()) != 0) {
        isWritten = false;
        error = name + SystemError(errno);
    }
    if (!isWritten && isReplaced) {
        std::remove(target.c_str());
    }
    return isWritten;
}

bool ReadPng(const std::string& path, Picture& picture, std::string& error) {
    const std::string name = "picture " + Printable(path) + ": ";
    png_image header = Header();
    if (png_image_begin_read_from_file(&header, path.c_str()) == 0) {
        error = name + header.message;
        return false;
    }
    if (header.width > kMostPixels || header.height > kMostPixels) {
        png_image_free(&header);
        error = name + "is too large";
        return false;
    }
    header.format = PNG_FORMAT_RGBA;
    picture.width = static_cast<int>(header.width);
    picture.height = static_cast<int>(header.height);
    picture.rgba.resize(static_cast<std::size_t>(header.width) * header.height * 4);
    if (png_image_finish_read(&header, nullptr, picture.rgba.data(), 0, nullptr) == 0) {
        error = name + header.message;
        return false;
    }
    return true;
}

}  // namespace vaxoapp
