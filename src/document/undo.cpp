#include "document/undo.h"

#include "foundation/string.h"

LUndoRedoGroup::LUndoRedoGroup() { name[0] = '\0'; }

LUndoRedoGroup::LUndoRedoGroup(const char* groupName) { LStrCopy(name, groupName); }

LUndoRedoGroup::~LUndoRedoGroup() { DeleteNewest(GetNumItems()); }

void LUndoRedoGroup::AddItem(LUndoRedoItem* item) {
    _AddItem();
    items.push_back(item);
}

void LUndoRedoGroup::Undo() {
    for (auto it = items.rbegin(); it != items.rend(); ++it)
        (*it)->Undo();
}

void LUndoRedoGroup::Redo() {
    for (LUndoRedoItem* item : items)
        item->Redo();
}

void LUndoRedoGroup::GetName(char* out) const { LStrCopyTruncate(out, kLFixedStringSize, name); }

LUndoRedoItem* LUndoRedoGroup::GetItem(unsigned long index) const {
    if (index >= items.size())
        return nullptr;
    return items[items.size() - 1 - index];
}

void LUndoRedoGroup::DeleteNewest(unsigned long n) {
    for (; n > 0 && !items.empty(); --n) {
        LUndoRedoItem* item = items.back();
        items.pop_back();
        delete item;
    }
}

void LUndoRedoStack::AddItem(LUndoRedoItem* item) {
    if (gathering)
        gathering->AddItem(item);
    else
        LUndoRedoGroup::AddItem(item);
}

void LUndoRedoStack::BeginGathering(const char* name) {
    EndGathering();
    gathering = new LUndoRedoGroup(name);
}

void LUndoRedoStack::EndGathering() {
    LUndoRedoGroup* done = gathering;
    gathering = nullptr;
    if (done && done->GetNumItems() > 0)
        LUndoRedoGroup::AddItem(done);
    else
        delete done;
}

void LUndoRedoStack::_AddItem() {
    DeleteNewest(cursor);
    cursor = 0;
}

void LUndoRedoStack::Undo() {
    if (GetNumItems() <= cursor)
        return;
    GetItem(cursor)->Undo();
    ++cursor;
}

void LUndoRedoStack::Redo() {
    if (cursor == 0)
        return;
    --cursor;
    GetItem(cursor)->Redo();
}

void LUndoRedoStack::MarkCurrentStateAsSaved() {
    emptySaved = true;
    const unsigned long count = GetNumItems();
    for (unsigned long i = 0; i < count; ++i) {
        LUndoRedoItem* item = GetItem(i);
        if (i == cursor) {
            item->SetSavedState(true);
            baseSaved = false;
            return;
        }
        item->SetSavedState(false);
    }
    // Empty, or every item undone: the state before all of them is the saved one.
    baseSaved = true;
}

void LUndoRedoStack::MarkNoStateSaved() {
    for (unsigned long i = 0; i < GetNumItems(); ++i)
        GetItem(i)->SetSavedState(false);
    baseSaved = false;
    emptySaved = false;
}

bool LUndoRedoStack::IsCurrentStateSaved() const {
    if (GetNumItems() == 0)
        return emptySaved;
    if (LUndoRedoItem* item = GetItem(cursor))
        return item->IsSavedState();
    return baseSaved;
}
