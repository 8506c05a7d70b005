#include "imaging/image_codec.h"

#include <cstring>

const LImageCodecInfo arImageCodecInfo[kLImageCodecCount] = {
    {"BMP", "BMP", "Microsoft Bitmap", 1, 1, 1, 0, -1},
    {"DNG", "DNG", "Digital Negative", 1, 0, 0, 0, -1},
    {"GIF", "GIF", "Graphics Interchange Format", 1, 0, 0, 0, -1},
    {"ICO", "ICO", "Microsoft Icon", 1, 1, 1, 0, -1},
    {"JPEG", "JPEG", "Joint Photographic Experts Group", 1, 1, 1, 0, -1},
    {"JPEG2000", "JPEG 2000", "JPEG 2000", 1, 1, 1, 0, -1},
    {"PCX", "PCX", "Personal Computer Exchange", 1, 1, 0, 0, -1},
    {"PNG", "PNG", "Portable Network Graphics", 1, 1, 0, 0, -1},
    {"PNM", "PNM", "Portable Anymap", 1, 1, 1, 0, -1},
    {"PSD", "PSD", "Adobe Photoshop Document", 1, 1, 0, 0, -1},
    {"RAS", "RAS", "Sun Raster", 1, 1, 0, 0, -1},
    {"RAW", "RAW", "Raw Digital Photograph", 1, 0, 0, 0, -1},
    {"RawCanon", "Raw Canon", "Canon Digital Photograph", 1, 0, 0, 0, -1},
    {"RawEpson", "Raw Epson", "Epson Digital Photograph", 1, 0, 0, 0, -1},
    {"RawFuji", "Raw Fuji", "Fuji Digital Photograph", 1, 0, 0, 0, -1},
    {"RawKodak", "Raw Kodak", "Kodak Digital Photograph", 1, 0, 0, 0, -1},
    {"RawLeaf", "Raw Leaf", "Leaf Digital Photograph", 1, 0, 0, 0, -1},
    {"RawMinolta", "Raw Minolta", "Minolta Digital Photograph", 1, 0, 0, 0, -1},
    {"RawNikon", "Raw Nikon", "Nikon Digital Photograph", 1, 0, 0, 0, -1},
    {"RawOlympus", "Raw Olympus", "Olympus Digital Photograph", 1, 0, 0, 0, -1},
    {"RawPanasonic", "Raw Panasonic", "Panasonic Digital Photograph", 1, 0, 0, 0, -1},
    {"RawPentax", "Raw Pentax", "Pentax Digital Photograph", 1, 0, 0, 0, -1},
    {"RawSamsung", "Raw Samsung", "Samsung Digital Photograph", 1, 0, 0, 0, -1},
    {"RawSony", "Raw Sony", "Sony Digital Photograph", 1, 0, 0, 0, -1},
    {"SVG", "SVG", "Scalable Vector Graphics", 1, 1, 0, 0, -1},
    {"TGA", "TGA", "Avid TARGA", 1, 1, 0, 0, -1},
    {"TIFF", "TIFF", "Tagged Image File Format", 1, 1, 0, 1, -1},
    {"WBMP", "WBMP", "Wireless Bitmap", 1, 1, 0, 0, -1},
};

const LImageCodecFileExtInfo arImageCodecFileExtInfo[kLImageCodecFileExtCount] = {
    {".bmp", LImageCodecBMP},         {".dng", LImageCodecDNG},
    {".ico", LImageCodecICO},         {".jpg", LImageCodecJPEG},
    {".jpeg", LImageCodecJPEG},       {".jp2", LImageCodecJPEG2000},
    {".pcx", LImageCodecPCX},         {".png", LImageCodecPNG},
    {".pnm", LImageCodecPNM},         {".pbm", LImageCodecPNM},
    {".pgm", LImageCodecPNM},         {".ppm", LImageCodecPNM},
    {".psd", LImageCodecPSD},         {".ras", LImageCodecRAS},
    {".raw", LImageCodecRAW},         {".cr2", LImageCodecRawCanon},
    {".crw", LImageCodecRawCanon},    {".erf", LImageCodecRawEpson},
    {".raf", LImageCodecRawFuji},     {".dcr", LImageCodecRawKodak},
    {".kdc", LImageCodecRawKodak},    {".mos", LImageCodecRawLeaf},
    {".mrw", LImageCodecRawMinolta},  {".nef", LImageCodecRawNikon},
    {".nrw", LImageCodecRawNikon},    {".orf", LImageCodecRawOlympus},
    {".rw2", LImageCodecRawPanasonic}, {".pef", LImageCodecRawPentax},
    {".ptx", LImageCodecRawPentax},   {".srw", LImageCodecRawSamsung},
    {".arw", LImageCodecRawSony},     {".srf", LImageCodecRawSony},
    {".sr2", LImageCodecRawSony},     {".svg", LImageCodecSVG},
    {".tga", LImageCodecTGA},         {".tif", LImageCodecTIFF},
    {".tiff", LImageCodecTIFF},       {".wbmp", LImageCodecWBMP},
};

bool LImageCodec::InitFromFilePath(const char* path) {
    id = LImageCodecNone;
    if (!path)
        return false;
    const char* dot = std::strrchr(path, '.');
    const char* slash = std::strrchr(path, '/');
    if (!dot || (slash && slash > dot))
        return false;
    // Every extension of the table is short; a longer one matches nothing.
    char lowered[16];
    const std::size_t n = std::strlen(dot);
    if (n >= sizeof lowered)
        return false;
    for (std::size_t i = 0; i <= n; ++i) {
        const char c = dot[i];
        lowered[i] = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    }
    for (const LImageCodecFileExtInfo& row : arImageCodecFileExtInfo) {
        if (std::strcmp(row.extension, lowered) == 0) {
            id = row.codec;
            return true;
        }
    }
    return false;
}

bool LImageCodecVetoer::IsEnabled(LImageCodec codec, LImageIOType io) const {
    if (!codec.IsValid() || codec == LImageCodecSVG)
        return false;
    const LImageCodecInfo& info = arImageCodecInfo[codec];
    if (io == LImageIOTypeLoad)
        return info.canLoad != 0;
    if (io == LImageIOTypeSave)
        return info.canSave != 0;
    return false;
}

bool KVImageCodecVetoer::IsEnabled(LImageCodec codec, LImageIOType io) const {
    if (!LImageCodecVetoer::IsEnabled(codec, io))
        return false;
    if (io != LImageIOTypeLoad)
        return true;
    switch (static_cast<unsigned int>(codec)) {
    case LImageCodecBMP:
    case LImageCodecGIF:
    case LImageCodecICO:
    case LImageCodecJPEG:
    case LImageCodecPNG:
    case LImageCodecTIFF:
        return true;
    default:
        return false;
    }
}

void LImageCodecFilterList::Sort() {
    // An insertion sort on the links: a few dozen entries at most.
    LList<LImageCodecFilterItem> sorted;
    while (LImageCodecFilterItem* item = PopFront()) {
        LImageCodecFilterItem* after = nullptr;
        for (LImageCodecFilterItem* p = sorted.GetFirst(); p; p = p->GetNext()) {
            if (std::strcmp(p->name.Get(), item->name.Get()) > 0)
                break;
            after = p;
        }
        sorted.InsertAfter(item, after);
    }
    static_cast<LList<LImageCodecFilterItem>&>(*this) = std::move(sorted);
}

bool LImageCodecFilterList::GetEnabledExtensions(LStringLongTemplate<char>& out,
                                                 LImageCodec codec, LImageIOType io,
                                                 const LImageCodecVetoer& vetoer) {
    out.Clear();
    if (codec.IsValid() && !vetoer.IsEnabled(codec, io))
        return false;
    for (const LImageCodecFileExtInfo& row : arImageCodecFileExtInfo) {
        if (codec.IsValid() && row.codec != codec)
            continue;
        if (!vetoer.IsEnabled(row.codec, io))
            continue;
        if (!out.IsEmpty())
            out.Append(';');
        out.Append('*');
        out.Append(row.extension);
    }
    return true;
}

bool LImageCodecFilterList::Init(LStringLongTemplate<char>& out, LImageIOType io,
                                 const LImageCodecVetoer& vetoer) {
    Clear();
    out.Clear();
    if (io != LImageIOTypeLoad && io != LImageIOTypeSave)
        return false;
    for (unsigned int codec = 0; codec < kLImageCodecCount; ++codec) {
        if (!vetoer.IsEnabled(codec, io))
            continue;
        auto* item = new LImageCodecFilterItem;
        item->codec = codec;
        if (!GetEnabledExtensions(item->extensions, codec, io, vetoer)) {
            delete item;
            Clear();
            return false;
        }
        item->name.Set(arImageCodecInfo[codec].description);
        item->name.Append(" (");
        item->name.Append(item->extensions.Get());
        item->name.Append(")");
        PushBack(item);
    }
    if (IsEmpty())
        return false;
    Sort();
    if (io == LImageIOTypeLoad) {
        auto* all = new LImageCodecFilterItem;
        GetEnabledExtensions(all->extensions, LImageCodecNone, io, vetoer);
        all->name.Set("All images");
        PushFront(all);
    }
    for (LImageCodecFilterItem* item = GetFirst(); item; item = item->GetNext()) {
        if (item->name.IsEmpty() || item->extensions.IsEmpty())
            continue; // GIF, which no extension names, drops out here
        out.Append(item->name.Get(), item->name.GetLength());
        out.Append('\0');
        out.Append(item->extensions.Get(), item->extensions.GetLength());
        out.Append('\0');
    }
    return true;
}

LImageCodec LImageGetCodecFromEncoding(int encoding) {
    switch (encoding) {
    case LImage::EncodingJPEG:
        return LImageCodecJPEG;
    case LImage::EncodingBMP:
        return LImageCodecBMP;
    case LImage::EncodingICO:
        return LImageCodecICO;
    case LImage::EncodingPCX:
        return LImageCodecPCX;
    case LImage::EncodingPNG:
        return LImageCodecPNG;
    case LImage::EncodingPNM:
        return LImageCodecPNM;
    case LImage::EncodingPSD:
        return LImageCodecPSD;
    case LImage::EncodingRAS:
        return LImageCodecRAS;
    case LImage::EncodingTGA:
        return LImageCodecTGA;
    case LImage::EncodingTIFF:
        return LImageCodecTIFF;
    case LImage::EncodingWBMP:
        return LImageCodecWBMP;
    default:
        return LImageCodecNone;
    }
}

LImageCodec LImageGetCodecFromSignature(const unsigned char* head, unsigned long size) {
    struct Signature {
        unsigned int codec;
        unsigned long length;
        const char* bytes;
    };
    static const Signature signatures[] = {
        {LImageCodecPNG, 8, "\x89PNG\r\n\x1a\n"},
        {LImageCodecJPEG, 3, "\xFF\xD8\xFF"},
        {LImageCodecTIFF, 4, "II*\0"},
        {LImageCodecTIFF, 4, "MM\0*"},
        {LImageCodecTIFF, 4, "II+\0"}, // BigTIFF
        {LImageCodecTIFF, 4, "MM\0+"},
        {LImageCodecJPEG2000, 12, "\0\0\0\x0CjP  \r\n\x87\n"},
        {LImageCodecJPEG2000, 4, "\xFF\x4F\xFF\x51"}, // a bare code stream
    };
    for (const Signature& s : signatures)
        if (size >= s.length && std::memcmp(head, s.bytes, s.length) == 0)
            return s.codec;
    return LImageCodecNone;
}
