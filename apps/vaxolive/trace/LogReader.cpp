#include "LogReader.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>

#include "Text.h"

namespace vaxotrace {

namespace {

struct FileCloser {
    void operator()(std::FILE* file) const { std::fclose(file); }
};

class LineCutter {
public:
    LineCutter(const std::function<void(const LogLine&)>& take, ReadReport& report)
        : m_take(take), m_report(report) {}

    void Feed(std::string_view part) {
        for (;;) {
            const std::size_t end = part.find('\n');
            Append(part.substr(0, end));
            if (end == std::string_view::npos) {
                return;
            }
            EndLine();
            part.remove_prefix(end + 1);
        }
    }

    void EndFile() {
        if (!m_line.empty() || m_isTooLong) {
            EndLine();
        }
    }

private:
    void Append(std::string_view part) {
        m_isTooLong = m_isTooLong || part.size() > kLongestLine - m_line.size();
        if (m_isTooLong) {
            m_line.clear();
        } else {
            m_line.append(part.data(), part.size());
        }
    }

    void EndLine() {
        std::string_view line = m_line;
        TakeBack(line, "\r");  // of a copy that passed through another system
        LogLine parsed;
        if (m_isTooLong) {
            ++m_report.tooLongLines;
        } else if (ParseLogLine(line, parsed)) {
            ++m_report.lines;
            m_take(parsed);
        } else if (!line.empty()) {
            ++m_report.otherLines;
        }
        m_line.clear();
        m_isTooLong = false;
    }

    const std::function<void(const LogLine&)>& m_take;
    ReadReport& m_report;
    std::string m_line;
    bool m_isTooLong = false;
};

bool ReadLog(const std::string& path, const std::function<void(const LogLine&)>& take,
             ReadReport& report, std::string& error) {
    const std::unique_ptr<std::FILE, FileCloser> file(std::fopen(path.c_str(), "rbe"));
    if (!file) {
        error = "cannot read " + vaxoapp::Printable(path) + ": " + vaxoapp::SystemError(errno);
        return false;
    }
    LineCutter cutter(take, report);
    const std::uint64_t before = report.lines;
    std::uint64_t inFile = 0;
    std::vector<char> buffer(kLongestLine);
    while (report.bytes < kMostBytes && (report.lines != before || inFile < kMostForeign)) {
        const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), file.get());
        cutter.Feed(std::string_view(buffer.data(), size));
        inFile += size;
        report.bytes += size;
        if (size < buffer.size()) {
            break;
        }
    }
    if (std::ferror(file.get()) != 0) {
        error = "cannot read " + vaxoapp::Printable(path) + ": " + vaxoapp::SystemError(errno);
        return false;
    }
    cutter.EndFile();
    report.isCut = report.isCut || report.bytes >= kMostBytes;
    if (report.lines == before) {
        report.strangeFiles.push_back(path);
    }
    return true;
}

}  // namespace

bool ReadLogs(const std::vector<std::string>& files,
              const std::function<void(const LogLine&)>& take, ReadReport& report,
              std::string& error) {
    return std::all_of(files.begin(), files.end(),
                       [&](const std::string& path) { return ReadLog(path, take, report, error); });
}

}  // namespace vaxotrace
