#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "document/undo.h"
#include "foundation/string.h"

namespace {

struct Log {
    std::vector<std::string> lines;
    int deaths = 0;
};

struct Item : LUndoRedoItem {
    Item(const char* n, Log& log) : name(n), log(log) {}
    ~Item() override { ++log.deaths; }
    void Undo() override { log.lines.push_back("undo " + name); }
    void Redo() override { log.lines.push_back("redo " + name); }
    void GetName(char* out) const override { LStrCopyTruncate(out, 260, name.c_str()); }
    std::string name;
    Log& log;
};

std::string NameAt(const LUndoRedoStack& s, unsigned long i) {
    char n[260];
    s.GetItem(i)->GetName(n);
    return n;
}

TEST(UndoStack, CursorWalksAndANewItemCutsExactlyTheUndoneBranch) {
    Log log;
    LUndoRedoStack s;
    for (const char* n : {"a", "b", "c"})
        s.AddItem(new Item(n, log));
    EXPECT_EQ(NameAt(s, 0), "c"); // newest first
    EXPECT_FALSE(s.CanRedo());
    for (int i = 0; i < 4; ++i) // one more than there is
        s.Undo();
    EXPECT_EQ(s.GetCursor(), 3u);
    s.Redo();
    EXPECT_EQ(log.lines, (std::vector<std::string>{"undo c", "undo b", "undo a", "redo a"}));

    s.AddItem(new Item("d", log));
    EXPECT_EQ(log.deaths, 2);
    EXPECT_EQ(s.GetNumItems(), 2u);
    EXPECT_EQ(s.GetCursor(), 0u);
    EXPECT_EQ(NameAt(s, 0), "d");
    EXPECT_EQ(NameAt(s, 1), "a");
}

TEST(UndoGroup, UndoesNewestFirstAndRedoesOldestFirst) {
    Log log;
    auto* g = new LUndoRedoGroup("Crop");
    for (const char* n : {"1", "2", "3"})
        g->AddItem(new Item(n, log));
    LUndoRedoStack s;
    s.AddItem(g);
    s.Undo();
    s.Redo();
    EXPECT_EQ(log.lines, (std::vector<std::string>{"undo 3", "undo 2", "undo 1", "redo 1",
                                                   "redo 2", "redo 3"}));
    EXPECT_EQ(NameAt(s, 0), "Crop");
}

TEST(UndoStack, SavedMarker) {
    Log log;
    LUndoRedoStack s;
    EXPECT_TRUE(s.IsCurrentStateSaved()); // a new document

    s.AddItem(new Item("a", log));
    s.Undo();
    // Never saved: the list is not empty and the base marker is clear.
    EXPECT_FALSE(s.IsCurrentStateSaved());
    s.MarkCurrentStateAsSaved(); // every item undone: the base state is the saved one
    EXPECT_TRUE(s.IsCurrentStateSaved());
    s.Redo();
    EXPECT_FALSE(s.IsCurrentStateSaved());
    s.Undo();
    EXPECT_TRUE(s.IsCurrentStateSaved());
}

TEST(UndoStack, OlderSavePointsKeepTheirMarkerUntilDiscarded) {
    Log log;
    LUndoRedoStack s;
    s.AddItem(new Item("a", log));
    s.MarkCurrentStateAsSaved(); // saved at A
    s.AddItem(new Item("b", log));
    s.MarkCurrentStateAsSaved(); // saved at B
    s.Undo();
    // The file holds B, yet A still carries its marker: kept as it is.
    EXPECT_TRUE(s.IsCurrentStateSaved());

    LUndoRedoStack t;
    t.AddItem(new Item("a", log));
    t.AddItem(new Item("b", log));
    t.MarkCurrentStateAsSaved(); // at b
    t.Undo();
    t.AddItem(new Item("c", log)); // b is gone with its marker
    t.Undo();
    EXPECT_FALSE(t.IsCurrentStateSaved()); // a carries no marker
}

} // namespace
