// Small helpers of the normal-equation tests: reproducible random matrices,
// dense solutions and comparisons on math::matrix<double>.
#ifndef PPPLIB_TESTS_ENGINE_MATRIXTESTTOOLS_H
#define PPPLIB_TESTS_ENGINE_MATRIXTESTTOOLS_H

#include <cmath>
#include <cstdint>
#include <initializer_list>

#include "math/TMatrix.h"

namespace mtest {

using Matrix = math::matrix<double>;

// Uniform numbers from a fixed-seed linear congruential generator.
class Random {
public:
    explicit Random(uint32_t seed) : m_state(seed) {}
    double Uniform(double lo, double hi)
    {
        m_state = m_state * 1664525u + 1013904223u;
        return lo + (hi - lo) * (m_state >> 8) * (1.0 / 16777216.0);
    }
    Matrix Fill(unsigned rows, unsigned cols, double lo, double hi)
    {
        Matrix m(rows, cols);
        for (unsigned i = 0; i < rows; ++i)
            for (unsigned j = 0; j < cols; ++j)
                m(i, j) = Uniform(lo, hi);
        return m;
    }
    // A well-conditioned symmetric positive definite matrix B^T B + n I.
    Matrix SymmetricPositive(unsigned n)
    {
        const Matrix b = Fill(n, n, -1.0, 1.0);
        Matrix s = ~b * b;
        for (unsigned i = 0; i < n; ++i)
            s(i, i) += n;
        return s;
    }

private:
    uint32_t m_state;
};

// Largest difference of two matrices element by element; infinite for different shapes.
inline double MaxAbsDiff(const Matrix& a, const Matrix& b)
{
    if (a.RowNo() != b.RowNo() || a.ColNo() != b.ColNo())
        return INFINITY;
    double d = 0.0;
    for (unsigned i = 0; i < a.RowNo(); ++i)
        for (unsigned j = 0; j < a.ColNo(); ++j)
            d = std::fmax(d, std::fabs(a(i, j) - b(i, j)));
    return d;
}

// A one-row matrix, e.g. a satellite or parameter list.
inline Matrix RowOf(std::initializer_list<double> values)
{
    Matrix m(1, static_cast<unsigned>(values.size()));
    unsigned j = 0;
    for (double v : values)
        m(0, j++) = v;
    return m;
}

// Block of rows r0.. and columns c0.. of a matrix.
inline Matrix Block(const Matrix& m, unsigned r0, unsigned rows, unsigned c0, unsigned cols)
{
    Matrix out(rows, cols);
    for (unsigned i = 0; i < rows; ++i)
        for (unsigned j = 0; j < cols; ++j)
            out(i, j) = m(r0 + i, c0 + j);
    return out;
}

}  // namespace mtest

#endif
