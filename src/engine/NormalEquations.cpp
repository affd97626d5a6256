#include "engine/NormalEquations.h"

#include <cmath>

#include "common/gnsscmn.h"
#include "engine/EpochLookup.h"

namespace {

// Fills the two-group blocks from per-satellite phase and code weights,
// accumulating the lower triangles and mirroring them at the end.
void BuildTwoGroups(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, const Matrix& A1,
                    const Matrix& A2, const double* pl, const double* pc, const Matrix& L)
{
    const int m = static_cast<int>(A2.RowNo());
    const int nA = static_cast<int>(A1.ColNo());
    const int nB = static_cast<int>(A2.ColNo());
    N11.SetSize(nA, nA);
    N11.Null();
    N22.SetSize(nB + m, nB + m);
    N22.Null();
    N12.SetSize(nA, nB + m);
    N12.Null();
    U1.SetSize(nA, 1);
    U1.Null();
    U2.SetSize(nB + m, 1);
    U2.Null();
    for (int i = 0; i < m; ++i) {
        const double w = pc[i] + pl[i];
        const double code = L(0, 2 * i), phase = L(0, 2 * i + 1);
        const double rhs = pl[i] * phase + pc[i] * code;
        for (int j = 0; j < nA; ++j) {
            const double a = A1(i, j);
            if (a == 0.0)
                continue;
            for (int k = 0; k <= j; ++k)
                N11(j, k) += a * w * A1(i, k);
            for (int k = 0; k < nB; ++k)
                N12(j, k) += a * w * A2(i, k);
            N12(j, nB + i) = -a * pl[i];
            U1(j, 0) += a * rhs;
        }
        for (int j = 0; j < nB; ++j) {
            const double a = A2(i, j);
            if (a == 0.0)
                continue;
            for (int k = 0; k <= j; ++k)
                N22(j, k) += a * w * A2(i, k);
            N22(nB + i, j) = -a * pl[i];
            U2(j, 0) += a * rhs;
        }
        N22(nB + i, nB + i) = pl[i];
        U2(nB + i, 0) = -pl[i] * phase;
    }
    for (int j = 0; j < nA; ++j)
        for (int k = 0; k < j; ++k)
            N11(k, j) = N11(j, k);
    for (int j = 0; j < nB + m; ++j)
        for (int k = 0; k < j; ++k)
            N22(k, j) = N22(j, k);
}

// Copies a 1 x m weight row into an array, optionally scaled.
bool ReadWeights(const Matrix& row, int m, double scale, double* out)
{
    if (row.RowNo() < 1 || static_cast<int>(row.ColNo()) < m || m > MAXSATNUM)
        return false;
    for (int i = 0; i < m; ++i)
        out[i] = row(0, i) * scale;
    return true;
}

bool ShapesFit(const Matrix& A1, const Matrix& A2, const Matrix& L)
{
    return A1.RowNo() == A2.RowNo() && L.RowNo() >= 1 && L.ColNo() >= 2 * A2.RowNo();
}

}  // namespace

int GetXTPY(Matrix& N, Matrix& U, const Matrix& A, int flag, const Matrix* P, const Matrix& L)
{
    const Matrix none(A.RowNo(), 0);
    Matrix N11, N12, U1;
    return GetXTPY(N11, N, N12, U1, U, none, A, flag, P, L);
}

int GetXTPY(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, const Matrix& A1, const Matrix& A2,
            int flag, const Matrix* P, const Matrix& L)
{
    const int m = static_cast<int>(A2.RowNo());
    double pl[MAXSATNUM], pc[MAXSATNUM];
    if (flag != -1 || !ShapesFit(A1, A2, L) || !ReadWeights(P[0], m, 1.0, pl) || !ReadWeights(P[1], m, 1.0, pc))
        return 0;
    BuildTwoGroups(N11, N22, N12, U1, U2, A1, A2, pl, pc, L);
    return 1;
}

int GetXTPY_SingleWeight(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, const Matrix& A1,
                         const Matrix& A2, int flag, const Matrix& P, const Matrix& L)
{
    const int m = static_cast<int>(A2.RowNo());
    double pl[MAXSATNUM], pc[MAXSATNUM];
    // Code sigma one hundred times the phase sigma.
    if (flag != -1 || !ShapesFit(A1, A2, L) || !ReadWeights(P, m, 1.0, pl) || !ReadWeights(P, m, 1.0 / 10000.0, pc))
        return 0;
    BuildTwoGroups(N11, N22, N12, U1, U2, A1, A2, pl, pc, L);
    return 1;
}

int GetXTPY_Blocked(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, Matrix& N11Code,
                    Matrix& N11Phase, const Matrix& A1, const Matrix& A2, int flag, const Matrix* P, const Matrix& L)
{
    if (!GetXTPY(N11, N22, N12, U1, U2, A1, A2, flag, P, L))
        return 0;
    GetATPA(N11Code, A1, P[1]);
    GetATPA(N11Phase, A1, P[0]);
    return 1;
}

int GetATPA(Matrix& N, const Matrix& A, const Matrix& P)
{
    const int m = static_cast<int>(A.RowNo());
    const int n = static_cast<int>(A.ColNo());
    double p[MAXSATNUM];
    if (!ReadWeights(P, m, 1.0, p))
        return 0;
    N.SetSize(n, n);
    N.Null();
    for (int i = 0; i < m; ++i)
        for (int j = 0; j < n; ++j) {
            const double a = A(i, j) * p[i];
            if (a == 0.0)
                continue;
            for (int k = 0; k <= j; ++k)
                N(j, k) += a * A(i, k);
        }
    for (int j = 0; j < n; ++j)
        for (int k = 0; k < j; ++k)
            N(k, j) = N(j, k);
    return 1;
}

Matrix InverseWithLoading(const Matrix& N)
{
    Matrix loaded = N;
    for (unsigned i = 0; i < loaded.RowNo(); ++i)
        loaded(i, i) += 1e-15;
    return !loaded;
}
