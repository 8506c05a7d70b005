#pragma once
// Undo and redo. Every change records its own item at the moment it happens;
// items stay until the image closes or a new change cuts off the undone tail.

#include <vector>

class LUndoRedoItem {
public:
    LUndoRedoItem() = default;
    LUndoRedoItem(const LUndoRedoItem&) = delete;
    LUndoRedoItem& operator=(const LUndoRedoItem&) = delete;
    virtual ~LUndoRedoItem() = default;

    virtual void Undo() = 0;
    virtual void Redo() = 0;
    // `name` holds 260 bytes.
    virtual void GetName(char* name) const = 0;

    bool IsSavedState() const { return saved; }
    void SetSavedState(bool value) { saved = value; }

protected:
    friend class LUndoRedoGroup;
    // Called on the group before an item joins it.
    virtual void _AddItem() {}

private:
    bool saved = false;
};

// A named list of items that undo as one: newest first, and redo oldest first.
class LUndoRedoGroup : public LUndoRedoItem {
public:
    LUndoRedoGroup();
    explicit LUndoRedoGroup(const char* name);
    ~LUndoRedoGroup() override;

    // Takes ownership.
    void AddItem(LUndoRedoItem* item);

    void Undo() override;
    void Redo() override;
    void GetName(char* name) const override;

    unsigned long GetNumItems() const { return static_cast<unsigned long>(items.size()); }
    // Counted from the newest item; null past the end.
    LUndoRedoItem* GetItem(unsigned long index) const;

protected:
    // Deletes the `n` newest items.
    void DeleteNewest(unsigned long n);

private:
    char name[260];
    // Oldest first, so that adding and cutting the newest cost nothing.
    std::vector<LUndoRedoItem*> items;
};

// The image's history. The newest `cursor` items are the undone ones.
class LUndoRedoStack : public LUndoRedoGroup {
public:
    LUndoRedoStack() = default;
    ~LUndoRedoStack() override { delete gathering; }

    // While a gathering is open, items join it instead: a change made to
    // several elements at once undoes as one step, named `name`.
    void AddItem(LUndoRedoItem* item);
    void BeginGathering(const char* name);
    // Closes the gathering; it joins the history unless it is empty.
    void EndGathering();

    void Undo() override;
    void Redo() override;

    unsigned long GetCursor() const { return cursor; }
    bool CanUndo() const { return GetNumItems() > cursor; }
    bool CanRedo() const { return cursor > 0; }

    void MarkCurrentStateAsSaved();
    bool IsCurrentStateSaved() const;
    // No state counts as saved, not even an empty history, until the next
    // save: for work brought back from an autosave, which the user never
    // saved where it is meant to go.
    void MarkNoStateSaved();

protected:
    // A new change discards the redo branch.
    void _AddItem() override;

private:
    LUndoRedoGroup* gathering = nullptr;
    unsigned long cursor = 0;
    bool baseSaved = false;
    bool emptySaved = true;
};
