// A folder for log files, which goes with the object.
#ifndef VAXO_BENCH_ROAD_TEMPFOLDER_H
#define VAXO_BENCH_ROAD_TEMPFOLDER_H

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>

namespace vaxobench {

class TempFolder {
public:
    TempFolder() : m_path(std::filesystem::temp_directory_path() / "vaxo-road-XXXXXX") {
        if (mkdtemp(m_path.data()) == nullptr) {
            throw std::system_error(errno, std::generic_category(), m_path);
        }
    }
    ~TempFolder() {
        std::error_code ignored;  // at worst a folder stays
        std::filesystem::remove_all(m_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    std::string File(const char* name) const { return m_path + "/" + name; }

private:
    std::string m_path;
};

}  // namespace vaxobench

#endif
