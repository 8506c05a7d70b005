#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/freehand.h"
#include "document/image_element.h"
#include "document/project.h"
#include "document/text_elements.h"
#include "support/recording_target.h"

using kvtest::RecordingTarget;
using Calls = std::vector<std::string>;

namespace {

// A picture whose pixel x, y has red x and green y.
LImageBuffer Gradient(int width, int height) {
    LImageBuffer b;
    LImage::New(b, width, height, LPixelFormatB8G8R8A8);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            unsigned char* p = b.GetPictureRow(y) + x * 4;
            p[0] = 0, p[1] = static_cast<unsigned char>(y), p[2] = static_cast<unsigned char>(x);
            p[3] = 255;
        }
    return b;
}

KVImageElement* Placed(int x, int y, int w, int h, int pw, int ph) {
    LImageBuffer picture = Gradient(pw, ph);
    auto* e = new KVImageElement(picture);
    KVImageElementProperties p = e->GetProperties();
    p.x = x, p.y = y, p.width = w, p.height = h;
    e->SetProperties(p, false, nullptr);
    return e;
}

void AddPaths(KVImageElementProperties& p, int count) {
    LList<KVElement> paths;
    for (int i = 0; i < count; ++i)
        paths.PushBack(new KVSimplePathElement);
    p.SetVectorization(paths);
}

} // namespace

TEST(ImageElement, RecordCopiesSharePathsUntilOneAsksForThem) {
    KVImageElementProperties a;
    AddPaths(a, 3);
    KVImageElementProperties b = a;
    EXPECT_EQ(a.GetVectorizationForReading().Get(), b.GetVectorizationForReading().Get());
    KVElement* own = b.GetVectorization().Get();
    EXPECT_NE(own, a.GetVectorizationForReading().Get());
    EXPECT_EQ(b.GetNumberVectors(), 3u);
    // The one left alone now holds its list by itself and keeps it.
    EXPECT_EQ(a.GetVectorization().Get(), a.GetVectorizationForReading().Get());
}

// Crop moves the picture by the box's corner and cuts off, in the
// picture's own pixels (here two per canvas pixel), what leaves the canvas.
TEST(ImageElement, CropCutsWhatLeavesTheCanvas) {
    struct Case {
        LBoundingBox2T<float> box;
        int x, y, w, h, pictureWidth, pictureHeight, firstRed, firstGreen;
    };
    const Case cases[] = {
        {{0, 0, 500, 500}, 10, 20, 50, 40, 100, 80, 0, 0},
        {{30, 30, 500, 500}, 0, 0, 30, 30, 60, 60, 40, 20},
        {{0, 0, 40, 50}, 10, 20, 30, 30, 60, 60, 0, 0},
        {{200, 200, 300, 300}, -190, -180, 50, 40, 100, 80, 0, 0},
    };
    for (const Case& c : cases) {
        std::unique_ptr<KVImageElement> e(Placed(10, 20, 50, 40, 100, 80));
        e->Crop(c.box, nullptr);
        const KVImageElementProperties p = e->GetProperties();
        EXPECT_EQ((std::vector<int>{p.x, p.y, p.width, p.height, p.image->width, p.image->height}),
                  (std::vector<int>{c.x, c.y, c.w, c.h, c.pictureWidth, c.pictureHeight}));
        const unsigned char* first = p.image->GetPictureRow(0);
        EXPECT_EQ(first[2], c.firstRed);
        EXPECT_EQ(first[1], c.firstGreen);
    }
}

TEST(ImageElement, PaintsTurnedAndFallsBackToThePictureWhenTracingFails) {
    std::unique_ptr<KVImageElement> e(Placed(10, 20, 50, 40, 100, 80));
    KVImageElementProperties p = e->GetProperties();
    p.rotation = 30;
    p.vectorized = true;
    // Too large a placement to trace: the picture itself is drawn.
    p.width = 5000;
    p.height = 4000;
    e->SetProperties(p, false, nullptr);
    RecordingTarget t;
    LProcessInterfaceVoid v;
    EXPECT_EQ(e->Render(v, t), LProcessResultOk);
    EXPECT_EQ(t.Calls(),
              (Calls{"t0 BeginRotate 30 (2510,2020) -> t1", "t1 DrawImage", "t0 FinishRotate"}));

    AddPaths(p, 2);
    e->SetProperties(p, false, nullptr);
    e->Resize(2, 2, false);
    RecordingTarget traced;
    e->Render(v, traced);
    EXPECT_EQ(traced.Calls().at(1), "t1 BeginTranslate 20 40 -> t2");
    EXPECT_EQ(traced.Calls().at(2), "t2 BeginScale 2 2 -> t3");
}

TEST(ImageElement, UndoRestoresPlacementAndVectorisation) {
    KVImage image("i", 200, 200, 72, LPixelColour());
    KVImageElement* e = Placed(10, 20, 50, 40, 100, 80);
    image.AddNewElement(e, image.GetFirstLayer(), false, false);
    KVImageElementProperties panel = e->GetProperties();
    AddPaths(panel, 2);
    panel.vectorized = true;
    panel.detail = 80;
    e->SetPropertiesFromPanel(panel, true);
    EXPECT_EQ(e->GetProperties().GetNumberVectors(), 2u);
    e->Resize(2, 2, false);

    LUndoRedoStack& stack = image.GetUndoRedoStack();
    char name[kLFixedStringSize];
    stack.GetItem(0)->GetName(name);
    EXPECT_STREQ(name, "Image Element Modification");
    stack.Undo();
    EXPECT_FALSE(e->GetProperties().vectorized);
    EXPECT_EQ(e->GetProperties().detail, 50);
    stack.Redo();
    EXPECT_EQ(e->GetProperties().detail, 80);
    // Made again for the detail in force.
    EXPECT_EQ(e->GetProperties().GetNumberVectors(), 0u);
    EXPECT_EQ(e->GetRenderedDimensions(), (LBoundingBox2T<float>(20, 40, 120, 120)));
}

// An erased spot stays on the same spot of the picture, and of the text,
// through a resize, a crop and the undo of a move.
TEST(ImageElement, EraseStrokesFollowThePicture) {
    const auto spot = [](const KVErasableProperties& p) {
        float x = 30, y = 40;
        p.strokes.GetFirst()->transform.TransformPoint(x, y);
        return std::vector<float>{x, y};
    };
    const KVEraserStroke stroke(KVDrawPath(1, 1, nullptr), 2, 0, {});
    KVImage image("i", 200, 200, 72, LPixelColour());
    KVImageElement* e = Placed(10, 20, 50, 40, 100, 80);
    image.AddNewElement(e, image.GetFirstLayer(), false, false);
    e->AddEraserStroke(stroke, false, nullptr);
    e->Resize(2, 2, false);
    EXPECT_EQ(spot(e->GetProperties()), (std::vector<float>{60, 80}));
    e->Crop({5, 10, 200, 200}, nullptr);
    EXPECT_EQ(spot(e->GetProperties()), (std::vector<float>{55, 70}));
    KVImageElementUndoRedo move(e, {e->GetProperties().GetPlacement(), 0},
                                {{0, 0, 100, 80}, 0});
    move.Redo();
    EXPECT_EQ(spot(e->GetProperties()), (std::vector<float>{40, 40}));

    KVTextElementProperties t;
    t.bounds = {10, 20, 60, 60};
    t.AddEraserStroke(stroke);
    KVTextElement text(t);
    text.Resize(2, 2, false);
    text.Crop({5, 10, 200, 200}, nullptr);
    EXPECT_EQ(spot(text.GetProperties()), (std::vector<float>{55, 70}));
}

TEST(PictureProject, IsNamedAfterTheFileOnOpaqueWhite) {
    LImageBuffer picture = Gradient(30, 20);
    const auto project = KVNewPictureProject("/some/where/photo.png", picture);
    KVImage* image = project->GetCurrentImage();
    EXPECT_STREQ(project->GetName(), "photo");
    EXPECT_STREQ(image->GetName(), "photo.png");
    EXPECT_STREQ(image->GetPath(), "/some/where/photo.png");
    EXPECT_EQ((std::vector<unsigned long>{image->GetWidth(), image->GetHeight(), image->GetPPI()}),
              (std::vector<unsigned long>{30, 20, 72}));
    EXPECT_EQ(image->GetBackground().GetPacked(), 0xFFFFFFFFu);
    auto* e = dynamic_cast<KVImageElement*>(image->GetFirstLayer()->GetElements().Get());
    ASSERT_TRUE(e);
    EXPECT_EQ(e->GetProperties().GetPlacement(), (LBoundingBox2T<float>(0, 0, 30, 20)));
}
