#pragma once
// A 4 by 4 matrix for row vectors: 16 elements, row-major, the translation in
// the last row. A point maps as
//   x' = x*m[0] + y*m[4] + m[12],  y' = x*m[1] + y*m[5] + m[13].
// "A *= B" applies A first and then B. Operations with `pre` true put the new
// transform in front (it acts in the matrix's local frame); otherwise after.

#include <cmath>

template <class T> class LMatrix {
public:
    T m[16];

    LMatrix() { MakeIdentity(); }

    void MakeIdentity() {
        for (int i = 0; i < 16; ++i)
            m[i] = (i % 5 == 0) ? T(1) : T(0);
    }

    void Copy(const LMatrix& o) {
        for (int i = 0; i < 16; ++i)
            m[i] = o.m[i];
    }

    // Divides every element by the length of the first column and returns
    // that length squared. A null column leaves the matrix as it is.
    T Normalize() {
        const T squared = m[0] * m[0] + m[4] * m[4] + m[8] * m[8] + m[12] * m[12];
        const T length = std::sqrt(squared);
        if (length > T(0))
            for (int i = 0; i < 16; ++i)
                m[i] /= length;
        return squared;
    }

    // The lengths of the images of the x and y unit vectors.
    void GetScale(T& x, T& y) const {
        x = std::sqrt(m[0] * m[0] + m[1] * m[1] + m[2] * m[2]);
        y = std::sqrt(m[4] * m[4] + m[5] * m[5] + m[6] * m[6]);
    }

    LMatrix& operator*=(const LMatrix& o) {
        T r[16];
        for (int row = 0; row < 4; ++row)
            for (int col = 0; col < 4; ++col) {
                T sum = T(0);
                for (int k = 0; k < 4; ++k)
                    sum += m[row * 4 + k] * o.m[k * 4 + col];
                r[row * 4 + col] = sum;
            }
        for (int i = 0; i < 16; ++i)
            m[i] = r[i];
        return *this;
    }

    void SetRotationX(T radians) {
        MakeIdentity();
        RotateAboutX(radians);
    }
    void SetRotationY(T radians) {
        MakeIdentity();
        RotateAboutY(radians);
    }
    void SetRotationZ(T radians) {
        MakeIdentity();
        RotateAboutZ(radians);
    }

    // The matrix followed by the rotation: each row (a, b) of the two axes
    // that turn becomes (c*a - s*b, s*a + c*b).
    void RotateAboutX(T radians) { RotateColumns(1, 2, radians); }
    void RotateAboutY(T radians) { RotateColumns(2, 0, radians); }
    void RotateAboutZ(T radians) { RotateColumns(0, 1, radians); }

    // The rotation first, then the matrix.
    void PreRotateAboutX(T radians) { RotateRows(1, 2, radians); }
    void PreRotateAboutY(T radians) { RotateRows(2, 0, radians); }
    void PreRotateAboutZ(T radians) { RotateRows(0, 1, radians); }

    // axis 0 is x, 1 is y, anything else z.
    void Rotate(T radians, int axis, bool pre) {
        const int a = axis == 0 ? 1 : axis == 1 ? 2 : 0;
        const int b = axis == 0 ? 2 : axis == 1 ? 0 : 1;
        if (pre)
            RotateRows(a, b, radians);
        else
            RotateColumns(a, b, radians);
    }

    void Translate(T x, T y, bool pre) {
        LMatrix t;
        t.m[12] = x;
        t.m[13] = y;
        Combine(t, pre);
    }

    void Scale(T x, T y, bool pre) {
        LMatrix s;
        s.m[0] = x;
        s.m[5] = y;
        Combine(s, pre);
    }
    void PreScale(T x, T y) { Scale(x, y, true); }

    void TransformPoint(T& x, T& y) const {
        const T nx = x * m[0] + y * m[4] + m[12];
        const T ny = x * m[1] + y * m[5] + m[13];
        x = nx;
        y = ny;
    }

private:
    void Combine(const LMatrix& t, bool pre) {
        if (pre) {
            LMatrix r = t;
            r *= *this;
            Copy(r);
        } else {
            *this *= t;
        }
    }

    // Post-multiplication by a rotation in the plane of axes a and b.
    void RotateColumns(int a, int b, T radians) {
        const T c = std::cos(radians), s = std::sin(radians);
        for (int row = 0; row < 4; ++row) {
            const T va = m[row * 4 + a], vb = m[row * 4 + b];
            m[row * 4 + a] = c * va - s * vb;
            m[row * 4 + b] = s * va + c * vb;
        }
    }

    // Pre-multiplication by the same rotation: rows a and b mix.
    void RotateRows(int a, int b, T radians) {
        const T c = std::cos(radians), s = std::sin(radians);
        for (int col = 0; col < 4; ++col) {
            const T va = m[a * 4 + col], vb = m[b * 4 + col];
            m[a * 4 + col] = c * va + s * vb;
            m[b * 4 + col] = -s * va + c * vb;
        }
    }
};
