// Dense matrix with shared, copy-on-write storage: the matrix type of the
// positioning engine (filter states, normal equations, design matrices).
//
// Copies share one storage block through a reference count; a writing access
// separates the written matrix first. Reading through a const matrix never
// separates, so hot read paths should go through const references, at() or
// RowData() const. Every row is reached through its own pointer, which lets
// pivot() and Inv() exchange rows by swapping pointers.
#ifndef PPPLIB_MATH_TMATRIX_H
#define PPPLIB_MATH_TMATRIX_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <new>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include "math/MatrixStorage.h"

namespace math {

class matrix_error : public std::logic_error {
public:
    explicit matrix_error(const std::string& message) : std::logic_error(message) {}
};

template <typename T>
class matrix {
public:
    matrix() : _m(base_mat::create(0, 0, nullptr)) {}
    // Every element starts at zero.
    matrix(unsigned rows, unsigned cols) : _m(base_mat::create(rows, cols, nullptr)) {}
    matrix(const matrix& m) : _m(m._m) { ++_m->Refcnt; }
    matrix& operator=(const matrix& m)
    {
        ++m._m->Refcnt;  // first, so that self-assignment is harmless
        release();
        _m = m._m;
        return *this;
    }
    ~matrix() { release(); }

    unsigned RowNo() const { return _m->Row; }
    unsigned ColNo() const { return _m->Col; }

    // Element access. The writing form separates shared storage first.
    T& operator()(unsigned row, unsigned col)
    {
        check_index(row, col);
        if (_m->Refcnt > 1)
            clone();
        return _m->Val[row][col];
    }
    const T& operator()(unsigned row, unsigned col) const
    {
        check_index(row, col);
        return _m->Val[row][col];
    }
    // Reading access for non-const matrices: never separates shared storage.
    const T& at(unsigned row, unsigned col) const { return (*this)(row, col); }

    // Whole rows for tight loops; the writing form separates shared storage.
    T* RowData(unsigned row)
    {
        check_row(row);
        if (_m->Refcnt > 1)
            clone();
        return _m->Val[row];
    }
    const T* RowData(unsigned row) const
    {
        check_row(row);
        return _m->Val[row];
    }

    // New elements are zero, existing ones keep their values.
    void SetSize(unsigned rows, unsigned cols)
    {
        if (rows != _m->RowSiz || cols != _m->ColSiz)
            realloc(rows, cols);
    }

    void Null()
    {
        if (_m->Refcnt > 1) {
            attach(base_mat::create(_m->Row, _m->Col, nullptr));
            return;
        }
        for (unsigned i = 0; i < _m->Row; ++i)
            std::fill_n(_m->Val[i], _m->Col, T(0));
    }

    void Unit(unsigned n)
    {
        if (n != _m->Row || n != _m->Col || _m->Refcnt > 1)
            attach(base_mat::create(n, n, nullptr));
        else
            Null();
        for (unsigned i = 0; i < n; ++i)
            _m->Val[i][i] = T(1);
    }

    std::vector<std::vector<T>> ToArray() const
    {
        std::vector<std::vector<T>> out(_m->Row);
        for (unsigned i = 0; i < _m->Row; ++i)
            out[i].assign(_m->Val[i], _m->Val[i] + _m->Col);
        return out;
    }

    // Gauss-Jordan inversion with partial pivoting. This matrix is the working
    // matrix and is left reduced to the identity; only an exact zero pivot
    // counts as singular.
    matrix Inv()
    {
        const unsigned n = _m->Row;
        if (n != _m->Col)
            throw matrix_error("matrixT::operator!: Inversion of a non-square matrix");
        if (_m->Refcnt > 1)
            clone();
        matrix result(n, n);
        T** a = _m->Val;
        T** r = result._m->Val;
        for (unsigned i = 0; i < n; ++i)
            r[i][i] = T(1);
        for (unsigned k = 0; k < n; ++k) {
            const int p = pivot(k);
            if (p == -1)
                throw matrix_error("matrixT::operator!: Inversion of a singular matrix");
            if (p != 0)
                std::swap(r[k], r[p]);
            // Columns left of k in row k are already exact zeros.
            const T diag = a[k][k];
            for (unsigned j = k; j < n; ++j)
                a[k][j] /= diag;
            for (unsigned j = 0; j < n; ++j)
                r[k][j] /= diag;
            for (unsigned i = 0; i < n; ++i) {
                const T f = a[i][k];
                if (i == k || f == T(0))
                    continue;
                subtract_scaled(a[i] + k, a[k] + k, f, n - k);
                subtract_scaled(r[i], r[k], f, n);
            }
        }
        return result;
    }

    // Partial pivoting on column k over rows k..RowNo()-1: brings the first
    // largest non-zero |a(r, k)| to row k by swapping row pointers. Returns the
    // row taken, 0 when row k already holds it, -1 when the column is all zero.
    int pivot(unsigned k)
    {
        check_index(k, k);
        if (_m->Refcnt > 1)
            clone();
        T** a = _m->Val;
        unsigned best = k;
        T largest = T(-1);
        for (unsigned r = k; r < _m->Row; ++r) {
            const T v = std::abs(a[r][k]);
            if (v > largest && v != T(0)) {
                best = r;
                largest = v;
            }
        }
        if (a[best][k] == T(0))
            return -1;
        if (best == k)
            return 0;
        std::swap(a[best], a[k]);
        return static_cast<int>(best);
    }

    // Gives this matrix its own copy of the storage.
    void clone() { attach(base_mat::create(_m->Row, _m->Col, _m->Val)); }

    // Resizes the storage, keeping the overlapping part; new elements are zero.
    void realloc(unsigned rows, unsigned cols)
    {
        if (rows == _m->RowSiz && cols == _m->ColSiz) {
            _m->Row = rows;
            _m->Col = cols;
            return;
        }
        base_mat* m = base_mat::create(rows, cols, nullptr);
        const unsigned keepRows = std::min(rows, _m->Row);
        const unsigned keepCols = std::min(cols, _m->Col);
        for (unsigned i = 0; i < keepRows; ++i)
            std::copy_n(_m->Val[i], keepCols, m->Val[i]);
        attach(m);
    }

    matrix operator-() const
    {
        matrix out(_m->Row, _m->Col);
        for (unsigned i = 0; i < _m->Row; ++i) {
            const T* src = _m->Val[i];
            T* dst = out._m->Val[i];
            for (unsigned j = 0; j < _m->Col; ++j)
                dst[j] = -src[j];
        }
        return out;
    }

    matrix& operator+=(const matrix& m)
    {
        if (_m->Row != m._m->Row || _m->Col != m._m->Col)
            throw matrix_error("matrixT::operator+= : Inconsistent matrix sizes in addition!");
        if (_m->Refcnt > 1)
            clone();
        for (unsigned i = 0; i < _m->Row; ++i) {
            T* dst = _m->Val[i];
            const T* src = m._m->Val[i];
            for (unsigned j = 0; j < _m->Col; ++j)
                dst[j] += src[j];
        }
        return *this;
    }

    matrix& operator-=(const matrix& m)
    {
        if (_m->Row != m._m->Row || _m->Col != m._m->Col)
            throw matrix_error("matrixT::operator-= : Inconsistent matrix sizes in subtraction!");
        if (_m->Refcnt > 1)
            clone();
        for (unsigned i = 0; i < _m->Row; ++i)
            subtract_scaled(_m->Val[i], m._m->Val[i], T(1), _m->Col);
        return *this;
    }

    matrix& operator*=(const matrix& m) { return *this = *this * m; }

    // Inverse of a copy; the argument is left as it was.
    friend matrix operator!(matrix m) { return m.Inv(); }

    friend matrix operator~(const matrix& m)
    {
        matrix out(m._m->Col, m._m->Row);
        T* const* src = m._m->Val;
        for (unsigned j = 0; j < m._m->Col; ++j) {
            T* dst = out._m->Val[j];
            for (unsigned i = 0; i < m._m->Row; ++i)
                dst[i] = src[i][j];
        }
        return out;
    }

    friend matrix operator+(const matrix& a, const matrix& b)
    {
        matrix out = a;
        out += b;
        return out;
    }

    friend matrix operator-(const matrix& a, const matrix& b)
    {
        matrix out = a;
        out -= b;
        return out;
    }

    // Matrix product. Each element sums its products in the order of the
    // inner index, as a plain dot product would; zero factors of a are skipped.
    friend matrix operator*(const matrix& a, const matrix& b)
    {
        if (a._m->Col != b._m->Row)
            throw matrix_error("matrixT::operator*= : Inconsistent matrix sizes in multiplication!");
        const unsigned inner = a._m->Col;
        const unsigned cols = b._m->Col;
        matrix out(a._m->Row, cols);
        for (unsigned i = 0; i < a._m->Row; ++i) {
            const T* ai = a._m->Val[i];
            T* oi = out._m->Val[i];
            for (unsigned k = 0; k < inner; ++k) {
                const T f = ai[k];
                if (f == T(0))
                    continue;
                const T* bk = b._m->Val[k];
                for (unsigned j = 0; j < cols; ++j)
                    oi[j] += f * bk[j];
            }
        }
        return out;
    }

    friend matrix operator*(const T& s, const matrix& m)
    {
        matrix out(m._m->Row, m._m->Col);
        for (unsigned i = 0; i < m._m->Row; ++i) {
            const T* src = m._m->Val[i];
            T* dst = out._m->Val[i];
            for (unsigned j = 0; j < m._m->Col; ++j)
                dst[j] = s * src[j];
        }
        return out;
    }
    friend matrix operator*(const matrix& m, const T& s) { return s * m; }

private:
    // Shared storage: row-pointer array, sizes and the reference count. The
    // header, the row pointers and the rows live in one block from the
    // recycling storage; each row is its own stretch of that block.
    struct base_mat {
        T** Val;
        unsigned Row, Col, RowSiz, ColSiz;
        int32_t Refcnt;

        // Copies each row from source when given, else sets every element to 0.
        static base_mat* create(unsigned rows, unsigned cols, T* const* source)
        {
            void* block = storage::Take(block_bytes(rows, cols));
            base_mat* m = new (block) base_mat(rows, cols);
            if (rows == 0)
                return m;
            char* bytes = static_cast<char*>(block);
            m->Val = reinterpret_cast<T**>(bytes + header_bytes());
            T* elements = reinterpret_cast<T*>(bytes + header_bytes() + pointer_bytes(rows));
            for (unsigned i = 0; i < rows; ++i) {
                m->Val[i] = elements + static_cast<std::size_t>(i) * cols;
                if (source)
                    std::copy_n(source[i], cols, m->Val[i]);
                else
                    std::fill_n(m->Val[i], cols, T(0));
            }
            return m;
        }
        static void destroy(base_mat* m) noexcept
        {
            const std::size_t bytes = block_bytes(m->RowSiz, m->ColSiz);
            m->~base_mat();
            storage::Give(m, bytes);
        }

    private:
        base_mat(unsigned rows, unsigned cols)
            : Val(nullptr), Row(rows), Col(cols), RowSiz(rows), ColSiz(cols), Refcnt(1)
        {
        }
        ~base_mat() = default;

        static constexpr std::size_t round_up(std::size_t n, std::size_t a) { return (n + a - 1) / a * a; }
        static constexpr std::size_t header_bytes() { return round_up(sizeof(base_mat), alignof(std::max_align_t)); }
        static constexpr std::size_t pointer_bytes(unsigned rows)
        {
            return round_up(rows * sizeof(T*), alignof(std::max_align_t));
        }
        static std::size_t block_bytes(unsigned rows, unsigned cols)
        {
            return header_bytes() + pointer_bytes(rows) + static_cast<std::size_t>(rows) * cols * sizeof(T);
        }
    };

    base_mat* _m;

    void check_index(unsigned row, unsigned col) const
    {
        if (row >= _m->Row || col >= _m->Col)
            index_error();
    }
    void check_row(unsigned row) const
    {
        if (row >= _m->Row)
            index_error();
    }
    [[noreturn]] static void index_error()
    {
        throw matrix_error("matrixT::operator(): Index out of range!");
    }

    // Drops one reference of the current storage (freed at 0).
    void release()
    {
        if (--_m->Refcnt == 0)
            base_mat::destroy(_m);
    }
    // Replaces the current storage by m, which this matrix alone holds.
    void attach(base_mat* m)
    {
        release();
        _m = m;
    }

    // dst[j] -= f * src[j] for j < n (dst and src are different rows).
    static void subtract_scaled(T* dst, const T* src, T f, unsigned n)
    {
        for (unsigned j = 0; j < n; ++j)
            dst[j] -= f * src[j];
    }
};

}  // namespace math

#endif
