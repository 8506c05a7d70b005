// The editor window end to end on the offscreen platform: projects in tabs,
// saving and export, closing with the question, the render worker's
// pictures, autosave and recovery after a crash, printing.

#include <gtest/gtest.h>

#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QComboBox>
#include <QDropEvent>
#include <QLineEdit>
#include <QMimeData>
#include <QPrinter>
#include <QProgressBar>
#include <QTabBar>
#include <QTest>
#include <QUrl>
#include <QWheelEvent>

#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "document/shapes.h"
#include "foundation/app_paths.h"
#include "imaging/image_file.h"
#include "persistence/project_file.h"
#include "shell/main_dialog.h"
#include "shell/main_dialog_p.h"
#include "shell/ui_window.h"
#include "support/qt_wait.h"
#include "support/temp_dir.h"
#include "support/test_element.h"
#include "toolkit/dialogs.h"
#include "toolkit/qt_image.h"
#include "toolkit/printer.h"
#include "toolkit/settings.h"

namespace {

namespace fs = std::filesystem;
using kvtest::WaitFor;

bool Exists(const std::string& path) { return fs::exists(path); }

std::vector<std::string> RecoveryFiles() {
    std::vector<std::string> out;
    std::error_code ec;
    for (const auto& e : fs::directory_iterator(LGetRecoveryFolder(), ec))
        out.push_back(e.path().filename().string());
    std::sort(out.begin(), out.end());
    return out;
}

void ClearRecovery() {
    std::error_code ec;
    fs::remove_all(LGetRecoveryFolder(), ec);
}

KVRectangleElement* Rectangle(float x1, float y1, float x2, float y2, LGuiColorAlpha fill) {
    KVRectangleElementProperties p;
    p.SetRectangle({x1, y1, x2, y2});
    p.SetFill(fill);
    return new KVRectangleElement(p);
}

// An unsaved change, as a drawing tool would make it.
void Draw(MainDialog& dialog, KVElement* element) {
    std::unique_ptr<KVRenderLock> lock;
    KVProject* project = dialog.GetCurrentProject(lock);
    KVImage* image = project->GetCurrentImage();
    image->AddNewElement(element, image->GetFirstLayer(), false, true);
}

// Writes a project file of one red rectangle on white.
std::string MakeProjectFile(const kvtest::TempDir& dir, const char* name, int width = 200, int height = 100) {
    KVProject project(name);
    KVImage* image = new KVImage(name, width, height, 72, LPixelColour(255, 255, 255, 255));
    KVLayer* layer = project.AddNewImage(image);
    layer->AddNewElement(Rectangle(10, 10, 60, 40, LGuiColorAlpha(255, 0, 0, 255)), false);
    const std::string path = dir.File(std::string(name) + ".kvp");
    LProcessInterfaceVoid process;
    EXPECT_EQ(KVProjectFileSave(process, project, path.c_str()), LProcessResultOk);
    return path;
}

bool RenderIdle(MainDialog& d) { return d.GetRenderResults().IsEmpty() && !d.GetRenderThread().IsRunning(); }

QRgb ShownPixel(MainDialog& d, int x, int y) { return d.GetUiWindow().GetSurface().GetDisplayedImage().pixel(x, y); }

// Every alert and file dialog answered by the test, and remembered.
class Editor : public ::testing::Test {
protected:
    void SetUp() override {
        ClearRecovery();
        std::error_code ec;
        fs::remove(LUserSettingsPath(), ec);
        LSetAlertResponder([this](const LAlertRequest& r) {
            alerts.push_back(r);
            return alertAnswer;
        });
        LSetFileDialogResponder([this](const LFileDialogRequest& r) {
            fileDialogs.push_back(r);
            return LFileChoice(fileAnswer, fileType);
        });
        dialog = std::make_unique<MainDialog>();
        dialog->InitDialog();
        dialog->KillTimer(0);
    }
    void TearDown() override {
        // Whatever is still open goes without a question.
        alertAnswer = 1;
        dialog.reset();
        LSetAlertResponder(nullptr);
        LSetFileDialogResponder(nullptr);
    }
    void Settle() { ASSERT_TRUE(WaitFor([&] { return RenderIdle(*dialog); })); }

    kvtest::TempDir dir;
    std::unique_ptr<MainDialog> dialog;
    std::vector<LAlertRequest> alerts;
    std::vector<LFileDialogRequest> fileDialogs;
    int alertAnswer = 0;
    std::string fileAnswer;
    int fileType = -1; // the file type chosen in the dialog's list
};

TEST_F(Editor, NewProjectsTakeTheSettingsDefaultsAndOpenInATabEach) {
    dialog->CmNewProject();
    KVImage* image = dialog->PeekCurrentProject()->GetCurrentImage();
    EXPECT_EQ(image->GetWidth(), 1024u);

    LUserSettingSet("Settings", "DefaultWidth", 320L);
    LUserSettingSet("Settings", "DefaultHeight", 200L);
    LUserSettingSet("Settings", "DefaultBackColor", 0x00FFFFFFL);
    dialog->Command(KVCmNewProject);
    image = dialog->PeekCurrentProject()->GetCurrentImage();
    EXPECT_EQ(image->GetWidth(), 320u);
    EXPECT_EQ(image->GetHeight(), 200u);
    EXPECT_EQ(image->GetBackground().GetPacked(), 0x00FFFFFFu);
    EXPECT_EQ(dialog->GetUiWindow().GetTabs().count(), 2);
    EXPECT_EQ(dialog->GetUiWindow().GetTabs().currentIndex(), 1);

    // The finished render is what the window shows.
    Settle();
    ASSERT_TRUE(dialog->GetUiWindow().GetSurface().HasImage());
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage().width(), 320);
    EXPECT_EQ(qAlpha(ShownPixel(*dialog, 5, 5)), 0);
}

TEST_F(Editor, FilesGivenAtStartOpenInTabsTheLastSelectedAndAMissingOneIsNamedInAnAlert) {
    const std::string first = MakeProjectFile(dir, "first");
    const std::string second = MakeProjectFile(dir, "second", 300, 150);
    dialog->StartTimer(0, 200);
    dialog->EvAPICommand({first, dir.File("missing.kvp"), second});
    EXPECT_FALSE(dialog->IsTimerRunning(0));
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].text, "The file \"" + dir.File("missing.kvp") + "\" could not be opened: it does not exist.");
    alerts.clear();
    ASSERT_EQ(dialog->GetProjects().GetCount(), 2u);
    QTabBar& tabs = dialog->GetUiWindow().GetTabs();
    EXPECT_EQ(tabs.tabText(0), "first");
    EXPECT_EQ(tabs.tabText(1), "second");
    EXPECT_EQ(tabs.currentIndex(), 1);
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetName(), "second");
    Settle();
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage().width(), 300);
    EXPECT_EQ(ShownPixel(*dialog, 20, 20), qRgb(255, 0, 0));
    EXPECT_EQ(ShownPixel(*dialog, 100, 100), qRgb(255, 255, 255));

    // Picking the other tab shows that project.
    tabs.setCurrentIndex(0);
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetName(), "first");
    Settle();
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage().width(), 200);

    // A damaged file: its message, and no tab.
    const std::string bad = dir.File("bad.kvp");
    std::ofstream(bad) << "not a project";
    dialog->CmOpenFile(bad.c_str());
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_NE(alerts[0].text.find("is not a project file"), std::string::npos);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 2u);

    // A picture opens as a project of its own, named after the file.
    LImageBuffer photo;
    LImage::New(photo, 40, 30, LPixelFormatB8G8R8A8);
    photo.Clear(LPixelColour(10, 200, 30, 255));
    const std::string png = dir.File("photo.png");
    ASSERT_TRUE(LImage::Save(photo, png.c_str()));
    dialog->CmOpenFile(png.c_str());
    ASSERT_EQ(dialog->GetProjects().GetCount(), 3u);
    EXPECT_EQ(tabs.tabText(tabs.currentIndex()), "photo");
    Settle();
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage().width(), 40);
    EXPECT_EQ(ShownPixel(*dialog, 20, 15), qRgb(10, 200, 30));

    // An SVG file opens as a project of its shapes; a broken one says why.
    const std::string svg = dir.File("shapes.svg");
    std::ofstream(svg) << "<svg width=\"60\" height=\"50\"><rect x=\"10\" y=\"10\" width=\"30\" "
                          "height=\"20\" fill=\"#0000ff\"/></svg>";
    dialog->CmOpenFile(svg.c_str());
    ASSERT_EQ(dialog->GetProjects().GetCount(), 4u);
    EXPECT_EQ(tabs.tabText(tabs.currentIndex()), "shapes");
    Settle();
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage().width(), 60);
    EXPECT_EQ(ShownPixel(*dialog, 25, 20), qRgb(0, 0, 255));
    alerts.clear();
    const std::string broken = dir.File("broken.svg");
    std::ofstream(broken) << "<svg><rect";
    dialog->CmOpenFile(broken.c_str());
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_NE(alerts[0].text.find("\"broken.svg\" is not a picture this program can open."), std::string::npos);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 4u);
    // The open dialog lists them beside projects.
    const std::vector<LFileFilter> filters = kvshell::OpenFilters(true);
    ASSERT_GE(filters.size(), 3u);
    EXPECT_EQ(filters[0].patterns.rfind("*.kvp;*.svg;", 0), 0u);
    EXPECT_EQ(filters[2].name, "Scalable Vector Graphics(*.svg)");
}

TEST_F(Editor, WhenNoFileGivenAtStartOpensTheWindowHasANewProject) {
    dialog->EvAPICommand({dir.File("missing.kvp"), dir.Path()});
    ASSERT_EQ(alerts.size(), 2u);
    EXPECT_NE(alerts[1].text.find("could not be opened: it is not a file."), std::string::npos);
    ASSERT_EQ(dialog->GetProjects().GetCount(), 1u);
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetName(), "Untitled");
}

TEST_F(Editor, FilesDroppedOnTheWindowOpenInTabsTheLastSelected) {
    const std::string first = MakeProjectFile(dir, "dropped1");
    const std::string second = MakeProjectFile(dir, "dropped2");
    QMimeData mime;
    mime.setUrls({QUrl::fromLocalFile(QString::fromStdString(first)),
                  QUrl::fromLocalFile(QString::fromStdString(second))});
    QDropEvent drop(QPointF(20, 20), Qt::CopyAction, &mime, Qt::LeftButton, Qt::NoModifier);
    // Straight to the window: the application's dispatch of drops wants a
    // drag the platform started.
    static_cast<QObject*>(dialog.get())->event(&drop);
    EXPECT_TRUE(drop.isAccepted());
    ASSERT_EQ(dialog->GetProjects().GetCount(), 2u);
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetName(), "dropped2");
    EXPECT_EQ(dialog->GetUiWindow().GetTabs().currentIndex(), 1);
}

TEST_F(Editor, SaveAsWritesByExtensionAndOnlyAnExportUpdatesTheDefaults) {
    LUserSettingSet("Settings", "DefaultWidth", 120L);
    LUserSettingSet("Settings", "DefaultHeight", 90L);
    dialog->CmNewProject();
    Draw(*dialog, Rectangle(0, 0, 50, 50, LGuiColorAlpha(0, 0, 255, 255)));
    KVImage* image = dialog->PeekCurrentProject()->GetCurrentImage();
    std::error_code ec;
    fs::remove(LUserSettingsPath(), ec);
    EXPECT_FALSE(image->GetUndoRedoStack().IsCurrentStateSaved());

    // Save without a file asks where, in the documents folder, as a project.
    fileAnswer = dir.File("drawing.kvp");
    dialog->Command(KVCmSave);
    ASSERT_EQ(fileDialogs.size(), 1u);
    EXPECT_TRUE(fileDialogs[0].save);
    EXPECT_NE(fileDialogs[0].folder.find("Korvane"), std::string::npos);
    EXPECT_EQ(fileDialogs[0].filters[0].name, "Korvane Project File (*.kvp)");
    EXPECT_TRUE(Exists(fileAnswer));
    EXPECT_TRUE(image->GetUndoRedoStack().IsCurrentStateSaved());
    EXPECT_STREQ(image->GetName(), "drawing.kvp");
    EXPECT_EQ(dialog->GetUiWindow().GetTabs().tabText(0), "drawing.kvp");
    EXPECT_FALSE(LUserSettingExists("Settings", "DefaultWidth"));
    KVProject reloaded;
    LProcessInterfaceVoid process;
    ASSERT_EQ(KVProjectFileLoad(process, reloaded, fileAnswer.c_str()), LProcessResultOk);
    EXPECT_EQ(reloaded.GetCurrentImage()->GetFirstLayer()->GetElementCount(), 1u);

    // Now the project has a file: Save writes it again without asking.
    Draw(*dialog, Rectangle(60, 0, 80, 20, LGuiColorAlpha(0, 255, 0, 255)));
    dialog->Command(KVCmSave);
    EXPECT_EQ(fileDialogs.size(), 1u);
    EXPECT_TRUE(image->GetUndoRedoStack().IsCurrentStateSaved());

    // An export is a save too, and the next new project starts like it.
    Draw(*dialog, Rectangle(0, 60, 20, 80, LGuiColorAlpha(0, 255, 0, 255)));
    fileAnswer = dir.File("drawing.png");
    ASSERT_TRUE(dialog->CmSaveAs());
    EXPECT_TRUE(Exists(fileAnswer));
    EXPECT_EQ(fileDialogs.back().fileName, "drawing.kvp");
    EXPECT_TRUE(image->GetUndoRedoStack().IsCurrentStateSaved());
    EXPECT_EQ(LUserSettingGet("Settings", "DefaultWidth", 0L), 120);
    EXPECT_EQ(LUserSettingGet("Settings", "DefaultBackColor", 0L), -1);
    QImage png(QString::fromStdString(fileAnswer));
    ASSERT_FALSE(png.isNull());
    EXPECT_EQ(png.size(), QSize(120, 90));
    EXPECT_EQ(png.pixel(10, 10), qRgb(0, 0, 255));
    EXPECT_TRUE(alerts.empty());

    // As SVG the drawing keeps its shapes.
    Draw(*dialog, Rectangle(30, 30, 40, 40, LGuiColorAlpha(255, 0, 0, 255)));
    fileAnswer = dir.File("drawing.svg");
    ASSERT_TRUE(dialog->CmSaveAs());
    EXPECT_TRUE(image->GetUndoRedoStack().IsCurrentStateSaved());
    std::ifstream svg(fileAnswer);
    const std::string svgText((std::istreambuf_iterator<char>(svg)), std::istreambuf_iterator<char>());
    EXPECT_NE(svgText.find("fill=\"rgb(255,0,0)\""), std::string::npos);
    EXPECT_TRUE(alerts.empty());

    // And as PDF, a page of the drawing's size.
    fileAnswer = dir.File("drawing.pdf");
    ASSERT_TRUE(dialog->CmSaveAs());
    std::ifstream pdf(fileAnswer, std::ios::binary);
    std::string pdfHead(5, '\0');
    pdf.read(pdfHead.data(), 5);
    EXPECT_EQ(pdfHead, "%PDF-");
    EXPECT_TRUE(alerts.empty());

    // Extensions outside the table are refused with the alert.
    fileAnswer = dir.File("drawing.xyz");
    EXPECT_FALSE(dialog->CmSaveAs());
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].text,
              "That file type is not supported. Please select a file extension from the listed options.");
    EXPECT_FALSE(Exists(fileAnswer));
    // Cancelling the file dialog saves nothing.
    fileAnswer.clear();
    EXPECT_FALSE(dialog->CmSaveAs());
}

TEST_F(Editor, SaveAsGivesABareNameTheExtensionOfTheChosenType) {
    dialog->CmNewProject();
    fileAnswer = dir.File("picture");
    fileType = 2; // "JPEG Image (*.jpg)"
    ASSERT_TRUE(dialog->CmSaveAs());
    ASSERT_EQ(fileDialogs.back().filters[2].patterns, "*.jpg");
    EXPECT_TRUE(Exists(dir.File("picture.jpg")));
    EXPECT_FALSE(Exists(dir.File("picture")));
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetCurrentImage()->GetName(), "picture.jpg");
    // With no type chosen, the project's own extension.
    fileType = -1;
    fileAnswer = dir.File("again");
    ASSERT_TRUE(dialog->CmSaveAs());
    EXPECT_TRUE(Exists(dir.File("again.jpg")));
}

TEST_F(Editor, TheWindowShowsWhatIsOpenAndTheKeysAndWheelWorkOnIt) {
    dialog->show();
    dialog->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(dialog.get()));
    EXPECT_EQ(dialog->windowTitle(), "Korvane Graphics Editor");
    dialog->CmNewProject();
    Settle();
    EXPECT_EQ(dialog->windowTitle(), "Untitled[*] - Korvane Graphics Editor");
    EXPECT_FALSE(dialog->isWindowModified());
    auto* progress = dialog->findChild<QProgressBar*>();
    ASSERT_NE(progress, nullptr);
    EXPECT_TRUE(progress->isHidden()) << "the bar shows only while a render runs";

    // The mark follows saves, changes, undo to the saved state and tabs.
    fileAnswer = dir.File("one.kvp");
    ASSERT_TRUE(dialog->CmSaveAs());
    EXPECT_EQ(dialog->windowTitle(), "one.kvp[*] - Korvane Graphics Editor");
    Draw(*dialog, Rectangle(0, 0, 10, 10, LGuiColorAlpha(0, 0, 0, 255)));
    dialog->Command(KVCmUndo);
    EXPECT_FALSE(dialog->isWindowModified());
    dialog->Command(KVCmRedo);
    EXPECT_TRUE(dialog->isWindowModified());
    dialog->Command(KVCmSave);
    EXPECT_FALSE(dialog->isWindowModified());
    dialog->CmNewProject();
    Draw(*dialog, Rectangle(0, 0, 10, 10, LGuiColorAlpha(0, 0, 0, 255)));
    dialog->GetUiWindow().GetTabs().setCurrentIndex(0);
    EXPECT_EQ(dialog->windowTitle(), "one.kvp[*] - Korvane Graphics Editor");
    EXPECT_FALSE(dialog->isWindowModified());
    dialog->GetUiWindow().GetTabs().setCurrentIndex(1);
    EXPECT_EQ(dialog->windowTitle(), "Untitled[*] - Korvane Graphics Editor");
    EXPECT_TRUE(dialog->isWindowModified());
    Settle();

    // Control and the wheel zoom the picture by eighths; a zoom typed in the box is
    // applied without joining the list of steps.
    QWidget* viewport = dialog->GetUiWindow().GetSurface().viewport();
    QWheelEvent wheel(QPointF(10, 10), viewport->mapToGlobal(QPointF(10, 10)), QPoint(), QPoint(0, 120),
                      Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
    QApplication::sendEvent(viewport, &wheel);
    EXPECT_EQ(dialog->GetZoomPercent(), 113) << "a notch is a step of an eighth";
    EXPECT_FLOAT_EQ(dialog->GetUiWindow().GetSurface().GetZoom(), 1.125f);
    // The status bar's zoom box is the one combo box that takes typing.
    QComboBox* zoom = nullptr;
    for (QComboBox* box : dialog->findChildren<QComboBox*>())
        if (box->isEditable())
            zoom = box;
    ASSERT_NE(zoom, nullptr);
    const int steps = zoom->count();
    zoom->lineEdit()->selectAll();
    QTest::keyClicks(zoom->lineEdit(), "150%");
    QTest::keyClick(zoom->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(zoom->count(), steps);
    EXPECT_DOUBLE_EQ(dialog->GetUiWindow().GetSurface().GetZoom(), 1.5);

    // Ctrl+W closes the tab, asking first about unsaved work.
    alertAnswer = 2; // Cancel
    QTest::keyClick(dialog.get(), Qt::Key_W, Qt::ControlModifier);
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 2u);
    alertAnswer = 1; // Don't Save
    QTest::keyClick(dialog.get(), Qt::Key_W, Qt::ControlModifier);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 1u);
    EXPECT_EQ(dialog->windowTitle(), "one.kvp[*] - Korvane Graphics Editor");
}

TEST_F(Editor, ClosingAsksAboutUnsavedWorkAndTheLastTabLeavesNothingCurrent) {
    dialog->CmNewProject();
    Draw(*dialog, Rectangle(0, 0, 10, 10, LGuiColorAlpha(0, 0, 0, 255)));
    dialog->RenderCurrentProject();
    ASSERT_TRUE(WaitFor([] { return RecoveryFiles().size() == 1; }));
    const KVProject* project = dialog->PeekCurrentProject();

    alertAnswer = 2; // Cancel
    EXPECT_FALSE(dialog->EvCloseProject(project));
    ASSERT_EQ(alerts.size(), 1u);
    EXPECT_EQ(alerts[0].title, "Korvane");
    EXPECT_EQ(alerts[0].text, "Save changes to \"Untitled\" before closing?");
    EXPECT_EQ(alerts[0].buttons, (std::vector<std::string>{"Save", "Don't Save", "Cancel"}));
    EXPECT_EQ(dialog->GetProjects().GetCount(), 1u);

    alertAnswer = 0; // Save: runs Save As, and a cancelled Save As keeps it open
    fileAnswer.clear();
    EXPECT_FALSE(dialog->EvCloseProject(project));
    EXPECT_EQ(fileDialogs.size(), 1u);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 1u);

    alertAnswer = 1; // Don't Save
    EXPECT_TRUE(dialog->EvCloseProject(project));
    EXPECT_EQ(dialog->GetProjects().GetCount(), 0u);
    EXPECT_EQ(dialog->PeekCurrentProject(), nullptr);
    EXPECT_TRUE(RecoveryFiles().empty());
    EXPECT_EQ(dialog->GetUiWindow().GetTabs().count(), 0);

    // With nothing open, commands do nothing.
    alerts.clear();
    for (unsigned id : {KVCmSave, KVCmSaveAs, KVCmPrint, KVCmUndo, KVCmRedo, KVCmZoomIn})
        dialog->Command(id);
    EXPECT_TRUE(alerts.empty());
    EXPECT_EQ(fileDialogs.size(), 1u);
    // The stopped render of the closed project goes with its notification.
    EXPECT_TRUE(WaitFor([&] { return RenderIdle(*dialog); }));
}

TEST_F(Editor, ClosingWithSaveWritesTheFileAndClosesTheTab) {
    dialog->CmNewProject();
    dialog->CmNewProject();
    Draw(*dialog, Rectangle(0, 0, 10, 10, LGuiColorAlpha(0, 0, 0, 255)));
    const KVProject* second = dialog->PeekCurrentProject();
    alertAnswer = 0;
    fileAnswer = dir.File("kept.kvp");
    EXPECT_TRUE(dialog->EvCloseProject(second));
    EXPECT_TRUE(Exists(fileAnswer));
    // The other project takes its place.
    ASSERT_NE(dialog->PeekCurrentProject(), nullptr);
    EXPECT_EQ(dialog->GetProjects().GetCount(), 1u);
}

// A box whose render waits for the test, or fails.
class GatedBox : public kvtest::BoxElement {
public:
    LProcessResult Render(LProcessInterface& process, KVRenderImage& target) override {
        ++renders;
        if (fail)
            return LProcessResultError;
        const LProcessResult r = process.ProcessWaitSignalForever(gate);
        return r != LProcessResultOk ? r : BoxElement::Render(process, target);
    }
    LSignalObject gate;
    std::atomic<int> renders{0};
    std::atomic<bool> fail{false};
};

TEST_F(Editor, ANewRenderStopsTheOneUnderWayAndOnlyAFinishedPictureIsShown) {
    LUserSettingSet("Settings", "DefaultWidth", 64L);
    LUserSettingSet("Settings", "DefaultHeight", 48L);
    dialog->CmNewProject();
    Settle();
    const QImage first = dialog->GetUiWindow().GetSurface().GetDisplayedImage();
    ASSERT_FALSE(first.isNull());

    auto* box = new GatedBox;
    Draw(*dialog, box);
    {
        // While a change holds the lock, renders wait, and asking again adds nothing.
        std::unique_ptr<KVRenderLock> lock;
        dialog->GetCurrentProject(lock);
        dialog->RenderCurrentProject();
        dialog->RenderCurrentProject();
        ASSERT_EQ(dialog->GetRenderResults().GetCount(), 1u);
        EXPECT_FALSE(dialog->GetRenderResults().GetFirst()->started);
    }
    dialog->RenderCurrentProject(); // the waiting one starts now
    EXPECT_EQ(dialog->GetRenderResults().GetCount(), 1u);
    ASSERT_TRUE(WaitFor([&] { return box->renders == 1; }));
    // While one runs: it is stopped, and a new one takes its place.
    dialog->RenderCurrentProject();
    EXPECT_EQ(dialog->GetRenderResults().GetCount(), 2u);
    ASSERT_TRUE(WaitFor([&] { return box->renders == 2; }));
    kvtest::Pump(50);
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage(), first); // nothing half-done shown
    box->gate.Set();
    Settle();

    // A failed render keeps the last picture.
    const QImage finished = dialog->GetUiWindow().GetSurface().GetDisplayedImage();
    box->fail = true;
    dialog->RenderCurrentProject();
    Settle();
    EXPECT_EQ(dialog->GetUiWindow().GetSurface().GetDisplayedImage(), finished);
    box->fail = false;
}

TEST_F(Editor, AnUnsavedChangeIsAutosavedAfterItsRenderAndUndoToTheSavedStateRemovesIt) {
    dialog->CmNewProject();
    fileAnswer = dir.File("saved.kvp");
    ASSERT_TRUE(dialog->CmSaveAs());
    Settle();
    EXPECT_TRUE(RecoveryFiles().empty()); // nothing to keep yet

    Draw(*dialog, Rectangle(0, 0, 10, 10, LGuiColorAlpha(0, 0, 0, 255)));
    dialog->RenderCurrentProject();
    Settle();
    const std::vector<std::string> files = RecoveryFiles();
    ASSERT_EQ(files.size(), 1u);
    const std::string path = LGetRecoveryFolder() + "/" + files[0];
    EXPECT_STREQ(dialog->PeekCurrentProject()->GetRecoveryPath(), path.c_str());

    dialog->Command(KVCmUndo);
    EXPECT_TRUE(RecoveryFiles().empty());
    Settle();
    EXPECT_TRUE(RecoveryFiles().empty());
    // The next change comes back under the same name.
    dialog->Command(KVCmRedo);
    Settle();
    EXPECT_EQ(RecoveryFiles(), files);
}

TEST_F(Editor, PrintRendersThePictureOntoAPage) {
    LUserSettingSet("Settings", "DefaultWidth", 400L);
    LUserSettingSet("Settings", "DefaultHeight", 300L);
    dialog->CmNewProject();
    Draw(*dialog, Rectangle(0, 0, 200, 150, LGuiColorAlpha(0, 0, 255, 255)));
    const std::string pdf = dir.File("print.pdf");
    bool landscape = false;
    LSetPrintResponder([&](QPrinter& printer) {
        printer.setOutputFormat(QPrinter::PdfFormat);
        printer.setOutputFileName(QString::fromStdString(pdf));
        landscape = printer.pageLayout().orientation() == QPageLayout::Landscape;
        return true;
    });
    dialog->Command(KVCmPrint);
    LSetPrintResponder(nullptr);
    EXPECT_TRUE(landscape);
    std::ifstream file(pdf, std::ios::binary);
    std::string head(5, '\0');
    file.read(head.data(), 5);
    EXPECT_EQ(head, "%PDF-");
    file.seekg(0, std::ios::end);
    EXPECT_GT(file.tellg(), 1000);
    EXPECT_TRUE(alerts.empty());
}

// The child half of the crash test: it draws, waits for its autosave and then
// waits to be killed.
TEST(EditorCrash, DISABLED_Child) {
    MainDialog dialog;
    dialog.InitDialog();
    dialog.KillTimer(0);
    dialog.CmNewProject();
    Draw(dialog, Rectangle(5, 5, 50, 50, LGuiColorAlpha(0, 128, 0, 255)));
    dialog.RenderCurrentProject();
    // The autosave is complete once its file has its own name.
    WaitFor([] {
        const std::vector<std::string> files = RecoveryFiles();
        return files.size() == 1 && files[0] == "0.kvp";
    }, 60000);
    std::ofstream(std::string(std::getenv("KV_CRASH_READY"))) << "ready";
    for (;;)
        kvtest::Pump(1000);
}

pid_t StartChild(const std::string& ready) {
    const pid_t pid = fork();
    if (pid == 0) {
        setenv("KV_CRASH_READY", ready.c_str(), 1);
        setenv("KV_TEST_SHARE_HOME", "1", 1);
        execl("/proc/self/exe", "child", "--gtest_also_run_disabled_tests",
              "--gtest_filter=EditorCrash.DISABLED_Child", static_cast<char*>(nullptr));
        _exit(127);
    }
    return pid;
}

TEST_F(Editor, AfterACrashTheNextStartOffersTheAutosavedWorkAndKeepsItUnsaved) {
    for (int answer : {0, 1}) {
        SCOPED_TRACE(answer == 0 ? "Yes" : "No");
        const std::string ready = dir.File("ready");
        std::error_code ec;
        fs::remove(ready, ec);
        const pid_t child = StartChild(ready);
        ASSERT_GT(child, 0);
        ASSERT_TRUE(WaitFor([&] { return Exists(ready); }, 120000));
        kill(child, SIGKILL);
        int status = 0;
        waitpid(child, &status, 0);
        ASSERT_TRUE(WIFSIGNALED(status));
        ASSERT_EQ(RecoveryFiles().size(), 1u);

        alerts.clear();
        alertAnswer = answer;
        const unsigned long before = dialog->GetProjects().GetCount();
        dialog->EvTimer(0);
        ASSERT_EQ(alerts.size(), 1u);
        EXPECT_EQ(alerts[0].title, "File Recovery");
        EXPECT_EQ(alerts[0].text, "There are one or more projects that can be recovered from the last time the "
                                  "program was run. Would you like to recover them?");
        if (answer == 0) {
            ASSERT_EQ(dialog->GetProjects().GetCount(), before + 1);
            KVImage* image = dialog->PeekCurrentProject()->GetCurrentImage();
            EXPECT_EQ(image->GetFirstLayer()->GetElementCount(), 1u);
            EXPECT_STREQ(image->GetPath(), "");
            // Recovered work is unsaved until the user saves it: its next
            // render autosaves it again, and closing or quitting asks.
            EXPECT_FALSE(image->GetUndoRedoStack().IsCurrentStateSaved());
            EXPECT_TRUE(dialog->isWindowModified());
            ASSERT_TRUE(WaitFor([] { return RecoveryFiles().size() == 1; }));
            alerts.clear();
            alertAnswer = 2; // Cancel
            EXPECT_FALSE(dialog->CanClose());
            ASSERT_EQ(alerts.size(), 1u);
            EXPECT_NE(alerts[0].text.find("Save changes to"), std::string::npos);
            alertAnswer = 1; // Don't Save
            dialog->Command(KVCmCloseProject);
            EXPECT_EQ(dialog->GetProjects().GetCount(), before);
            EXPECT_TRUE(RecoveryFiles().empty());
        } else {
            EXPECT_TRUE(RecoveryFiles().empty());
            // Nothing recovered: a new project, as at a plain start.
            EXPECT_EQ(dialog->GetProjects().GetCount(), before + 1);
            EXPECT_STREQ(dialog->PeekCurrentProject()->GetName(), "Untitled");
        }
    }
}

} // namespace
