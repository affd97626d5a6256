// The MLAMBDA core: LDL^T factorisation, decorrelation by integer Gauss
// transformations and permutations, and the depth-first search of the best
// integer vectors (Chang, Yang & Zhou 2005, J Geod 79).
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "math/mlambda.h"

namespace {

constexpr int kSearchLoopMax = 10000;

// A swap must shrink D[j+1] by more than rounding noise: with exact ties
// (or near-ties) a pair could otherwise be swapped back and forth forever.
constexpr double kSwapGain = 1e-12;

inline double round_half_up(double x)
{
    return std::floor(x + 0.5);
}

// Zig-zag direction from a rounding residual; an exact 0 steps downward.
inline double step_sign(double x)
{
    return x <= 0.0 ? -1.0 : 1.0;
}

inline int index_of_largest(const double* s, int m)
{
    int best = 0;
    for (int i = 1; i < m; i++) {
        if (s[i] > s[best])
            best = i;
    }
    return best;
}

// Stable insertion sort of the m candidates (columns of zn) by s, ascending.
void sort_candidates(int n, int m, double* zn, double* s)
{
    for (int i = 1; i < m; i++) {
        for (int j = i; j > 0 && s[j] < s[j - 1]; j--) {
            const double t = s[j];
            s[j] = s[j - 1];
            s[j - 1] = t;
            double* right = zn + static_cast<size_t>(j) * n;
            double* left = right - n;
            for (int r = 0; r < n; r++) {
                const double v = right[r];
                right[r] = left[r];
                left[r] = v;
            }
        }
    }
}

}  // namespace

int LD(int n, const double* Q, double* L, double* D)
{
    double* A = mat(n, n);
    if (!A)
        return -1;
    matcpy(A, Q, n, n);
    int info = 0;
    // Q = sum_i D[i] l_i l_i^T with l_i row i of L (nonzero up to column i):
    // the last row is read off Q, then its term is removed from the leading
    // block and the next row follows. Only the lower triangle of Q is used.
    for (int i = n - 1; i >= 0; i--) {
        D[i] = A[i + i * n];
        if (!(D[i] > 0.0)) {
            info = -1;
            break;
        }
        for (int j = 0; j <= i; j++)
            L[i + j * n] = A[i + j * n] / D[i];
        for (int j = i + 1; j < n; j++)
            L[i + j * n] = 0.0;
        for (int j = 0; j < i; j++) {
            const double aij = A[i + j * n];
            for (int k = j; k < i; k++)
                A[k + j * n] -= L[i + k * n] * aij;
        }
    }
    std::free(A);
    return info;
}

void gauss(int n, double* L, double* Z, int i, int j)
{
    const double mu = round_half_up(L[i + j * n]);
    if (mu == 0.0)
        return;
    for (int k = i; k < n; k++)
        L[k + j * n] -= mu * L[k + i * n];
    for (int k = 0; k < n; k++)
        Z[k + j * n] -= mu * Z[k + i * n];
}

void perm(int n, double* L, double* D, int j, double del, double* Z)
{
    const int j1 = j + 1;
    const double l = L[j1 + j * n];
    const double eta = D[j] / del;
    const double lam = D[j1] * l / del;
    D[j] = eta * D[j1];
    D[j1] = del;
    // Rows j and j+1 of the leading columns mix so that L stays unit lower
    // triangular after the two ambiguities trade places.
    for (int k = 0; k < j; k++) {
        const double a0 = L[j + k * n];
        const double a1 = L[j1 + k * n];
        L[j + k * n] = -l * a0 + a1;
        L[j1 + k * n] = eta * a0 + lam * a1;
    }
    L[j1 + j * n] = lam;
    for (int k = j + 2; k < n; k++) {
        const double t = L[k + j * n];
        L[k + j * n] = L[k + j1 * n];
        L[k + j1 * n] = t;
    }
    for (int k = 0; k < n; k++) {
        const double t = Z[k + j * n];
        Z[k + j * n] = Z[k + j1 * n];
        Z[k + j1 * n] = t;
    }
}

void reduction(int n, double* L, double* D, double* Z)
{
    // Columns right of the last swap are already reduced and a swap at k
    // leaves them so; after a restart only columns up to k need Gauss steps.
    int j = n - 2;
    int k = n - 2;
    while (j >= 0) {
        if (j <= k) {
            for (int i = j + 1; i < n; i++)
                gauss(n, L, Z, i, j);
        }
        const double l = L[j + 1 + j * n];
        const double del = D[j] + l * l * D[j + 1];
        if (del < D[j + 1] * (1.0 - kSwapGain)) {
            perm(n, L, D, j, del, Z);
            k = j;
            j = n - 2;
        } else {
            j--;
        }
    }
}

int search(int n, int m, const double* L, const double* D, const double* zs, double* zn, double* s)
{
    if (n <= 0 || m <= 0)
        return -1;
    // S(k, i), i <= k, holds sum_{j > k} L(j, i) (z_j - zb_j): the shift of
    // the conditional estimate of ambiguity i by the integers fixed above k.
    double* work = zeros(n, n + 4);
    if (!work)
        return -1;
    double* S = work;
    double* dist = S + static_cast<size_t>(n) * n;  // partial squared distance at each level
    double* zb = dist + n;                           // conditional float estimates
    double* z = zb + n;                              // current integer candidate
    double* step = z + n;                            // next zig-zag step per level

    int k = n - 1;
    dist[k] = 0.0;
    zb[k] = zs[k];
    z[k] = round_half_up(zb[k]);
    double y = zb[k] - z[k];
    step[k] = step_sign(y);

    double maxdist = HUGE_VAL;  // ellipsoid radius; shrinks once m leaves are known
    int found = 0;
    int imax = 0;
    int loop = 0;
    for (; loop < kSearchLoopMax; loop++) {
        const double newdist = dist[k] + y * y / D[k];
        if (newdist < maxdist) {
            if (k != 0) {
                // Move down one level with the integers above it fixed.
                k--;
                dist[k] = newdist;
                const double shift = z[k + 1] - zb[k + 1];
                for (int i = 0; i <= k; i++)
                    S[k + i * n] = S[k + 1 + i * n] + shift * L[k + 1 + i * n];
                zb[k] = zs[k] + S[k + k * n];
                z[k] = round_half_up(zb[k]);
                y = zb[k] - z[k];
                step[k] = step_sign(y);
            } else {
                // A leaf: keep it in the list of the m best.
                const int slot = found < m ? found++ : imax;
                double* column = zn + static_cast<size_t>(slot) * n;
                for (int i = 0; i < n; i++)
                    column[i] = z[i];
                s[slot] = newdist;
                if (found == m) {
                    imax = index_of_largest(s, m);
                    maxdist = s[imax];
                }
                z[0] += step[0];
                y = zb[0] - z[0];
                step[0] = -step[0] - step_sign(step[0]);
            }
        } else {
            if (k == n - 1)
                break;
            // Back up one level and try its next integer.
            k++;
            z[k] += step[k];
            y = zb[k] - z[k];
            step[k] = -step[k] - step_sign(step[k]);
        }
    }
    std::free(work);

    if (loop >= kSearchLoopMax) {
        std::fprintf(stderr, "%s : search loop count overflow\n", "mlambda");
        return -1;
    }
    // Only non-finite input ends the search before the list is full.
    if (found < m)
        return -1;
    sort_candidates(n, m, zn, s);
    return 0;
}
