#include "exchange/pdf_truetype.h"

namespace {

// Big-endian reads that refuse to pass the end.
class Reader {
public:
    Reader(const unsigned char* data, std::size_t size) : data(data), size(size) {}

    bool Seek(std::size_t at) {
        position = at;
        return at <= size;
    }
    bool U16(std::uint16_t& v) {
        if (size < 2 || position > size - 2)
            return false;
        v = static_cast<std::uint16_t>(data[position] << 8 | data[position + 1]);
        position += 2;
        return true;
    }
    bool U32(std::uint32_t& v) {
        std::uint16_t high, low;
        if (!U16(high) || !U16(low))
            return false;
        v = static_cast<std::uint32_t>(high) << 16 | low;
        return true;
    }

private:
    const unsigned char* data;
    std::size_t size;
    std::size_t position = 0;
};

constexpr std::uint32_t Tag(const char (&t)[5]) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(t[0])) << 24 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(t[1])) << 16 |
           static_cast<std::uint32_t>(static_cast<unsigned char>(t[2])) << 8 |
           static_cast<unsigned char>(t[3]);
}

void AppendUtf8(std::string& out, std::uint32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

} // namespace

bool LTrueTypeNameTable::Read(const unsigned char* data, std::size_t size) {
    Reader in(data, size);
    if (!in.U16(format) || !in.U16(count) || !in.U16(stringOffset))
        return false;
    records.clear();
    for (std::uint16_t i = 0; i < count; ++i) {
        Record r;
        std::uint16_t length, offset;
        if (!in.U16(r.platform) || !in.U16(r.encoding) || !in.U16(r.language) ||
            !in.U16(r.nameId) || !in.U16(length) || !in.U16(offset))
            return false;
        const std::size_t start = static_cast<std::size_t>(stringOffset) + offset;
        if (start > size || length > size - start)
            return false;
        r.bytes.assign(reinterpret_cast<const char*>(data + start),
                       length < kMaxNameBytes ? length : kMaxNameBytes);
        records.push_back(std::move(r));
    }
    return true;
}

bool LTrueTypeNameTable::GetName(std::string& out, std::uint16_t nameId) const {
    for (const Record& r : records) {
        if (r.nameId != nameId || (r.platform != 0 && r.platform != 1 && r.platform != 3))
            continue;
        out.clear();
        if (r.platform == 1) {
            // One byte a character, widened as it stands.
            for (unsigned char c : r.bytes)
                AppendUtf8(out, c);
            return true;
        }
        for (std::size_t i = 0; i + 1 < r.bytes.size(); i += 2) {
            std::uint32_t c = static_cast<unsigned char>(r.bytes[i]) << 8 |
                              static_cast<unsigned char>(r.bytes[i + 1]);
            if (c >= 0xD800 && c < 0xDC00 && i + 3 < r.bytes.size()) {
                const std::uint32_t low = static_cast<unsigned char>(r.bytes[i + 2]) << 8 |
                                          static_cast<unsigned char>(r.bytes[i + 3]);
                if (low >= 0xDC00 && low < 0xE000) {
                    c = 0x10000 + ((c - 0xD800) << 10) + (low - 0xDC00);
                    i += 2;
                }
            }
            if (c >= 0xD800 && c < 0xE000)
                c = 0xFFFD; // a half of a pair on its own
            AppendUtf8(out, c);
        }
        return true;
    }
    return false;
}

bool LPDFTrueTypeFont::LoadFontData(const unsigned char* data, std::size_t size) {
    if (!data)
        return false;
    Reader in(data, size);
    std::uint32_t tag = 0;
    if (!in.U32(tag))
        return false;
    std::size_t start = 0;
    if (tag == Tag("ttcf")) {
        // A collection: its first font is the one read.
        std::uint32_t version = 0, fonts = 0, first = 0;
        if (!in.U32(version) || (version != 0x00010000 && version != 0x00020000) ||
            !in.U32(fonts) || fonts == 0 || !in.U32(first))
            return false;
        start = first;
    }
    std::uint32_t version = 0;
    if (!in.Seek(start) || !in.U32(version) || !in.U16(tableCount) || !in.U16(searchRange) ||
        !in.U16(entrySelector) || !in.U16(rangeShift))
        return false;
    sfntVersion = static_cast<std::int32_t>(version);
    tables.clear();
    hasNameTable = false;
    for (std::size_t i = 0; i < tableCount && i < kMaxTables; ++i) {
        LTrueTypeTableRecord r;
        if (!in.U32(r.tag) || !in.U32(r.checksum) || !in.U32(r.offset) || !in.U32(r.length))
            return false;
        tables.push_back(r);
    }
    for (const LTrueTypeTableRecord& r : tables) {
        if (r.tag != Tag("name"))
            continue;
        if (r.offset > size || r.length > size - r.offset)
            return false;
        if (!name.Read(data + r.offset, r.length))
            return false;
        hasNameTable = true;
    }
    return true;
}

bool LPDFTrueTypeFont::GetFontFamilyName(std::string& out) const {
    return hasNameTable && name.GetName(out, 1);
}
