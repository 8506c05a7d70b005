#pragma once
// A reader of TrueType fonts and the first font of a collection, kept to what
// the editor asks of a font found in another program's document: its family
// name. The tables are read from memory; nothing is written, subset or
// checked against its checksum.

#include <cstdint>
#include <string>
#include <vector>

// One record of the table directory.
struct LTrueTypeTableRecord {
    std::uint32_t tag = 0;
    std::uint32_t checksum = 0;
    std::uint32_t offset = 0;
    std::uint32_t length = 0;
};

// The "name" table: its records, each with the bytes of its text.
class LTrueTypeNameTable {
public:
    // A record's text longer than this is cut to it, and its length with it.
    static constexpr std::size_t kMaxNameBytes = 258;

    struct Record {
        std::uint16_t platform = 0, encoding = 0, language = 0, nameId = 0;
        std::string bytes;
    };

    // False when the table runs past `size` or its header does.
    bool Read(const unsigned char* data, std::size_t size);
    // The text of the first record with `nameId` on platform 0, 1 or 3, in
    // UTF-8; false when there is none.
    bool GetName(std::string& out, std::uint16_t nameId) const;

    std::uint16_t format = 0, count = 0, stringOffset = 0;
    std::vector<Record> records;
};

class LPDFTrueTypeFont {
public:
    // A font has at most this many tables seen; the rest are ignored.
    static constexpr std::size_t kMaxTables = 32;

    // False for data that is no font or runs short of what it says.
    bool LoadFontData(const unsigned char* data, std::size_t size);
    // The family name (name id 1); false when the font has no name table or
    // no family in it.
    bool GetFontFamilyName(std::string& out) const;

    std::int32_t sfntVersion = 0;
    std::uint16_t tableCount = 0, searchRange = 0, entrySelector = 0, rangeShift = 0;
    std::vector<LTrueTypeTableRecord> tables;
    bool hasNameTable = false;
    LTrueTypeNameTable name;
};
