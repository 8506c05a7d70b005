#pragma once
// The pictures of the codec tests and the independent reader they are
// checked with. The pixel rules mirror those of pillow_tool.py.

#include <cstdint>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "foundation/process.h"
#include "imaging/image_buffer.h"
#include "imaging/image_iterator.h"
#include "picture_util.h"

namespace kvtest {

constexpr int kToolWidth = 37;
constexpr int kToolHeight = 23;

struct Rgb {
    unsigned r, g, b;
};
inline Rgb ToolColour(int x, int y) {
    return {unsigned(x * 37 + y * 11) % 256, unsigned(x * 13 + y * 71) % 256,
            unsigned(x * 91 + y * 29 + 7) % 256};
}
inline unsigned ToolAlpha(int x, int y) { return unsigned(x * 5 + y * 17) % 256; }
inline unsigned ToolGrey(int x, int y) { return unsigned(x * 23 + y * 41) % 256; }
inline Rgb ToolPaletteEntry(unsigned i) { return {i, 255 - i, (i * 7) % 256}; }
inline unsigned ToolPaletteAlpha(unsigned i) { return (i * 3) % 256; }
struct Cmyk {
    unsigned c, m, y, k;
};
inline Cmyk ToolCmyk(int x, int y) {
    static const Cmyk quarters[4] = {{0, 0, 0, 0}, {200, 30, 90, 10}, {20, 160, 40, 60},
                                     {90, 90, 200, 120}};
    return quarters[(x >= kToolWidth / 2) + 2 * (y >= kToolHeight / 2)];
}

inline unsigned Premultiply(unsigned c, unsigned a) { return (c * a + 127) / 255; }

// Straight red, green, blue, alpha bytes of a picture of any format.
inline std::vector<unsigned char> StraightRgba(const LImageBuffer& b) {
    std::vector<unsigned char> out;
    out.reserve(static_cast<std::size_t>(b.width) * b.height * 4);
    for (LImageConstIterator it(b); it.IsInRange(); it.Next()) {
        const LPixelColour c = it.Get();
        auto un = [&](unsigned v) -> unsigned char {
            if (b.format != LPixelFormatB8G8R8A8 || c.alpha == 255)
                return static_cast<unsigned char>(v);
            if (c.alpha == 0)
                return 0;
            const unsigned s = (v * 255 + c.alpha / 2) / c.alpha;
            return static_cast<unsigned char>(s > 255 ? 255 : s);
        };
        out.push_back(un(c.red));
        out.push_back(un(c.green));
        out.push_back(un(c.blue));
        out.push_back(c.alpha);
    }
    return out;
}

// What the independent reader saw in a file.
struct ToolPicture {
    int width = 0;
    int height = 0;
    std::string mode;
    std::vector<unsigned char> rgba; // straight
    bool ok = false;
};

inline std::string ToolCommand() {
    return std::string("\"") + KV_TEST_PYTHON + "\" \"" + KV_PILLOW_TOOL + "\"";
}

inline bool ToolMake(const std::string& folder) {
    return std::system((ToolCommand() + " make \"" + folder + "\"").c_str()) == 0;
}

inline ToolPicture ToolRead(const std::string& file) {
    ToolPicture p;
    const std::string out = file + ".rgba";
    if (std::system((ToolCommand() + " read \"" + file + "\" \"" + out + "\"").c_str()) != 0)
        return p;
    std::ifstream in(out, std::ios::binary);
    char mode[32] = "";
    std::string header;
    std::getline(in, header);
    if (std::sscanf(header.c_str(), "%d %d %31s", &p.width, &p.height, mode) != 3)
        return p;
    p.mode = mode;
    p.rgba.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    p.ok = p.rgba.size() == static_cast<std::size_t>(p.width) * p.height * 4;
    std::remove(out.c_str());
    return p;
}

inline std::vector<unsigned char> ReadBytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

inline bool WriteBytes(const std::string& path, const std::vector<unsigned char>& bytes) {
    std::ofstream out(path, std::ios::binary);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return static_cast<bool>(out);
}

// Records everything a process reports.
struct ReportRecorder : LProcessInterfaceVoid {
    void SetError(const char* message) override {
        errors.push_back(message);
    }
    void SetStatus(const char* text, int level) override {
        statuses.push_back(std::to_string(level) + " " + text);
    }
    void SetProgress(double fraction) override { progress.push_back(fraction); }
    std::vector<std::string> errors;
    std::vector<std::string> statuses;
    std::vector<double> progress;
};

} // namespace kvtest
