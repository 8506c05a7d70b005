#include "exchange/pdf_truetype.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "support/temp_dir.h"

namespace {

void Put16(std::string& s, unsigned v) {
    s += static_cast<char>(v >> 8 & 0xFF);
    s += static_cast<char>(v & 0xFF);
}
void Put32(std::string& s, unsigned long v) {
    Put16(s, static_cast<unsigned>(v >> 16));
    Put16(s, static_cast<unsigned>(v & 0xFFFF));
}

struct NameRecord {
    unsigned platform, nameId;
    std::string text;
};

std::string NameTable(const std::vector<NameRecord>& records) {
    std::string rows, strings, table;
    for (const NameRecord& r : records) {
        for (unsigned v : {r.platform, 1u, 0u, r.nameId, static_cast<unsigned>(r.text.size()),
                           static_cast<unsigned>(strings.size())})
            Put16(rows, v);
        strings += r.text;
    }
    Put16(table, 0);
    Put16(table, static_cast<unsigned>(records.size()));
    Put16(table, static_cast<unsigned>(6 + rows.size()));
    return table + rows + strings;
}

// A font of these tables, its directory in the order given; `base` is where
// the font starts in the file.
std::string Font(const std::vector<std::pair<std::string, std::string>>& tables, size_t base = 0) {
    std::string head, body;
    Put32(head, 0x00010000);
    for (unsigned v : {static_cast<unsigned>(tables.size()), 0u, 0u, 0u})
        Put16(head, v);
    const size_t start = base + 12 + 16 * tables.size();
    for (const auto& [tag, data] : tables) {
        head += tag;
        Put32(head, 0);
        Put32(head, start + body.size());
        Put32(head, data.size());
        body += data + std::string((4 - data.size() % 4) % 4, '\0');
    }
    return head + body;
}

std::string Collection(const std::string& firstFont, unsigned long firstOffset = 16) {
    std::string s = "ttcf";
    Put32(s, 0x00010000);
    Put32(s, 1);
    Put32(s, firstOffset);
    return s + firstFont;
}

std::string Utf16(const std::string& ascii) {
    std::string s;
    for (char c : ascii)
        Put16(s, static_cast<unsigned char>(c));
    return s;
}

struct Loaded {
    bool loaded = false, named = false;
    std::string family;
};
Loaded Load(const std::string& bytes) {
    Loaded r;
    LPDFTrueTypeFont font;
    r.loaded =
        font.LoadFontData(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    r.named = r.loaded && font.GetFontFamilyName(r.family);
    return r;
}

TEST(TrueTypeTest, FontsOfEveryShapeGiveTheirFamilyOrNone) {
    const std::string name = NameTable({{3, 1, Utf16("Korvane Sans")}});
    std::vector<std::pair<std::string, std::string>> many;
    for (int i = 0; i < 39; ++i)
        many.push_back({"x" + std::to_string(100 + i), "data"});
    many.push_back({"name", name});
    std::string badOffset = Font({{"name", name}});
    badOffset[12 + 8] = '\x7f';
    const struct Case {
        const char* what;
        std::string bytes;
        bool loaded, named;
        std::string family;
    } cases[] = {
        {"a plain font", Font({{"name", name}}), true, true, "Korvane Sans"},
        {"a collection reads its first font", Collection(Font({{"name", name}}, 16)), true, true,
         "Korvane Sans"},
        {"a collection pointing past its data", Collection("", 4000), false, false, ""},
        {"the name table behind the 32nd", Font(many), true, false, ""},
        {"a table beyond the data", badOffset, false, false, ""},
        {"platform 2 only", Font({{"name", NameTable({{2, 1, "ISO"}})}}), true, false, ""},
        {"the Macintosh name, a byte a character", Font({{"name", NameTable({{1, 1, "Mac\xe9"}})}}),
         true, true, "Mac\xc3\xa9"},
        {"cut short", Font({{"name", name}}).substr(0, 30), false, false, ""},
        {"no font at all", "", false, false, ""},
    };
    for (const Case& c : cases) {
        const Loaded r = Load(c.bytes);
        EXPECT_EQ(r.loaded, c.loaded) << c.what;
        EXPECT_EQ(r.named, c.named) << c.what;
        EXPECT_EQ(r.family, c.family) << c.what;
    }
}

TEST(TrueTypeTest, ALongNameIsCutTo129Characters) {
    const Loaded r = Load(Font({{"name", NameTable({{3, 1, Utf16(std::string(150, 'k'))}})}}));
    EXPECT_TRUE(r.named);
    EXPECT_EQ(r.family, std::string(129, 'k'));
}

std::string FcFamily(const std::string& path) {
    std::string out;
    if (FILE* p = popen(("fc-scan --format '%{family[0]}' '" + path + "'").c_str(), "r")) {
        char buffer[512];
        while (size_t n = fread(buffer, 1, sizeof buffer, p))
            out.append(buffer, n);
        pclose(p);
    }
    return out;
}

// Shifts every table of a font by the collection header put before it.
std::string AsCollection(std::string font) {
    const size_t count =
        static_cast<unsigned char>(font[4]) << 8 | static_cast<unsigned char>(font[5]);
    for (size_t i = 0; i < count; ++i) {
        const size_t at = 12 + 16 * i + 8;
        unsigned long offset = 0;
        for (int k = 0; k < 4; ++k)
            offset = offset << 8 | static_cast<unsigned char>(font[at + k]);
        std::string moved;
        Put32(moved, offset + 16);
        font.replace(at, 4, moved);
    }
    return Collection(font);
}

TEST(TrueTypeTest, InstalledFontsNameTheFamilyFontconfigNames) {
    for (const char* path : {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                             "/usr/share/fonts/truetype/liberation2/LiberationSans-Regular.ttf"}) {
        const std::string bytes = kvtest::ReadFile(path);
        if (bytes.empty())
            continue;
        const std::string expected = FcFamily(path);
        EXPECT_EQ(Load(bytes).family, expected) << path;
        EXPECT_EQ(Load(AsCollection(bytes)).family, expected) << path << " in a collection";
    }
}

} // namespace
