#include "engine/SmallLsq.h"

#include <cmath>

namespace {

void NormalMatrix(const SmallLsq& lsq, bool weighted, double load, double (*n)[kLsqMaxUnknowns])
{
    const int u = lsq.unknowns;
    for (int i = 0; i < u; ++i)
        for (int j = 0; j < u; ++j)
            n[i][j] = 0.0;
    for (int r = 0; r < lsq.rows; ++r) {
        const double p = weighted ? lsq.P[r] : 1.0;
        const double* a = lsq.A[r];
        for (int i = 0; i < u; ++i) {
            const double pa = p * a[i];
            for (int j = 0; j <= i; ++j)
                n[i][j] += pa * a[j];
        }
    }
    for (int i = 0; i < u; ++i) {
        n[i][i] += load;
        for (int j = 0; j < i; ++j)
            n[j][i] = n[i][j];
    }
}

}  // namespace

double* SmallLsq::AddRow(double p, double l)
{
    if (rows >= kLsqMaxRows)
        return nullptr;
    double* a = A[rows];
    for (int i = 0; i < kLsqMaxUnknowns; ++i)
        a[i] = 0.0;
    P[rows] = p;
    L[rows] = l;
    ++rows;
    return a;
}

bool InvertSmall(double (*m)[kLsqMaxUnknowns], int n)
{
    int pivotRow[kLsqMaxUnknowns];
    for (int c = 0; c < n; ++c) {
        int best = c;
        for (int r = c + 1; r < n; ++r)
            if (std::fabs(m[r][c]) > std::fabs(m[best][c]))
                best = r;
        const double pivot = m[best][c];
        if (pivot == 0.0 || !std::isfinite(pivot))
            return false;
        pivotRow[c] = best;
        if (best != c)
            for (int j = 0; j < n; ++j) {
                const double t = m[c][j];
                m[c][j] = m[best][j];
                m[best][j] = t;
            }
        // Gauss-Jordan in place: the pivot column becomes the inverse's column.
        const double inv = 1.0 / pivot;
        m[c][c] = 1.0;
        for (int j = 0; j < n; ++j)
            m[c][j] *= inv;
        for (int r = 0; r < n; ++r) {
            if (r == c)
                continue;
            const double f = m[r][c];
            m[r][c] = 0.0;
            for (int j = 0; j < n; ++j)
                m[r][j] -= f * m[c][j];
        }
    }
    // Undo the row exchanges as column exchanges, last first.
    for (int c = n - 1; c >= 0; --c) {
        const int r = pivotRow[c];
        if (r == c)
            continue;
        for (int i = 0; i < n; ++i) {
            const double t = m[i][c];
            m[i][c] = m[i][r];
            m[i][r] = t;
        }
    }
    return true;
}

bool SolveSmallLsq(SmallLsq& lsq, double load)
{
    const int u = lsq.unknowns;
    if (u < 1 || u > kLsqMaxUnknowns)
        return false;
    NormalMatrix(lsq, true, load, lsq.Q);
    if (!InvertSmall(lsq.Q, u))
        return false;

    double rhs[kLsqMaxUnknowns] = {};
    for (int r = 0; r < lsq.rows; ++r)
        for (int i = 0; i < u; ++i)
            rhs[i] += lsq.A[r][i] * lsq.P[r] * lsq.L[r];
    for (int i = 0; i < u; ++i) {
        lsq.x[i] = 0.0;
        for (int j = 0; j < u; ++j)
            lsq.x[i] += lsq.Q[i][j] * rhs[j];
    }

    double vtpv = 0.0;
    for (int r = 0; r < lsq.rows; ++r) {
        double ax = 0.0;
        for (int i = 0; i < u; ++i)
            ax += lsq.A[r][i] * lsq.x[i];
        lsq.v[r] = ax - lsq.L[r];
        vtpv += lsq.v[r] * lsq.P[r] * lsq.v[r];
    }
    const int redundancy = lsq.rows - u;
    lsq.sigma0 = redundancy >= 1 ? std::sqrt(std::fabs(vtpv / redundancy)) : 0.0;
    return true;
}

bool UnitWeightDop(const SmallLsq& lsq, int k, double load, double* dop)
{
    double q[kLsqMaxUnknowns][kLsqMaxUnknowns];
    NormalMatrix(lsq, false, load, q);
    if (!InvertSmall(q, lsq.unknowns))
        return false;
    double trace = 0.0;
    for (int i = 0; i < k && i < lsq.unknowns; ++i)
        trace += q[i][i];
    *dop = std::sqrt(std::fabs(trace));
    return true;
}

double StandardisedResidual(const SmallLsq& lsq, int row)
{
    const double* a = lsq.A[row];
    double aqa = 0.0;
    for (int i = 0; i < lsq.unknowns; ++i)
        for (int j = 0; j < lsq.unknowns; ++j)
            aqa += a[i] * lsq.Q[i][j] * a[j];
    const double qvv = 1.0 / lsq.P[row] - aqa;
    const double sigma = lsq.sigma0 * std::sqrt(qvv > 0.0 ? qvv : 0.0);
    return sigma > 0.0 ? lsq.v[row] / sigma : 0.0;
}
