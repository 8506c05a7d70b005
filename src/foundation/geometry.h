#pragma once

#include <algorithm>
#include <cmath>

// Rounds halves away from zero (0.5 gives 1, -0.5 gives -1).
inline long Round(double x) { return std::lround(x); }
inline long Round(float x) { return std::lround(x); }

template <class T> struct LPointTemplate {
    T x{};
    T y{};
    LPointTemplate() = default;
    LPointTemplate(T px, T py) : x(px), y(py) {}
    bool operator==(const LPointTemplate& o) const { return x == o.x && y == o.y; }
};

// Left, top, right, bottom.
template <class T> struct LBoundingBox2T {
    T x1{};
    T y1{};
    T x2{};
    T y2{};
    LBoundingBox2T() = default;
    LBoundingBox2T(T left, T top, T right, T bottom) : x1(left), y1(top), x2(right), y2(bottom) {}

    T GetWidth() const { return x2 - x1; }
    T GetHeight() const { return y2 - y1; }

    // No area: a side of zero or less (a NaN side counts as empty too).
    bool IsEmpty() const { return !(x2 > x1) || !(y2 > y1); }
    // Ordered corners; a single point is valid, NaN is not.
    bool IsValid() const { return x1 <= x2 && y1 <= y2; }

    LBoundingBox2T GetIntersection(const LBoundingBox2T& o) const {
        return LBoundingBox2T(std::max(x1, o.x1), std::max(y1, o.y1), std::min(x2, o.x2),
                              std::min(y2, o.y2));
    }

    // Union.
    LBoundingBox2T& operator+=(const LBoundingBox2T& o) {
        x1 = std::min(x1, o.x1);
        y1 = std::min(y1, o.y1);
        x2 = std::max(x2, o.x2);
        y2 = std::max(y2, o.y2);
        return *this;
    }

    bool operator==(const LBoundingBox2T& o) const {
        return x1 == o.x1 && y1 == o.y1 && x2 == o.x2 && y2 == o.y2;
    }
};
