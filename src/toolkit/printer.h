#pragma once
// Printing: the platform's print dialog, then one page drawn by the caller in
// units of 1/72 inch.

#include <functional>

class QPrinter;
class QWidget;
class LImageBuffer;
struct LPixelColour;

class LPrintPage {
public:
    virtual ~LPrintPage() = default;
    // The printable area in 1/72 inch.
    virtual double GetWidth() const = 0;
    virtual double GetHeight() const = 0;
    virtual void Fill(const LPixelColour& colour) = 0;
    // One picture pixel per unit, its top left at x, y.
    virtual void DrawImage(const LImageBuffer& picture, double x, double y) = 0;
};

class LPrintable {
public:
    virtual ~LPrintable() = default;
    virtual void Print(LPrintPage& page) = 0;
};

// Answers the print dialog in place of a person: it may set up the printer
// (a PDF file, say) and answers whether to print.
using LPrintResponder = std::function<bool(QPrinter&)>;
void LSetPrintResponder(LPrintResponder responder);

namespace LPrinter {
// False when the user cancelled or nothing could be printed.
bool PrintToSelectPrinterWithPageOrientation(QWidget* parent, LPrintable& printable, bool landscape);
}
