// The sign key: 16 to 64 bytes, written as hexadecimal digits.
//
// It comes from a file that nobody but its owner can read, or from an environment variable:
// a command line is there for every process to see. No text made here holds any of it.
#ifndef VAXO_APPS_KEYFILE_H
#define VAXO_APPS_KEYFILE_H

#include <string>

#include "vaxostream.h"

namespace vaxoapp {

// False with `error` for people. The file must be a regular one that belongs to this user or
// to root, and that group and others cannot read.
bool ReadKeyFile(const std::string& path, vaxo::stream& key, std::string& error);

// Blanks and line ends around the digits do not count.
bool ReadKeyText(const std::string& hex, vaxo::stream& key, std::string& error);

}  // namespace vaxoapp

#endif
