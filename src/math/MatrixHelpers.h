// Row and column helpers of the positioning engine on math::matrix<double>.
// Each returns 1 on success and 0 when an index or a shape does not fit, in
// which case the matrix is left as it was. (The rounding helper Round lives
// in common/gnsscmn.h.)
#ifndef PPPLIB_MATH_MATRIXHELPERS_H
#define PPPLIB_MATH_MATRIXHELPERS_H

#include "math/TMatrix.h"

// Swaps columns i and j.
int ExchangeCol(math::matrix<double>* m, int i, int j);
// Swaps rows i and j.
int ExchangeRow(math::matrix<double>* m, int i, int j);
// Removes row i; the rows below move up by one.
int DeleteRow(math::matrix<double>* m, int i);
// Removes column i; the columns to its right move left by one.
int DeleteCol(math::matrix<double>* m, int i);
// dst becomes the rows x cols block of src that starts at (r0, c0).
int GetSubMatrix(math::matrix<double>* dst, const math::matrix<double>* src,
                 int r0, int rows, int c0, int cols);
// Adds the whole of src into dst at (r0, c0).
int AddSubMatrix(math::matrix<double>* dst, const math::matrix<double>* src, int r0, int c0);
// For an even column count: m keeps only its even columns 0, 2, 4, ...
// (which = 0) or its odd columns 1, 3, 5, ... (which = 1).
int GetPartClo(math::matrix<double>* m, int which);
// The row vector m (1 x n) becomes the n x n diagonal matrix of its elements.
int Row2SquareMatrix(math::matrix<double>* m);

#endif
