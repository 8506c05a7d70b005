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

TEST(UndoStack, CursorWalksBackAndForth) {
    Log log;
    LUndoRedoStack s;
    s.AddItem(new Item("a", log));
    s.AddItem(new Item("b", log));
    EXPECT_EQ(NameAt(s, 0), "b"); // newest first
    EXPECT_TRUE(s.CanUndo());
    EXPECT_FALSE(s.CanRedo());

    s.Undo();
    s.Undo();
    s.Undo(); // nothing left to undo
    EXPECT_EQ(s.GetCursor(), 2u);
    s.Redo();
    EXPECT_EQ(s.GetCursor(), 1u);
    EXPECT_EQ(log.lines, (std::vector<std::string>{"undo b", "undo a", "redo a"}));
}

TEST(UndoStack, NewItemCutsExactlyTheUndoneBranch) {
    Log log;
    LUndoRedoStack s;
    for (const char* n : {"a", "b", "c"})
        s.AddItem(new Item(n, log));
    s.Undo();
    s.Undo();
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
    g->AddItem(new Item("1", log));
    g->AddItem(new Item("2", log));
    g->AddItem(new Item("3", log));
    LUndoRedoStack s;
    s.AddItem(g);
    s.Undo();
    s.Redo();
    EXPECT_EQ(log.lines, (std::vector<std::string>{"undo 3", "undo 2", "undo 1", "redo 1",
                                                   "redo 2", "redo 3"}));
    EXPECT_EQ(NameAt(s, 0), "Crop");
    char unnamed[260];
    LUndoRedoGroup().GetName(unnamed);
    EXPECT_STREQ(unnamed, "");
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

TEST(UndoStack, AnOlderSavePointStillReadsAsSaved) {
    Log log;
    LUndoRedoStack s;
    s.AddItem(new Item("a", log));
    s.MarkCurrentStateAsSaved(); // saved at A
    s.AddItem(new Item("b", log));
    s.MarkCurrentStateAsSaved(); // saved at B
    EXPECT_TRUE(s.IsCurrentStateSaved());
    s.Undo();
    // The file holds B, yet A still carries its marker: kept as it is.
    EXPECT_TRUE(s.IsCurrentStateSaved());
}

TEST(UndoStack, DiscardedItemTakesItsMarkerAlong) {
    Log log;
    LUndoRedoStack s;
    s.AddItem(new Item("a", log));
    s.AddItem(new Item("b", log));
    s.MarkCurrentStateAsSaved(); // at b
    s.Undo();
    s.AddItem(new Item("c", log)); // b is gone with its marker
    s.Undo();
    EXPECT_FALSE(s.IsCurrentStateSaved()); // a carries no marker
}

} // namespace
