#include "exchange/pdf_writer.h"

#include <cairo-pdf.h>

#include <memory>

#include "foundation/brush.h"

void LBrushInfo::SetStops(const LGuiColorAlpha* colours, const float* positions,
                          unsigned long count) {
    stopCount = count < kLBrushMaxStops ? count : kLBrushMaxStops;
    for (unsigned long i = 0; i < stopCount; ++i) {
        stopColours[i] = colours[i];
        stopPositions[i] = positions[i];
    }
}

namespace {

// The brush a description asks for; null for a type that paints nothing.
std::unique_ptr<LGuiBrush> MakeBrush(const LBrushInfo& info) {
    const LGuiColorAlpha& first = info.stopCount ? info.stopColours[0] : info.colour;
    const LGuiColorAlpha& last =
        info.stopCount ? info.stopColours[info.stopCount - 1] : info.colour;
    std::unique_ptr<LGuiBrushGradient> gradient;
    switch (info.type) {
    case 1:
        return std::make_unique<LGuiSolidBrush>(info.colour);
    case 2:
        gradient = std::make_unique<LGuiBrushGradientLinear>(
            LPointTemplate<float>(info.x1, info.y1), LPointTemplate<float>(info.x2, info.y2), first,
            last, true);
        break;
    case 3:
        gradient = std::make_unique<LGuiBrushGradientRadial>(
            LPointTemplate<float>(info.x1, info.y1), LPointTemplate<float>(0, 0), info.x2, info.y2,
            first, last);
        break;
    default:
        return nullptr;
    }
    if (info.stopCount > 1)
        gradient->ChangeColor(info.stopColours, info.stopPositions, info.stopCount);
    return gradient;
}

} // namespace

LPDFWriter::LPDFWriter(const char* path, float width, float height)
    : pageWidth(width), pageHeight(height) {
    surface = cairo_pdf_surface_create(path, width, height);
    if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS)
        return;
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_TITLE, kTitle);
    cairo_pdf_surface_set_metadata(surface, CAIRO_PDF_METADATA_CREATOR, kCreator);
    Open(surface, width, height);
}

LPDFWriter::~LPDFWriter() {
    Close();
    cairo_surface_destroy(surface);
}

void LPDFWriter::StartPage() {
    if (!IsValid())
        return;
    cairo_pdf_surface_set_size(surface, pageWidth, pageHeight);
    ++openPages;
    ClipStackPush(context);
}

void LPDFWriter::EndPage() {
    if (!IsValid() || openPages == 0)
        return;
    ClipStackPop(context);
    cairo_show_page(context.context);
    --openPages;
}

bool LPDFWriter::Finish() {
    if (!IsValid())
        return false;
    while (openPages)
        EndPage();
    Close();
    cairo_surface_finish(surface);
    return cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS;
}

void LPDFWriter::FillPath(const LBrushInfo& info, const LGraphicsPath& path) {
    if (std::unique_ptr<LGuiBrush> brush = MakeBrush(info))
        LPaintSurface::FillPath(context, *brush, path);
}

void LPDFWriter::DrawPath(const LBrushInfo& info, const LGraphicsPath& path, float width,
                          const LLineStyle* style) {
    if (std::unique_ptr<LGuiBrush> brush = MakeBrush(info))
        LPaintSurface::DrawPath(context, *brush, path, width, style);
}
