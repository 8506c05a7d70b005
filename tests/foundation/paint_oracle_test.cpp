// Scenes drawn through the paint surface and, independently, written by hand
// as SVG and rendered by rsvg-convert at the same size must agree.

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "foundation/paint_surface.h"
#include "foundation/paint_test_util.h"
#include "support/svg_oracle.h"

namespace {

using DrawScene = std::function<void(LPaintContext&)>;

void CheckScene(const std::string& name, int w, int h, const DrawScene& draw,
                const std::string& svgBody, double allowedMean = 1.0) {
    LPaintSurfaceImage ours(w, h);
    ASSERT_TRUE(ours.IsValid());
    draw(ours.context);
    ours.Flush();
    kvtest::CheckAgainstSvg(name, ours.GetTarget(), svgBody, allowedMean);
}

const LGuiColorAlpha kRed(255, 0, 0, 255);
const LGuiColorAlpha kGreen(0, 160, 0, 255);
const LGuiColorAlpha kBlue(0, 0, 255, 255);
const LGuiColorAlpha kBlack(0, 0, 0, 255);

} // namespace

TEST(PaintOracle, FilledAndOutlinedShapes) {
    CheckScene(
        "shapes", 120, 100,
        [](LPaintContext& c) {
            LPaintSurface::FillRect(c, LGuiSolidBrush(kRed), 10, 10, 40, 30);
            LPaintSurface::FillEllipse(c, 60, 10, 50, 30, LGuiSolidBrush(LGuiColorAlpha(0, 0, 255, 200)));
            LGraphicsPath poly;
            const LPointTemplate<float> pts[5] = {{10, 50}, {50, 90}, {90, 55}, {20, 75}, {45, 48}};
            poly.AddLines(pts, 5);
            poly.CloseFigure();
            LPaintSurface::FillPath(c, LGuiSolidBrush(kGreen), poly);
            LPaintSurface::DrawRectangle(c, LBoundingBox2T<float>(60, 50, 110, 90),
                                         LGuiSolidBrush(kBlack), 3);
            LGraphicsPath curve;
            curve.AddBezier({65, 85}, {75, 40}, {95, 100}, {105, 55});
            LPaintSurface::DrawPath(c, LGuiSolidBrush(kRed), curve, 2);
            LPaintSurface::DrawEllipse(c, 15, 15, 30, 20, LGuiSolidBrush(kBlack), 1.5f);
        },
        R"svg(<rect x="10" y="10" width="40" height="30" fill="#ff0000"/>
<ellipse cx="85" cy="25" rx="25" ry="15" fill="#0000ff" fill-opacity="0.7843"/>
<polygon points="10,50 50,90 90,55 20,75 45,48" fill="#00a000" fill-rule="nonzero"/>
<rect x="60" y="50" width="50" height="40" fill="none" stroke="#000000" stroke-width="3"
      stroke-linejoin="miter" stroke-miterlimit="10"/>
<path d="M65,85 C75,40 95,100 105,55" fill="none" stroke="#ff0000" stroke-width="2"/>
<ellipse cx="30" cy="25" rx="15" ry="10" fill="none" stroke="#000000" stroke-width="1.5"/>)svg");
}

TEST(PaintOracle, DashedAndCappedLines) {
    CheckScene(
        "lines", 200, 130,
        [](LPaintContext& c) {
            const LGuiSolidBrush ink(kBlack);
            LLineStyle dash(LLineDashDash);
            LPaintSurface::DrawLine(c, 10, 10, 190, 10, ink, 4, &dash);
            LLineStyle roundDash(LLineDashDash);
            roundDash.startCap = 2;
            LPaintSurface::DrawLine(c, 10, 30, 190, 30, ink, 4, &roundDash);
            LLineStyle dot(LLineDashDot);
            LPaintSurface::DrawLine(c, 10, 50, 190, 50, ink, 4, &dot);
            LLineStyle squareDashDot(LLineDashDashDot);
            squareDashDot.startCap = 1;
            LPaintSurface::DrawLine(c, 10, 70, 190, 70, ink, 4, &squareDashDot);
            LLineStyle joins;
            joins.join = 2;
            joins.startCap = 2;
            LGraphicsPath zigzag;
            const LPointTemplate<float> pts[4] = {{10, 100}, {50, 85}, {90, 100}, {130, 85}};
            zigzag.AddLines(pts, 4);
            LPaintSurface::DrawPath(c, LGuiSolidBrush(kBlue), zigzag, 6, &joins);
            LLineStyle bevel;
            bevel.join = 1;
            LGraphicsPath vee;
            const LPointTemplate<float> v[3] = {{145, 85}, {160, 105}, {175, 85}};
            vee.AddLines(v, 3);
            LPaintSurface::DrawPath(c, LGuiSolidBrush(kRed), vee, 5, &bevel);
            LLineStyle custom;
            custom.startCap = 2;
            LSizedArray<float> entries;
            entries.Append(2);
            entries.Append(1);
            custom.SetCustomDash(entries);
            LPaintSurface::DrawLine(c, 10, 120, 190, 120, ink, 3, &custom);
        },
        R"svg(<line x1="10" y1="10" x2="190" y2="10" stroke="#000" stroke-width="4"
      stroke-dasharray="12,4"/>
<line x1="10" y1="30" x2="190" y2="30" stroke="#000" stroke-width="4" stroke-linecap="round"
      stroke-dasharray="8,8" stroke-dashoffset="-2"/>
<line x1="10" y1="50" x2="190" y2="50" stroke="#000" stroke-width="4"
      stroke-dasharray="4,4" stroke-dashoffset="4"/>
<line x1="10" y1="70" x2="190" y2="70" stroke="#000" stroke-width="4" stroke-linecap="square"
      stroke-dasharray="8,8,0,8" stroke-dashoffset="-2"/>
<polyline points="10,100 50,85 90,100 130,85" fill="none" stroke="#0000ff" stroke-width="6"
      stroke-linejoin="round" stroke-linecap="round"/>
<polyline points="145,85 160,105 175,85" fill="none" stroke="#ff0000" stroke-width="5"
      stroke-linejoin="bevel"/>
<line x1="10" y1="120" x2="190" y2="120" stroke="#000" stroke-width="3" stroke-linecap="round"
      stroke-dasharray="3,6"/>)svg");
}

TEST(PaintOracle, LinearAndRadialGradients) {
    CheckScene(
        "gradients", 200, 100,
        [](LPaintContext& c) {
            LGuiBrushGradientLinear linear({10, 0}, {90, 0}, kRed, kBlue);
            const LGuiColorAlpha colours[3] = {kRed, LGuiColorAlpha(0, 255, 0, 255), kBlue};
            const float positions[3] = {0, 0.3f, 1};
            linear.ChangeColor(colours, positions, 3);
            LPaintSurface::FillRect(c, linear, 5, 5, 90, 40);
            const LGuiBrushGradientLinear diagonal({5, 50}, {95, 95}, LGuiColorAlpha(255, 255, 0, 255),
                                                   LGuiColorAlpha(0, 0, 0, 128));
            LPaintSurface::FillEllipse(c, 5, 50, 90, 45, diagonal);
            // Yellow at the centre, blue on the rim, 40 by 25.
            const LGuiBrushGradientRadial radial({150, 50}, {0, 0}, 40, 25,
                                                 LGuiColorAlpha(255, 255, 0, 255), kBlue);
            LPaintSurface::FillRect(c, radial, 105, 5, 90, 90);
        },
        R"svg(<defs>
<linearGradient id="l" gradientUnits="userSpaceOnUse" x1="10" y1="0" x2="90" y2="0">
  <stop offset="0" stop-color="#ff0000"/><stop offset="0.3" stop-color="#00ff00"/>
  <stop offset="1" stop-color="#0000ff"/>
</linearGradient>
<linearGradient id="d" gradientUnits="userSpaceOnUse" x1="5" y1="50" x2="95" y2="95">
  <stop offset="0" stop-color="#ffff00"/><stop offset="1" stop-color="#000000" stop-opacity="0.502"/>
</linearGradient>
<radialGradient id="r" gradientUnits="userSpaceOnUse" cx="150" cy="50" r="40" fx="150" fy="50"
    gradientTransform="translate(150,50) scale(1,0.625) translate(-150,-50)">
  <stop offset="0" stop-color="#ffff00"/><stop offset="1" stop-color="#0000ff"/>
</radialGradient>
</defs>
<rect x="5" y="5" width="90" height="40" fill="url(#l)"/>
<ellipse cx="50" cy="72.5" rx="45" ry="22.5" fill="url(#d)"/>
<rect x="105" y="5" width="90" height="90" fill="url(#r)"/>)svg");
}

TEST(PaintOracle, TransformsAndClips) {
    CheckScene(
        "transform", 160, 120,
        [](LPaintContext& c) {
            LPaintSurface::TransformStackPush(c);
            LPaintSurface::TransformTranslate(c, 80, 60);
            LPaintSurface::TransformRotate(c, 30);
            LPaintSurface::TransformScale(c, 1.5f, 0.8f);
            LPaintSurface::FillRect(c, LGuiSolidBrush(kGreen), -30, -20, 60, 40);
            LPaintSurface::DrawEllipse(c, -25, -15, 50, 30, LGuiSolidBrush(kBlack), 2);
            LPaintSurface::DrawLine(c, -30, 0, 30, 0, LGuiSolidBrush(kRed), 3);
            LPaintSurface::TransformStackPop(c);
            LPaintSurface::ClipStackPush(c);
            LGraphicsPath circle;
            circle.AddCircle(20, 20, 15);
            LPaintSurface::ClipIntersect(c, circle);
            LPaintSurface::FillRect(c, LGuiSolidBrush(kBlue), 0, 0, 40, 40);
            LPaintSurface::ClipStackPop(c);
            LPaintSurface::FillRect(c, LGuiSolidBrush(kRed), 130, 90, 20, 20);
        },
        R"svg(<defs><clipPath id="c"><circle cx="20" cy="20" r="15"/></clipPath></defs>
<g transform="translate(80,60) rotate(30) scale(1.5,0.8)">
  <rect x="-30" y="-20" width="60" height="40" fill="#00a000"/>
  <ellipse cx="0" cy="0" rx="25" ry="15" fill="none" stroke="#000" stroke-width="2"/>
  <line x1="-30" y1="0" x2="30" y2="0" stroke="#ff0000" stroke-width="3"/>
</g>
<rect x="0" y="0" width="40" height="40" fill="#0000ff" clip-path="url(#c)"/>
<rect x="130" y="90" width="20" height="20" fill="#ff0000"/>)svg");
}
