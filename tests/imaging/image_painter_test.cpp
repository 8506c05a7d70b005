#include <gtest/gtest.h>

#include "foundation/brush.h"
#include "imaging/image_painter.h"
#include "picture_util.h"

using kvtest::Argb;
using kvtest::MakePicture;
using kvtest::PixelAt;

namespace {

LImageBuffer Blank(int w, int h, bool bottomUp = false) {
    return MakePicture(w, h, 0, [](int, int) { return 0u; }, bottomUp);
}

TEST(ImageBufferPainter, DrawsIntoTheBuffersOwnPixelsUpright) {
    for (bool bottomUp : {false, true}) {
        LImageBuffer b = Blank(10, 8, bottomUp);
        unsigned char* const pixels = b.GetData();
        {
            LImageBufferPainter painter(b);
            ASSERT_TRUE(painter.IsValid());
            // Integer coordinates are pixel centres: a one-pixel line at
            // x = 3 lights column 3 alone, and y grows downwards.
            LPaintSurface::DrawLine(painter.context, 3, 0, 3, 2, LGuiSolidBrush({255, 0, 0, 255}),
                                    1);
            painter.Flush();
            EXPECT_EQ(PixelAt(b, 3, 0), Argb(255, 255, 0, 0));
            EXPECT_EQ(PixelAt(b, 3, 1), Argb(255, 255, 0, 0));
            EXPECT_EQ(PixelAt(b, 2, 0), 0u);
            EXPECT_EQ(PixelAt(b, 4, 1), 0u);
            EXPECT_EQ(PixelAt(b, 3, 3), 0u);
            // Half-transparent blue lands premultiplied, as format 0 wants.
            LPaintSurface::FillRect(painter.context, LGuiSolidBrush({0, 0, 255, 128}), -0.5f, 5.5f,
                                    10, 2);
        }
        // What was drawn after the last flush arrives when the painter ends.
        EXPECT_EQ(PixelAt(b, 0, 6), Argb(128, 0, 0, 128)) << bottomUp;
        EXPECT_EQ(PixelAt(b, 9, 7), Argb(128, 0, 0, 128));
        EXPECT_EQ(PixelAt(b, 0, 5), 0u);
        EXPECT_EQ(b.GetData(), pixels);
    }
}

TEST(ImageBufferPainter, GoesOnFromPixelsWrittenByOthers) {
    LImageBuffer b = Blank(4, 4);
    LImageBufferPainterDirect painter(b);
    LPaintSurface::FillRect(painter.context, LGuiSolidBrush({0, 0, 0, 255}), -0.5f, -0.5f, 4, 4);
    painter.Flush();
    b.Clear(LPixelColour(200, 0, 0, 255));
    painter.ReloadImageBuffer();
    // Half-transparent white over what the buffer now holds.
    LPaintSurface::FillRect(painter.context, LGuiSolidBrush({255, 255, 255, 128}), -0.5f, -0.5f,
                            4, 4);
    painter.Flush();
    const std::uint32_t p = PixelAt(b, 2, 2);
    EXPECT_EQ(p >> 24, 255u);
    EXPECT_NEAR(double((p >> 16) & 255), 228, 1); // 128 + 200 * 127 / 255
    EXPECT_NEAR(double((p >> 8) & 255), 128, 1);
}

TEST(ImageBufferPainter, OtherBuffersGetNoContext) {
    LImageBuffer rgb = MakePicture(4, 4, LPixelFormatB8G8R8, [](int, int) { return 0u; });
    LImageBuffer empty;
    for (LImageBuffer* b : {&rgb, &empty}) {
        LImageBufferPainter painter(*b);
        EXPECT_FALSE(painter.IsValid());
        LPaintSurface::FillRect(painter.context, LGuiSolidBrush({255, 255, 255, 255}), 0, 0, 4, 4);
        painter.Flush();
        painter.ReloadImageBuffer();
    }
    EXPECT_EQ(PixelAt(rgb, 1, 1), Argb(255, 0, 0, 0));
}

} // namespace
