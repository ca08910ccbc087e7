#include "connection/VaxoUploadFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

std::unique_ptr<VaxoUploadFile> VaxoUploadFile::Open(const std::string& name,
                                                     unsigned long long limit,
                                                     std::string& refusal) {
    // A name with a zero byte would be cut and mean another file.
    if (name.empty() || name.find('\0') != std::string::npos) {
        refusal = "no file has this name";
        return nullptr;
    }
    const int handle = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (handle < 0) {
        refusal = errno == ENOENT ? "there is no such file" : "the file cannot be read";
        return nullptr;
    }
    struct stat status = {};
    if (::fstat(handle, &status) != 0 || !S_ISREG(status.st_mode) || status.st_size < 0) {
        ::close(handle);
        refusal = "it is no regular file";
        return nullptr;
    }
    const Content content = {static_cast<unsigned long long>(status.st_dev),
                             static_cast<unsigned long long>(status.st_ino),
                             static_cast<unsigned long long>(status.st_size)};
    if (content.size > limit) {
        ::close(handle);
        refusal = "the file is " + std::to_string(content.size) + " bytes long, the limit is " +
                  std::to_string(limit);
        return nullptr;
    }
    return std::unique_ptr<VaxoUploadFile>(new VaxoUploadFile(handle, content));
}

VaxoUploadFile::~VaxoUploadFile() {
    ::close(m_handle);
}

std::size_t VaxoUploadFile::Read(unsigned long long offset, char* buffer, std::size_t room) const {
    if (offset >= m_content.size) {
        return 0;
    }
    const auto wanted =
        static_cast<std::size_t>(std::min<unsigned long long>(room, m_content.size - offset));
    ssize_t got = -1;
    do {
        got = ::pread(m_handle, buffer, wanted, static_cast<off_t>(offset));
    } while (got < 0 && errno == EINTR);
    return got > 0 ? static_cast<std::size_t>(got) : 0;
}
