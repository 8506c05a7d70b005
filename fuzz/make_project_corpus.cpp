// Writes the seed corpus of the project loader: real saved projects, and
// damaged copies of them (cut, bytes flipped, sizes made huge).
//   kv_make_project_corpus <folder>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/shapes.h"
#include "document/text_elements.h"
#include "persistence/project_file.h"

namespace {

std::string ReadAll(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void WriteAll(const std::string& path, const std::string& bytes) {
    std::ofstream(path, std::ios::binary) << bytes;
}

void AddShapes(KVImage& image, KVLayer* layer, bool effects) {
    KVRectangleElementProperties r;
    r.SetRectangle({10, 10, 60, 40});
    r.SetRotationDegrees(20);
    r.SetFill(LGuiColorAlpha(10, 200, 30, 255));
    r.AddEraserStroke(KVEraserStroke(KVDrawPath(100, 100, nullptr), 5, 20, {}));
    if (effects) {
        r.SetShadow(KVDropShadow());
        r.SetBevelEmboss(KVBevelEmboss());
        r.SetInnerGlow(KVGlow());
        r.SetOuterGlow(KVGlow());
    }
    image.AddNewElement(new KVRectangleElement(r), layer, false, false);
    KVEllipseElementProperties e;
    e.SetBounds({0, 0, 30, 20});
    KVGradient g({0.5f, 0.5f}, {1, 1}, LGuiColorAlpha(255, 0, 0, 255), LGuiColorAlpha(0, 0, 0, 0));
    g.radial = effects;
    g.AddStop(0.3f, LGuiColorAlpha(0, 0, 255, 255));
    e.SetGradient(g);
    image.AddNewElement(new KVEllipseElement(e), layer, false, false);
    KVPolygonElementProperties p;
    p.sides = 6;
    p.SetBounds({5, 5, 25, 25});
    image.AddNewElement(new KVPolygonElement(p), layer, false, false);
    KVTriangleElementProperties t;
    t.corner = 2;
    t.SetBounds({1, 1, 9, 9});
    image.AddNewElement(new KVTriangleElement(t), layer, false, false);
    KVLineElementProperties l;
    l.end = {50, 50};
    image.AddNewElement(new KVLineElement(l), layer, false, false);
}

// Every stroke kind once, fitted, with an erase stroke on the pen.
void AddStrokes(KVImage& image, KVLayer* layer) {
    auto stroke = [](auto p, float y) {
        p.path.Set(new KVDrawPath(200, 100, nullptr));
        for (int i = 0; i < 6; ++i)
            p.path->AddCoord(new KVDrawCoord(10.0f + 30.0f * i, y + ((i % 2) ? 15.0f : 0.0f)));
        InterpolateDrawPath(*p.path, p.curviness, false);
        return p;
    };
    KVPenElementProperties pen = stroke(KVPenElementProperties(), 5);
    pen.SetFill(LGuiColorAlpha(1, 2, 3, 255));
    pen.SetShadow(KVDropShadow());
    pen.SetBevelEmboss(KVBevelEmboss());
    pen.AddEraserStroke(KVEraserStroke(KVDrawPath(200, 100, nullptr), 5, 20, {}));
    image.AddNewElement(new KVPenElement(pen), layer, false, false);
    image.AddNewElement(new KVPencilElement(stroke(KVPencilElementProperties(), 20)), layer, false,
                        false);
    image.AddNewElement(new KVCrayonElement(stroke(KVCrayonElementProperties(), 35)), layer, false,
                        false);
    image.AddNewElement(new KVMarkerElement(stroke(KVMarkerElementProperties(), 50)), layer, false,
                        false);
    KVBrushElementProperties brush = stroke(KVBrushElementProperties(), 65);
    brush.softness = 40;
    image.AddNewElement(new KVBrushElement(brush), layer, false, false);
    image.AddNewElement(new KVSprayElement(stroke(KVSprayElementProperties(), 80)), layer, false,
                        false);
}

// Every shape kind and a pen with every effect, at values past what the
// panels offer: grown and far-off shadows, wide bevels, translucent glows
// wider than the picture, and a turned shape whose glow goes through the
// rotation's child.
void AddEffects(KVImage& image, KVLayer* layer) {
    auto effects = [](auto& p, int i) {
        p.SetShadow(KVDropShadow{i * 60, -40 + i * 30, 90 - i * 20, i * 150});
        p.SetBevelEmboss(KVBevelEmboss{2 + i * 15});
        p.SetInnerGlow(KVGlow{LGuiColorAlpha(255, 220, 0, static_cast<unsigned char>(60 * i)),
                              3.0f + i * 40});
        p.SetOuterGlow(KVGlow{LGuiColorAlpha(0, 200, 60, 128), 1.0f + i * 70});
    };
    KVRectangleElementProperties r;
    r.SetRectangle({10, 10, 60, 40});
    r.SetRotationDegrees(30);
    r.SetFill(LGuiColorAlpha(10, 200, 30, 200));
    effects(r, 0);
    image.AddNewElement(new KVRectangleElement(r), layer, false, false);
    KVEllipseElementProperties e;
    e.SetBounds({150, 60, 230, 120});
    e.lineWidth = 6;
    effects(e, 1);
    image.AddNewElement(new KVEllipseElement(e), layer, false, false);
    KVTriangleElementProperties t;
    t.corner = 1;
    t.SetBounds({70, 20, 110, 90});
    t.SetGradient(KVGradient({0, 0}, {1, 1}, LGuiColorAlpha(255, 0, 0, 255),
                             LGuiColorAlpha(0, 0, 255, 255)));
    effects(t, 2);
    image.AddNewElement(new KVTriangleElement(t), layer, false, false);
    KVPolygonElementProperties p;
    p.sides = 7;
    p.SetBounds({120, 5, 180, 50});
    effects(p, 3);
    image.AddNewElement(new KVPolygonElement(p), layer, false, false);
    KVPenElementProperties pen;
    pen.width = 9;
    pen.path.Set(new KVDrawPath(200, 100, nullptr));
    for (int i = 0; i < 6; ++i)
        pen.path->AddCoord(new KVDrawCoord(10.0f + 30.0f * i, 70.0f + ((i % 2) ? 15.0f : 0.0f)));
    InterpolateDrawPath(*pen.path, pen.curviness, false);
    pen.SetFill(LGuiColorAlpha(1, 2, 3, 255));
    effects(pen, 1);
    image.AddNewElement(new KVPenElement(pen), layer, false, false);
}

// Text in two scripts with both effects, rich runs in several fonts, and a
// turned picture with traced regions and an erase stroke.
void AddTextAndPictures(KVImage& image, KVLayer* layer) {
    KVTextElementProperties t;
    t.text.Set("Text \xC3\xA9\xE2\x82\xAC\nsecond line");
    t.bounds = {5, 5, 120, 60};
    t.rotation = 10;
    t.scaleX = 1.5f;
    t.SetShadow(KVDropShadow());
    t.SetBevelEmboss(KVBevelEmboss());
    image.AddNewElement(new KVTextElement(t), layer, false, false);
    KVRichTextElementProperties r;
    r.bounds = {0, 60, 200, 100};
    for (const char* font : {"Liberation Serif", "DejaVu Sans"}) {
        KVRichTextSegment g;
        LStrCopy(g.font, font);
        g.text.Set(font);
        g.size = 14;
        g.bounds = {r.bounds.x1 + 90 * (g.text.GetLength() % 2), 60, 190, 90};
        r.segments.push_back(g);
    }
    image.AddNewElement(new KVRichTextElement(r), layer, false, false);
    LImageBuffer picture;
    LImage::New(picture, 8, 6, LPixelFormatB8G8R8A8);
    picture.Clear(LPixelColour(200, 100, 50, 255));
    auto* e = new KVImageElement(picture);
    KVImageElementProperties p = e->GetProperties();
    p.x = 120, p.y = 20, p.width = 60, p.height = 40, p.rotation = 25, p.vectorized = true;
    LList<KVElement> regions;
    KVSimplePathElementProperties region;
    KVDrawPath outline(8, 6, nullptr);
    for (auto [x, y] : {std::pair{0.0f, 0.0f}, {8.0f, 0.0f}, {8.0f, 6.0f}})
        outline.AddCoord(new KVDrawCoord(x, y));
    region.SetPath(outline);
    regions.PushBack(new KVSimplePathElement(region));
    p.SetVectorization(regions);
    p.AddEraserStroke(KVEraserStroke(KVDrawPath(200, 100, nullptr), 5, 20, {}));
    e->SetProperties(p, false, nullptr);
    image.AddNewElement(e, layer, false, false);
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::fprintf(stderr, "usage: kv_make_project_corpus <folder>\n");
        return 2;
    }
    const std::string folder = argv[1];
    LProcessInterfaceVoid process;
    // 0 and 1: shapes, 2: freehand strokes, 3: every effect on every kind,
    // 4: text and pictures.
    for (int variant = 0; variant < 5; ++variant) {
        KVProject project("seed");
        auto* image = new KVImage("seed", 200, 100, 72, LPixelColour(255, 255, 255, 255));
        KVLayer* layer = project.AddNewImage(image);
        if (variant == 4)
            AddTextAndPictures(*image, layer);
        else if (variant == 3)
            AddEffects(*image, layer);
        else if (variant == 2)
            AddStrokes(*image, layer);
        else
            AddShapes(*image, layer, variant == 1);
        if (variant == 1) {
            auto* hidden = new KVLayer("hidden");
            image->AddNewLayer(hidden, false);
            image->UpdateLayerVisibility(hidden, false);
            AddShapes(*image, hidden, false);
        }
        const std::string name = folder + "/project-" + std::to_string(variant) + ".kvp";
        if (KVProjectFileSave(process, project, name.c_str()) != LProcessResultOk)
            return 1;
        const std::string bytes = ReadAll(name);
        WriteAll(folder + "/cut-half-" + std::to_string(variant), bytes.substr(0, bytes.size() / 2));
        WriteAll(folder + "/cut-trailer-" + std::to_string(variant),
                 bytes.substr(0, bytes.size() - 1));
        std::string flipped = bytes;
        for (size_t i = 40; i < flipped.size(); i += 97)
            flipped[i] = static_cast<char>(flipped[i] ^ 0x5A);
        WriteAll(folder + "/flipped-" + std::to_string(variant), flipped);
        std::string huge = bytes;
        // The first chunk size behind the header: claim far more than there is.
        for (size_t i = 16; i < 24 && i < huge.size(); ++i)
            huge[i] = static_cast<char>(0x7F);
        WriteAll(folder + "/huge-size-" + std::to_string(variant), huge);
    }
    return 0;
}
