// Pictures in PNG files. Any thread.
#ifndef VAXO_APPS_PNGFILE_H
#define VAXO_APPS_PNGFILE_H

#include <string>
#include <vector>

namespace vaxoapp {

struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> rgba;  // lines without gaps, the top one first
};

// The file appears whole or not at all; what is no file but a device or a pipe is written to as
// it is. False with `error` for people.
bool WritePng(const std::string& path, const Picture& picture, std::string& error);

// At most 16384 pixels either way.
bool ReadPng(const std::string& path, Picture& picture, std::string& error);

}  // namespace vaxoapp

#endif
