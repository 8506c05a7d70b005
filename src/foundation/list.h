#pragma once
// Intrusive list: position is stacking order, membership is pointer identity.
//
// Members carry their own links (derive from LListLink<T>). Besides the next
// pointer each member knows its predecessor and the list it sits in, so that
// appending, unlinking a member and asking a live member whether it belongs
// here all cost the same at 100 elements as at 100,000.

#include <cstddef>

template <class T> class LList;

template <class T> class LListLink {
public:
    LListLink() = default;
    // A copy is a new, unlinked object: links never travel with the value.
    LListLink(const LListLink&) {}
    LListLink& operator=(const LListLink&) { return *this; }

    T* GetNext() const { return listNext; }

private:
    friend class LList<T>;
    T* listNext = nullptr;
    T* listPrev = nullptr;
    const LList<T>* listOwner = nullptr;
};

// A cursor over a list, taken by value and consumed as it advances.
template <class T> class LListIterator {
public:
    LListIterator() = default;
    explicit LListIterator(T* start) : current(start) {}

    bool IsValid() const { return current != nullptr; }
    explicit operator bool() const { return current != nullptr; }
    T* Get() const { return current; }
    T* operator->() const { return current; }
    T& operator*() const { return *current; }
    void Next() {
        if (current)
            current = current->GetNext();
    }
    LListIterator& operator++() {
        Next();
        return *this;
    }
    bool operator==(const LListIterator& o) const { return current == o.current; }
    bool operator!=(const LListIterator& o) const { return current != o.current; }

private:
    T* current = nullptr;
};

// Owns its members: destroying the list deletes whatever is still in it.
template <class T> class LList {
public:
    LList() = default;
    LList(const LList&) = delete;
    LList& operator=(const LList&) = delete;
    LList(LList&& other) noexcept { Take(other); }
    LList& operator=(LList&& other) noexcept {
        if (this != &other) {
            DeleteAll();
            Take(other);
        }
        return *this;
    }
    ~LList() { DeleteAll(); }

    T* GetFirst() const { return head; }
    T* GetLast() const { return tail; }
    unsigned long GetCount() const { return count; }
    bool IsEmpty() const { return head == nullptr; }

    LListIterator<T> GetIterator() const { return LListIterator<T>(head); }
    LListIterator<T> begin() const { return LListIterator<T>(head); }
    LListIterator<T> end() const { return LListIterator<T>(); }

    void PushFront(T* item) { Link(item, nullptr, head); }
    void PushBack(T* item) { Link(item, tail, nullptr); }

    // Inserts behind `after`; at the very front when `after` is null, at the end
    // when `after` is not (or no longer) a member. `after` is only compared,
    // never followed, so a pointer to a destroyed object is harmless.
    void InsertAfter(T* item, const T* after) {
        if (!after) {
            PushFront(item);
            return;
        }
        if (after == tail) {
            PushBack(item);
            return;
        }
        for (T* p = head; p; p = p->LListLink<T>::listNext) {
            if (p == after) {
                Link(item, p, p->LListLink<T>::listNext);
                return;
            }
        }
        PushBack(item);
    }

    // Inserts before the member at `index` (from 0); at the end when the index
    // is not reached, so -1 means the end.
    void InsertAt(T* item, long index) {
        if (index < 0) {
            PushBack(item);
            return;
        }
        T* p = head;
        for (long i = 0; p && i < index; ++i)
            p = p->LListLink<T>::listNext;
        if (!p)
            PushBack(item);
        else
            Link(item, p->LListLink<T>::listPrev, p);
    }

    // Membership by identity, comparing pointers only.
    bool Contains(const T* item) const { return item && IndexOf(item) >= 0; }

    // Membership of an object known to be alive: constant time.
    bool Owns(const T* item) const { return item && item->LListLink<T>::listOwner == this; }

    long IndexOf(const T* item) const {
        long i = 0;
        for (T* p = head; p; p = p->LListLink<T>::listNext, ++i)
            if (p == item)
                return i;
        return -1;
    }

    T* GetAt(unsigned long index) const {
        T* p = head;
        for (unsigned long i = 0; p && i < index; ++i)
            p = p->LListLink<T>::listNext;
        return p;
    }

    // The member before `item` (null for the first); `item` must be alive.
    T* GetPrevious(const T* item) const {
        return Owns(item) ? item->LListLink<T>::listPrev : nullptr;
    }

    // Unlinks a live member and hands it back; null if it is not a member.
    T* Remove(T* item) {
        if (!Owns(item))
            return nullptr;
        LListLink<T>& l = *item;
        if (l.listPrev)
            l.listPrev->LListLink<T>::listNext = l.listNext;
        else
            head = l.listNext;
        if (l.listNext)
            l.listNext->LListLink<T>::listPrev = l.listPrev;
        else
            tail = l.listPrev;
        l.listNext = l.listPrev = nullptr;
        l.listOwner = nullptr;
        --count;
        return item;
    }

    // Unlinks by identity when the pointer may be stale or foreign: it is only
    // compared, never followed. The ends are found at once. `previous`, when
    // given, receives the member that stood before it.
    T* RemoveIfMember(const T* item, T** previous = nullptr) {
        if (!item)
            return nullptr;
        T* found = nullptr;
        if (item == tail)
            found = tail;
        else if (item == head)
            found = head;
        else
            for (T* p = head; p && !found; p = p->LListLink<T>::listNext)
                if (p == item)
                    found = p;
        if (!found)
            return nullptr;
        if (previous)
            *previous = found->LListLink<T>::listPrev;
        return Remove(found);
    }

    T* PopFront() { return head ? Remove(head) : nullptr; }

    // Moves every member of `other` to the end of this list, in order.
    void AppendAll(LList& other) {
        while (T* p = other.PopFront())
            PushBack(p);
    }

    void DeleteAll() {
        while (T* p = PopFront())
            delete p;
    }

private:
    void Link(T* item, T* prev, T* next) {
        LListLink<T>& l = *item;
        l.listPrev = prev;
        l.listNext = next;
        l.listOwner = this;
        if (prev)
            prev->LListLink<T>::listNext = item;
        else
            head = item;
        if (next)
            next->LListLink<T>::listPrev = item;
        else
            tail = item;
        ++count;
    }

    void Take(LList& other) {
        head = other.head;
        tail = other.tail;
        count = other.count;
        other.head = other.tail = nullptr;
        other.count = 0;
        for (T* p = head; p; p = p->LListLink<T>::listNext)
            p->LListLink<T>::listOwner = this;
    }

    T* head = nullptr;
    T* tail = nullptr;
    unsigned long count = 0;
};
