#include "shell/print.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "foundation/color.h"
#include "render/render_results.h"
#include "shell/main_dialog_p.h"
#include "toolkit/progress_dialog.h"

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

// Over white, as paper shows it.
void MainDialog::CmPrint() {
    if (!currentProject || !currentProject->GetCurrentImage())
        return;
    KVImage* image = currentProject->GetCurrentImage();
    const int w = static_cast<int>(image->GetWidth()), h = static_cast<int>(image->GetHeight());
    KVProjectPicture work;
    work.project = currentProject;
    {
        Change change(*this);
        LProgressDialog progress(this, "Preparing image for printing...");
        LProcessThreadData<KVProjectPicture> data(work);
        const LProcessResult r = Process(progress, data);
        progress.Finish(r);
        if (r != LProcessResultOk)
            return;
    }
    LImageBuffer page;
    LImage::New(page, w, h, LPixelFormatB8G8R8A8);
    if (!page.IsValid())
        return;
    std::memset(page.GetData(), 0xFF, static_cast<size_t>(page.CalculateBufferSize64()));
    LImage::CopyAlphaComposite(work.picture, page, 0, 0, 0, 0, w, h);
    KVPrint print(page, image->GetPPI());
    LPrinter::PrintToSelectPrinterWithPageOrientation(this, print, w > h);
}
