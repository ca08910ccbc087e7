#include "PngFile.h"

#include <png.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>

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
    const std::string part = path + ".part";
    if (png_image_write_to_file(&header, part.c_str(), 0, picture.rgba.data(), 0, nullptr) == 0) {
        error = "picture " + Printable(path) + ": " + header.message;
        return false;
    }
    if (std::rename(part.c_str(), path.c_str()) != 0) {
        error = "picture " + Printable(path) + ": " + SystemError(errno);
        std::remove(part.c_str());
        return false;
    }
    return true;
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
