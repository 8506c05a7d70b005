#pragma once
// A fresh folder for one test, removed with everything in it afterwards.

#include <cstdlib>
#include <filesystem>
#include <string>

namespace kvtest {

class TempDir {
public:
    TempDir() {
        std::string pattern = (std::filesystem::temp_directory_path() / "kvtest-XXXXXX").string();
        if (mkdtemp(pattern.data()))
            path = pattern;
    }
    ~TempDir() {
        std::error_code ec;
        if (!path.empty())
            std::filesystem::remove_all(path, ec);
    }
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;

    std::string File(const std::string& name) const { return path + "/" + name; }
    const std::string& Path() const { return path; }

private:
    std::string path;
};

// Writes a small file; true on success.
bool WriteFile(const std::string& path, const std::string& content);
bool FileExists(const std::string& path);
// A whole file's bytes; empty when it cannot be read.
std::string ReadFile(const std::string& path);

} // namespace kvtest
