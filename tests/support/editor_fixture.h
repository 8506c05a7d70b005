#pragma once
// An editor window with one new 400×300 project, driven through real Qt
// events: what the shell's tests share to reach the canvas, the document
// and the undo stack.

#include <gtest/gtest.h>

#include <QTest>

#include <filesystem>
#include <utility>
#include <vector>

#include "document/project.h"
#include "shell/main_dialog.h"
#include "shell/ui_window.h"
#include "support/qt_wait.h"
#include "toolkit/settings.h"

namespace kvtest {

class EditorFixture : public ::testing::Test {
protected:
    void SetUp() override {
        std::error_code ec;
        std::filesystem::remove(LUserSettingsPath(), ec);
        LUserSettingSet("Settings", "DefaultWidth", 400L);
        LUserSettingSet("Settings", "DefaultHeight", 300L);
        BeforeInit();
        dialog.InitDialog();
        dialog.KillTimer(0);
        dialog.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&dialog));
        dialog.CmNewProject();
        ASSERT_TRUE(WaitFor([&] { return Surface().HasImage(); }));
    }
    // Responders a test needs while the window starts.
    virtual void BeforeInit() {}

    KVDrawSurface& Surface() { return dialog.GetUiWindow().GetSurface(); }
    KVImage& Image() { return *dialog.PeekCurrentProject()->GetCurrentImage(); }
    KVLayer& Layer() { return *dialog.GetSelectedLayer(); }
    unsigned long UndoItems() { return Image().GetUndoRedoStack().GetNumItems(); }
    // An image point as the logical point of a Qt event.
    QPoint At(float x, float y) {
        const float ratio = Surface().GetDeviceRatio(), zoom = Surface().GetZoom();
        return QPoint(static_cast<int>((x * zoom - Surface().TranslateToCanvasX(0)) / ratio),
                      static_cast<int>((y * zoom - Surface().TranslateToCanvasY(0)) / ratio));
    }
    void Drag(std::vector<std::pair<float, float>> trail) {
        QWidget* view = Surface().viewport();
        QTest::mousePress(view, Qt::LeftButton, {}, At(trail[0].first, trail[0].second));
        for (size_t i = 1; i < trail.size(); ++i)
            QTest::mouseMove(view, At(trail[i].first, trail[i].second));
        QTest::mouseRelease(view, Qt::LeftButton, {}, At(trail.back().first, trail.back().second));
    }
    KVElement* Last() { return Layer().GetElementList().GetLast(); }
    template <class E> auto Record() { return dynamic_cast<E&>(*Last()).GetProperties(); }

    MainDialog dialog;
};

} // namespace kvtest
