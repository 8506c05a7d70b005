#pragma once
// Scenes drawn the same way on any render target, so that a back end's file
// can be compared with the raster render of the very same drawing.

#include "document/image_element.h"
#include "document/text_elements.h"
#include "imaging/image_buffer.h"
#include "target/render_image.h"

namespace kvtest {

inline const LGuiColorAlpha kBlack(0, 0, 0, 255), kRed(255, 0, 0, 255), kBlue(0, 0, 255, 255);

// One scene through any target: every shape kind, solid and linear
// gradient fills, lines with flat and round caps, a picture, and the three
// transforms.
inline void DrawScene(KVRenderImage& t, const LImageBuffer& picture) {
    LProcessInterfaceVoid v;
    t.Clear(LPixelColour(255, 255, 255, 255));
    const LGuiColorAlpha green(0, 160, 0, 255);
    t.FillRect(v, 3, kBlack, kRed, KVBox(10, 10, 70, 50));
    t.FillEllipse(v, KVGradient({0, 0}, {1, 0}, kBlue, green), 2, kBlack, KVBox(90, 10, 170, 60));
    KVPoint triangle[] = {{200, 60}, {230, 10}, {260, 60}};
    t.FillPoly(v, 2, kBlue, green, triangle, 3, KVBox(200, 10, 260, 60));
    KVPoint star[] = {{20, 90}, {60, 80}, {40, 120}, {70, 130}, {15, 130}};
    t.DrawPoly(v, 4, green, star, 5, KVBox(15, 80, 70, 130));
    t.DrawLine(v, 6, kRed, KVLineCapFlat, KVLineCapFlat, LLineDashSolid, 90, 90, 170, 100);
    t.DrawLine(v, 8, kBlue, KVLineCapRound, KVLineCapRound, LLineDashSolid, 90, 125, 170, 115);
    t.DrawImage(v, picture, 200, 80, 60, 50);
    KVRenderImage* r = t.BeginRotate(25, {50, 175});
    r->FillRect(v, 2, kBlack, green, KVBox(20, 160, 80, 190));
    t.FinishRotate();
    KVRenderImage* s = t.BeginScale(1.5f, 1.25f);
    s->FillEllipse(v, 2, kRed, kBlue, KVBox(70, 130, 110, 150));
    t.FinishScale();
    KVRenderImage* m = t.BeginTranslate(30, 20);
    m->DrawRect(v, 3, kRed, KVBox(190, 140, 240, 170));
    m->DrawImage(v, picture, 230, 160, 20, 20);
    t.FinishTranslate();
}

inline void MakePicture(LImageBuffer& picture) {
    LImage::New(picture, 16, 16, LPixelFormatB8G8R8A8);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            unsigned char* p = picture.GetPictureRow(y) + x * 4;
            p[0] = static_cast<unsigned char>(x * 16);
            p[1] = static_cast<unsigned char>(y * 16);
            p[2] = (x / 4 + y / 4) % 2 ? 255 : 0;
            p[3] = 255;
        }
}

// A plain text, a rich text run and a placed picture, drawn by their
// elements as a project draws them.
inline void DrawTextScene(KVRenderImage& t, const LImageBuffer& picture) {
    LProcessInterfaceVoid v;
    t.Clear(LPixelColour(255, 255, 255, 255));
    KVTextElementProperties plain;
    plain.text = "Korvane draws";
    plain.fontSize = 24;
    LStrCopy(plain.font, "Liberation Sans");
    plain.colour = kBlue;
    plain.bounds = KVBox(10, 8, 290, 40);
    KVTextElement(plain).Render(v, t);
    KVRichTextElementProperties rich;
    rich.bounds = KVBox(10, 45, 290, 70);
    KVRichTextSegment run;
    run.text = "in bold";
    run.bold = true;
    run.size = 18;
    LStrCopy(run.font, "Liberation Sans");
    run.colour = kRed;
    run.bounds = rich.bounds;
    rich.segments.push_back(run);
    KVRichTextElement(rich).Render(v, t);
    LImageBuffer copy;
    LImage::New(copy, picture.width, picture.height, picture.format);
    LImageBufferCopy(copy, picture);
    KVImageElement image(copy);
    KVImageElementProperties placed = image.GetProperties();
    placed.x = 20;
    placed.y = 75;
    placed.width = 40;
    placed.height = 30;
    image.SetProperties(placed, false, nullptr);
    image.Render(v, t);
}

} // namespace kvtest
