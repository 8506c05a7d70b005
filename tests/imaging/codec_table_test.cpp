// The codec table, finding a codec by name, vetoers and the file-type filters.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "imaging/image_codec.h"
#include "imaging/image_export.h"

namespace {

// A filter string cut at its NULs.
std::vector<std::string> Split(const LStringLongTemplate<char>& filter) {
    std::vector<std::string> parts;
    const std::string& s = filter.Str();
    std::size_t at = 0;
    while (at < s.size()) {
        const std::size_t end = s.find('\0', at);
        if (end == std::string::npos) {
            parts.push_back(s.substr(at) + "<unterminated>");
            break;
        }
        parts.push_back(s.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

TEST(CodecTable, RowsInOrderWithTheirNamesAndFlags) {
    std::string rows;
    for (const LImageCodecInfo& info : arImageCodecInfo) {
        rows += std::string(info.shortName) + "|" + info.displayName + "|" + info.description +
                "|" + char('0' + info.canLoad) + char('0' + info.canSave) + "\n";
        EXPECT_EQ(info.reserved, -1);
    }
    EXPECT_EQ(rows,
              "BMP|BMP|Microsoft Bitmap|11\n"
              "DNG|DNG|Digital Negative|10\n"
              "GIF|GIF|Graphics Interchange Format|10\n"
              "ICO|ICO|Microsoft Icon|11\n"
              "JPEG|JPEG|Joint Photographic Experts Group|11\n"
              "JPEG2000|JPEG 2000|JPEG 2000|11\n"
              "PCX|PCX|Personal Computer Exchange|11\n"
              "PNG|PNG|Portable Network Graphics|11\n"
              "PNM|PNM|Portable Anymap|11\n"
              "PSD|PSD|Adobe Photoshop Document|11\n"
              "RAS|RAS|Sun Raster|11\n"
              "RAW|RAW|Raw Digital Photograph|10\n"
              "RawCanon|Raw Canon|Canon Digital Photograph|10\n"
              "RawEpson|Raw Epson|Epson Digital Photograph|10\n"
              "RawFuji|Raw Fuji|Fuji Digital Photograph|10\n"
              "RawKodak|Raw Kodak|Kodak Digital Photograph|10\n"
              "RawLeaf|Raw Leaf|Leaf Digital Photograph|10\n"
              "RawMinolta|Raw Minolta|Minolta Digital Photograph|10\n"
              "RawNikon|Raw Nikon|Nikon Digital Photograph|10\n"
              "RawOlympus|Raw Olympus|Olympus Digital Photograph|10\n"
              "RawPanasonic|Raw Panasonic|Panasonic Digital Photograph|10\n"
              "RawPentax|Raw Pentax|Pentax Digital Photograph|10\n"
              "RawSamsung|Raw Samsung|Samsung Digital Photograph|10\n"
              "RawSony|Raw Sony|Sony Digital Photograph|10\n"
              "SVG|SVG|Scalable Vector Graphics|11\n"
              "TGA|TGA|Avid TARGA|11\n"
              "TIFF|TIFF|Tagged Image File Format|11\n"
              "WBMP|WBMP|Wireless Bitmap|11\n");
}

TEST(CodecTable, ExtensionRowsFollowTheTableAndLeaveGifOut) {
    std::string rows;
    unsigned previous = 0;
    for (const LImageCodecFileExtInfo& row : arImageCodecFileExtInfo) {
        rows += std::string(row.extension) + "=" + arImageCodecInfo[row.codec].shortName + " ";
        EXPECT_GE(row.codec, previous) << row.extension;
        EXPECT_NE(row.codec, unsigned(LImageCodecGIF));
        previous = row.codec;
    }
    EXPECT_EQ(rows,
              ".bmp=BMP .dng=DNG .ico=ICO .jpg=JPEG .jpeg=JPEG .jp2=JPEG2000 .pcx=PCX .png=PNG "
              ".pnm=PNM .pbm=PNM .pgm=PNM .ppm=PNM .psd=PSD .ras=RAS .raw=RAW .cr2=RawCanon "
              ".crw=RawCanon .erf=RawEpson .raf=RawFuji .dcr=RawKodak .kdc=RawKodak "
              ".mos=RawLeaf .mrw=RawMinolta .nef=RawNikon .nrw=RawNikon .orf=RawOlympus "
              ".rw2=RawPanasonic .pef=RawPentax .ptx=RawPentax .srw=RawSamsung .arw=RawSony "
              ".srf=RawSony .sr2=RawSony .svg=SVG .tga=TGA .tif=TIFF .tiff=TIFF .wbmp=WBMP ");
}

TEST(CodecTable, FindsTheCodecFromAFileName) {
    struct Case {
        const char* path;
        unsigned codec;
    } cases[] = {
        {"photo.JPG", LImageCodecJPEG},        {"/a/b/scan.TiFf", LImageCodecTIFF},
        {"archive.tar.png", LImageCodecPNG},   {"x.jp2", LImageCodecJPEG2000},
        {"nikon.NEF", LImageCodecRawNikon},    {"pic.wbmp", LImageCodecWBMP},
        {"anim.gif", LImageCodecNone},         {"folder.png/readme", LImageCodecNone},
        {"no_extension", LImageCodecNone},     {"trailing.", LImageCodecNone},
        {"long.pngpngpngpngpng", LImageCodecNone}, {"x.jpe", LImageCodecNone},
    };
    for (const Case& c : cases) {
        LImageCodec codec(LImageCodecBMP);
        EXPECT_EQ(codec.InitFromFilePath(c.path), c.codec != LImageCodecNone) << c.path;
        EXPECT_EQ(unsigned(codec), c.codec) << c.path;
    }
    LImageCodec codec(LImageCodecBMP);
    EXPECT_FALSE(codec.InitFromFilePath(nullptr));
    EXPECT_FALSE(codec.IsValid());
}

TEST(CodecVetoer, TheLibraryFollowsTheFlagsButNeverOffersSvg) {
    const LImageCodecVetoer plain;
    EXPECT_TRUE(plain.IsEnabled(LImageCodecGIF, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecGIF, LImageIOTypeSave));
    EXPECT_TRUE(plain.IsEnabled(LImageCodecRawSony, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecRawSony, LImageIOTypeSave));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecSVG, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecSVG, LImageIOTypeSave));
    EXPECT_FALSE(plain.IsEnabled(28, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecPNG, static_cast<LImageIOType>(1)));
}

TEST(CodecVetoer, TheEditorOpensOnlySixFormatsAndSavesWhatTheTableSaves) {
    const KVImageCodecVetoer editor;
    const LImageCodecVetoer plain;
    for (unsigned c = 0; c < kLImageCodecCount; ++c) {
        const bool opens = c == LImageCodecBMP || c == LImageCodecGIF || c == LImageCodecICO ||
                           c == LImageCodecJPEG || c == LImageCodecPNG || c == LImageCodecTIFF;
        EXPECT_EQ(editor.IsEnabled(c, LImageIOTypeLoad), opens) << c;
        EXPECT_EQ(editor.IsEnabled(c, LImageIOTypeSave), plain.IsEnabled(c, LImageIOTypeSave)) << c;
    }
}

TEST(CodecFilters, EnabledExtensionsOfOneCodecOrOfAll) {
    const LImageCodecVetoer plain;
    const KVImageCodecVetoer editor;
    LStringLongTemplate<char> out("left over");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecJPEG,
                                                            LImageIOTypeLoad, plain));
    EXPECT_EQ(out.Str(), "*.jpg;*.jpeg");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecGIF,
                                                            LImageIOTypeLoad, plain));
    EXPECT_EQ(out.Str(), "");
    EXPECT_FALSE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecSVG,
                                                             LImageIOTypeLoad, plain));
    EXPECT_EQ(out.Str(), "");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecNone,
                                                            LImageIOTypeLoad, editor));
    EXPECT_EQ(out.Str(), "*.bmp;*.ico;*.jpg;*.jpeg;*.png;*.tif;*.tiff");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, 99, LImageIOTypeSave, plain));
    EXPECT_EQ(out.Str(), "*.bmp;*.ico;*.jpg;*.jpeg;*.jp2;*.pcx;*.png;*.pnm;*.pbm;*.pgm;*.ppm;"
                         "*.psd;*.ras;*.tga;*.tif;*.tiff;*.wbmp");
}

TEST(CodecFilters, TheEditorsOpenListLeadsWithAllImagesThenSortsByDescription) {
    LImageCodecFilterList list;
    LStringLongTemplate<char> out;
    ASSERT_TRUE(list.Init(out, LImageIOTypeLoad, KVImageCodecVetoer()));
    const std::vector<std::string> expected = {
        "All images", "*.bmp;*.ico;*.jpg;*.jpeg;*.png;*.tif;*.tiff",
        "Joint Photographic Experts Group (*.jpg;*.jpeg)", "*.jpg;*.jpeg",
        "Microsoft Bitmap (*.bmp)", "*.bmp",
        "Microsoft Icon (*.ico)", "*.ico",
        "Portable Network Graphics (*.png)", "*.png",
        "Tagged Image File Format (*.tif;*.tiff)", "*.tif;*.tiff",
    };
    EXPECT_EQ(Split(out), expected);
    // GIF stays in the list, only the filter string drops it.
    ASSERT_EQ(list.GetCount(), 7u);
    EXPECT_EQ(list.GetFirst()->codec, LImageCodecNone);
    EXPECT_EQ(list.GetAt(1)->name.Str(), "Graphics Interchange Format ()");
}

TEST(CodecFilters, TheLibraryListHasEveryReadableFormatButSvgAndGif) {
    LImageCodecFilterList list;
    LStringLongTemplate<char> out;
    ASSERT_TRUE(list.Init(out, LImageIOTypeLoad, LImageCodecVetoer()));
    const std::vector<std::string> parts = Split(out);
    ASSERT_EQ(parts.size() % 2, 0u);
    std::vector<std::string> names;
    for (std::size_t i = 0; i < parts.size(); i += 2)
        names.push_back(parts[i]);
    ASSERT_EQ(names.size(), 27u); // "All images" and every row but SVG and GIF
    EXPECT_EQ(names[0], "All images");
    for (std::size_t i = 2; i < names.size(); ++i)
        EXPECT_LT(names[i - 1], names[i]);
    for (const std::string& n : names) {
        EXPECT_EQ(n.find("Scalable"), std::string::npos);
        EXPECT_EQ(n.find("Graphics Interchange"), std::string::npos);
    }
    EXPECT_EQ(names[1], "Adobe Photoshop Document (*.psd)");
    EXPECT_EQ(names[2], "Avid TARGA (*.tga)");
    EXPECT_EQ(names.back(), "Wireless Bitmap (*.wbmp)");
    EXPECT_EQ(parts[1].substr(0, 29), "*.bmp;*.dng;*.ico;*.jpg;*.jpe");
}

TEST(CodecFilters, SaveListHasNoCombinedEntryAndBadRequestsFail) {
    LImageCodecFilterList list;
    LStringLongTemplate<char> out;
    ASSERT_TRUE(list.Init(out, LImageIOTypeSave, KVImageCodecVetoer()));
    const std::vector<std::string> parts = Split(out);
    ASSERT_FALSE(parts.empty());
    EXPECT_EQ(parts[0], "Adobe Photoshop Document (*.psd)");
    EXPECT_EQ(parts.size(), 2u * 12u); // every writable row but SVG
    EXPECT_EQ(parts[parts.size() - 2], "Wireless Bitmap (*.wbmp)");

    EXPECT_FALSE(list.Init(out, static_cast<LImageIOType>(1), LImageCodecVetoer()));
    EXPECT_TRUE(out.IsEmpty());
    EXPECT_TRUE(list.IsEmpty());

    struct RefuseAll : LImageCodecVetoer {
        bool IsEnabled(LImageCodec, LImageIOType) const override { return false; }
    };
    EXPECT_FALSE(list.Init(out, LImageIOTypeLoad, RefuseAll()));
    EXPECT_TRUE(out.IsEmpty());
}

TEST(CodecFilters, SortKeepsByteOrderAndTheOrderOfEqualNames) {
    LImageCodecFilterList list;
    for (const char* name : {"b", "B", "a", "b", "A"}) {
        auto* item = new LImageCodecFilterItem;
        item->name.Set(name);
        item->codec = list.GetCount();
        list.PushBack(item);
    }
    list.Sort();
    std::string order;
    for (auto* p = list.GetFirst(); p; p = p->GetNext())
        order += p->name.Str() + std::to_string(p->codec) + " ";
    EXPECT_EQ(order, "A4 B1 a2 b0 b3 ");
}

TEST(CodecTable, EncodingsMapToCodecs) {
    const unsigned expected[] = {LImageCodecJPEG, LImageCodecBMP, LImageCodecNone,
                                 LImageCodecICO,  LImageCodecPCX, LImageCodecPNG,
                                 LImageCodecPNM,  LImageCodecPSD, LImageCodecRAS,
                                 LImageCodecTGA,  LImageCodecTIFF, LImageCodecWBMP};
    for (int e = 0; e < 12; ++e)
        EXPECT_EQ(unsigned(LImageGetCodecFromEncoding(e)), expected[e]) << e;
    EXPECT_EQ(unsigned(LImageGetCodecFromEncoding(-1)), unsigned(LImageCodecNone));
    EXPECT_EQ(unsigned(LImageGetCodecFromEncoding(12)), unsigned(LImageCodecNone));
}

TEST(CodecTable, ExportKindFollowsTheExtension) {
    EXPECT_EQ(KVGetExportKind("drawing.KVP"), KVExportKindProject);
    EXPECT_EQ(KVGetExportKind("a/b.svg"), KVExportKindSVG);
    EXPECT_EQ(KVGetExportKind("b.Pdf"), KVExportKindPDF);
    EXPECT_EQ(KVGetExportKind("b.eps"), KVExportKindEPS);
    EXPECT_EQ(KVGetExportKind("b.jpeg"), KVExportKindRaster);
    EXPECT_EQ(KVGetExportKind("b.wbmp"), KVExportKindRaster);
    EXPECT_EQ(KVGetExportKind("b.nef"), KVExportKindNone); // read-only format
    EXPECT_EQ(KVGetExportKind("b.gif"), KVExportKindNone);
    EXPECT_EQ(KVGetExportKind("svg"), KVExportKindNone);
    EXPECT_EQ(KVGetExportKind("dir.png/x"), KVExportKindNone);
    EXPECT_EQ(KVGetExportKind(nullptr), KVExportKindNone);
}

} // namespace
