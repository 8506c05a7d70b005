#pragma once
// What a file name asks the editor to write, by its extension whatever its
// case: one table for Save As and the command-line export alike.

#include <string>

enum KVExportKind : int {
    KVExportKindNone = 0,    // nothing the editor writes
    KVExportKindProject = 1, // a project file
    KVExportKindSVG = 2,     // the vector back ends
    KVExportKindPDF = 3,
    KVExportKindEPS = 4,
    KVExportKindRaster = 5, // a raster format the codec table can save
};

struct KVSaveType {
    const char* extension; // with its point, lower case
    KVExportKind kind;
};

// The types Save As writes. A name with any other extension is refused, even
// one the codec table could save (".jpeg", ".tif"): the editor offers these.
inline constexpr KVSaveType kKVSaveTypes[] = {
    {".kvp", KVExportKindProject}, {".jpg", KVExportKindRaster}, {".png", KVExportKindRaster},
    {".bmp", KVExportKindRaster},  {".ico", KVExportKindRaster}, {".svg", KVExportKindSVG},
    {".eps", KVExportKindEPS},     {".pdf", KVExportKindPDF},
};

// The extension of `path` (from the last point after the last slash), lower
// case with its point; empty when it has none.
std::string KVFileExtension(const char* path);

// What Save As makes of `path`: a row of the table, or none.
KVExportKind KVGetSaveKind(const char* path);
// What the command-line export makes of `path`: the table, and besides it
// every other raster format the codec table can save.
KVExportKind KVGetExportKind(const char* path);
