// Finding a codec by name, vetoers and the file-type filters.

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
    for (std::size_t at = 0; at < s.size();) {
        const std::size_t end = s.find('\0', at);
        if (end == std::string::npos)
            return parts.push_back(s.substr(at) + "<unterminated>"), parts;
        parts.push_back(s.substr(at, end - at));
        at = end + 1;
    }
    return parts;
}

TEST(CodecTable, FindsTheCodecFromAFileName) {
    const struct {
        const char* path;
        unsigned codec;
    } cases[] = {
        {"photo.JPG", LImageCodecJPEG},        {"/a/b/scan.TiFf", LImageCodecTIFF},
        {"archive.tar.png", LImageCodecPNG},   {"nikon.NEF", LImageCodecRawNikon},
        {"anim.gif", LImageCodecNone},         {"folder.png/readme", LImageCodecNone},
        {"trailing.", LImageCodecNone},        {"long.pngpngpngpngpng", LImageCodecNone},
    };
    for (const auto& c : cases) {
        LImageCodec codec(LImageCodecBMP);
        EXPECT_EQ(codec.InitFromFilePath(c.path), c.codec != LImageCodecNone) << c.path;
        EXPECT_EQ(unsigned(codec), c.codec) << c.path;
    }
    LImageCodec codec(LImageCodecBMP);
    EXPECT_FALSE(codec.InitFromFilePath(nullptr));
    EXPECT_FALSE(codec.IsValid());
}

TEST(CodecVetoer, LibraryNeverOffersSvgAndTheEditorOpensSixFormats) {
    const LImageCodecVetoer plain;
    EXPECT_TRUE(plain.IsEnabled(LImageCodecGIF, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecGIF, LImageIOTypeSave));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecSVG, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecSVG, LImageIOTypeSave));
    EXPECT_FALSE(plain.IsEnabled(28, LImageIOTypeLoad));
    EXPECT_FALSE(plain.IsEnabled(LImageCodecPNG, static_cast<LImageIOType>(1)));
    const KVImageCodecVetoer editor;
    for (unsigned c = 0; c < kLImageCodecCount; ++c) {
        const bool opens = c == LImageCodecBMP || c == LImageCodecGIF || c == LImageCodecICO ||
                           c == LImageCodecJPEG || c == LImageCodecPNG || c == LImageCodecTIFF;
        EXPECT_EQ(editor.IsEnabled(c, LImageIOTypeLoad), opens) << c;
        EXPECT_EQ(editor.IsEnabled(c, LImageIOTypeSave), plain.IsEnabled(c, LImageIOTypeSave)) << c;
    }
}

TEST(CodecFilters, EnabledExtensionsOfOneCodecOrOfAll) {
    const LImageCodecVetoer plain;
    LStringLongTemplate<char> out("left over");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecJPEG,
                                                            LImageIOTypeLoad, plain));
    EXPECT_EQ(out.Str(), "*.jpg;*.jpeg");
    EXPECT_FALSE(LImageCodecFilterList::GetEnabledExtensions(out, LImageCodecSVG,
                                                             LImageIOTypeLoad, plain));
    EXPECT_EQ(out.Str(), "");
    EXPECT_TRUE(LImageCodecFilterList::GetEnabledExtensions(out, 99, LImageIOTypeSave, plain));
    EXPECT_EQ(out.Str(), "*.bmp;*.ico;*.jpg;*.jpeg;*.jp2;*.pcx;*.png;*.pnm;*.pbm;*.pgm;*.ppm;"
                         "*.psd;*.ras;*.tga;*.tif;*.tiff;*.wbmp");
}

TEST(CodecFilters, OpenListLeadsWithAllImagesThenSortsByDescription) {
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
    EXPECT_EQ(list.GetAt(1)->name.Str(), "Graphics Interchange Format ()");

    // The library's list: every readable format but SVG and GIF, sorted.
    ASSERT_TRUE(list.Init(out, LImageIOTypeLoad, LImageCodecVetoer()));
    const std::vector<std::string> parts = Split(out);
    ASSERT_EQ(parts.size(), 2u * 27u);
    for (std::size_t i = 4; i < parts.size(); i += 2)
        EXPECT_LT(parts[i - 2], parts[i]);
    EXPECT_EQ(parts[2], "Adobe Photoshop Document (*.psd)");
}

TEST(CodecFilters, SaveListHasNoCombinedEntryAndBadRequestsFail) {
    LImageCodecFilterList list;
    LStringLongTemplate<char> out;
    ASSERT_TRUE(list.Init(out, LImageIOTypeSave, KVImageCodecVetoer()));
    const std::vector<std::string> parts = Split(out);
    ASSERT_EQ(parts.size(), 2u * 12u); // every writable row but SVG
    EXPECT_EQ(parts[0], "Adobe Photoshop Document (*.psd)");

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

} // namespace
