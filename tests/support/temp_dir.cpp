#include "support/temp_dir.h"

#include <fstream>
#include <iterator>

namespace kvtest {

bool WriteFile(const std::string& path, const std::string& content) {
    std::ofstream out(path, std::ios::binary);
    out << content;
    return static_cast<bool>(out);
}

bool FileExists(const std::string& path) { return std::filesystem::exists(path); }

std::string ReadFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

} // namespace kvtest
