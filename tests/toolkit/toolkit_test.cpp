// Settings, alerts, the progress window and the picture view.

#include <gtest/gtest.h>

#include <QColor>
#include <QImage>
#include <QTimer>

#include <fstream>
#include <sstream>

#include "foundation/process_thread.h"
#include "imaging/image_buffer.h"
#include "support/qt_wait.h"
#include "toolkit/dialogs.h"
#include "toolkit/qt_image.h"
#include "toolkit/progress_dialog.h"
#include "toolkit/settings.h"

namespace {

TEST(Settings, ReadWithDefaultsAndKeptInAnIniFileThatNumbersWriteWithAPoint) {
    EXPECT_FALSE(LUserSettingExists("Tests", "Width"));
    EXPECT_EQ(LUserSettingGet("Tests", "Width", 1024L), 1024);
    EXPECT_TRUE(LUserSettingGet("Tests", "Rulers", true));
    EXPECT_EQ(LUserSettingGet("Tests", "Name", "none"), "none");

    LUserSettingSet("Tests", "Width", 640L);
    LUserSettingSet("Tests", "Colour", -1L);
    LUserSettingSet("Tests", "Rulers", false);
    LUserSettingSet("Tests", "Name", "a picture");
    EXPECT_TRUE(LUserSettingExists("Tests", "Width"));
    EXPECT_EQ(LUserSettingGet("Tests", "Width", 1024L), 640);
    EXPECT_EQ(LUserSettingGet("Tests", "Colour", 0L), -1);
    EXPECT_FALSE(LUserSettingGet("Tests", "Rulers", true));
    EXPECT_EQ(LUserSettingGet("Tests", "Name", ""), "a picture");

    std::ifstream file(LUserSettingsPath());
    std::stringstream text;
    text << file.rdbuf();
    EXPECT_NE(text.str().find("[Tests]"), std::string::npos);
    EXPECT_NE(text.str().find("Width=640"), std::string::npos);
    // A value that is no number falls back to the default.
    LUserSettingSet("Tests", "Width", "wide");
    EXPECT_EQ(LUserSettingGet("Tests", "Width", 7L), 7);
}

struct Failing {
    LProcessResult Process(LProcessInterface& pi) {
        pi.SetProgress(0.5);
        pi.SetError("The disk is full.");
        pi.SetError("Something later.");
        return LProcessResultError;
    }
};

struct Succeeding {
    LProcessResult Process(LProcessInterface& pi) {
        pi.SetProgress(1.0);
        return LProcessResultOk;
    }
};

TEST(ProgressWindow, ShowsTheFirstErrorOfAFailedOperationAsAnAlertAndNothingOnSuccess) {
    std::vector<LAlertRequest> asked;
    LSetAlertResponder([&](const LAlertRequest& r) {
        asked.push_back(r);
        return 0;
    });
    Failing failing;
    LProcessDialog<Failing> failed(nullptr, "Saving File", failing);
    EXPECT_EQ(failed.Run(), LProcessResultError);
    ASSERT_EQ(asked.size(), 1u);
    EXPECT_EQ(asked[0].title, "Saving File");
    EXPECT_EQ(asked[0].text, "The disk is full.");

    Succeeding fine;
    LProcessDialog<Succeeding> succeeded(nullptr, "Saving File", fine);
    EXPECT_EQ(succeeded.Run(), LProcessResultOk);
    EXPECT_EQ(asked.size(), 1u);
    LSetAlertResponder(nullptr);
}

struct Slow {
    LSignalObject never;
    LProcessResult Process(LProcessInterface& pi) { return pi.ProcessWaitSignalForever(never); }
};

TEST(ProgressWindow, AppearsForALongOperationAndItsCancelStopsIt) {
    Slow slow;
    LProcessDialog<Slow> dialog(nullptr, "Loading File", slow);
    bool wasShown = false;
    QTimer::singleShot(LProgressDialog::kShowAfterMilliseconds + 200, [&] {
        wasShown = dialog.IsShown();
        dialog.RequestStop();
    });
    EXPECT_EQ(dialog.Run(), LProcessResultStopped);
    EXPECT_TRUE(wasShown);
    EXPECT_FALSE(dialog.IsShown());
}

TEST(QtImage, ShowsTheWorkingFormatsPremultipliedPixelsAsTheyAre) {
    LImageBuffer picture;
    LImage::New(picture, 3, 2, LPixelFormatB8G8R8A8);
    ASSERT_TRUE(picture.IsValid());
    unsigned char* p = picture.GetPictureRow(1) + 2 * 4;
    p[0] = 0;   // blue
    p[1] = 0;   // green
    p[2] = 128; // red, premultiplied by an alpha of 128
    p[3] = 128;
    const QImage copied = LToQImage(picture);
    LImageBuffer given;
    given.Assign(picture);
    const QImage taken = LTakeQImage(given);
    EXPECT_FALSE(given.IsValid()) << "the pixels were handed over, not copied";
    for (const QImage& shown : {copied, taken}) {
        ASSERT_FALSE(shown.isNull());
        EXPECT_EQ(shown.size(), QSize(3, 2));
        const QRgb pixel = shown.pixel(2, 1);
        EXPECT_EQ(qAlpha(pixel), 128);
        EXPECT_EQ(qRed(pixel), 128); // premultiplied once, not twice
    }
    LImageBuffer none;
    EXPECT_TRUE(LToQImage(none).isNull());
    EXPECT_TRUE(LTakeQImage(none).isNull());
}

} // namespace
