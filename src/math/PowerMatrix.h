// Dense matrix of doubles with value semantics (every copy owns its array),
// used by the ambiguity search code and by the least-squares estimator.
// Elements are stored row-major: element (i, j) at data[i * cols + j].
// Operations that cannot be carried out return 0 (or -100 where noted), and
// operators return the empty 0 x 0 matrix.
#ifndef PPPLIB_MATH_POWERMATRIX_H
#define PPPLIB_MATH_POWERMATRIX_H

#include <cstdint>
#include <cstdio>

class CPowerMatrix {
public:
    CPowerMatrix();
    CPowerMatrix(const CPowerMatrix& other);
    CPowerMatrix(const double* values, int nRows, int nCols);
    virtual ~CPowerMatrix();
    CPowerMatrix& operator=(const CPowerMatrix& other);

    // Releases the elements and resets to the empty matrix.
    void Initate();
    // Copies rows x cols values (row-major); values may be null for zeros.
    int InitMatrix(const double* values, int rows, int cols);
    int InitZeroMatrix(int rows, int cols);

    // Copies all elements, row-major, to out.
    int GetData(double* out) const;
    double* GetDataAddress() { return data; }
    const double* GetDataAddress() const { return data; }
    int GetMember(int row, int col, double& value) const;
    int ChangeMember(int row, int col, double value);
    int GetRowNumber() const { return rows; }
    int GetColumnNumber() const { return cols; }
    void Dump(FILE* fp = stdout) const;

    // Derived matrices. The object forms give the empty matrix on failure.
    int GetInverseMatrix(CPowerMatrix& inverse) const;
    CPowerMatrix GetInverseMatrix() const;
    int GetTransposedMatrix(CPowerMatrix& transposed) const;
    CPowerMatrix GetTransposedMatrix() const;
    // Leading block of nRows x nCols.
    int GetSubMatrix(int nRows, int nCols, CPowerMatrix& sub) const;
    CPowerMatrix GetSubMatrix(int nRows, int nCols) const;
    // Block of nRows x nCols starting at (row0, col0).
    CPowerMatrix GetSubMatrix(int row0, int col0, int nRows, int nCols) const;

    // Rows and columns. An empty matrix takes the shape of what is appended.
    int AppendNewLine(const double* line, int n);
    int AppendNewColumn(const double* column, int n);
    int AppendMatrixInLine(const CPowerMatrix& below);
    int AppendMatrixInColumn(const CPowerMatrix& right);
    int GetOneLine(int row, double* out) const;
    int GetOneLine(int row, CPowerMatrix& out) const;
    int GetOneColumn(int col, double* out) const;
    int GetOneColumn(int col, CPowerMatrix& out) const;
    int DeleteOneLine(int row);
    int DeleteOneLine(int row, CPowerMatrix& out) const;
    int DeleteOneColumn(int col);
    int DeleteOneColumn(int col, CPowerMatrix& out) const;
    // Adds k times row `row` to every row (itself included), then deletes it.
    int CombineLine(int row, int k);
    int CombineColumn(int col, int k);

    // Cached figures, computed on first request.
    double GetTrace() const;
    int CalcuTrace() const;
    double GetValue() const;
    int CalcuValue() const;
    double GetNorm() const;
    int CalcuNorm() const;

    CPowerMatrix operator+(const CPowerMatrix& b) const;
    CPowerMatrix operator-(const CPowerMatrix& b) const;
    CPowerMatrix operator-() const;
    CPowerMatrix operator*(const CPowerMatrix& b) const;
    CPowerMatrix operator*(double s) const;
    // A / B = A * B^-1.
    CPowerMatrix operator/(const CPowerMatrix& b) const;
    CPowerMatrix operator/(double s) const;
    // A % B = A^-1 * B.
    CPowerMatrix operator%(const CPowerMatrix& b) const;

    int SetZero();
    int SetMinus();
    int SetIdentity(int n);
    // n x n cofactor matrix of n differences sharing one common term:
    // 2 on the diagonal, 1 elsewhere.
    int SetCorrelativity(int n);

    // Kernels on row-major arrays. at (cols x rows) = a^T; c (m x p) = a (m x n)
    // times b (n x p), c distinct from a and b; a (n x n) inverted in place,
    // 0 when singular.
    static void transpose(const double* a, double* at, int rows, int cols);
    static void mult(const double* a, const double* b, double* c, int m, int n, int p);
    static int invers_matrix(double* a, int n);

private:
    double* data = nullptr;
    int32_t rows = 0;
    int32_t cols = 0;
    mutable double trace = 0.0;
    mutable double value = 0.0;
    mutable double norm = 0.0;
    mutable bool traceValid = false;
    mutable bool valueValid = false;
    mutable bool normValid = false;

    // Takes ownership of newData as the newRows x newCols content.
    void Adopt(double* newData, int newRows, int newCols);
    void ForgetFigures();
    bool Contains(int row, int col) const;
    double Cached(bool& valid, const double& figure, int (CPowerMatrix::*compute)() const) const;
    // Copy with every element e at index i replaced by f(e, i).
    template <typename F>
    CPowerMatrix MapElements(F f) const;
    int CopyBlock(int row0, int col0, int nRows, int nCols, CPowerMatrix& block) const;
    // Appends nRows x nCols row-major values below this matrix, or to its right.
    int AppendBlock(const double* values, int nRows, int nCols, bool below);
    // New arrays holding this matrix without one row, or one column.
    double* WithoutLine(int row) const;
    double* WithoutColumn(int col) const;
};

#endif
