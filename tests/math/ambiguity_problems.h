// Random float-ambiguity problems for the integer search tests, and a small
// independent dense toolbox (row-major std::vector) to check results with.
#ifndef PPPLIB_TESTS_MATH_AMBIGUITY_PROBLEMS_H
#define PPPLIB_TESTS_MATH_AMBIGUITY_PROBLEMS_H

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <vector>

namespace ambtest {

// Float ambiguities a and covariance Q (symmetric, so its storage order
// does not matter).
struct Problem {
    int n = 0;
    std::vector<double> a;
    std::vector<double> Q;
};

// Owning wrapper for the heap blocks of the mat() family.
struct Block {
    double* p;
    explicit Block(double* q) : p(q) {}
    ~Block() { std::free(p); }
    Block(const Block&) = delete;
    Block& operator=(const Block&) = delete;
    double& operator[](size_t i) { return p[i]; }
};

using Rng = std::mt19937;

inline double uniform(Rng& rng, double lo, double hi)
{
    return std::uniform_real_distribution<double>(lo, hi)(rng);
}

// Inverse of the n x n matrix M by Gauss-Jordan elimination with partial
// pivoting (empty when singular).
inline std::vector<double> inverse(std::vector<double> M, int n)
{
    std::vector<double> R(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; i++)
        R[i * n + i] = 1.0;
    for (int c = 0; c < n; c++) {
        int p = c;
        for (int r = c + 1; r < n; r++) {
            if (std::fabs(M[r * n + c]) > std::fabs(M[p * n + c]))
                p = r;
        }
        if (M[p * n + c] == 0.0)
            return {};
        for (int j = 0; j < n; j++) {
            std::swap(M[c * n + j], M[p * n + j]);
            std::swap(R[c * n + j], R[p * n + j]);
        }
        const double pivot = M[c * n + c];
        for (int j = 0; j < n; j++) {
            M[c * n + j] /= pivot;
            R[c * n + j] /= pivot;
        }
        for (int r = 0; r < n; r++) {
            const double f = M[r * n + c];
            if (r == c || f == 0.0)
                continue;
            for (int j = 0; j < n; j++) {
                M[r * n + j] -= f * M[c * n + j];
                R[r * n + j] -= f * R[c * n + j];
            }
        }
    }
    return R;
}

// Upper triangular R with W = R^T R (row-major).
inline std::vector<double> cholesky_upper(const std::vector<double>& W, int n)
{
    std::vector<double> R(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; i++) {
        double diag = W[i * n + i];
        for (int k = 0; k < i; k++)
            diag -= R[k * n + i] * R[k * n + i];
        R[i * n + i] = std::sqrt(diag);
        for (int j = i + 1; j < n; j++) {
            double v = W[i * n + j];
            for (int k = 0; k < i; k++)
                v -= R[k * n + i] * R[k * n + j];
            R[i * n + j] = v / R[i * n + i];
        }
    }
    return R;
}

// Squared distance (a - x)^T W (a - x) with W = Q^-1.
inline double distance(const std::vector<double>& W, const std::vector<double>& a,
                       const std::vector<double>& x)
{
    const size_t n = a.size();
    double sum = 0.0;
    for (size_t i = 0; i < n; i++) {
        for (size_t j = 0; j < n; j++)
            sum += (a[i] - x[i]) * W[i * n + j] * (a[j] - x[j]);
    }
    return sum;
}

// Float vector: integers plus an offset in [-spread, spread] each.
inline std::vector<double> random_floats(Rng& rng, int n, double spread)
{
    std::vector<double> a(n);
    for (double& v : a)
        v = std::floor(uniform(rng, -50.0, 50.0)) + uniform(rng, -spread, spread);
    return a;
}

// Float vector drawn around integers with the distribution N(0, Q), as a
// float solution scatters about the true ambiguities.
inline std::vector<double> sampled_floats(Rng& rng, const std::vector<double>& Q, int n)
{
    const std::vector<double> R = cholesky_upper(Q, n);
    std::normal_distribution<double> normal;
    std::vector<double> w(n), a = random_floats(rng, n, 0.0);
    for (double& v : w)
        v = normal(rng);
    for (int i = 0; i < n; i++) {
        for (int k = 0; k <= i; k++)
            a[i] += R[k * n + i] * w[k];
    }
    return a;
}

// Q = U^T diag(d) U with U unit lower triangular, off-diagonal entries in
// [-offdiag, offdiag] and d in [dmin, dmax]: large entries give strongly
// correlated ambiguities.
inline Problem factored_problem(Rng& rng, int n, double offdiag, double dmin, double dmax)
{
    std::vector<double> U(static_cast<size_t>(n) * n, 0.0), d(n);
    for (int i = 0; i < n; i++) {
        U[i * n + i] = 1.0;
        for (int j = 0; j < i; j++)
            U[i * n + j] = uniform(rng, -offdiag, offdiag);
        d[i] = uniform(rng, dmin, dmax);
    }
    Problem p;
    p.n = n;
    p.Q.assign(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++) {
            double sum = 0.0;
            for (int k = 0; k < n; k++)
                sum += U[k * n + i] * d[k] * U[k * n + j];
            p.Q[i * n + j] = sum;
        }
    }
    p.a = random_floats(rng, n, 0.5);
    return p;
}

// Ambiguity block of the covariance of a static position (up to 3 unknowns)
// and n carrier ambiguities observed over a few epochs with code and phase
// from n satellites of slowly changing direction: ambiguities correlated
// through the common position error, as in a short GNSS fix. sigma_code is
// the code noise in cycles (the phase noise is 0.01 cycles).
inline Problem geometry_problem(Rng& rng, int n, int epochs, double sigma_code)
{
    const int npos = std::min(3, n - 1);
    const int np = npos + n;
    const double sigma_phase = 0.01;
    std::vector<double> N(static_cast<size_t>(np) * np, 0.0);
    std::vector<double> az(n), el(n);
    for (int s = 0; s < n; s++) {
        az[s] = uniform(rng, 0.0, 6.283185307179586);
        el[s] = uniform(rng, 0.2, 1.4);
    }
    std::vector<double> row(np);
    auto accumulate = [&](double weight) {
        for (int i = 0; i < np; i++) {
            for (int j = 0; j < np; j++)
                N[i * np + j] += weight * row[i] * row[j];
        }
    };
    for (int e = 0; e < epochs; e++) {
        for (int s = 0; s < n; s++) {
            const double A = az[s] + 0.05 * e;
            const double E = el[s] + 0.02 * e;
            const double g[3] = {std::cos(E) * std::sin(A), std::cos(E) * std::cos(A), std::sin(E)};
            std::fill(row.begin(), row.end(), 0.0);
            for (int k = 0; k < npos; k++)
                row[k] = g[k];
            accumulate(1.0 / (sigma_code * sigma_code));
            row[npos + s] = 1.0;
            accumulate(1.0 / (sigma_phase * sigma_phase));
        }
    }
    const std::vector<double> C = inverse(N, np);
    Problem p;
    p.n = n;
    p.Q.resize(static_cast<size_t>(n) * n);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++)
            p.Q[i * n + j] = C[(npos + i) * np + npos + j];
    }
    p.a = sampled_floats(rng, p.Q, n);
    return p;
}

}  // namespace ambtest

#endif
