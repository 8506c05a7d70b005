// Runs a fuzz entry point over every file of the given folders and files, so
// that the test build checks the whole corpus without the fuzzer.

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

int main(int argc, char** argv) {
    std::vector<std::string> files;
    for (int i = 1; i < argc; ++i) {
        std::error_code ec;
        if (std::filesystem::is_directory(argv[i], ec)) {
            for (const auto& e : std::filesystem::directory_iterator(argv[i], ec))
                if (e.is_regular_file())
                    files.push_back(e.path().string());
        } else {
            files.push_back(argv[i]);
        }
    }
    std::sort(files.begin(), files.end());
    if (files.empty()) {
        std::fprintf(stderr, "no inputs to replay\n");
        return 1;
    }
    for (const std::string& f : files) {
        std::ifstream in(f, std::ios::binary);
        if (!in) {
            std::fprintf(stderr, "cannot read %s\n", f.c_str());
            return 1;
        }
        const std::vector<char> bytes{std::istreambuf_iterator<char>(in),
                                      std::istreambuf_iterator<char>()};
        // A copy of exactly the input's size, so that a read past its end is caught.
        std::unique_ptr<std::uint8_t[]> exact(new std::uint8_t[bytes.size() + !bytes.size()]);
        std::copy(bytes.begin(), bytes.end(), exact.get());
        std::fprintf(stderr, "%s\n", f.c_str());
        LLVMFuzzerTestOneInput(exact.get(), bytes.size());
    }
    std::printf("replayed %zu inputs\n", files.size());
    return 0;
}
