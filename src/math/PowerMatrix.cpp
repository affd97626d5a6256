#include "math/PowerMatrix.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace {

size_t Count(int rows, int cols)
{
    return static_cast<size_t>(rows) * static_cast<size_t>(cols);
}

// Zero-filled array of n doubles; null when n is 0.
double* NewArray(size_t n)
{
    return n == 0 ? nullptr : new double[n]();
}

double* CopyOf(const double* values, size_t n)
{
    double* out = NewArray(n);
    if (values && out)
        std::copy_n(values, n, out);
    return out;
}

}  // namespace

// ------------------------------------------------------------- construction

CPowerMatrix::CPowerMatrix() = default;

CPowerMatrix::CPowerMatrix(const CPowerMatrix& other)
    : data(CopyOf(other.data, Count(other.rows, other.cols))), rows(other.rows), cols(other.cols),
      trace(other.trace), value(other.value), norm(other.norm), traceValid(other.traceValid),
      valueValid(other.valueValid), normValid(other.normValid)
{
}

CPowerMatrix::CPowerMatrix(const double* values, int nRows, int nCols)
{
    InitMatrix(values, nRows, nCols);
}

CPowerMatrix::~CPowerMatrix()
{
    delete[] data;
}

CPowerMatrix& CPowerMatrix::operator=(const CPowerMatrix& other)
{
    if (this != &other) {
        Adopt(CopyOf(other.data, Count(other.rows, other.cols)), other.rows, other.cols);
        trace = other.trace;
        value = other.value;
        norm = other.norm;
        traceValid = other.traceValid;
        valueValid = other.valueValid;
        normValid = other.normValid;
    }
    return *this;
}

void CPowerMatrix::Initate()
{
    Adopt(nullptr, 0, 0);
    trace = value = norm = 0.0;
}

int CPowerMatrix::InitMatrix(const double* values, int nRows, int nCols)
{
    if (nRows < 0 || nCols < 0)
        return 0;
    Adopt(CopyOf(values, Count(nRows, nCols)), nRows, nCols);
    return 1;
}

int CPowerMatrix::InitZeroMatrix(int nRows, int nCols)
{
    return InitMatrix(nullptr, nRows, nCols);
}

void CPowerMatrix::Adopt(double* newData, int newRows, int newCols)
{
    delete[] data;
    data = newData;
    rows = newRows;
    cols = newCols;
    ForgetFigures();
}

void CPowerMatrix::ForgetFigures()
{
    traceValid = valueValid = normValid = false;
}

// ------------------------------------------------------------------- access

bool CPowerMatrix::Contains(int row, int col) const
{
    return row >= 0 && row < rows && col >= 0 && col < cols;
}

int CPowerMatrix::GetData(double* out) const
{
    if (!out)
        return 0;
    std::copy_n(data, Count(rows, cols), out);
    return 1;
}

int CPowerMatrix::GetMember(int row, int col, double& v) const
{
    if (!Contains(row, col))
        return 0;
    v = data[row * cols + col];
    return 1;
}

int CPowerMatrix::ChangeMember(int row, int col, double v)
{
    if (!Contains(row, col))
        return 0;
    data[row * cols + col] = v;
    ForgetFigures();
    return 1;
}

void CPowerMatrix::Dump(FILE* fp) const
{
    if (!fp)
        return;
    fprintf(fp, "%d x %d\n", rows, cols);
    for (int i = 0; i < rows; ++i) {
        for (int j = 0; j < cols; ++j)
            fprintf(fp, " %15.6f", data[i * cols + j]);
        fprintf(fp, "\n");
    }
}

// --------------------------------------------------------- derived matrices

int CPowerMatrix::GetInverseMatrix(CPowerMatrix& inverse) const
{
    double* a = rows == cols ? CopyOf(data, Count(rows, cols)) : nullptr;
    if (rows != cols || !invers_matrix(a, rows)) {
        delete[] a;
        inverse.Initate();
        return 0;
    }
    inverse.Adopt(a, rows, cols);
    return 1;
}

CPowerMatrix CPowerMatrix::GetInverseMatrix() const
{
    CPowerMatrix inverse;
    return GetInverseMatrix(inverse) ? inverse : CPowerMatrix();
}

int CPowerMatrix::GetTransposedMatrix(CPowerMatrix& transposed) const
{
    double* t = NewArray(Count(rows, cols));
    transpose(data, t, rows, cols);
    transposed.Adopt(t, cols, rows);
    return 1;
}

CPowerMatrix CPowerMatrix::GetTransposedMatrix() const
{
    CPowerMatrix transposed(nullptr, cols, rows);
    transpose(data, transposed.data, rows, cols);
    return transposed;
}

int CPowerMatrix::CopyBlock(int row0, int col0, int nRows, int nCols, CPowerMatrix& block) const
{
    if (row0 < 0 || col0 < 0 || nRows < 0 || nCols < 0 || row0 + nRows > rows || col0 + nCols > cols)
        return 0;
    double* b = NewArray(Count(nRows, nCols));
    for (int i = 0; i < nRows; ++i)
        std::copy_n(data + (row0 + i) * cols + col0, nCols, b + i * nCols);
    block.Adopt(b, nRows, nCols);
    return 1;
}

int CPowerMatrix::GetSubMatrix(int nRows, int nCols, CPowerMatrix& sub) const
{
    return CopyBlock(0, 0, nRows, nCols, sub);
}

CPowerMatrix CPowerMatrix::GetSubMatrix(int nRows, int nCols) const
{
    return GetSubMatrix(0, 0, nRows, nCols);
}

CPowerMatrix CPowerMatrix::GetSubMatrix(int row0, int col0, int nRows, int nCols) const
{
    CPowerMatrix sub;
    CopyBlock(row0, col0, nRows, nCols, sub);
    return sub;
}

// -------------------------------------------------------- rows and columns

int CPowerMatrix::AppendBlock(const double* values, int nRows, int nCols, bool below)
{
    if (nRows == 0 && nCols == 0)
        return 1;
    if (nRows < 0 || nCols < 0 || (Count(nRows, nCols) > 0 && !values))
        return 0;
    if (rows == 0 && cols == 0)
        return InitMatrix(values, nRows, nCols);
    if (below ? nCols != cols : nRows != rows)
        return 0;
    const int newRows = below ? rows + nRows : rows;
    const int newCols = below ? cols : cols + nCols;
    double* d = NewArray(Count(newRows, newCols));
    for (int i = 0; i < rows; ++i)
        std::copy_n(data + i * cols, cols, d + i * newCols);
    for (int i = 0; i < nRows; ++i) {
        double* dst = below ? d + (rows + i) * newCols : d + i * newCols + cols;
        std::copy_n(values + i * nCols, nCols, dst);
    }
    Adopt(d, newRows, newCols);
    return 1;
}

int CPowerMatrix::AppendNewLine(const double* line, int n)
{
    return n > 0 ? AppendBlock(line, 1, n, true) : 0;
}

int CPowerMatrix::AppendNewColumn(const double* column, int n)
{
    return n > 0 ? AppendBlock(column, n, 1, false) : 0;
}

int CPowerMatrix::AppendMatrixInLine(const CPowerMatrix& below)
{
    return AppendBlock(below.data, below.rows, below.cols, true);
}

int CPowerMatrix::AppendMatrixInColumn(const CPowerMatrix& right)
{
    return AppendBlock(right.data, right.rows, right.cols, false);
}

int CPowerMatrix::GetOneLine(int row, double* out) const
{
    if (!out || row < 0 || row >= rows)
        return 0;
    std::copy_n(data + row * cols, cols, out);
    return 1;
}

int CPowerMatrix::GetOneLine(int row, CPowerMatrix& out) const
{
    return CopyBlock(row, 0, 1, cols, out);
}

int CPowerMatrix::GetOneColumn(int col, double* out) const
{
    if (!out || col < 0 || col >= cols)
        return 0;
    for (int i = 0; i < rows; ++i)
        out[i] = data[i * cols + col];
    return 1;
}

int CPowerMatrix::GetOneColumn(int col, CPowerMatrix& out) const
{
    return CopyBlock(0, col, rows, 1, out);
}

double* CPowerMatrix::WithoutLine(int row) const
{
    double* d = NewArray(Count(rows - 1, cols));
    std::copy_n(data, Count(row, cols), d);
    std::copy_n(data + Count(row + 1, cols), Count(rows - row - 1, cols), d + Count(row, cols));
    return d;
}

double* CPowerMatrix::WithoutColumn(int col) const
{
    double* d = NewArray(Count(rows, cols - 1));
    for (int i = 0; i < rows; ++i) {
        const double* src = data + i * cols;
        double* dst = d + i * (cols - 1);
        std::copy_n(src, col, dst);
        std::copy(src + col + 1, src + cols, dst + col);
    }
    return d;
}

int CPowerMatrix::DeleteOneLine(int row)
{
    return DeleteOneLine(row, *this);
}

int CPowerMatrix::DeleteOneLine(int row, CPowerMatrix& out) const
{
    if (row < 0 || row >= rows)
        return 0;
    out.Adopt(WithoutLine(row), rows - 1, cols);
    return 1;
}

int CPowerMatrix::DeleteOneColumn(int col)
{
    return DeleteOneColumn(col, *this);
}

int CPowerMatrix::DeleteOneColumn(int col, CPowerMatrix& out) const
{
    if (col < 0 || col >= cols)
        return 0;
    out.Adopt(WithoutColumn(col), rows, cols - 1);
    return 1;
}

int CPowerMatrix::CombineLine(int row, int k)
{
    // The range test has always let row == rows through; that row does not
    // exist, so nothing is combined then.
    if (rows < row)
        return -100;
    if (row < 0 || row >= rows)
        return 0;
    std::unique_ptr<double[]> line(new (std::nothrow) double[cols]);
    if (!line)
        return 0;
    std::copy_n(data + row * cols, cols, line.get());
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            data[i * cols + j] += k * line[j];
    DeleteOneLine(row);
    return 1;
}

int CPowerMatrix::CombineColumn(int col, int k)
{
    CPowerMatrix t;
    GetTransposedMatrix(t);
    t.CombineLine(col, k);
    t.GetTransposedMatrix(*this);
    return 1;
}

// ------------------------------------------------------------------ figures

double CPowerMatrix::Cached(bool& valid, const double& figure, int (CPowerMatrix::*compute)() const) const
{
    if (!valid) {
        (this->*compute)();
        valid = true;
    }
    return figure;
}

int CPowerMatrix::CalcuTrace() const
{
    trace = 0.0;
    if (rows != cols)
        return 0;
    for (int i = 0; i < rows; ++i)
        trace += data[i * cols + i];
    return 1;
}

double CPowerMatrix::GetTrace() const
{
    return Cached(traceValid, trace, &CPowerMatrix::CalcuTrace);
}

// No determinant is computed: a square matrix keeps the value it has.
int CPowerMatrix::CalcuValue() const
{
    if (rows != cols) {
        value = 0.0;
        return 0;
    }
    return 1;
}

double CPowerMatrix::GetValue() const
{
    return Cached(valueValid, value, &CPowerMatrix::CalcuValue);
}

// The squared Frobenius norm: no square root is taken.
int CPowerMatrix::CalcuNorm() const
{
    norm = 0.0;
    for (size_t i = 0; i < Count(rows, cols); ++i)
        norm += data[i] * data[i];
    return 1;
}

double CPowerMatrix::GetNorm() const
{
    return Cached(normValid, norm, &CPowerMatrix::CalcuNorm);
}

// --------------------------------------------------------------- arithmetic

template <typename F>
CPowerMatrix CPowerMatrix::MapElements(F f) const
{
    CPowerMatrix out(data, rows, cols);
    for (size_t i = 0; i < Count(rows, cols); ++i)
        out.data[i] = f(data[i], i);
    return out;
}

CPowerMatrix CPowerMatrix::operator+(const CPowerMatrix& b) const
{
    if (rows != b.rows || cols != b.cols)
        return CPowerMatrix();
    return MapElements([&b](double e, size_t i) { return e + b.data[i]; });
}

CPowerMatrix CPowerMatrix::operator-(const CPowerMatrix& b) const
{
    if (rows != b.rows || cols != b.cols)
        return CPowerMatrix();
    return MapElements([&b](double e, size_t i) { return e - b.data[i]; });
}

CPowerMatrix CPowerMatrix::operator-() const
{
    return MapElements([](double e, size_t) { return -e; });
}

// The inner dimension is this matrix's column count; b may have more rows
// than that (the extra rows are not used), but not fewer.
CPowerMatrix CPowerMatrix::operator*(const CPowerMatrix& b) const
{
    CPowerMatrix product;
    if (b.rows < cols)
        return product;
    product.InitZeroMatrix(rows, b.cols);
    mult(data, b.data, product.data, rows, cols, b.cols);
    return product;
}

CPowerMatrix CPowerMatrix::operator*(double s) const
{
    return MapElements([s](double e, size_t) { return e * s; });
}

CPowerMatrix CPowerMatrix::operator/(const CPowerMatrix& b) const
{
    CPowerMatrix inverse;
    if (!b.GetInverseMatrix(inverse))
        return CPowerMatrix();
    return *this * inverse;
}

CPowerMatrix CPowerMatrix::operator/(double s) const
{
    return MapElements([s](double e, size_t) { return e / s; });
}

CPowerMatrix CPowerMatrix::operator%(const CPowerMatrix& b) const
{
    CPowerMatrix inverse;
    if (!GetInverseMatrix(inverse))
        return CPowerMatrix();
    return inverse * b;
}

// ------------------------------------------------------------------ setters

int CPowerMatrix::SetZero()
{
    std::fill_n(data, Count(rows, cols), 0.0);
    ForgetFigures();
    return 1;
}

int CPowerMatrix::SetMinus()
{
    for (size_t i = 0; i < Count(rows, cols); ++i)
        data[i] = -data[i];
    ForgetFigures();
    return 1;
}

int CPowerMatrix::SetIdentity(int n)
{
    if (!InitZeroMatrix(n, n))
        return 0;
    for (int i = 0; i < n; ++i)
        data[i * n + i] = 1.0;
    return 1;
}

int CPowerMatrix::SetCorrelativity(int n)
{
    if (n <= 0)
        return 0;
    InitZeroMatrix(n, n);
    std::fill_n(data, Count(n, n), 1.0);
    for (int i = 0; i < n; ++i)
        data[i * n + i] = 2.0;
    return 1;
}

// ------------------------------------------------------------------ kernels

void CPowerMatrix::transpose(const double* a, double* at, int rows, int cols)
{
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            at[j * rows + i] = a[i * cols + j];
}

// Each element sums its products in the order of the inner index.
void CPowerMatrix::mult(const double* a, const double* b, double* c, int m, int n, int p)
{
    for (int i = 0; i < m; ++i) {
        double* ci = c + i * p;
        std::fill_n(ci, p, 0.0);
        for (int k = 0; k < n; ++k) {
            const double f = a[i * n + k];
            const double* bk = b + k * p;
            for (int j = 0; j < p; ++j)
                ci[j] += f * bk[j];
        }
    }
}

namespace {

void SwapRows(double* a, int n, int r1, int r2)
{
    std::swap_ranges(a + r1 * n, a + r1 * n + n, a + r2 * n);
}

void SwapColumns(double* a, int n, int c1, int c2)
{
    for (int i = 0; i < n; ++i)
        std::swap(a[i * n + c1], a[i * n + c2]);
}

}  // namespace

// Gauss-Jordan inversion in place with full pivoting.
int CPowerMatrix::invers_matrix(double* a, int n)
{
    if (n < 0)
        return 0;
    std::vector<int> pivotRow(n), pivotCol(n);
    for (int k = 0; k < n; ++k) {
        // First element of largest magnitude in the lower right block.
        double largest = 0.0;
        for (int i = k; i < n; ++i) {
            for (int j = k; j < n; ++j) {
                const double v = std::fabs(a[i * n + j]);
                if (v > largest) {
                    largest = v;
                    pivotRow[k] = i;
                    pivotCol[k] = j;
                }
            }
        }
        if (largest == 0.0)
            return 0;
        if (pivotRow[k] != k)
            SwapRows(a, n, k, pivotRow[k]);
        if (pivotCol[k] != k)
            SwapColumns(a, n, k, pivotCol[k]);

        double* rowK = a + k * n;
        rowK[k] = 1.0 / rowK[k];
        const double d = rowK[k];
        for (int j = 0; j < n; ++j)
            if (j != k)
                rowK[j] *= d;
        for (int i = 0; i < n; ++i) {
            if (i == k)
                continue;
            double* rowI = a + i * n;
            const double f = rowI[k];
            for (int j = 0; j < n; ++j)
                if (j != k)
                    rowI[j] -= f * rowK[j];
        }
        for (int i = 0; i < n; ++i)
            if (i != k)
                a[i * n + k] *= -d;
    }
    // Undo the exchanges: column exchanges on rows, row exchanges on columns.
    for (int k = n - 1; k >= 0; --k) {
        if (pivotCol[k] != k)
            SwapRows(a, n, k, pivotCol[k]);
        if (pivotRow[k] != k)
            SwapColumns(a, n, k, pivotRow[k]);
    }
    return 1;
}
