// A picture on a printed page: its paper size follows its density, it
// shrinks to fit, and it sits in the middle of the page.

#include <gtest/gtest.h>

#include "shell/print.h"

namespace {

TEST(PrintSize, FollowsThePicturesDensityAndNeverExceedsThePage) {
    int w = 0, h = 0;
    KVPrintTargetSize(300, 150, 300, 612, 792, w, h); // one inch by half an inch
    EXPECT_EQ(w, 72);
    EXPECT_EQ(h, 36);
    KVPrintTargetSize(1000, 100, 72, 612, 792, w, h);
    EXPECT_EQ(w, 612);
    EXPECT_EQ(h, 100);
    KVPrintTargetSize(100, 100, 96, 612, 792, w, h); // 75 points, truncated
    EXPECT_EQ(w, 75);
    KVPrintTargetSize(100, 100, 0, 612, 792, w, h); // no density: as on screen
    EXPECT_EQ(w, 100);
}

class RecordingPage : public LPrintPage {
public:
    double GetWidth() const override { return 600; }
    double GetHeight() const override { return 400; }
    void Fill(const LPixelColour& c) override { fills.push_back(c.GetPacked()); }
    void DrawImage(const LImageBuffer& picture, double x, double y) override {
        drawnWidth = picture.width;
        drawnHeight = picture.height;
        this->x = x;
        this->y = y;
    }
    std::vector<std::uint32_t> fills;
    int drawnWidth = 0, drawnHeight = 0;
    double x = -1, y = -1;
};

TEST(Print, APictureLargerThanThePageShrinksWithItsAspectAndIsCentredOnWhite) {
    LImageBuffer picture;
    LImage::New(picture, 2400, 800, LPixelFormatB8G8R8A8);
    ASSERT_TRUE(picture.IsValid());
    KVPrint print(picture, 72);
    RecordingPage page;
    print.Print(page);
    ASSERT_EQ(page.fills.size(), 1u);
    EXPECT_EQ(page.fills[0], 0xFFFFFFFFu);
    EXPECT_EQ(page.drawnWidth, 600);
    EXPECT_EQ(page.drawnHeight, 200);
    EXPECT_DOUBLE_EQ(page.x, 0);
    EXPECT_DOUBLE_EQ(page.y, 100);
}

} // namespace
