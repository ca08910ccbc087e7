// What the tests of the command line share: a directory of their own with a sign key and a
// settings file, and the calls that reached the engine.
#ifndef VAXO_TESTS_APPS_APPFIXTURE_H
#define VAXO_TESTS_APPS_APPFIXTURE_H

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "AppProcess.h"

namespace apptest {

inline bool Contains(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class AppTest : public testing::Test {
protected:
    // The key's digits, which no output may show.
    const std::string m_digits = "0123456789abcdef0123456789abcdef0123456789abcdef0123456789abcdef";

    void SetUp() override {
        std::string pattern = (std::filesystem::temp_directory_path() / "vaxoappXXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        m_dir = pattern;
        PutFile("key", m_digits + "\n");
        PutFile("servers.env",
                "# as script/servers writes it\nVAXO_APP_ID=42\nVAXO_KEY_FILE=" + Path("key") +
                    "\nVAXO_SERVICE_URL=mqtts://127.0.0.1:1\n"
                    "VAXO_MEDIA_URL=\"rtmp://127.0.0.1:2/live\"\n"
                    "VAXO_UPLOAD_URL=http://127.0.0.1:3/upload\n"
                    "VAXO_CHANNEL=room\n");
    }
    void TearDown() override { std::filesystem::remove_all(m_dir); }

    std::string Path(const std::string& name) const { return (m_dir / name).string(); }

    void PutFile(const std::string& name, const std::string& content, mode_t mode = 0600) const {
        std::ofstream(Path(name)) << content;
        EXPECT_EQ(::chmod(Path(name).c_str(), mode), 0);
    }

    std::string Content(const std::string& name) const {
        std::ostringstream all;
        all << std::ifstream(Path(name)).rdbuf();
        return all.str();
    }

    // The calls that the engine got, one a line.
    std::string Journal() const { return Content("journal"); }

    // Starts a command with the settings file; `fake` as FakeLiveShow.cpp reads it.
    std::unique_ptr<AppProcess> Start(std::vector<std::string> words,
                                      const std::string& fake = "") const {
        words.insert(words.end(), {"--config", Path("servers.env")});
        return StartPlain(words, {{"VAXO_FAKE", fake}});
    }

    std::unique_ptr<AppProcess> StartPlain(const std::vector<std::string>& words,
                                           std::map<std::string, std::string> environment,
                                           const Surroundings& surroundings = {}) const {
        environment["VAXO_FAKE_JOURNAL"] = Path("journal");
        return std::make_unique<AppProcess>(words, environment, surroundings);
    }

    // Until the engine got the call, 30 s at most.
    void AwaitCall(const AppProcess& app, const std::string& call) const {
        for (int i = 0; i < 3000 && !Contains(Journal(), call); ++i) {
            ASSERT_EQ(::kill(app.Id(), 0), 0);
            ::usleep(10000);
        }
        ASSERT_TRUE(Contains(Journal(), call)) << Journal();
    }

    // Lets an entry that is late ("entry=late") have its answer.
    void LetIn() const { PutFile("journal.go", ""); }

    std::filesystem::path m_dir;
};

}  // namespace apptest

#endif
