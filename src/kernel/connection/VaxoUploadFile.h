// A file as it was when its upload was accepted: open, with its length of that moment.
//
// What is appended later does not belong to it. The file may be renamed or removed
// meanwhile, as the log does when it starts a new one: the bytes stay readable.
//
// Reading is const and needs no lock; any thread.
#ifndef VAXO_VAXOUPLOADFILE_H
#define VAXO_VAXOUPLOADFILE_H

#include <cstddef>
#include <memory>
#include <string>

class VaxoUploadFile {
public:
    // Tells one content of an append-only file from another. Equal: nothing new in it.
    struct Content {
        unsigned long long device = 0;
        unsigned long long number = 0;
        unsigned long long size = 0;  // bytes

        bool operator==(const Content& other) const {
            return device == other.device && number == other.number && size == other.size;
        }
    };

    // Null when the file cannot be read, is no regular file (a pipe would make the caller
    // wait), or is longer than `limit` bytes; then `refusal` says so, and how long it may be. Not
    // handed on to programs that the process starts.
    static std::unique_ptr<VaxoUploadFile> Open(const std::string& name, unsigned long long limit,
                                                std::string& refusal);

    ~VaxoUploadFile();
    VaxoUploadFile(const VaxoUploadFile&) = delete;
    VaxoUploadFile& operator=(const VaxoUploadFile&) = delete;

    const Content& Snapshot() const { return m_content; }

    // Reads from `offset` on, at most to the snapshot's end. The number of bytes read; 0 at
    // the end, and also where the file has been cut since or cannot be read any more.
    std::size_t Read(unsigned long long offset, char* buffer, std::size_t room) const;

private:
    VaxoUploadFile(int handle, const Content& content) : m_handle(handle), m_content(content) {}

    const int m_handle;
    const Content m_content;
};

#endif
