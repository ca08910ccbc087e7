// Texts on their way in and out: numbers from the command line, names from the network.
//
// Pure functions, any thread.
#ifndef VAXO_APPS_TEXT_H
#define VAXO_APPS_TEXT_H

#include <cstddef>
#include <string>
#include <vector>

#include "vaxostrutf8.h"

namespace vaxoapp {

std::string ToStd(const vaxo::strutf8& text);
vaxo::strutf8 ToVaxo(const std::string& text);

// Fit for a terminal: what is a control character or not UTF-8 becomes "?", and what is
// longer than `limit` bytes is cut. Names come from other people.
std::string Printable(const std::string& text, std::size_t limit = 200);

// Quoted and escaped. What is not UTF-8 becomes U+FFFD.
std::string JsonText(const std::string& text);

// The address without what lets its reader in: the query, and the token of an HLS path.
std::string Unsigned(const std::string& address);

// What the system means by an error number.
std::string SystemError(int number);

// A whole number from `least` to `most`, nothing else around it.
bool ParseNumber(const std::string& text, long long least, long long most, long long& out);

// "640x360": even numbers from 64 to 3840, which the engine takes.
bool ParseSize(const std::string& text, int& width, int& height);

// Bits a second, 32000 to 20 million: "800000", "800k", "2M".
bool ParseBitrate(const std::string& text, int& bitrate);

// The words between blanks.
std::vector<std::string> Words(const std::string& line);

}  // namespace vaxoapp

#endif
