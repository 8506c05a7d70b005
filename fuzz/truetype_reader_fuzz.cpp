// The TrueType reader over any bytes, taken as a font file or collection: it
// must end without reading past them, and a name it gives is UTF-8 of no more
// than a cut record holds.

#include <cstdint>
#include <string>

#include "exchange/pdf_truetype.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    LPDFTrueTypeFont font;
    if (!font.LoadFontData(data, size))
        return 0;
    std::string family;
    if (font.GetFontFamilyName(family) && family.size() > 4 * LTrueTypeNameTable::kMaxNameBytes)
        __builtin_trap();
    return 0;
}
