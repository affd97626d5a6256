// Ambiguity fixing on top of the MLAMBDA core: the full search, the
// decorrelation alone, the bootstrapping success rate and partial fixing.
#include <cmath>
#include <cstdlib>
#include <initializer_list>

#include "math/mlambda.h"

namespace {

constexpr double kSigmaCertain = 0.07;  // rounding taken as certain at or below (cycles)
constexpr double kSigmaHopeless = 0.3;  // and as hopeless at or above
constexpr double kTableSteps = 2000.0;  // table entries per cycle of sigma
constexpr int kTableLast = 460;

constexpr int kParMinFixed = 5;      // fewest ambiguities a subset may hold
constexpr double kParMaxLimit = 30.0;
constexpr double kParRatio = 2.0;    // ratio a subset must reach
constexpr double kRatioCap = 999.99;

// Bootstrapping success rate of n decorrelated ambiguities with conditional
// variances D; a negative variance counts as certain.
double bootstrap_rate(int n, const double* D)
{
    double ps = 1.0;
    for (int i = 0; i < n; i++)
        ps *= pBootStrapping(D[i] > 0.0 ? std::sqrt(D[i]) : 0.0);
    return ps;
}

void release(std::initializer_list<double*> blocks)
{
    for (double* p : blocks)
        std::free(p);
}

// Z (starting from the identity) with the factors L, D of Z^T Q Z.
int decorrelate(int n, const double* Q, double* L, double* D, double* Z)
{
    for (int j = 0; j < n; j++) {
        for (int i = 0; i < n; i++)
            Z[i + j * n] = i == j ? 1.0 : 0.0;
    }
    if (LD(n, Q, L, D) != 0)
        return -1;
    reduction(n, L, D, Z);
    return 0;
}

// lambda() and lambda_sr(): Ps (may be null) is 0 until the factorisation
// succeeds.
int lambda_full(int n, int m, const double* a, const double* Q, double* F, double* s, double* Ps)
{
    if (Ps)
        *Ps = 0.0;
    if (n <= 0 || m <= 0)
        return -1;
    double* L = mat(n, n);
    double* D = mat(n, 1);
    double* Z = mat(n, n);
    double* z = mat(n, 1);
    double* E = mat(n, m);
    int info = -1;
    if (L && D && Z && z && E) {
        info = lambda_reduction(n, a, Q, L, D, Z, z);
        if (info == 0) {
            if (Ps)
                *Ps = bootstrap_rate(n, D);
            info = search(n, m, L, D, z, E, s);
        }
        // F = Z^-T E: the candidates back in the original ambiguities.
        if (info == 0)
            info = solve("T", Z, E, n, m, F);
    }
    release({L, D, Z, z, E});
    return info;
}

// Ratio of the second-best to the best squared distance, capped.
double ratio_of(const double* s)
{
    const double ratio = s[0] > 0.0 ? s[1] / s[0] : kRatioCap;
    return ratio < kRatioCap ? ratio : kRatioCap;
}

}  // namespace

int lambda(int n, int m, const double* a, const double* Q, double* F, double* s)
{
    return lambda_full(n, m, a, Q, F, s, nullptr);
}

int lambda_sr(int n, int m, const double* a, const double* Q, double* F, double* s, double* Ps)
{
    return lambda_full(n, m, a, Q, F, s, Ps);
}

int lambda_reduction(int n, const double* a, const double* Q, double* L, double* D, double* Z,
                     double* z)
{
    if (n <= 0 || decorrelate(n, Q, L, D, Z) != 0)
        return -1;
    matmul("TN", n, 1, n, 1.0, Z, a, 0.0, z);
    return 0;
}

int lambda_reduction(int n, const double* Q, double* Z)
{
    if (n <= 0)
        return -1;
    double* L = mat(n, n);
    double* D = mat(n, 1);
    const int info = L && D ? decorrelate(n, Q, L, D, Z) : -1;
    release({L, D});
    return info;
}

double pBootStrapping(double sigma)
{
    if (!(sigma < kSigmaHopeless))  // NaN included
        return 0.0;
    if (sigma <= kSigmaCertain)
        return 1.0;
    const double t = (sigma - kSigmaCertain) * kTableSteps;
    int i = static_cast<int>(t);
    if (i > kTableLast - 1)  // sigma a hair below 0.3 can round t up to 460
        i = kTableLast - 1;
    return (i + 1 - t) * BootSt_2Phi_sigRecip_1[i] + (t - i) * BootSt_2Phi_sigRecip_1[i + 1];
}

int Lambda_par(int n, int m, const double* a, const double* Q, double limit, double* out)
{
    (void)m;
    if (n < kParMinFixed || limit > kParMaxLimit)
        return 0;
    double* L = mat(n, n);
    double* D = mat(n, 1);
    double* Z = mat(n, n);
    double* z = mat(n, 1);
    double* work = mat(n, n + 2);  // the subset's L, then its two candidates
    if (!L || !D || !Z || !z || !work || lambda_reduction(n, a, Q, L, D, Z, z) != 0) {
        release({L, D, Z, z, work});
        return 0;
    }
    double* Lsub = work;
    double* zn = work + static_cast<size_t>(n) * n;
    double s[2];
    double ratio = 0.0;
    double ps = 0.0;
    int k = 0;
    // Leave out the leading decorrelated ambiguities (the least precise after
    // the reduction) one by one. The success rate goes to the caller; the
    // decision rests on the ratio alone.
    for (; n - k >= kParMinFixed; k++) {
        const int nf = n - k;
        for (int j = 0; j < nf; j++) {
            for (int i = 0; i < nf; i++)
                Lsub[i + j * nf] = L[(k + i) + (k + j) * n];
        }
        ps = bootstrap_rate(nf, D + k);
        ratio = search(nf, 2, Lsub, D + k, z + k, zn, s) == 0 ? ratio_of(s) : 0.0;
        if (ratio >= kParRatio)
            break;
    }
    const int nf = n - k;
    const int fixed = nf >= kParMinFixed && ratio >= kParRatio;
    if (fixed) {
        out[0] = nf;
        out[1] = ratio;
        out[2] = ps;
        double* T = out + 3;
        for (int j = 0; j < n; j++) {
            for (int i = 0; i < nf; i++)
                T[i + j * nf] = Z[j + (k + i) * n];
        }
        for (int i = 0; i < nf; i++)
            T[static_cast<size_t>(nf) * n + i] = zn[i];
    }
    release({L, D, Z, z, work});
    return fixed;
}
