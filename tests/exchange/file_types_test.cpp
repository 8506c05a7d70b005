#include "exchange/file_types.h"

#include <gtest/gtest.h>

TEST(FileTypes, SaveAsTakesItsTableAndTheExportEverySavableRasterFormat) {
    const struct {
        const char* path;
        KVExportKind save;
        KVExportKind exported;
    } cases[] = {
        {"drawing.KVP", KVExportKindProject, KVExportKindProject},
        {"b.Pdf", KVExportKindPDF, KVExportKindPDF},
        {"/a.b/c.svg", KVExportKindSVG, KVExportKindSVG},
        {"photo.JPG", KVExportKindRaster, KVExportKindRaster},
        // Formats the codecs save but Save As does not offer.
        {"b.jpeg", KVExportKindNone, KVExportKindRaster},
        {"b.tif", KVExportKindNone, KVExportKindRaster},
        {"b.nef", KVExportKindNone, KVExportKindNone}, // read-only format
        {"dir.png/x", KVExportKindNone, KVExportKindNone},
        {"picture", KVExportKindNone, KVExportKindNone},
        {nullptr, KVExportKindNone, KVExportKindNone},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(KVGetSaveKind(c.path), c.save) << (c.path ? c.path : "null");
        EXPECT_EQ(KVGetExportKind(c.path), c.exported) << (c.path ? c.path : "null");
    }
    EXPECT_EQ(KVFileExtension("/a.b/Scan.TIFF"), ".tiff");
    EXPECT_EQ(KVFileExtension("/a.b/scan"), "");
}
