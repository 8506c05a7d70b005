#pragma once
// LArray grows by doubling and tells its capacity; LSizedArray is sized once
// and counted. Neither throws on a failed size: callers that take sizes from
// files check them first.

#include <cstddef>
#include <vector>

template <class T> class LArray {
public:
    LArray() = default;
    explicit LArray(unsigned long capacity) { SetCapacity(capacity); }
    LArray(const LArray& o) {
        SetCapacity(o.GetCapacity());
        items = o.items;
    }
    LArray& operator=(const LArray& o) {
        if (this != &o) {
            items.clear();
            items.shrink_to_fit();
            SetCapacity(o.GetCapacity());
            items = o.items;
        }
        return *this;
    }
    LArray(LArray&&) noexcept = default;
    LArray& operator=(LArray&&) noexcept = default;

    unsigned long GetCount() const { return static_cast<unsigned long>(items.size()); }
    unsigned long GetCapacity() const { return static_cast<unsigned long>(items.capacity()); }

    void SetCapacity(unsigned long capacity) {
        if (capacity > items.capacity())
            items.reserve(capacity);
    }

    // Appends, doubling the capacity when full; returns the new index.
    unsigned long Add(const T& value) {
        if (items.size() == items.capacity())
            items.reserve(items.empty() ? 1 : items.capacity() * 2);
        items.push_back(value);
        return GetCount() - 1;
    }

    void SetCount(unsigned long n) {
        if (n > items.capacity())
            SetCapacity(n);
        items.resize(n);
    }
    void RemoveAt(unsigned long index) {
        if (index < items.size())
            items.erase(items.begin() + static_cast<std::ptrdiff_t>(index));
    }
    void Clear() { items.clear(); }

    T& operator[](unsigned long i) { return items[i]; }
    const T& operator[](unsigned long i) const { return items[i]; }
    T* Data() { return items.data(); }
    const T* Data() const { return items.data(); }
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }

private:
    std::vector<T> items;
};

template <class T> class LSizedArray {
public:
    LSizedArray() = default;
    explicit LSizedArray(unsigned long n) : items(n) {}

    unsigned long GetSize() const { return static_cast<unsigned long>(items.size()); }
    bool IsEmpty() const { return items.empty(); }
    void SetSize(unsigned long n) { items.resize(n); }
    void Clear() {
        items.clear();
        items.shrink_to_fit();
    }
    void Append(const T& value) { items.push_back(value); }
    void Append(const T* values, unsigned long n) { items.insert(items.end(), values, values + n); }

    T& operator[](unsigned long i) { return items[i]; }
    const T& operator[](unsigned long i) const { return items[i]; }
    T* Data() { return items.data(); }
    const T* Data() const { return items.data(); }
    auto begin() { return items.begin(); }
    auto end() { return items.end(); }
    auto begin() const { return items.begin(); }
    auto end() const { return items.end(); }
    bool operator==(const LSizedArray& o) const { return items == o.items; }

private:
    std::vector<T> items;
};
