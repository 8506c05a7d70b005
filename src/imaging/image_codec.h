#pragma once
// The one table of raster formats, and what hangs on it: finding a format from
// a file name, asking whether a format may be used, and the file-type filters
// of the open and save dialogs.

#include "foundation/color.h"
#include "foundation/list.h"
#include "foundation/string.h"

// Row numbers of arImageCodecInfo.
enum LImageCodecId : unsigned int {
    LImageCodecBMP = 0,
    LImageCodecDNG = 1,
    LImageCodecGIF = 2,
    LImageCodecICO = 3,
    LImageCodecJPEG = 4,
    LImageCodecJPEG2000 = 5,
    LImageCodecPCX = 6,
    LImageCodecPNG = 7,
    LImageCodecPNM = 8,
    LImageCodecPSD = 9,
    LImageCodecRAS = 10,
    LImageCodecRAW = 11,
    LImageCodecRawCanon = 12,
    LImageCodecRawEpson = 13,
    LImageCodecRawFuji = 14,
    LImageCodecRawKodak = 15,
    LImageCodecRawLeaf = 16,
    LImageCodecRawMinolta = 17,
    LImageCodecRawNikon = 18,
    LImageCodecRawOlympus = 19,
    LImageCodecRawPanasonic = 20,
    LImageCodecRawPentax = 21,
    LImageCodecRawSamsung = 22,
    LImageCodecRawSony = 23,
    LImageCodecSVG = 24,
    LImageCodecTGA = 25,
    LImageCodecTIFF = 26,
    LImageCodecWBMP = 27,
    LImageCodecNone = 0xFFFFFFFFu,
};

constexpr unsigned int kLImageCodecCount = 28;
constexpr unsigned int kLImageCodecFileExtCount = 38;

// An identifier into the codec table; LImageCodecNone (-1) is none.
class LImageCodec {
public:
    LImageCodec() = default;
    LImageCodec(unsigned int id) : id(id) {}
    operator unsigned int() const { return id; }

    bool IsValid() const { return id < kLImageCodecCount; }
    // From the extension of `path` (its last "." after the last "/"),
    // lowered: the first of the extension rows that matches it exactly.
    // Otherwise none, and false.
    bool InitFromFilePath(const char* path);

private:
    unsigned int id = LImageCodecNone;
};

enum LImageIOType : int {
    LImageIOTypeLoad = 2,
    LImageIOTypeSave = 3,
};

struct LImageCodecInfo {
    const char* shortName;
    const char* displayName;
    const char* description;
    unsigned char canLoad;
    unsigned char canSave;
    // Two marks that nothing reads any more; kept so that the rows stay whole.
    unsigned char flagA;
    unsigned char flagB;
    int reserved;
};

struct LImageCodecFileExtInfo {
    const char* extension; // lower case, with its point
    unsigned int codec;
};

extern const LImageCodecInfo arImageCodecInfo[kLImageCodecCount];
// Row by row in the order of the codec table. GIF has no row here, so no file
// reaches GIF by its name.
extern const LImageCodecFileExtInfo arImageCodecFileExtInfo[kLImageCodecFileExtCount];

// What a raster save may be told.
struct LImageEncodeSettings {
    unsigned int icoFormats = 273; // bits 1, 16 and 256
    int jpegQuality = 100;         // 0 to 100
    int jpeg2000Lossy = 1;         // 0 forces the quality to 100
    int jpeg2000Quality = 90;      // 100 is lossless
    unsigned int bmpFormat = 0;    // 0: 24 bits over bmpBackground, 1: 32 bits
    LPixelColour bmpBackground = LPixelColour(255, 255, 255, 255);
    unsigned int pnmFormat = 5;      // plus 1 is the digit after "P"
    int pnmMonoThreshold = 32;       // grey level from which a pixel counts as set
};

// Whether a codec may be used for a load or a save.
class LImageCodecVetoer {
public:
    virtual ~LImageCodecVetoer() = default;
    // The table's flags. SVG is never offered this way: whoever wants it adds
    // it by hand.
    virtual bool IsEnabled(LImageCodec codec, LImageIOType io) const;
};

// The editor's own choice: it saves whatever the table can save, but offers
// to open only BMP, GIF, ICO, JPEG, PNG and TIFF, however many formats could
// be read.
class KVImageCodecVetoer : public LImageCodecVetoer {
public:
    bool IsEnabled(LImageCodec codec, LImageIOType io) const override;
};

struct LImageCodecFilterItem : LListLink<LImageCodecFilterItem> {
    unsigned int codec = LImageCodecNone; // none for the combined entry
    LStringLongTemplate<char> name;
    LStringLongTemplate<char> extensions;
};

class LImageCodecFilterList : public LList<LImageCodecFilterItem> {
public:
    void Clear() { DeleteAll(); }
    // By name, ascending, byte by byte; equal names keep their order.
    void Sort();

    // "*.ext" of every extension row of `codec` (of every row when `codec` is
    // not a table row) that the vetoer allows, ";" between them. False, with
    // `out` empty, when the vetoer refuses a table codec.
    static bool GetEnabledExtensions(LStringLongTemplate<char>& out, LImageCodec codec,
                                     LImageIOType io, const LImageCodecVetoer& vetoer);

    // Builds the list and, in `out`, the filter string of a file dialog:
    // name, NUL, extensions, NUL for each entry. For loads "All images" leads.
    // False for an io that is neither load nor save, or when no codec is left.
    bool Init(LStringLongTemplate<char>& out, LImageIOType io, const LImageCodecVetoer& vetoer);
};

namespace LImage {

// Formats for pictures in memory.
enum Encoding : int {
    EncodingJPEG = 0,
    EncodingBMP = 1,
    EncodingICO = 3,
    EncodingPCX = 4,
    EncodingPNG = 5,
    EncodingPNM = 6,
    EncodingPSD = 7,
    EncodingRAS = 8,
    EncodingTGA = 9,
    EncodingTIFF = 10,
    EncodingWBMP = 11,
};

} // namespace LImage

// The codec of an encoding; none for any value without one, 2 among them.
LImageCodec LImageGetCodecFromEncoding(int encoding);

// The codec whose signature the first bytes of a file carry: PNG, JPEG,
// TIFF (camera raw files mostly look like TIFF, too) or JPEG 2000. None for
// anything else, or fewer than 12 bytes that could not tell.
LImageCodec LImageGetCodecFromSignature(const unsigned char* head, unsigned long size);
