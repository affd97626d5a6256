// Accumulation of the epoch's normal equations into the carried ones, and
// the random-walk prediction of the troposphere in information form.
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "math/MatrixHelpers.h"

namespace {

// Exchanges parameters j and k of a normal system and its labels.
void SwapParameters(Matrix& N, Matrix& U, Matrix& labels, int j, int k)
{
    ExchangeCol(&labels, j, k);
    ExchangeRow(&N, j, k);
    ExchangeCol(&N, j, k);
    ExchangeRow(&U, j, k);
}

// A normal system split after its first k parameters.
struct NormalBlocks {
    Matrix N11, N12, N21, N22, U1, U2;
};

NormalBlocks SplitAfter(const Matrix& N, const Matrix& U, int k)
{
    const int r = static_cast<int>(N.RowNo()) - k;
    NormalBlocks b;
    GetSubMatrix(&b.N11, &N, 0, k, 0, k);
    GetSubMatrix(&b.N12, &N, 0, k, k, r);
    GetSubMatrix(&b.N21, &N, k, r, 0, k);
    GetSubMatrix(&b.N22, &N, k, r, k, r);
    GetSubMatrix(&b.U1, &U, 0, k, 0, 1);
    GetSubMatrix(&b.U2, &U, k, r, 0, 1);
    return b;
}

// N and U of the first k parameters after eliminating the rest:
// N11 - N12 N22^-1 N21 and U1 - N12 N22^-1 U2.
void EliminateTrailing(Matrix& N, Matrix& U, int k)
{
    NormalBlocks b = SplitAfter(N, U, k);
    for (unsigned i = 0; i < b.N22.RowNo(); ++i)
        b.N22(i, i) += 1e-15;
    const Matrix T = b.N12 * !b.N22;
    N = b.N11 - T * b.N21;
    U = b.U1 - T * b.U2;
}

}  // namespace

int CGNSSSPP::UpdateMatrix_NY_UY(Matrix& NYacc, Matrix& UYacc, Matrix N, Matrix U, const Matrix& targetList,
                                 Matrix currentList, Matrix& /*spare*/)
{
    int index[4 * MAXSATNUM];
    const int nCurrent = static_cast<int>(currentList.ColNo());
    if (nCurrent > 4 * MAXSATNUM)
        return 0;
    int k = 0;
    for (unsigned t = 0; t < targetList.ColNo(); ++t) {
        const int j = GetIndexInMatrixCol(currentList, targetList(0, t));
        if (j < 0)
            continue;
        if (j != k)
            SwapParameters(N, U, currentList, j, k);
        index[k++] = static_cast<int>(t);
    }
    if (k == 0)
        return 1;
    // Parameters missing from the target are eliminated, not dropped: their
    // information stays in the others.
    if (nCurrent - k >= 1)
        EliminateTrailing(N, U, k);
    for (int a = 0; a < k; ++a) {
        for (int b = 0; b < k; ++b)
            NYacc(index[a], index[b]) += N(a, b);
        UYacc(index[a], 0) += U(a, 0);
    }
    return 1;
}

int CGNSSSPP::UpdateNY_UY_Pre_Tro(Matrix& NY, Matrix& UY, const Matrix& ambList, double dt)
{
    const int n = static_cast<int>(NY.RowNo());
    const int m = static_cast<int>(ambList.ColNo());
    if (n == 0 || m == 0 || dt <= 0.0)
        return 1;
    const int trailing = m + (m_conf->pos_mode == 2 ? 3 : 0);
    const int s = n - trailing;
    if (s < 1)
        return 1;

    // Pseudo-observation x_new - x_old = 0 with weight W; only the first
    // element of the leading block gets the random-walk weight.
    Matrix W(s, s);
    W.Unit(s);
    W(0, 0) = (1.296e7 / m_conf->pppos_value) / (dt * dt);

    const NormalBlocks blocks = SplitAfter(NY, UY, s);

    Matrix B(s, n), G(n, s), D(n, n), E(n, 1);
    B.Null();
    G.Null();
    D.Null();
    E.Null();
    AddSubMatrix(&B, &W, 0, 0);
    AddSubMatrix(&B, &blocks.N12, 0, s);
    AddSubMatrix(&G, &W, 0, 0);
    AddSubMatrix(&G, &blocks.N21, s, 0);
    for (int i = 0; i < s; ++i) {
        for (int j = 0; j < s; ++j) {
            B(i, j) = -B(i, j);
            G(i, j) = -G(i, j);
        }
    }
    AddSubMatrix(&D, &W, 0, 0);
    AddSubMatrix(&D, &blocks.N22, s, s);
    AddSubMatrix(&E, &blocks.U2, s, 0);

    const Matrix GAinv = G * !(blocks.N11 + W);
    NY = D - GAinv * B;
    UY = E - GAinv * blocks.U1;
    return 1;
}

void CGNSSSPP::Clear_NY_UY_Keep(int, int)
{
}
