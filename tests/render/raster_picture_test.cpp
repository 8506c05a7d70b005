// A small project of shapes rendered through the raster target, checked at
// chosen pixels and against the same scene written by hand as SVG and
// rendered by rsvg-convert.

#include <gtest/gtest.h>

#include <cairo.h>

#include <string>

#include "document/project.h"
#include "document/shapes.h"
#include "render/render_image_buffer.h"
#include "support/svg_oracle.h"

namespace {

constexpr int kWidth = 200, kHeight = 150;
const LPixelColour kBackground(240, 240, 240, 255);

void AddScene(KVImage& image, const KVLayer* layer) {
    KVRectangleElementProperties filled;
    filled.SetRectangle({10, 10, 70, 50});
    filled.SetFill(LGuiColorAlpha(255, 0, 0, 255));
    filled.lineColour = LGuiColorAlpha(0, 0, 255, 255);
    filled.lineWidth = 2;
    image.AddNewElement(new KVRectangleElement(filled), layer, false, false);

    KVEllipseElementProperties outlined;
    outlined.SetBounds({90, 10, 190, 60});
    outlined.RemoveFill();
    outlined.lineColour = LGuiColorAlpha(0, 128, 0, 255);
    outlined.lineWidth = 3;
    image.AddNewElement(new KVEllipseElement(outlined), layer, false, false);

    KVRectangleElementProperties turned;
    turned.SetRectangle({20, 70, 80, 100});
    turned.SetFill(LGuiColorAlpha(255, 200, 0, 255));
    turned.lineColour = LGuiColorAlpha(0, 0, 0, 255);
    turned.lineWidth = 1;
    turned.SetRotationDegrees(30);
    image.AddNewElement(new KVRectangleElement(turned), layer, false, false);

    KVEllipseElementProperties shaded;
    shaded.SetBounds({100, 75, 180, 115});
    shaded.SetGradient(KVGradient()); // black at the left to white at the right
    shaded.lineWidth = 0;
    image.AddNewElement(new KVEllipseElement(shaded), layer, false, false);

    KVLineElementProperties dashed;
    dashed.start = {20, 130};
    dashed.end = {180, 130};
    dashed.lineWidth = 4;
    dashed.lineColour = LGuiColorAlpha(0, 0, 128, 255);
    dashed.dashStyle = 1;
    // A line's caps are drawn crossed over: its end cap at its start.
    dashed.endCap = KVLineCapCircle;
    dashed.startCap = KVLineCapSquare;
    image.AddNewElement(new KVLineElement(dashed), layer, false, false);
}

const char* kSceneSvg = R"svg(<rect x="0" y="0" width="200" height="150" fill="#f0f0f0"
      transform="translate(-0.5,-0.5)"/>
<rect x="10" y="10" width="60" height="40" fill="#ff0000" stroke="#0000ff" stroke-width="2"/>
<ellipse cx="140" cy="35" rx="50" ry="25" fill="none" stroke="#008000" stroke-width="3"/>
<g transform="rotate(30 50 85)">
  <rect x="20" y="70" width="60" height="30" fill="#ffc800" stroke="#000000" stroke-width="1"/>
</g>
<defs>
<linearGradient id="g" gradientUnits="userSpaceOnUse" x1="100" y1="0" x2="180" y2="0">
  <stop offset="0" stop-color="#000000"/><stop offset="1" stop-color="#ffffff"/>
</linearGradient>
</defs>
<ellipse cx="140" cy="95" rx="40.25" ry="20.25" fill="url(#g)"/>
<circle cx="20" cy="130" r="4" fill="#000080"/>
<rect x="176" y="126" width="8" height="8" fill="#000080"/>
<line x1="20" y1="130" x2="180" y2="130" stroke="#000080" stroke-width="4"
      stroke-dasharray="12,4"/>)svg";

struct Picture {
    KVRenderImageBuffer target{kWidth, kHeight};
    LProcessResult result = LProcessResultError;

    Picture() {
        KVProject project("scene");
        auto* image = new KVImage("picture", kWidth, kHeight, 72, kBackground);
        KVLayer* layer = project.AddNewImage(image);
        if (!layer)
            return;
        AddScene(*image, layer);
        target.Clear(image->GetBackground());
        LProcessInterfaceVoid process;
        result = project.Render(process, target);
        target.Flush();
    }

    LPixelColour At(int x, int y) {
        const unsigned char* p = target.GetImage().GetPictureRow(y) + x * 4;
        return LPixelColour(p[2], p[1], p[0], p[3]);
    }
};

} // namespace

TEST(RasterPicture, ShapesLandWhereTheyBelong) {
    Picture picture;
    ASSERT_EQ(picture.result, LProcessResultOk);
    auto expectColour = [&](int x, int y, int r, int g, int b, int tolerance, const char* what) {
        const LPixelColour c = picture.At(x, y);
        EXPECT_NEAR(c.red, r, tolerance) << what << " at " << x << "," << y;
        EXPECT_NEAR(c.green, g, tolerance) << what << " at " << x << "," << y;
        EXPECT_NEAR(c.blue, b, tolerance) << what << " at " << x << "," << y;
        EXPECT_EQ(c.alpha, 255) << what;
    };
    expectColour(40, 30, 255, 0, 0, 0, "rectangle fill");
    expectColour(10, 30, 0, 0, 255, 0, "rectangle outline");
    expectColour(5, 30, 240, 240, 240, 0, "background");
    expectColour(140, 10, 0, 128, 0, 2, "ellipse outline");
    expectColour(140, 35, 240, 240, 240, 0, "inside the unfilled ellipse");
    expectColour(50, 85, 255, 200, 0, 2, "turned rectangle");
    expectColour(21, 71, 240, 240, 240, 2, "corner the rectangle turned away from");
    expectColour(103, 95, 0, 0, 0, 16, "gradient start");
    expectColour(177, 95, 255, 255, 255, 16, "gradient end");
    expectColour(140, 95, 128, 128, 128, 10, "gradient middle");
    expectColour(20, 130, 0, 0, 128, 0, "circle cap");
    expectColour(26, 130, 0, 0, 128, 0, "first dash");
    expectColour(34, 130, 240, 240, 240, 0, "first gap");
    expectColour(182, 127, 0, 0, 128, 0, "square cap");
}

TEST(RasterPicture, AgreesWithAnIndependentRenderer) {
    Picture picture;
    ASSERT_EQ(picture.result, LProcessResultOk);
    LImageBuffer& image = picture.target.GetImage();
    cairo_surface_t* ours = cairo_image_surface_create_for_data(
        image.GetData(), CAIRO_FORMAT_ARGB32, image.width, image.height,
        static_cast<int>(image.stride));
    kvtest::CheckAgainstSvg("raster-scene", ours, kSceneSvg, 1.5);
    cairo_surface_destroy(ours);
}
