// Files as devices: what is accepted as the address of one.
#ifndef VAXO_ENGINE_SOURCE_FILEADDRESS_H
#define VAXO_ENGINE_SOURCE_FILEADDRESS_H

#include <string>

namespace vaxoengine {

// The path of a "file:///..." address: an absolute path of this machine to a regular file
// that this process may read now; empty for anything else. Percent signs are understood as
// in any address; a path that was put behind "file://" as it is works too, unless a file
// with the decoded name exists. Touches the disk. Any thread.
std::string ReadableFile(const std::string& address);

// The "file:///..." address of an absolute path, every odd character encoded.
std::string AddressOfFile(const std::string& path);

}  // namespace vaxoengine

#endif
