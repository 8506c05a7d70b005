#include <gtest/gtest.h>

#include <csignal>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <tuple>
#include <sys/resource.h>
#include <vector>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "persistence/project_file.h"
#include "support/process_log.h"
#include "support/temp_dir.h"

namespace {

template <class E> E* ElementAt(KVProject& p, unsigned long i) {
    KVLayer* layer = p.GetCurrentImage()->GetFirstLayer();
    LListIterator<KVElement> it = layer->GetElements();
    for (; i > 0 && it; --i)
        ++it;
    return dynamic_cast<E*>(it.Get());
}

// A project of every shape kind, with fills, a linear gradient and effects:
// nothing in it changes on a load.
KVProject* MakeSteadyProject() {
    auto* project = new KVProject("steady");
    auto* image = new KVImage("picture", 640, 480, 96, LPixelColour(250, 240, 230, 255));
    KVLayer* base = project->AddNewImage(image);
    image->TakeNextLayerNumber();
    image->TakeNextLayerNumber();

    KVRectangleElementProperties r;
    r.SetRectangle({10, 20, 110, 70});
    r.lineWidth = 3;
    r.lineColour = LGuiColorAlpha(200, 10, 10, 128);
    r.SetFill(LGuiColorAlpha(1, 2, 3, 4));
    r.SetRotationDegrees(12.5f);
    KVDropShadow shadow;
    shadow.size = 3;
    shadow.softness = 9;
    r.SetShadow(shadow);
    image->AddNewElement(new KVRectangleElement(r), base, false, false);

    KVEllipseElementProperties e;
    e.SetBounds({0, 0, 50, 30});
    KVGradient g({0.1f, 0.2f}, {0.9f, 0.8f}, LGuiColorAlpha(255, 0, 0, 255),
                 LGuiColorAlpha(0, 0, 255, 200));
    g.AddStop(0.5f, LGuiColorAlpha(0, 255, 0, 255));
    e.SetGradient(g);
    KVGlow glow;
    glow.strength = 3.5f;
    e.SetInnerGlow(glow);
    e.SetOuterGlow(KVGlow());
    e.SetBevelEmboss(KVBevelEmboss{4});
    image->AddNewElement(new KVEllipseElement(e), base, false, false);

    auto* upper = new KVLayer("upper");
    image->AddNewLayer(upper, false);
    image->UpdateLayerVisibility(upper, false);
    KVTriangleElementProperties t;
    t.corner = 3;
    t.SetBounds({5, 5, 15, 25});
    image->AddNewElement(new KVTriangleElement(t), upper, false, false);
    KVPolygonElementProperties pg;
    pg.sides = 7;
    pg.SetBounds({100, 100, 200, 160});
    image->AddNewElement(new KVPolygonElement(pg), upper, false, false);
    KVLineElementProperties l;
    l.start = {1, 2};
    l.end = {30, 40};
    l.lineWidth = 5;
    l.startCap = KVLineCapRound;
    l.endCap = KVLineCapDiamond;
    l.dashStyle = 2;
    image->AddNewElement(new KVLineElement(l), upper, false, false);
    return project;
}

struct ProjectFileTest : testing::Test {
    kvtest::TempDir dir;
    kvtest::ProcessLog process;

    std::string Save(const KVProject& p, const char* name) {
        const std::string path = dir.File(name);
        EXPECT_EQ(KVProjectFileSave(process, p, path.c_str()), LProcessResultOk)
            << process.LastError();
        return path;
    }
    std::unique_ptr<KVProject> Load(const std::string& path,
                                    LProcessResult expected = LProcessResultOk) {
        auto project = std::make_unique<KVProject>("loaded");
        EXPECT_EQ(KVProjectFileLoad(process, *project, path.c_str()), expected);
        return project;
    }
};

TEST_F(ProjectFileTest, SaveLoadSaveGivesTheSameBytes) {
    std::unique_ptr<KVProject> original(MakeSteadyProject());
    const std::string first = Save(*original, "first.kvp");
    std::unique_ptr<KVProject> loaded = Load(first);
    const std::string second = Save(*loaded, "second.kvp");
    EXPECT_EQ(kvtest::ReadFile(first), kvtest::ReadFile(second));
    EXPECT_TRUE(process.errors.empty());

    // The same bytes again prove the fields came back; what the writer does
    // not hold is checked here.
    KVImage* image = loaded->GetCurrentImage();
    EXPECT_STREQ(image->GetPath(), first.c_str());
    ASSERT_EQ(image->GetLayerCount(), 2u);
    ASSERT_TRUE(ElementAt<KVRectangleElement>(*loaded, 0));
    EXPECT_FLOAT_EQ(ElementAt<KVRectangleElement>(*loaded, 0)->GetProperties().rotation, 12.5f);
}

TEST_F(ProjectFileTest, KeptDifferencesBetweenWriterAndReader) {
    KVProject project("p");
    auto* image = new KVImage("i", 100, 100, 72, LPixelColour());
    KVLayer* layer = project.AddNewImage(image);
    KVRectangleElementProperties r;
    r.SetRectangle({0, 0, 10, 10});
    KVGradient g({0.5f, 0.5f}, {1, 1}, {}, {});
    g.radial = true;
    g.radiusX = 0.2f;
    g.radiusY = 0.7f;
    r.SetGradient(g);
    // Strokes A then B: B is the newest and comes first.
    r.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 20, 50, {}));
    r.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 40, 50, {}));
    image->AddNewElement(new KVRectangleElement(r), layer, false, false);
    KVLineElementProperties l;
    l.lineColour = LGuiColorAlpha(10, 20, 30, 128);
    l.AddEraserStroke(KVEraserStroke(KVDrawPath(1, 1, nullptr), 1, 0, {}));
    image->AddNewElement(new KVLineElement(l), layer, false, false);

    std::unique_ptr<KVProject> once = Load(Save(project, "a.kvp"));
    const KVRectangleElementProperties r1 = ElementAt<KVRectangleElement>(*once, 0)->GetProperties();
    EXPECT_FLOAT_EQ(r1.gradient->radiusX, 0.7f); // the radii change places
    EXPECT_FLOAT_EQ(r1.gradient->radiusY, 0.2f);
    ASSERT_EQ(r1.strokes.GetCount(), 2u);
    EXPECT_FLOAT_EQ(r1.strokes.GetFirst()->width, 20); // the order turns: A, B
    // The stored radius (10 of width 20) is taken as a percentage: 2.
    EXPECT_EQ(r1.strokes.GetFirst()->softnessRadius, 2u);
    const KVLineElementProperties l1 = ElementAt<KVLineElement>(*once, 1)->GetProperties();
    EXPECT_EQ(l1.lineColour, LGuiColorAlpha(10, 20, 30, 255)); // opaque again
    EXPECT_EQ(l1.strokes.GetCount(), 0u);                      // a line keeps no strokes

    std::unique_ptr<KVProject> twice = Load(Save(*once, "b.kvp"));
    const KVRectangleElementProperties r2 = ElementAt<KVRectangleElement>(*twice, 0)->GetProperties();
    EXPECT_FLOAT_EQ(r2.gradient->radiusX, 0.2f);
    EXPECT_FLOAT_EQ(r2.gradient->radiusY, 0.7f);
    EXPECT_FLOAT_EQ(r2.strokes.GetFirst()->width, 40); // B, A again
}

// Writes a file by hand, for what the program itself never writes.
struct Crafted {
    LOutputStreamFile stream;
    KVSDFWriter w;
    explicit Crafted(const std::string& path, unsigned long format = kKVProjectFormatId) {
        stream.Open(path.c_str());
        w.Open(stream, format, 0);
        w.StartContainer(KVChunkProject);
    }
    void Element(const char* key, void (*fields)(KVSDFWriter&) = nullptr) {
        w.StartContainer(KVChunkElement);
        w.WriteString(KVChunkKey, key);
        if (fields)
            fields(w);
        w.EndContainer(KVChunkElement);
    }
    void Finish() {
        w.EndContainer(KVChunkProject);
        w.Close();
        stream.Close();
    }
};

TEST_F(ProjectFileTest, AbsentChunksTakeTheirDefaultsAndRangesAreChecked) {
    const std::string path = dir.File("crafted.kvp");
    {
        Crafted f(path);
        f.w.StartContainer(KVChunkImage);
        f.w.WriteInt(KVChunkWidth, 300);
        f.w.StartContainer(KVChunkLayer); // no visibility, no name
        f.Element("polygon", [](KVSDFWriter& w) { w.WriteInt(KVChunkSides, 11); });
        f.Element("triangle");
        f.w.EndContainer(KVChunkLayer);
        f.w.EndContainer(KVChunkImage);
        f.Finish();
    }
    std::unique_ptr<KVProject> p = Load(path);
    KVImage* image = p->GetCurrentImage();
    EXPECT_EQ(image->GetWidth(), 300u);
    EXPECT_EQ(image->GetHeight(), 768u);
    EXPECT_EQ(image->GetNextLayerNumber(), 1);
    EXPECT_STREQ(image->GetName(), "loaded"); // the project's name until 1003 replaces it
    EXPECT_TRUE(image->GetFirstLayer()->IsVisible());
    EXPECT_EQ(ElementAt<KVPolygonElement>(*p, 0)->GetProperties().sides, 3u);
    EXPECT_EQ(ElementAt<KVTriangleElement>(*p, 1)->GetProperties().corner, 0);
}

TEST_F(ProjectFileTest, TwoImagesComeBackReversedWithTheLastOneCurrent) {
    const std::string path = dir.File("two.kvp");
    {
        Crafted f(path);
        for (const char* n : {"first", "second"}) {
            f.w.StartContainer(KVChunkImage);
            f.w.WriteString(KVChunkName, n);
            f.w.EndContainer(KVChunkImage);
        }
        f.Finish();
    }
    std::unique_ptr<KVProject> p = Load(path);
    EXPECT_STREQ(p->GetCurrentImage()->GetName(), "second");
    EXPECT_STREQ(p->GetImages()->GetName(), "second");
    EXPECT_STREQ(p->GetImages()->GetNext()->GetName(), "first");
    EXPECT_EQ(p->GetCurrentImage()->GetLayerCount(), 1u); // never without a layer
}

TEST_F(ProjectFileTest, RefusalsSayWhy) {
    const std::string unknown = dir.File("unknown.kvp");
    {
        Crafted f(unknown);
        f.w.StartContainer(KVChunkImage);
        f.w.StartContainer(KVChunkLayer);
        f.Element("simplepath");
        f.w.EndContainer(KVChunkLayer);
        f.w.EndContainer(KVChunkImage);
        f.Finish();
    }
    Load(unknown, LProcessResultError);
    ASSERT_EQ(process.errors.size(), 1u);
    EXPECT_NE(process.errors.back().find("cannot read"), std::string::npos);

    const std::string other = dir.File("other.kvp");
    {
        Crafted f(other, 22);
        f.Finish();
    }
    Load(other, LProcessResultError);
    EXPECT_EQ(process.errors.back(), "The file \"other.kvp\" is not a project file.");

    Load(dir.File("missing.kvp"), LProcessResultError);
    EXPECT_EQ(process.errors.back(), "The file \"missing.kvp\" could not be opened.");
}

TEST_F(ProjectFileTest, ADamagedFileNeverLoadsAsAPartialProject) {
    std::unique_ptr<KVProject> original(MakeSteadyProject());
    const std::string whole = kvtest::ReadFile(Save(*original, "whole.kvp"));
    // Every cut, the last byte included (the end mark), is refused.
    for (size_t cut : {whole.size() - 1, whole.size() - 4, whole.size() / 2, size_t(40)}) {
        const std::string path = dir.File("cut.kvp");
        ASSERT_TRUE(kvtest::WriteFile(path, whole.substr(0, cut)));
        Load(path, LProcessResultError);
        EXPECT_NE(process.errors.back().find("damaged"), std::string::npos) << cut;
    }
    // A chunk that claims more than its parent holds.
    std::string bad = whole;
    bad[bad.size() / 2] = static_cast<char>(0xFF);
    bad[bad.size() / 2 + 1] = static_cast<char>(0xFF);
    const std::string path = dir.File("bad.kvp");
    ASSERT_TRUE(kvtest::WriteFile(path, bad));
    auto project = std::make_unique<KVProject>("x");
    KVProjectFileLoad(process, *project, path.c_str()); // any result, no crash
}

TEST_F(ProjectFileTest, AFailedOrStoppedSaveLeavesTheOldFileAsItWas) {
    std::unique_ptr<KVProject> small(new KVProject("small"));
    small->AddNewImage(new KVImage("i", 10, 10, 72, LPixelColour()));
    const std::string path = Save(*small, "keep.kvp");
    const std::string before = kvtest::ReadFile(path);

    std::unique_ptr<KVProject> big(MakeSteadyProject());
    for (int i = 0; i < 300; ++i) {
        KVRectangleElementProperties r;
        r.SetRectangle({0, 0, 1, 1});
        big->GetCurrentImage()->AddNewElement(new KVRectangleElement(r),
                                              big->GetCurrentImage()->GetFirstLayer(), false, false);
    }
    // The disk fills up a few kilobytes in.
    rlimit old;
    getrlimit(RLIMIT_FSIZE, &old);
    auto previous = std::signal(SIGXFSZ, SIG_IGN);
    rlimit limited = old;
    limited.rlim_cur = 4096;
    setrlimit(RLIMIT_FSIZE, &limited);
    const LProcessResult full = KVProjectFileSave(process, *big, path.c_str());
    setrlimit(RLIMIT_FSIZE, &old);
    std::signal(SIGXFSZ, previous);
    EXPECT_EQ(full, LProcessResultError);
    EXPECT_NE(process.errors.back().find("could not be saved"), std::string::npos);
    EXPECT_EQ(kvtest::ReadFile(path), before);

    process.stopAfter = 2;
    EXPECT_EQ(KVProjectFileSave(process, *big, path.c_str()), LProcessResultStopped);
    EXPECT_EQ(kvtest::ReadFile(path), before);

    // No temporary file is left behind in either case.
    size_t files = 0;
    for (const auto& e : std::filesystem::directory_iterator(dir.Path()))
        files += e.is_regular_file();
    EXPECT_EQ(files, 1u);
}

TEST_F(ProjectFileTest, SettingsWithoutAProjectAreRefused) {
    KVProjectFileSaveSettings save{};
    LStrCopy(save.path, dir.File("s.kvp").c_str());
    EXPECT_EQ(Process(process, save), LProcessResultError);
    KVProjectFileLoadSettings load{};
    LStrCopy(load.path, save.path);
    EXPECT_EQ(Process(process, load), LProcessResultError);
}

TEST_F(ProjectFileTest, OrderMattersWhereTheFormatSaysSo) {
    const std::string path = dir.File("order.kvp");
    {
        Crafted f(path);
        f.w.StartContainer(KVChunkImage);
        f.w.StartContainer(KVChunkLayer);
        // A field before the key is passed over with everything else ahead of it.
        f.w.StartContainer(KVChunkElement);
        f.w.WriteFloat(KVChunkLineWidth, 9);
        f.w.WriteString(KVChunkKey, "rectangle");
        f.w.WriteFloat(KVChunkRotation, 0);
        f.w.EndContainer(KVChunkElement);
        // Strokes before the bounds: the box's setter then moves them.
        f.Element("rectangle", [](KVSDFWriter& w) {
            KVErasableProperties strokes;
            strokes.AddEraserStroke(KVEraserStroke(KVDrawPath(10, 10, nullptr), 1, 0, {}));
            LProcessInterfaceVoid v;
            KVProjectFileWriteErasers(v, w, strokes);
            KVProjectFileWriteBounds(w, {5, 7, 15, 17});
        });
        f.w.EndContainer(KVChunkLayer);
        f.w.EndContainer(KVChunkImage);
        f.Finish();
    }
    std::unique_ptr<KVProject> p = Load(path);
    EXPECT_FLOAT_EQ(ElementAt<KVRectangleElement>(*p, 0)->GetProperties().lineWidth, 1.0f);
    const KVRectangleElementProperties moved = ElementAt<KVRectangleElement>(*p, 1)->GetProperties();
    ASSERT_EQ(moved.strokes.GetCount(), 1u);
    float x = 0, y = 0;
    moved.strokes.GetFirst()->transform.TransformPoint(x, y);
    // Moved by the corner (5, 7), then scaled by (10 + 1) / (0 + 1) about the
    // outline's corner (4.5, 6.5).
    EXPECT_FLOAT_EQ(x, 10);
    EXPECT_FLOAT_EQ(y, 12);
}

// ---------------------------------------------------------------- freehand

// A fitted zigzag with pressure, as the pen tool leaves it.
template <class P> P Stroked(P p, float x0) {
    p.path.Set(new KVDrawPath(640, 480, nullptr));
    for (int i = 0; i < 5; ++i)
        p.path->AddCoord(new KVDrawCoord(x0 + 20.0f * i, (i % 2) ? 40.0f : 10.0f));
    const long levels[] = {1, 2, 3, 4, 5};
    p.path->SetPressureLevels(levels, 5, 255);
    InterpolateDrawPath(*p.path, p.curviness, false);
    return p;
}

TEST_F(ProjectFileTest, EveryFreehandKindSavesLoadsAndSavesToTheSameBytes) {
    KVProject project("strokes");
    auto* image = new KVImage("i", 640, 480, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project.AddNewImage(image);
    KVPenElementProperties pen = Stroked(KVPenElementProperties(), 0);
    pen.penType = KVBrushCalligraphy;
    pen.joinStyle = 1;
    pen.SetFill(LGuiColorAlpha(9, 8, 7, 6));
    pen.SetShadow(KVDropShadow{1, 2, 3, 4});
    pen.SetBevelEmboss(KVBevelEmboss{5});
    pen.AddEraserStroke(KVEraserStroke(KVDrawPath(640, 480, nullptr), 4, 0, {}));
    KVPenElementProperties gradientPen = Stroked(KVPenElementProperties(), 5);
    gradientPen.SetGradient(KVGradient({0, 0}, {1, 1}, LGuiColorAlpha(1, 2, 3, 4), {}));
    KVPencilElementProperties pencil = Stroked(KVPencilElementProperties(), 10);
    pencil.colour = LGuiColor::FromBytes(10, 20, 30);
    pencil.curviness = 0.25f;
    KVCrayonElementProperties crayon = Stroked(KVCrayonElementProperties(), 20);
    crayon.colour = LGuiColorAlpha(1, 2, 3, 77);
    KVMarkerElementProperties marker = Stroked(KVMarkerElementProperties(), 30);
    marker.shape = 3;
    KVBrushElementProperties brush = Stroked(KVBrushElementProperties(), 40);
    brush.softness = 60;
    brush.width = 7.5f;
    KVSprayElementProperties spray = Stroked(KVSprayElementProperties(), 50);
    spray.brushType = KVBrushCrayonSplotch;
    for (KVElement* e : std::initializer_list<KVElement*>{
             new KVPenElement(pen), new KVPenElement(gradientPen), new KVPencilElement(pencil),
             new KVCrayonElement(crayon), new KVMarkerElement(marker), new KVBrushElement(brush),
             new KVSprayElement(spray), new KVSprayElement()})
        image->AddNewElement(e, layer, false, false);

    const std::string first = Save(project, "first.kvp");
    std::unique_ptr<KVProject> loaded = Load(first);
    EXPECT_EQ(kvtest::ReadFile(first), kvtest::ReadFile(Save(*loaded, "second.kvp")));

    // What the bytes cannot show: the pressure is gone, the curve is the one
    // drawn, not fitted again.
    const KVPenElementProperties back = ElementAt<KVPenElement>(*loaded, 0)->GetProperties();
    ASSERT_TRUE(back.path);
    EXPECT_EQ(back.path->GetPressure(), nullptr);
    EXPECT_EQ(back.path->GetWidth(), 640u);
    const KVDrawCoord* original = pen.path->GetCoords().GetAt(2);
    const KVDrawCoord* read = back.path->GetCoords().GetAt(2);
    EXPECT_EQ(std::vector<float>({read->beforeX, read->beforeY, read->afterX, read->afterY}),
              std::vector<float>({original->beforeX, original->beforeY, original->afterX,
                                  original->afterY}));
    EXPECT_EQ(back.penType, KVBrushCalligraphy);
    EXPECT_EQ(ElementAt<KVMarkerElement>(*loaded, 4)->GetProperties().shape, 3);
    EXPECT_FLOAT_EQ(ElementAt<KVPencilElement>(*loaded, 2)->GetProperties().curviness, 0.25f);
}

// Little-endian bytes of a double, as the format stores them.
void WriteDouble(KVSDFWriter& w, unsigned short id, double v) {
    unsigned long long bits = 0;
    std::memcpy(&bits, &v, sizeof bits);
    unsigned char bytes[8];
    for (int i = 0; i < 8; ++i)
        bytes[i] = static_cast<unsigned char>(bits >> (8 * i));
    w.WriteBlob(id, bytes, sizeof bytes);
}

TEST_F(ProjectFileTest, OlderStrokeFormsStillLoad) {
    const std::string path = dir.File("older.kvp");
    {
        Crafted f(path);
        f.w.StartContainer(KVChunkImage);
        f.w.StartContainer(KVChunkLayer);
        // Points without controls, and the curve as coefficients ahead of them.
        f.Element("brush", [](KVSDFWriter& w) {
            w.StartContainer(KVChunkDrawPath);
            w.StartContainer(KVChunkCoefficients);
            const double a[4][2] = {{0, 0}, {0, 0}, {20, 0}, {-10, 0}};
            for (const auto& pair : a) {
                w.StartContainer(KVChunkPoint);
                WriteDouble(w, KVChunkX, pair[0]);
                WriteDouble(w, KVChunkY, pair[1]);
                w.EndContainer(KVChunkPoint);
            }
            w.EndContainer(KVChunkCoefficients);
            w.StartContainer(KVChunkStrokePath);
            w.WriteInt(KVChunkWidth, 100);
            w.StartContainer(KVChunkPoints);
            KVProjectFileWritePoint(w, {0, 0});
            KVProjectFileWritePoint(w, {10, 0});
            KVProjectFileWritePoint(w, {20, 0});
            w.EndContainer(KVChunkPoints);
            w.EndContainer(KVChunkStrokePath);
            w.EndContainer(KVChunkDrawPath);
            KVProjectFileWriteColor(w, LGuiColorAlpha(1, 2, 3, 200));
            w.WriteInt(KVChunkOldAlpha, 50); // wins over the colour's, read before it
        });
        f.w.EndContainer(KVChunkLayer);
        f.w.EndContainer(KVChunkImage);
        f.Finish();
    }
    std::unique_ptr<KVProject> p = Load(path);
    const KVBrushElementProperties b = ElementAt<KVBrushElement>(*p, 0)->GetProperties();
    EXPECT_EQ(b.colour, LGuiColorAlpha(1, 2, 3, 50));
    EXPECT_FLOAT_EQ(b.curviness, 0.5f);
    ASSERT_TRUE(b.path);
    EXPECT_EQ(b.path->GetCoords().GetCount(), 3u);
    const KVDrawCoord* p1 = b.path->GetCoords().GetAt(1);
    EXPECT_FLOAT_EQ(p1->beforeX, 10.0f - 10.0f / 3); // from the coefficients
    EXPECT_FLOAT_EQ(p1->afterX, 10.0f);                 // no segment leaves it
}

// A simple path lives only inside a picture element; its own fields still
// come back as they went, and its outline is made again from the points.
TEST_F(ProjectFileTest, ASimplePathsFieldsComeBackAsWritten) {
    auto write = [this](KVElement& e, const char* name) {
        const std::string path = dir.File(name);
        LOutputStreamFile stream;
        stream.Open(path.c_str());
        KVSDFWriter w;
        w.Open(stream, kKVProjectFormatId, 0);
        w.StartContainer(KVChunkElement);
        EXPECT_EQ(e.WriteSDF(process, w), LProcessResultOk);
        w.EndContainer(KVChunkElement);
        w.Close();
        stream.Close();
        return path;
    };
    KVSimplePathElementProperties p;
    p.colour = LGuiColorAlpha(5, 6, 7, 8);
    KVDrawPath points(50, 40, nullptr);
    for (auto [x, y] : std::vector<std::pair<float, float>>{{1, 2}, {30, 2}, {30, 35}})
        points.AddCoord(new KVDrawCoord(x, y));
    p.SetPath(points);
    KVSimplePathElement original(p);
    const std::string first = write(original, "simple-a");

    KVSimplePathElement read;
    LInputStreamFile stream;
    ASSERT_TRUE(stream.Open(first.c_str()));
    KVSDFReader reader;
    ASSERT_TRUE(reader.Open(stream, kKVProjectFormatId));
    for (KVSDFIterator it(reader, reader.GetRootChunk()); it.IsValid(); it.Next()) {
        if (it.Get().id == KVChunkElement) {
            EXPECT_EQ(read.ReadSDF(reader, it.Get()), LProcessResultOk);
        }
    }
    EXPECT_EQ(kvtest::ReadFile(first), kvtest::ReadFile(write(read, "simple-b")));
    EXPECT_EQ(read.GetProperties().outline.GetBounds(), LBoundingBox2T<float>(1, 2, 30, 35));
    EXPECT_EQ(read.GetProperties().path.GetHeight(), 40u);
}

// Text in several scripts, fonts and sizes, and a picture with translucent
// pixels, erase strokes and two traced regions: a reload changes none of it,
// and the regions keep the order they are painted in.
TEST_F(ProjectFileTest, TextRichTextAndPicturesSaveLoadAndSaveToTheSameBytes) {
    KVProject project("p");
    auto* image = new KVImage("i", 300, 200, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project.AddNewImage(image);
    KVTextElementProperties t;
    t.text.Set("Gr\xC3\xBC\xC3\x9F" "e\n\xE6\x97\xA5\xE6\x9C\xAC \xF0\x9F\x98\x80");
    LStrCopy(t.font, "Liberation Serif");
    t.bold = t.underline = true;
    t.fontSize = 31;
    t.alignment = 2;
    t.lineSpacing = 1.5f;
    t.rotation = -12;
    t.scaleX = 0.75f;
    t.bounds = {5, 6, 150, 90};
    t.colour = LGuiColorAlpha(10, 20, 30, 40);
    t.SetShadow(KVDropShadow{3, 4, 5, 6});
    image->AddNewElement(new KVTextElement(t), layer, false, false);
    KVRichTextElementProperties r;
    r.bounds = {0, 100, 200, 180};
    r.SetBevelEmboss(KVBevelEmboss{3});
    for (auto [font, size, text] : {std::tuple{"Liberation Sans", 12.0f, "caf\xC3\xA9 "},
                                    std::tuple{"DejaVu Serif", 30.0f, "\xCE\xB1\xCE\xB2"}}) {
        KVRichTextSegment g;
        LStrCopy(g.font, font);
        g.size = size;
        g.text.Set(text);
        g.italic = true;
        g.colour = LGuiColor::FromBytes(200, 0, 7);
        g.bounds = {size, 100, size * 4, 140};
        r.segments.push_back(g);
    }
    image->AddNewElement(new KVRichTextElement(r), layer, false, false);
    LImageBuffer picture;
    LImage::New(picture, 7, 5, LPixelFormatB8G8R8A8);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x) {
            unsigned char* px = picture.GetPictureRow(y) + x * 4;
            const unsigned char a = static_cast<unsigned char>(x == 3 ? 128 : 255);
            px[0] = static_cast<unsigned char>(x * 30 * a / 255), px[1] = 0;
            px[2] = static_cast<unsigned char>(y * 50 * a / 255), px[3] = a;
        }
    auto* pictureElement = new KVImageElement(picture);
    KVImageElementProperties ip = pictureElement->GetProperties();
    ip.x = 40, ip.y = 50, ip.width = 70, ip.height = 50, ip.rotation = 15, ip.detail = 77;
    ip.vectorized = true;
    LList<KVElement> regions;
    for (unsigned char c : {1, 2}) {
        KVSimplePathElementProperties sp;
        sp.colour = LGuiColorAlpha(c, c, c, 255);
        regions.PushBack(new KVSimplePathElement(sp));
    }
    ip.SetVectorization(regions);
    ip.AddEraserStroke(KVEraserStroke(KVDrawPath(300, 200, nullptr), 5, 0, {}));
    pictureElement->SetProperties(ip, false, nullptr);
    image->AddNewElement(pictureElement, layer, false, false);

    const std::string first = Save(project, "first.kvp");
    std::unique_ptr<KVProject> loaded = Load(first);
    EXPECT_EQ(kvtest::ReadFile(first), kvtest::ReadFile(Save(*loaded, "second.kvp")));
    const auto* text = ElementAt<KVTextElement>(*loaded, 0);
    const auto* rich = ElementAt<KVRichTextElement>(*loaded, 1);
    auto* read = ElementAt<KVImageElement>(*loaded, 2);
    ASSERT_TRUE(text && rich && read);
    EXPECT_STREQ(text->GetProperties().text.Get(), t.text.Get());
    EXPECT_EQ(rich->GetProperties().segments.at(1).text, "\xCE\xB1\xCE\xB2");
    const KVImageElementProperties back = read->GetProperties();
    EXPECT_EQ(back.detail, 77);
    EXPECT_EQ(static_cast<const KVSimplePathElement*>(back.GetVectorizationForReading().Get())
                  ->GetProperties().colour.Red8(), 1);
}

TEST_F(ProjectFileTest, APictureThatDoesNotDecodeFailsTheLoad) {
    KVProject project("p");
    KVLayer* layer = project.AddNewImage(new KVImage("i", 10, 10, 72, LPixelColour()));
    LImageBuffer picture;
    LImage::New(picture, 4, 4, LPixelFormatB8G8R8A8);
    picture.Clear(LPixelColour(1, 2, 3, 255));
    project.GetCurrentImage()->AddNewElement(new KVImageElement(picture), layer, false, false);
    std::string bytes = kvtest::ReadFile(Save(project, "good.kvp"));
    const size_t png = bytes.find("IHDR");
    ASSERT_NE(png, std::string::npos);
    bytes[png + 4] = 0x7F; // a width no picture has
    const std::string bad = dir.File("bad.kvp");
    std::ofstream(bad, std::ios::binary) << bytes;
    Load(bad, LProcessResultError);
}

} // namespace
