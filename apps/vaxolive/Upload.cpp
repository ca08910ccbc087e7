#include "Upload.h"

#include <filesystem>
#include <fstream>
#include <system_error>
#include <utility>

#include "Text.h"
#include "connection/VaxoAVConnHttp.h"
#include "vaxolog.h"

namespace vaxoapp {

unsigned long long LogLength(const std::string& logFile) {
    std::error_code error;
    const auto size = std::filesystem::file_size(logFile, error);
    return error ? 0 : size;
}

namespace {

constexpr std::chrono::milliseconds kLookAgain{100};

// The lines that are added to a log from now on.
class LogTail {
public:
    explicit LogTail(std::string path) : m_path(std::move(path)) {
        vaxolog_flush();
        m_begin = LogLength(m_path);
        m_offset = m_begin;
    }

    // How long the log was; 0 when a new file was begun meanwhile.
    unsigned long long Begin() const { return m_begin; }

    std::vector<std::string> NewLines() {
        vaxolog_flush();
        if (LogLength(m_path) < m_offset) {
            m_begin = m_offset = 0;
        }
        std::ifstream file(m_path);
        file.seekg(static_cast<std::streamoff>(m_offset));
        std::vector<std::string> lines;
        for (std::string line; std::getline(file, line) && !file.eof();) {
            m_offset += line.size() + 1;
            lines.push_back(line);
        }
        return lines;
    }

private:
    const std::string m_path;
    unsigned long long m_begin = 0;
    unsigned long long m_offset = 0;
};

}  // namespace

std::string UploadRefusal(const std::string& logFile, unsigned long long length) {
    if (length <= CVaxoAVConnHttp::kMaxFileBytes) {
        return "";
    }
    return "the log " + Printable(logFile) + " is not uploaded: it is " + std::to_string(length) +
           " bytes long, the limit is " + std::to_string(CVaxoAVConnHttp::kMaxFileBytes);
}

void TellOfNewLog(Visit& visit, unsigned long long length) {
    vaxolog_flush();
    const std::string& logFile = visit.GetSettings().logFile;
    if (LogLength(logFile) < length) {
        visit.Tell("log-begun", JsonObject().Number("before", length),
                   "the log " + Printable(logFile) + " was full and begins anew: the " +
                       std::to_string(length) +
                       " bytes that it had lie beside it and are not uploaded",
                   Hue::Warning);
    }
}

// "... ConnHttp:123 upload of FILE to ADDRESS: done, 1234 bytes, ..." or "... : failed, ..." or
// "... : given up, ..." or "... : to be tried again, ..." or "... ConnHttp:123 upload of FILE
// not taken: ...".
UploadNews ReadUploadNews(const std::string& line, unsigned long long& bytes, std::string& reason) {
    const std::size_t begin = line.find(" ConnHttp:");
    const std::size_t words = line.find(" upload of ", begin == std::string::npos ? 0 : begin);
    if (begin == std::string::npos || words == std::string::npos) {
        return UploadNews::None;
    }
    constexpr const char* kDone = ": done, ";
    const std::size_t done = line.rfind(kDone);
    if (done != std::string::npos) {
        const std::string rest = line.substr(done + std::char_traits<char>::length(kDone));
        long long value = 0;
        if (ParseNumber(rest.substr(0, rest.find(' ')), 0, 1LL << 40, value)) {
            bytes = static_cast<unsigned long long>(value);
            return UploadNews::Done;
        }
    }
    constexpr std::pair<const char*, UploadNews> kEnds[] = {
        {": failed, ", UploadNews::Failed},
        {": given up, ", UploadNews::Failed},
        {" not taken: ", UploadNews::Failed},
        {": to be tried again, ", UploadNews::Again}};
    for (const auto& [end, news] : kEnds) {
        const std::size_t found = line.rfind(end);
        if (found != std::string::npos) {
            reason = line.substr(line.find(' ', found) + 1);
            return news;
        }
    }
    return UploadNews::None;
}

ExitCode UploadLog(Visit& visit, std::string& error, unsigned long long& sent) {
    const Settings& settings = visit.GetSettings();
    if (settings.logFile.empty() || settings.logLevel < esyslog_generic) {
        error = "there is no log with enough in it: give --log, and --log-level generic or debug";
        return Exit_Upload;
    }
    LogTail tail(settings.logFile);
    if (visit.Live().UploadLog() != 0) {
        error = "the upload was not accepted";
        return Exit_Upload;
    }
    const Visit::Clock::time_point begin = Visit::Clock::now();
    const Visit::Clock::time_point end = visit.Deadline();
    while (Visit::Clock::now() < end) {
        for (const std::string& line : tail.NewLines()) {
            unsigned long long bytes = 0;
            std::string reason;
            const UploadNews news = ReadUploadNews(line, bytes, reason);
            // The entry into the channel offers the log too, a shorter one.
            if (news == UploadNews::Done && bytes >= tail.Begin()) {
                visit.Tell("uploaded", JsonObject().Number("bytes", bytes),
                           "the server has the log, " + std::to_string(bytes) + " bytes",
                           Hue::Good);
                sent = bytes;
                return Exit_Ok;
            }
            if (news == UploadNews::Again) {
                visit.Tell("upload-again", JsonObject().Text("reason", reason),
                           "the log is not uploaded yet: " + Printable(reason), Hue::Warning);
            }
            if (news == UploadNews::Failed) {
                error = "the log was not uploaded: " + Printable(reason);
                return Exit_Upload;
            }
        }
        visit.ShowWaiting("uploading the log, " + std::to_string(tail.Begin()) + " bytes", begin);
        const auto never = [](const SessionState&) { return false; };
        if (visit.GetSession().Wait(Visit::Clock::now() + kLookAgain, never) == Wake::Stop) {
            error = "left before the upload was done";
            return Exit_Upload;
        }
    }
    error = "no word about the upload in time";
    return Exit_Timeout;
}

}  // namespace vaxoapp
