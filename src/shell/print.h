#pragma once
// A picture on a printed page: its size on paper follows its pixels per inch,
// a picture larger than the page shrinks to fit, and it sits in the middle.

#include "imaging/image_buffer.h"
#include "toolkit/printer.h"

// The size a picture takes on a page measured in 1/72 inch: width / ppi * 72
// by height / ppi * 72, truncated, each at most the page's.
void KVPrintTargetSize(int width, int height, unsigned long ppi, double pageWidth, double pageHeight,
                       int& targetWidth, int& targetHeight);

class KVPrint : public LPrintable {
public:
    // The picture must outlive the print.
    KVPrint(const LImageBuffer& picture, unsigned long ppi) : picture(picture), ppi(ppi) {}
    void Print(LPrintPage& page) override;

private:
    const LImageBuffer& picture;
    unsigned long ppi;
};
