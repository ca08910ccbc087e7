// The log's file: vaxolog.h.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <system_error>
#include <vector>

#include "conformance/platform/Kit.h"
#include "vaxolog.h"

namespace conformance {
namespace {

// A folder for the length of a case. The log's file in it stays open when the folder goes;
// the layer must bear that.
class Folder {
public:
    Folder() : m_path((std::filesystem::temp_directory_path() / "vaxo-kit.XXXXXX").string()) {
        Require(mkdtemp(m_path.data()) != nullptr, "the kit got no folder for its files");
    }
    ~Folder() {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    Folder(const Folder&) = delete;
    Folder& operator=(const Folder&) = delete;

    std::string Path(const char* name) const { return m_path + "/" + name; }

    std::string Open(const char* name) const {
        std::string path = Path(name);
        Require(vaxolog_open(path.c_str()) == 0, "vaxolog_open of a new file did not answer 0");
        return path;
    }

private:
    std::string m_path;
};

std::vector<std::string> LinesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);) {
        lines.push_back(line);
    }
    return lines;
}

bool EndsWith(const std::string& text, const std::string& end) {
    return text.size() >= end.size() &&
           text.compare(text.size() - end.size(), end.size(), end) == 0;
}

void LineInTheFile() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    syslog(esyslog_error, "CmdQueue", 88, "%s %d", "text", 7);
    syslog(esyslog_error, "T", 1, "%s", "one\ntwo");
    syslog(esyslog_debug, "T", 1, "above the level");
    vaxolog_flush();
    const std::vector<std::string> lines = LinesOf(path);
    Require(lines.size() == 2, "two lines within the level are not two lines of the file");
    Require(EndsWith(lines[0], " 1 CmdQueue:88 text 7"), "a line has another level, tag or text");
    Require(EndsWith(lines[1], " T:1 one\\ntwo"), "a line feed in the text ended the line");
}

void FlushPromise() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    const int threads = 3;
    const int rounds = Rounds(20);
    Together(threads, [&](int number) {
        for (int round = 0; round < rounds; ++round) {
            const std::string text = std::to_string(number) + "/" + std::to_string(round) + ".";
            syslog(esyslog_error, "T", number, "%s", text.c_str());
            vaxolog_flush();
            int found = 0;
            for (const std::string& line : LinesOf(path)) {
                found += EndsWith(line, " " + text) ? 1 : 0;
            }
            Require(found == 1, "after a flush a line logged before it was not in the file once");
        }
    });
}

void HandedOver() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    Flag logged;
    Together({[&] {
                  syslog(esyslog_error, "T", 1, "handed over");
                  logged.Raise();
              },
              [&] {
                  logged.Await("a line to be logged");
                  vaxolog_flush();
                  Require(LinesOf(path).size() == 1, "a flush left out another thread's line");
              }});
}

void InOrder() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    const int threads = 3;
    const int count = Rounds(2000);
    WaitingFor("room for one more line in front of the file");
    Together(threads, [&](int number) {
        for (int i = 0; i < count; ++i) {
            syslog(esyslog_error, "T", number, "%d", i);
        }
    });
    vaxolog_flush();
    int next[threads] = {};
    for (const std::string& line : LinesOf(path)) {
        for (int number = 0; number < threads; ++number) {
            if (line.find(" T:" + std::to_string(number) + " ") != std::string::npos) {
                Require(EndsWith(line, " " + std::to_string(next[number])),
                        "a thread's lines are in the file in another order");
                ++next[number];
            }
        }
    }
    for (const int got : next) {
        Require(got == count, "a line is missing from the file");
    }
}

void SinkBeforeFile() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    int seen = 0;
    vaxolog_set_sink([](void* context, int32, const char*, int32,
                        const char*) { ++*static_cast<int*>(context); },
                     &seen);
    syslog(esyslog_error, "T", 1, "to the sink");
    vaxolog_set_sink(nullptr, nullptr);
    syslog(esyslog_error, "T", 2, "to the file");
    vaxolog_flush();
    Require(seen == 1, "a line did not go to the sink while it was set");
    const std::vector<std::string> lines = LinesOf(path);
    Require(lines.size() == 1 && EndsWith(lines[0], " T:2 to the file"),
            "not the lines alone that were logged without a sink are in the file");
}

void Refused() {
    const Folder folder;
    const std::string path = folder.Open("a.log");
    Require(vaxolog_open(nullptr) == -1, "a null path was not refused");
    Require(vaxolog_open("") == -1, "an empty path was not refused");
    Require(vaxolog_open((path + "/below-a-file.log").c_str()) == -1,
            "a path that cannot be written was not refused");
    Require(path == VAXO::g_strLogFileName__.c_str(), "a refused path changed the file's name");
    syslog(esyslog_error, "T", 1, "goes on");
    vaxolog_flush();
    Require(LinesOf(path).size() == 1, "after a refused path the former file did not go on");
}

void OpensAnother() {
    const Folder folder;
    const std::string first = folder.Open("a.log");
    syslog(esyslog_error, "T", 1, "one");
    const std::string second = folder.Open("made/on/the/way/b.log");
    Require(second == VAXO::g_strLogFileName__.c_str(), "the file's name is not what was opened");
    Require(LinesOf(first).size() == 1, "opening another file did not write out the one before");
    syslog(esyslog_error, "T", 1, "two");
    folder.Open("a.log");
    syslog(esyslog_error, "T", 1, "three");
    vaxolog_flush();
    Require(LinesOf(second).size() == 1, "a line is missing from the file that was open");
    Require(LinesOf(first).size() == 2, "opening a file again did not append to it");
}

void TakenAway() {
    {
        const Folder folder;
        folder.Open("a.log");
        syslog(esyslog_error, "T", 1, "one");
    }
    WaitingFor("lines and a flush to return when the file's folder is gone");
    syslog(esyslog_error, "T", 1, "two");
    vaxolog_flush();
}

}  // namespace

Cases LogFileCases() {
    return {
        {"logfile/line", "A line of the file ends in level, tag:line and text, and stays a line.",
         needs_file, &LineInTheFile},
        {"logfile/flush", "When a flush returns, every line logged before it is in the file.",
         needs_file, &FlushPromise},
        {"logfile/flush-of-others",
         "A flush counts lines of other threads that were logged before.", needs_file, &HandedOver},
        {"logfile/in-order", "No line is lost, and those of one thread are in the order logged.",
         needs_file, &InOrder},
        {"logfile/sink-before-file", "A sink replaces the file, a null sink puts it back.",
         needs_file | needs_sink, &SinkBeforeFile},
        {"logfile/refused",
         "A path that cannot be written answers -1 and leaves the log as it was.", needs_file,
         &Refused},
        {"logfile/opens-another", "Opening writes out the file before, makes folders, and appends.",
         needs_file, &OpensAnother},
        {"logfile/taken-away", "The log never makes its caller fail when the file is taken away.",
         needs_file, &TakenAway},
    };
}

}  // namespace conformance
