// The XML reader over any bytes, taken as a file's content would be (either
// UTF-16 order, a UTF-8 mark, or as they stand): it must end, keep at most
// one error message, and give a tree that serialises both ways.

#include <cstdint>
#include <cstring>
#include <string>

#include "foundation/xml.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::string text;
    LTextAutoChar(data, size, text);
    LXMLDocument document;
    char error[LXMLDocument::kErrorSize];
    document.LoadFromBuffer(text.data(), text.size(), error);
    if (std::strlen(error) >= LXMLDocument::kErrorSize)
        __builtin_trap();
    std::string out;
    document.SaveToBufferNoFormatting(out);
    document.SaveToBuffer(out);
    const LXMLDocument copy = document;
    out.clear();
    copy.SaveToBufferNoFormatting(out);
    return 0;
}
