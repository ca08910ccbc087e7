// What the tests of "vaxolive trace" share: logs written a line at a time, as the library writes
// them, the committed real ones, and their stories.
#ifndef VAXO_TESTS_APPS_TRACEFIXTURE_H
#define VAXO_TESTS_APPS_TRACEFIXTURE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "trace/Diagnosis.h"
#include "trace/LogReader.h"
#include "trace/Story.h"

namespace vaxotrace {

// Times count from 10:00:00 on; each line is 10 microseconds after the one before.
class LogWriter {
public:
    LogWriter& Line(int thread, const std::string& text, int level = 3,
                    const std::string& tag = "CmdQueue") {
        m_micros += 10;
        m_text +=
            "2026-11-22 10:" + Two(m_micros / 60000000 % 60) + ":" + Two(m_micros / 1000000 % 60) +
            "." + std::to_string(1000000 + m_micros % 1000000).substr(1) + " " +
            std::to_string(thread) + " " + std::to_string(level) + " " + tag + ":1 " + text + "\n";
        return *this;
    }
    LogWriter& Pause(long long micros) {
        m_micros += micros;
        return *this;
    }
    // `answers`: a join line each, "PlayStream(0/a), CoExist".
    LogWriter& Add(int thread, const std::string& command, int before,
                   const std::vector<std::string>& answers = {}, int removed = 0) {
        Offer(thread, command, before, answers);
        return Line(thread, ">> added " + command +
                                ", queue size: " + std::to_string(before - removed + 1));
    }
    LogWriter& Offer(int thread, const std::string& command, int before,
                     const std::vector<std::string>& answers = {}) {
        Line(thread, "AddCmd, going to add " + command +
                         ", current queue size: " + std::to_string(before) + " >>>>>");
        for (const std::string& answer : answers) {
            Line(thread, ">> join result by " + answer);
        }
        return *this;
    }
    LogWriter& Pop(int thread, const std::string& command, int left) {
        return Line(thread,
                    "PopCmd, cmd " + command + " poped, final queue size: " + std::to_string(left));
    }
    LogWriter& Ran(int thread, const std::string& command) {
        return Line(thread, "> executed " + command);
    }
    LogWriter& RanAndHolds(int thread, const std::string& command) {
        return Line(thread,
                    "> executed " + command.substr(0, command.find('(')) + ", waiting for result");
    }
    LogWriter& Done(int thread, const std::string& command) {
        Line(thread, "SetCmdExecuteCmdDone, cmd type: " + command.substr(0, command.find('(')));
        return Line(thread, ">> current executing cmd: " + command);
    }
    const std::string& Text() const { return m_text; }

private:
    static std::string Two(long long value) { return std::to_string(100 + value).substr(1); }

    std::string m_text;
    long long m_micros = 0;
};

class TraceTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "vaxotraceXXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        m_dir = pattern;
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    static std::string Committed(const std::string& name) {
        return std::string(VAXO_TRACE_LOGS) + "/" + name;
    }
    static std::string Content(const std::string& path) {
        std::ostringstream all;
        all << std::ifstream(path, std::ios::binary).rdbuf();
        return all.str();
    }
    std::string Put(const std::string& name, const std::string& content) const {
        std::ofstream(m_dir / name, std::ios::binary) << content;
        return (m_dir / name).string();
    }

    // Reads them into m_story and m_diagnosis.
    void Read(const std::vector<std::string>& files) {
        std::string error;
        ASSERT_TRUE(ReadLogs(
            files, [this](const LogLine& line) { m_story.Take(line); }, m_report, error))
            << error;
        m_story.Finish();
        m_diagnosis = Diagnose(m_story, m_report);
    }
    void ReadText(const std::string& text) { Read({Put("x.log", text)}); }

    // The commands with that name, in the order of the log.
    std::vector<const Command*> Named(const std::string& type, const std::string& text = "") const {
        std::vector<const Command*> found;
        for (const auto& [id, command] : m_story.Commands()) {
            if (command.name.type == type && command.name.text == text) {
                found.push_back(&command);
            }
        }
        return found;
    }
    bool Warns(const std::string& part) const {
        for (const std::string& warning : m_diagnosis.warnings) {
            if (warning.find(part) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::filesystem::path m_dir;
    Story m_story;
    ReadReport m_report;
    Diagnosis m_diagnosis;
};

}  // namespace vaxotrace

#endif
