#pragma once
// Owning pointers. LPtr copies deeply (records are plain values whose copies
// never share); LCountedPtr shares one object among its copies.

#include <memory>
#include <utility>

template <class T> class LPtr {
public:
    LPtr() = default;
    explicit LPtr(T* owned) : p(owned) {}
    LPtr(const LPtr& o) : p(o.p ? new T(*o.p) : nullptr) {}
    LPtr(LPtr&& o) noexcept : p(std::exchange(o.p, nullptr)) {}
    LPtr& operator=(const LPtr& o) {
        if (this != &o)
            Set(o.p ? new T(*o.p) : nullptr);
        return *this;
    }
    LPtr& operator=(LPtr&& o) noexcept {
        if (this != &o)
            Set(std::exchange(o.p, nullptr));
        return *this;
    }
    ~LPtr() { delete p; }

    T* Get() const { return p; }
    T* operator->() const { return p; }
    T& operator*() const { return *p; }
    explicit operator bool() const { return p != nullptr; }

    void Set(T* owned) {
        if (owned != p) {
            delete p;
            p = owned;
        }
    }
    void Reset() { Set(nullptr); }
    T* Release() { return std::exchange(p, nullptr); }

private:
    T* p = nullptr;
};

template <class T> class LCountedPtr {
public:
    LCountedPtr() = default;
    explicit LCountedPtr(T* owned) : p(owned) {}

    T* Get() const { return p.get(); }
    T* operator->() const { return p.get(); }
    T& operator*() const { return *p; }
    explicit operator bool() const { return static_cast<bool>(p); }
    long GetCount() const { return p.use_count(); }
    void Reset() { p.reset(); }

private:
    std::shared_ptr<T> p;
};
