#include "support/temp_dir.h"

#include <fstream>

namespace kvtest {

bool WriteFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
    return static_cast<bool>(out);
}

bool FileExists(const std::string& path) { return std::filesystem::exists(path); }

} // namespace kvtest
