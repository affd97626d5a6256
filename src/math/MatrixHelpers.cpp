#include "math/MatrixHelpers.h"

#include <algorithm>
#include <utility>

using Matrix = math::matrix<double>;

namespace {

bool InRange(int i, unsigned n)
{
    return i >= 0 && static_cast<unsigned>(i) < n;
}

// True when the block of count elements from first lies within 0..n-1.
bool BlockInRange(int first, int count, unsigned n)
{
    return first >= 0 && count >= 0 && static_cast<unsigned>(first) + static_cast<unsigned>(count) <= n;
}

// m becomes the m.RowNo() x count matrix whose column c is column
// sourceOf(c) of m.
template <typename F>
void SelectColumns(Matrix* m, unsigned count, F sourceOf)
{
    Matrix out(m->RowNo(), count);
    for (unsigned r = 0; r < m->RowNo(); ++r) {
        const double* src = std::as_const(*m).RowData(r);
        double* dst = out.RowData(r);
        for (unsigned c = 0; c < count; ++c)
            dst[c] = src[sourceOf(c)];
    }
    *m = out;
}

}  // namespace

int ExchangeCol(Matrix* m, int i, int j)
{
    if (!InRange(i, m->ColNo()) || !InRange(j, m->ColNo()))
        return 0;
    for (unsigned r = 0; r < m->RowNo(); ++r) {
        double* row = m->RowData(r);
        std::swap(row[i], row[j]);
    }
    return 1;
}

int ExchangeRow(Matrix* m, int i, int j)
{
    if (!InRange(i, m->RowNo()) || !InRange(j, m->RowNo()))
        return 0;
    if (i != j) {
        double* a = m->RowData(i);
        std::swap_ranges(a, a + m->ColNo(), m->RowData(j));
    }
    return 1;
}

int DeleteRow(Matrix* m, int i)
{
    const unsigned rows = m->RowNo();
    const unsigned cols = m->ColNo();
    if (!InRange(i, rows))
        return 0;
    Matrix out(rows - 1, cols);
    for (unsigned r = 0, kept = 0; r < rows; ++r) {
        if (r != static_cast<unsigned>(i))
            std::copy_n(std::as_const(*m).RowData(r), cols, out.RowData(kept++));
    }
    *m = out;
    return 1;
}

int DeleteCol(Matrix* m, int i)
{
    if (!InRange(i, m->ColNo()))
        return 0;
    const unsigned gap = static_cast<unsigned>(i);
    SelectColumns(m, m->ColNo() - 1, [gap](unsigned c) { return c < gap ? c : c + 1; });
    return 1;
}

int GetSubMatrix(Matrix* dst, const Matrix* src, int r0, int rows, int c0, int cols)
{
    if (!BlockInRange(r0, rows, src->RowNo()) || !BlockInRange(c0, cols, src->ColNo()))
        return 0;
    const Matrix from = *src;  // shares storage; keeps the source intact when dst == src
    dst->SetSize(rows, cols);
    for (int r = 0; r < rows; ++r)
        std::copy_n(from.RowData(r0 + r) + c0, cols, dst->RowData(r));
    return 1;
}

int AddSubMatrix(Matrix* dst, const Matrix* src, int r0, int c0)
{
    const unsigned rows = src->RowNo();
    const unsigned cols = src->ColNo();
    if (!BlockInRange(r0, static_cast<int>(rows), dst->RowNo()) ||
        !BlockInRange(c0, static_cast<int>(cols), dst->ColNo()))
        return 0;
    const Matrix from = *src;
    for (unsigned r = 0; r < rows; ++r) {
        const double* s = from.RowData(r);
        double* d = dst->RowData(r0 + r) + c0;
        for (unsigned c = 0; c < cols; ++c)
            d[c] += s[c];
    }
    return 1;
}

int GetPartClo(Matrix* m, int which)
{
    if (m->ColNo() % 2 != 0 || (which != 0 && which != 1))
        return 0;
    SelectColumns(m, m->ColNo() / 2, [which](unsigned c) { return 2 * c + which; });
    return 1;
}

int Row2SquareMatrix(Matrix* m)
{
    if (m->RowNo() != 1)
        return 0;
    const unsigned n = m->ColNo();
    Matrix out(n, n);
    const double* v = std::as_const(*m).RowData(0);
    for (unsigned i = 0; i < n; ++i)
        out(i, i) = v[i];
    *m = out;
    return 1;
}
