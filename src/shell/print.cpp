#include "shell/print.h"

#include <algorithm>
#include <cmath>

#include "foundation/color.h"

void KVPrintTargetSize(int width, int height, unsigned long ppi, double pageWidth, double pageHeight,
                       int& targetWidth, int& targetHeight) {
    // A picture without a density prints as a screen picture would.
    const double inch = ppi ? double(ppi) : 72.0;
    const double w = std::min(std::trunc(width / inch * 72.0), std::trunc(pageWidth));
    const double h = std::min(std::trunc(height / inch * 72.0), std::trunc(pageHeight));
    targetWidth = static_cast<int>(std::max(0.0, w));
    targetHeight = static_cast<int>(std::max(0.0, h));
}

void KVPrint::Print(LPrintPage& page) {
    page.Fill(LPixelColour(255, 255, 255, 255));
    int w = 0, h = 0;
    KVPrintTargetSize(picture.width, picture.height, ppi, page.GetWidth(), page.GetHeight(), w, h);
    if (w <= 0 || h <= 0 || !picture.IsValid())
        return;
    LImageBuffer fitted;
    LProcessInterfaceVoid process;
    if (LImage::Resize(process, picture, fitted, w, h, true, LImage::ResizeFilterSmooth) != LProcessResultOk ||
        !fitted.IsValid())
        return;
    page.DrawImage(fitted, (page.GetWidth() - fitted.width) / 2, (page.GetHeight() - fitted.height) / 2);
}
