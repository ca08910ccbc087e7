// A folder for one test's files, removed with everything in it.
#ifndef VAXO_TESTS_ENGINE_SOURCE_TEMPFOLDER_H
#define VAXO_TESTS_ENGINE_SOURCE_TEMPFOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

class TempFolder {
public:
    TempFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "vaxo-source-XXXXXX").string();
        m_path = mkdtemp(name.data()) != nullptr ? name : std::string();
    }
    ~TempFolder() {
        std::error_code error;
        if (!m_path.empty()) {
            std::filesystem::remove_all(m_path, error);
        }
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string Path(const std::string& name) const { return m_path + "/" + name; }
    // Makes a file of that text; its path.
    std::string Write(const std::string& name, const std::string& text) const {
        std::ofstream(Path(name), std::ios::binary) << text;
        return Path(name);
    }
    // Makes a media file with ffmpeg; its path, empty when that fails. `name` must mean
    // nothing to a shell inside quotation marks.
    std::string Encode(const std::string& name, const std::string& arguments) const {
        const std::string command =
            "ffmpeg -nostdin -loglevel error -y " + arguments + " \"" + Path(name) + "\"";
        return std::system(command.c_str()) == 0 ? Path(name) : std::string();
    }

private:
    std::string m_path;
};

#endif
