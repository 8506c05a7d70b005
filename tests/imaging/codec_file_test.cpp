// Loading and saving by file name and by stream: the messages, the status
// lines, the dispatch by codec, and saves that replace a file only when
// they are complete.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <sys/stat.h>

#include "codec_pictures.h"
#include "foundation/base64.h"
#include "imaging/image_export.h"
#include "imaging/image_file.h"
#include "imaging/pixel_alpha.h"
#include "support/scoped_env.h"
#include "support/temp_dir.h"

namespace {

using kvtest::ReportRecorder;

LImageBuffer SmallPicture() {
    LImageBuffer b;
    LImage::New(b, 5, 3, LPixelFormatB8G8R8A8);
    LImageIterator it(b);
    for (int i = 0; it.IsInRange(); it.Next(), ++i)
        it.SetPacked(0xFF000000u | unsigned(i * 0x0A0B0C));
    return b;
}

// Saves go through the cache folder: each test gets its own, to see what
// is left in it.
class CodecFiles : public ::testing::Test {
protected:
    int FilesInCache() const {
        std::error_code ec;
        int n = 0;
        for (auto it = std::filesystem::directory_iterator(dir.File("cache/korvane"), ec);
             !ec && it != std::filesystem::directory_iterator(); ++it)
            ++n;
        return n;
    }
    LProcessResult Load(ReportRecorder& r, const std::string& path, LImageBuffer& b,
                        const LImageCodecVetoer* vetoer = nullptr) {
        LProcessImageLoadFile load(path.c_str(), 3000, vetoer, b);
        return Process(r, load);
    }
    LProcessResult Save(ReportRecorder& r, const LImageBuffer& b, const std::string& path,
                        const LImageCodecVetoer* vetoer = nullptr) {
        LProcessImageSaveFile save(b, path.c_str(), settings, 3000, vetoer);
        return Process(r, save);
    }

    kvtest::TempDir dir;
    kvtest::ScopedEnv cache{"XDG_CACHE_HOME", dir.File("cache").c_str()};
    LImageEncodeSettings settings;
};

TEST_F(CodecFiles, LoadMessagesAndStatusLines) {
    ASSERT_TRUE(kvtest::WriteFile(dir.File("anim.gif"), "GIF89a"));
    ASSERT_TRUE(kvtest::WriteFile(dir.File("old.PCX"), "\x0a\x05"));
    ASSERT_TRUE(kvtest::WriteFile(dir.File("text.png"), "this is not a picture at all"));
    std::filesystem::create_directory(dir.File("folder.png"));
    const KVImageCodecVetoer editor;
    const struct {
        const char* name;
        bool editorOnly;
        const char* error;
    } cases[] = {
        {"missing.png", false, "The file could not be found."},
        // Existence is tested before the vetoer is asked.
        {"missing.pcx", true, "The file could not be found."},
        {"anim.gif", false, "The file type is not recognized."},
        {"old.PCX", true, "The file format is not supported."},
        {"folder.png", false, "The file could not be opened."},
        {"text.png", false, "The image could not be loaded."},
    };
    for (const auto& c : cases) {
        LImageBuffer b;
        ReportRecorder r;
        EXPECT_EQ(Load(r, dir.File(c.name), b, c.editorOnly ? &editor : nullptr),
                  LProcessResultError);
        EXPECT_EQ(r.errors, std::vector<std::string>{c.error}) << c.name;
        EXPECT_EQ(r.statuses.front(), std::string("0 Loading ") + c.name);
    }
    LImageBuffer b;
    ReportRecorder r;
    Load(r, dir.File("text.png"), b);
    EXPECT_EQ(r.statuses, (std::vector<std::string>{"0 Loading text.png", "1 Decoding PNG image"}));

    // The status names the file behind the last slash of either kind.
    char name[kLFixedStringSize];
    LImageGetDisplayName("C:\\Users\\me\\cat.png", name);
    EXPECT_STREQ(name, "cat.png");
    LImageGetDisplayName("/home/me/a\\b/dog.jpg", name);
    EXPECT_STREQ(name, "dog.jpg");
    LImageGetDisplayName(std::string(400, 'n').c_str(), name);
    EXPECT_EQ(std::string(name), std::string(258, 'n'));
    ReportRecorder s;
    EXPECT_EQ(Save(s, SmallPicture(), "Z:\\nowhere\\out.bmp"), LProcessResultError);
    EXPECT_EQ(s.statuses.front(), "0 Saving out.bmp");
}

TEST_F(CodecFiles, ALongPathIsRefusedRatherThanCut) {
    // Cut to the 259 bytes of a fixed field, this path names another file,
    // which must be neither read nor written.
    const std::string folder = dir.File(std::string(120, 'd'));
    std::filesystem::create_directory(folder);
    const std::string path = folder + "/" + std::string(300 - folder.size() - 5, 'x') + ".png";
    const std::string cut = path.substr(0, kLFixedStringSize - 1);
    ASSERT_TRUE(kvtest::WriteFile(cut, "another file"));

    LImageBuffer b;
    ReportRecorder r;
    EXPECT_EQ(Load(r, path, b), LProcessResultError);
    EXPECT_EQ(r.errors, std::vector<std::string>{"The file could not be found."});
    LImageBuffer other;
    LImage::New(other, 2, 2, LPixelFormatB8G8R8A8);
    other.Clear(LPixelColour(9, 9, 9, 255));
    ReportRecorder s;
    EXPECT_EQ(Save(s, other, path), LProcessResultError);
    EXPECT_EQ(s.errors, std::vector<std::string>{"The file could not be opened."});
    const std::vector<unsigned char> after = kvtest::ReadBytes(cut);
    EXPECT_EQ(std::string(after.begin(), after.end()), "another file");
}

TEST_F(CodecFiles, SaveMessagesAndTheMissingFullStop) {
    const LImageBuffer b = SmallPicture();
    const LImageCodecVetoer plain;
    const struct {
        const char* name;
        const LImageCodecVetoer* vetoer;
        const char* error;
    } cases[] = {
        {"x.gif", nullptr, "The file type is not recognized."},
        // The vetoer is asked before anything is looked at on disk.
        {"no/such/folder/x.svg", &plain, "The file format is not supported."},
        // A format whose writer is not built fails in the dispatch.
        {"x.bmp", nullptr, "The image could not be saved"},
        // The program's text, then the file and the system's reason.
        {"no/such/folder/x.png", nullptr, "File could not be written.\n{}: No such file or directory"},
    };
    for (const auto& c : cases) {
        ReportRecorder r;
        EXPECT_EQ(Save(r, b, dir.File(c.name), c.vetoer), LProcessResultError);
        std::string error = c.error;
        if (const size_t at = error.find("{}"); at != std::string::npos)
            error.replace(at, 2, dir.File(c.name));
        EXPECT_EQ(r.errors, std::vector<std::string>{error}) << c.name;
    }
    EXPECT_FALSE(kvtest::FileExists(dir.File("x.bmp")));
    ReportRecorder r;
    EXPECT_EQ(Save(r, LImageBuffer(), dir.File("empty.png")), LProcessResultError);
    EXPECT_TRUE(r.errors.empty());
    EXPECT_FALSE(kvtest::FileExists(dir.File("empty.png")));
    EXPECT_EQ(FilesInCache(), 0);
}

TEST_F(CodecFiles, AFailedSaveLeavesTheOldFileAndNoTemporaryFile) {
    const std::string target = dir.File("keep.png");
    ASSERT_TRUE(kvtest::WriteFile(target, "the old file"));
    struct StopSoon : ReportRecorder {
        bool IsToStop() override { return ++asked > 2; }
        int asked = 0;
    } stop;
    LImageBuffer big;
    LImage::New(big, 300, 300, LPixelFormatB8G8R8A8);
    big.Clear(LPixelColour(1, 2, 3, 255));
    EXPECT_EQ(Save(stop, big, target), LProcessResultStopped);
    EXPECT_TRUE(stop.errors.empty());
    const std::vector<unsigned char> bytes = kvtest::ReadBytes(target);
    EXPECT_EQ(std::string(bytes.begin(), bytes.end()), "the old file");
    EXPECT_EQ(FilesInCache(), 0);
}

TEST_F(CodecFiles, ASaveReplacesTheFileKeepingItsPermissions) {
    const std::string target = dir.File("shared.png");
    ASSERT_TRUE(kvtest::WriteFile(target, "old"));
    ASSERT_EQ(chmod(target.c_str(), 0640), 0);
    ReportRecorder r;
    EXPECT_EQ(Save(r, SmallPicture(), target), LProcessResultOk);
    EXPECT_TRUE(r.errors.empty());
    EXPECT_EQ(r.statuses, (std::vector<std::string>{"0 Saving shared.png", "1 Encoding PNG image"}));
    struct stat st;
    ASSERT_EQ(stat(target.c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & 0777, 0640u);
    // A new file is readable as any new file of the user would be, not
    // private like the temporary file it was.
    const std::string fresh = dir.File("fresh.png");
    EXPECT_EQ(Save(r, SmallPicture(), fresh), LProcessResultOk);
    ASSERT_EQ(stat(fresh.c_str(), &st), 0);
    const mode_t mask = umask(0);
    umask(mask);
    EXPECT_EQ(st.st_mode & 0777, 0666u & ~mask);
    EXPECT_EQ(FilesInCache(), 0);

    LImageBuffer back;
    ReportRecorder l;
    EXPECT_EQ(Load(l, target, back), LProcessResultOk);
    EXPECT_TRUE(kvtest::SamePictures(back, SmallPicture()));
}

TEST_F(CodecFiles, DispatchResultsForFormatsWithoutAWorker) {
    const LImageBuffer b = SmallPicture();
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray out(bytes);
    out.Open();
    // Read-only rows and unknown codecs: 2 and no message.
    for (unsigned codec : {unsigned(LImageCodecRawCanon), unsigned(LImageCodecGIF), 28u}) {
        ReportRecorder r;
        LProcessImageSave<LOutputStreamByteArray> save(out, codec, b, settings);
        EXPECT_EQ(Process(r, save), LProcessResultError) << codec;
        EXPECT_TRUE(r.errors.empty()) << codec;
    }
    // Rows whose worker is not built: 2 with the message.
    for (unsigned codec : {unsigned(LImageCodecBMP), unsigned(LImageCodecWBMP)}) {
        ReportRecorder r;
        LProcessImageSave<LOutputStreamByteArray> save(out, codec, b, settings);
        EXPECT_EQ(Process(r, save), LProcessResultError) << codec;
        EXPECT_EQ(r.errors, std::vector<std::string>{"The image could not be saved"}) << codec;
        LImageBuffer target;
        const unsigned char data[16] = {};
        LInputStreamBuffer in(data, sizeof data);
        LProcessImageLoad<LInputStreamBuffer> load(in, codec, target);
        EXPECT_EQ(Process(r, load), LProcessResultError) << codec;
        EXPECT_EQ(r.errors.back(), "The image could not be loaded.") << codec;
    }
    {
        // SVG decodes nothing: a picture that is there already stays.
        const unsigned char data[] = "<svg/>";
        LInputStreamBuffer in(data, sizeof data);
        LImageBuffer target = SmallPicture();
        ReportRecorder r;
        LProcessImageLoad<LInputStreamBuffer> load(in, LImageCodecSVG, target);
        EXPECT_EQ(Process(r, load), LProcessResultOk);
        LImageBuffer none;
        LProcessImageLoad<LInputStreamBuffer> empty(in, LImageCodecSVG, none);
        EXPECT_EQ(Process(r, empty), LProcessResultError);
        EXPECT_EQ(r.errors, std::vector<std::string>{"The image could not be loaded."});
    }
    {
        // A closed stream or an unopened sink: 2 and no message.
        LInputStreamBuffer closed;
        LImageBuffer target;
        ReportRecorder r;
        LProcessImageLoad<LInputStreamBuffer> load(closed, LImageCodecPNG, target);
        EXPECT_EQ(Process(r, load), LProcessResultError);
        LSizedArray<unsigned char> sink;
        LOutputStreamByteArray notOpen(sink);
        LProcessImageSave<LOutputStreamByteArray> save(notOpen, LImageCodecPNG, b, settings);
        EXPECT_EQ(Process(r, save), LProcessResultError);
        EXPECT_TRUE(r.errors.empty());
    }
}

TEST_F(CodecFiles, InMemoryByEncoding) {
    const LImageBuffer b = SmallPicture();
    LSizedArray<unsigned char> bytes;
    EXPECT_FALSE(LImage::Save(b, bytes, 2));
    EXPECT_TRUE(bytes.IsEmpty());
    LImageBuffer back;
    for (int encoding : {LImage::EncodingPNG, LImage::EncodingTIFF}) {
        ASSERT_TRUE(LImage::Save(b, bytes, encoding));
        EXPECT_EQ(LImage::Load(back, bytes.Data(), bytes.GetSize(), encoding), 24u);
        EXPECT_TRUE(kvtest::SamePictures(back, b)) << encoding;
        EXPECT_EQ(LImage::Load(back, bytes.Data(), bytes.GetSize() / 2, encoding), 0u);
    }
    // A missing resource leaves the buffer alone.
    back = SmallPicture();
    EXPECT_EQ(LImage::LoadResource(back, 424242, LImage::EncodingPNG), 0u);
    EXPECT_TRUE(kvtest::SamePictures(back, b));
}

TEST_F(CodecFiles, RasterPicturesAsSvg) {
    LImageBuffer b = SmallPicture();
    LSizedArray<unsigned char> bytes;
    LOutputStreamByteArray out(bytes);
    out.Open();
    ReportRecorder r;
    LProcessImageSave<LOutputStreamByteArray> save(out, LImageCodecSVG, b, settings);
    ASSERT_EQ(Process(r, save), LProcessResultOk);
    const std::string text(bytes.begin(), bytes.end());
    const std::string head =
        "<svg\r\n"
        " xmlns=\"http://www.w3.org/2000/svg\"\r\n"
        " xmlns:xlink=\"http://www.w3.org/1999/xlink\"\r\n"
        " version=\"1.1\"\r\n"
        " width=\"5\"\r\n"
        " height=\"3\">\r\n"
        " <g>\r\n"
        "    <image x=\"0\" y=\"0\" width=\"5\" height=\"3\"\r\n"
        "       xlink:href=\"data:image/png;base64,";
    const std::string tail = "\"/>\r\n </g>\r\n</svg>\r\n";
    ASSERT_GT(text.size(), head.size() + tail.size());
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_EQ(text.substr(text.size() - tail.size()), tail);
    const std::string base64 = text.substr(head.size(), text.size() - head.size() - tail.size());
    EXPECT_EQ(base64.find_first_of("\r\n "), std::string::npos);

    LSizedArray<unsigned char> png;
    ASSERT_TRUE(LBase64Decode(base64.data(), base64.size(), png));
    LImageBuffer back;
    EXPECT_EQ(LImage::Load(back, png.Data(), png.GetSize(), LImage::EncodingPNG), 24u);
    EXPECT_TRUE(kvtest::SamePictures(back, b));
    ASSERT_FALSE(r.progress.empty());
    EXPECT_DOUBLE_EQ(r.progress.back(), 1.0);
}

TEST_F(CodecFiles, ExportSavesByExtensionThroughTheEditorsVetoer) {
    const LImageBuffer b = SmallPicture();
    ReportRecorder r;
    EXPECT_EQ(KVSaveRasterFile(r, b, dir.File("out.tiff").c_str()), LProcessResultOk);
    LImageBuffer back;
    EXPECT_EQ(LImage::Load(back, dir.File("out.tiff").c_str(), 3000), 24u);
    EXPECT_TRUE(kvtest::SamePictures(back, b));
    ReportRecorder s;
    EXPECT_EQ(KVSaveRasterFile(s, b, dir.File("out.svg").c_str()), LProcessResultError);
    EXPECT_EQ(s.errors, std::vector<std::string>{"The file format is not supported."});
}

} // namespace

namespace {

TEST(PixelAlpha, EveryPremultipliedColourSurvivesTheWayOutAndBackIn) {
    // 200 at alpha 200 is 156.9 of 255: to the nearest, 157.
    unsigned char px[4] = {200, 0, 255, 200};
    LPremultiplyRowBGRA(px, 1);
    EXPECT_EQ(std::vector<int>(px, px + 4), (std::vector<int>{157, 0, 200, 200}));
    for (unsigned a = 1; a < 256; ++a)
        for (unsigned c = 0; c <= a; ++c) {
            unsigned char q[4] = {static_cast<unsigned char>(c), static_cast<unsigned char>(c),
                                  static_cast<unsigned char>(a), static_cast<unsigned char>(a)};
            LUnpremultiplyRowBGRA(q, q, 1);
            ASSERT_EQ(q[2], 255) << a;
            LPremultiplyRowBGRA(q, 1);
            ASSERT_EQ(q[0], c) << a << " " << c;
            ASSERT_EQ(q[2], a);
        }
    unsigned char clear[4] = {9, 9, 9, 0};
    LUnpremultiplyRowBGRA(clear, clear, 1);
    EXPECT_EQ(clear[0], 0);
}

} // namespace
