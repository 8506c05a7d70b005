// The korvane program's command line, run as a user runs it, and the export
// it drives.

#include <gtest/gtest.h>

#include <cstring>

#include "document/shapes.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>
#include <sys/wait.h>

#include "app/export_command.h"
#include "imaging/image_file.h"
#include "imaging/image_iterator.h"
#include "persistence/project_file.h"
#include "support/temp_dir.h"

namespace {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

// A plain picture of the given size, saved as PNG.
bool WritePng(const std::string& path, int width, int height) {
    LImageBuffer picture;
    LImage::New(picture, width, height, LPixelFormatB8G8R8A8);
    picture.Clear(LPixelColour(10, 20, 30, 255));
    return LImage::Save(picture, path.c_str());
}

class Korvane : public ::testing::Test {
protected:
    void SetUp() override {
        LImage::New(picture, 7, 5, LPixelFormatB8G8R8A8);
        LImageIterator it(picture);
        for (unsigned i = 0; it.IsInRange(); it.Next(), ++i)
            it.SetPacked(i % 3 ? 0xFF000000u | (i * 0x030507u) : 0x80400000u);
        ASSERT_TRUE(LImage::Save(picture, dir.File("in.png").c_str()));
    }

    Outcome Start(const std::string& arguments, const std::string& prefix = "") {
        Outcome r;
        const std::string command = prefix + "XDG_CACHE_HOME='" + dir.File("cache") + "' '" +
                                    KV_KORVANE + "' " + arguments + " >'" + dir.File("stdout") +
                                    "' 2>'" + dir.File("stderr") + "' </dev/null";
        const int status = std::system(command.c_str());
        r.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        r.out = kvtest::ReadFile(dir.File("stdout"));
        r.err = kvtest::ReadFile(dir.File("stderr"));
        return r;
    }
    std::string Q(const std::string& name) { return "'" + dir.File(name) + "'"; }

    kvtest::TempDir dir;
    LImageBuffer picture;
};

TEST_F(Korvane, HelpVersionAndWrongCommandLines) {
    Outcome r = Start("--help");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.find("Usage: korvane [--select-all] [FILE...]\n       korvane --export OUTPUT INPUT\n"), 0u);
    EXPECT_EQ(r.err, "");

    r = Start("--version");
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "korvane 0.1.0\n");

    // Without a display the editor window can't open: a message, not a crash.
    r = Start("", "env -u DISPLAY -u WAYLAND_DISPLAY -u QT_QPA_PLATFORM ");
    EXPECT_EQ(r.status, 1);
    EXPECT_NE(r.err.find("korvane: there is no display"), std::string::npos);
    EXPECT_NE(r.err.find("--export"), std::string::npos);

    r = Start("--frobnicate");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err.find("korvane: unknown option '--frobnicate'\n"), 0u);

    r = Start("--export only-one.png");
    EXPECT_EQ(r.status, 2);
    EXPECT_EQ(r.err.find("korvane: --export needs OUTPUT and INPUT\n"), 0u);
}

TEST_F(Korvane, ExportsAPictureByTheOutputsExtension) {
    for (const char* name : {"out.tiff", "out.jp2", "out.jpg", "out.png"}) {
        const Outcome r = Start("--export " + Q(name) + " " + Q("in.png"));
        EXPECT_EQ(r.status, 0) << name << ": " << r.err;
        // Standard error is no terminal here: nothing but errors goes there.
        EXPECT_EQ(r.err, "") << name;
        LImageBuffer back;
        EXPECT_GT(LImage::Load(back, dir.File(name).c_str(), 3000), 0u) << name;
        EXPECT_EQ(back.width, 7);
        EXPECT_EQ(back.height, 5);
    }
    LImageBuffer back;
    ASSERT_EQ(LImage::Load(back, dir.File("out.png").c_str(), 3000), 32u);
    for (LImageConstIterator a(back), b(picture); a.IsInRange(); a.Next(), b.Next())
        ASSERT_EQ(a.GetPacked(), b.GetPacked());

    // A picture exported as SVG is wrapped whole.
    const Outcome r = Start("--export " + Q("out.svg") + " " + Q("out.tiff"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(kvtest::ReadFile(dir.File("out.svg")).substr(0, 7), "<svg\r\n ");
}

TEST_F(Korvane, APictureNamedAsAnotherFormatExportsByWhatItHolds) {
    ASSERT_TRUE(kvtest::WriteFile(dir.File("png.jpg"), kvtest::ReadFile(dir.File("in.png"))));
    const Outcome r = Start("--export " + Q("out.png") + " " + Q("png.jpg"));
    EXPECT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.err, "");
    LImageBuffer back;
    ASSERT_EQ(LImage::Load(back, dir.File("out.png").c_str(), 3000), 32u);
    for (LImageConstIterator a(back), b(picture); a.IsInRange(); a.Next(), b.Next())
        ASSERT_EQ(a.GetPacked(), b.GetPacked());
}

TEST_F(Korvane, FailuresGiveAMessageAndStatusOne) {
    struct Case {
        std::string output, input, message;
    } cases[] = {
        {"out.png", "missing.png",
         "korvane: The file could not be found.\n{in}: No such file or directory\n"},
        {"out.gif", "in.png", "korvane: The file type is not recognized.\n"},
        {"out.eps", "in.png", "korvane: EPS export is not available in this version.\n"},
        {"out.kvp", "in.png", "korvane: A project cannot be written by an export.\n"},
        {"out.bmp", "in.png", "korvane: The image could not be saved\n"},
        {"out.png", "broken.png", "korvane: The image could not be loaded.\n"},
        {"out.png", "broken.kvp", "korvane: The file \"broken.kvp\" is not a project file.\n"},
        {"out.png", "missing.svg",
         "korvane: The file could not be found.\n{in}: No such file or directory\n"},
        {"out.png", "broken.svg", "korvane: \"broken.svg\" is not a picture this program can open. Ln 1, Col 11: Tag <rect> does not have a closing '>'\n"},
        {"out.png", "empty.kvp", "korvane: The picture of 0 by 10 pixels cannot be made.\n"},
        {"out.png", "no-such-format.xyz",
         "korvane: The file could not be found.\n{in}: No such file or directory\n"},
        {"no/folder/out.png", "in.png",
         "korvane: File could not be written.\n{out}: No such file or directory\n"},
    };
    ASSERT_TRUE(kvtest::WriteFile(dir.File("broken.png"), "\x89PNG\r\n\x1a\n and then nothing"));
    ASSERT_TRUE(kvtest::WriteFile(dir.File("broken.kvp"), "lsdf"));
    ASSERT_TRUE(kvtest::WriteFile(dir.File("broken.svg"), "<svg><rect"));
    {
        // A project that loads but has no picture to make.
        KVProject project;
        project.AddNewImage(new KVImage("image", 0, 10, 72, LPixelColour()));
        LProcessInterfaceVoid process;
        ASSERT_EQ(KVProjectFileSave(process, project, dir.File("empty.kvp").c_str()),
                  LProcessResultOk);
    }
    for (const Case& c : cases) {
        const Outcome r = Start("--export " + Q(c.output) + " " + Q(c.input));
        EXPECT_EQ(r.status, 1) << c.output << " " << c.input;
        // The messages name the file as it was given.
        std::string message = c.message;
        for (const auto& [mark, name] : {std::pair{"{in}", c.input}, std::pair{"{out}", c.output}})
            if (const size_t at = message.find(mark); at != std::string::npos)
                message.replace(at, std::strlen(mark), dir.File(name));
        EXPECT_EQ(r.err, message);
        EXPECT_FALSE(kvtest::FileExists(dir.File(c.output))) << c.output;
    }
}

TEST_F(Korvane, AProjectIsRenderedAsOnScreenAndSaved) {
    {
        KVProject project;
        auto* image = new KVImage("image", 40, 30, 72, LPixelColour(255, 255, 255, 255));
        KVLayer* layer = project.AddNewImage(image);
        KVRectangleElementProperties r;
        r.SetRectangle({10, 10, 30, 20});
        r.lineWidth = 0;
        r.SetFill(LGuiColorAlpha(255, 0, 0, 255));
        image->AddNewElement(new KVRectangleElement(r), layer, false, false);
        LProcessInterfaceVoid process;
        ASSERT_EQ(KVProjectFileSave(process, project, dir.File("drawing.kvp").c_str()),
                  LProcessResultOk);
    }
    const Outcome r = Start("--export " + Q("drawing.png") + " " + Q("drawing.kvp"));
    ASSERT_EQ(r.status, 0) << r.err;
    LImageBuffer picture;
    ASSERT_GT(LImage::Load(picture, dir.File("drawing.png").c_str(), 3000), 0u);
    ASSERT_EQ(picture.width, 40);
    ASSERT_EQ(picture.height, 30);
    LImageConstIterator inside(picture, 20, 15, 1, 1, 0), outside(picture, 2, 2, 1, 1, 0);
    EXPECT_EQ(inside.GetPacked(), 0xFFFF0000u); // the red rectangle
    EXPECT_EQ(outside.GetPacked(), 0xFFFFFFFFu); // the white background

    // As SVG the rectangle stays a shape, in a file other programs read.
    const Outcome svg = Start("--export " + Q("drawing.svg") + " " + Q("drawing.kvp"));
    ASSERT_EQ(svg.status, 0) << svg.err;
    const std::string text = kvtest::ReadFile(dir.File("drawing.svg"));
    EXPECT_NE(text.find("<rect fill=\"rgb(255,0,0)\" fill-opacity=\"1.000\" height=\"10\""),
              std::string::npos) << text;
    EXPECT_EQ(std::system(("xmllint --noout --nonet " + Q("drawing.svg")).c_str()), 0);

    // And that file read back is the same picture.
    const Outcome back = Start("--export " + Q("again.png") + " " + Q("drawing.svg"));
    ASSERT_EQ(back.status, 0) << back.err;
    LImageBuffer again;
    ASSERT_GT(LImage::Load(again, dir.File("again.png").c_str(), 3000), 0u);
    ASSERT_EQ(again.width, 40);
    EXPECT_EQ(LImageConstIterator(again, 20, 15, 1, 1, 0).GetPacked(), 0xFFFF0000u);
    EXPECT_EQ(LImageConstIterator(again, 2, 2, 1, 1, 0).GetPacked(), 0xFFFFFFFFu);

    // As PDF too: one page of 40 by 30 points that an outside checker passes.
    const Outcome pdf = Start("--export " + Q("drawing.pdf") + " " + Q("drawing.kvp"));
    ASSERT_EQ(pdf.status, 0) << pdf.err;
    EXPECT_EQ(std::system(("qpdf --check " + Q("drawing.pdf") + " >/dev/null").c_str()), 0);
    EXPECT_EQ(std::system(("pdfinfo " + Q("drawing.pdf") + " | grep -q '40 x 30 pts'").c_str()), 0);
}

TEST(KorvaneConsole, ProgressOnATerminalIsOneLineRewritten) {
    kvtest::TempDir dir;
    ASSERT_TRUE(WritePng(dir.File("in.png"), 300, 200));

    std::FILE* log = std::tmpfile();
    ASSERT_NE(log, nullptr);
    {
        KVConsoleProcess process(log, true);
        EXPECT_EQ(KVExportFile(process, dir.File("out.jpg").c_str(), dir.File("in.png").c_str()),
                  LProcessResultOk);
        EXPECT_EQ(process.GetError(), "");
    }
    std::rewind(log);
    std::string text;
    for (int c; (c = std::fgetc(log)) != EOF;)
        text.push_back(static_cast<char>(c));
    std::fclose(log);
    EXPECT_NE(text.find("\rLoading in.png: Decoding PNG image "), std::string::npos);
    EXPECT_NE(text.find("\rSaving out.jpg: Encoding JPEG image "), std::string::npos);
    EXPECT_NE(text.find("100%"), std::string::npos);
    EXPECT_EQ(text.find('\n'), text.size() - 1) << "one line, ended once";

    // Without a terminal nothing is written at all.
    std::FILE* quiet = std::tmpfile();
    {
        KVConsoleProcess process(quiet, false);
        EXPECT_EQ(KVExportFile(process, dir.File("out2.jpg").c_str(), dir.File("in.png").c_str()),
                  LProcessResultOk);
    }
    EXPECT_EQ(std::ftell(quiet), 0);
    std::fclose(quiet);
}

TEST(KorvaneConsole, AnInterruptStopsTheExport) {
    kvtest::TempDir dir;
    ASSERT_TRUE(WritePng(dir.File("in.png"), 30, 20));
    KVConsoleProcess process(stderr, false);
    KVConsoleProcess::stopRequested = 1;
    EXPECT_EQ(KVExportFile(process, dir.File("out.png").c_str(), dir.File("in.png").c_str()),
              LProcessResultStopped);
    KVConsoleProcess::stopRequested = 0;
    EXPECT_FALSE(kvtest::FileExists(dir.File("out.png")));
}

} // namespace
