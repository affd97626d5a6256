// Least squares with at most 124 observations and 7 unknowns on fixed-size
// arrays: the per-epoch solutions of single point positioning allocate nothing.
#ifndef PPPLIB_ENGINE_SMALLLSQ_H
#define PPPLIB_ENGINE_SMALLLSQ_H

#include "engine/GNSSEpoch.h"

constexpr int kLsqMaxRows = MAXSATNUM;
constexpr int kLsqMaxUnknowns = 7;

struct SmallLsq {
    explicit SmallLsq(int nUnknowns) : unknowns(nUnknowns) {}

    // Appends a row of zero design coefficients with weight p and observation l;
    // returns the coefficients to fill, or null when the rows are exhausted.
    double* AddRow(double p, double l);

    int rows = 0;
    int unknowns;
    double A[kLsqMaxRows][kLsqMaxUnknowns];
    double P[kLsqMaxRows];   // diagonal weights
    double L[kLsqMaxRows];
    // Filled by SolveSmallLsq.
    double Q[kLsqMaxUnknowns][kLsqMaxUnknowns];   // (A^T P A)^-1
    double x[kLsqMaxUnknowns];
    double v[kLsqMaxRows];   // residuals A x - L
    double sigma0 = 0.0;     // a posteriori standard deviation of unit weight
};

// In-place inverse of an n x n matrix by Gauss-Jordan elimination with
// partial pivoting; false when a pivot is zero or not finite.
bool InvertSmall(double (*m)[kLsqMaxUnknowns], int n);

// Solves the normal equations with `load` added to each diagonal element of
// A^T P A. sigma0 is sqrt(|v^T P v / (n - u)|), 0 without redundancy.
bool SolveSmallLsq(SmallLsq& lsq, double load);

// Square root of the trace of the first k diagonal elements of the
// unit-weight cofactor (A^T A + load I)^-1: the PDOP for k = 3.
bool UnitWeightDop(const SmallLsq& lsq, int k, double load, double* dop);

// Residual of a row divided by its a posteriori standard deviation
// sigma0 sqrt(1/p - a Q a^T); 0 when that is not positive.
double StandardisedResidual(const SmallLsq& lsq, int row);

#endif
