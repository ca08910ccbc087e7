#include "KeyFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "Text.h"

namespace vaxoapp {

namespace {

constexpr std::size_t kLeastBytes = 16;
constexpr std::size_t kMostBytes = 64;

class Descriptor {
public:
    explicit Descriptor(const std::string& path)
        : m_fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY)) {}
    ~Descriptor() {
        if (m_fd >= 0) {
            ::close(m_fd);
        }
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int Get() const { return m_fd; }

private:
    int m_fd;
};

int Digit(char character) {
    const std::string_view digits = "0123456789abcdef";
    const char lower =
        character >= 'A' && character <= 'F' ? static_cast<char>(character - 'A' + 'a') : character;
    const std::size_t value = digits.find(lower);
    return value == std::string_view::npos ? -1 : static_cast<int>(value);
}

// What is wrong with the file itself; empty: nothing.
std::string Fault(int fd) {
    struct stat info = {};
    if (::fstat(fd, &info) != 0) {
        return SystemError(errno);
    }
    if (!S_ISREG(info.st_mode)) {
        return "is not a regular file";
    }
    if ((info.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
        return "is open to others than its owner; chmod 600 it";
    }
    if (info.st_uid != ::geteuid() && info.st_uid != 0) {
        return "belongs to somebody else";
    }
    return {};
}

}  // namespace

bool ReadKeyText(const std::string& hex, vaxo::stream& key, std::string& error) {
    constexpr const char* kBlanks = " \t\r\n";
    const std::size_t first = hex.find_first_not_of(kBlanks);
    const std::size_t last = hex.find_last_not_of(kBlanks);
    const std::size_t digits = first == std::string::npos ? 0 : last - first + 1;
    if (digits % 2 != 0 || digits < 2 * kLeastBytes || digits > 2 * kMostBytes) {
        error = "a sign key is an even number of 32 to 128 hexadecimal digits";
        return false;
    }
    std::array<uint8, kMostBytes> bytes{};
    for (std::size_t i = 0; i < digits / 2; ++i) {
        const int high = Digit(hex[first + 2 * i]);
        const int low = Digit(hex[first + 2 * i + 1]);
        if (high < 0 || low < 0) {
            error = "a sign key is made of hexadecimal digits alone";
            return false;
        }
        bytes[i] = static_cast<uint8>(high * 16 + low);
    }
    key.assign(bytes.data(), static_cast<uint32>(digits / 2));
    return true;
}

bool ReadKeyFile(const std::string& path, vaxo::stream& key, std::string& error) {
    const std::string name = "key file " + Printable(path) + ": ";
    const Descriptor file(path);
    if (file.Get() < 0) {
        error = name + SystemError(errno);
        return false;
    }
    const std::string fault = Fault(file.Get());
    if (!fault.empty()) {
        error = name + fault;
        return false;
    }
    std::array<char, 1024> content{};  // more than any key needs; a longer file is refused
    const ssize_t got = ::read(file.Get(), content.data(), content.size());
    if (got < 0) {
        error = name + SystemError(errno);
        return false;
    }
    if (!ReadKeyText(std::string(content.data(), static_cast<std::size_t>(got)), key, error)) {
        error = name + error;
        return false;
    }
    return true;
}

}  // namespace vaxoapp
