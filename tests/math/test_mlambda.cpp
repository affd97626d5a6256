// The MLAMBDA core against independent truth: factorisation round trips,
// properties of the reduced problem proven for the method, and the best two
// integer vectors of an exhaustive search over random problems.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <vector>

#include "math/ambiguity_problems.h"
#include "math/mlambda.h"

namespace {

using ambtest::Block;
using ambtest::Problem;

// L^T diag(D) L of an n x n column-major L.
std::vector<double> ltdl(int n, const double* L, const double* D)
{
    std::vector<double> Q(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++) {
            for (int k = 0; k < n; k++)
                Q[i + j * n] += L[k + i * n] * D[k] * L[k + j * n];
        }
    }
    return Q;
}

// Z^T Q Z of n x n column-major matrices.
std::vector<double> congruence(int n, const double* Z, const std::vector<double>& Q)
{
    std::vector<double> R(static_cast<size_t>(n) * n, 0.0);
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < n; j++) {
            for (int k = 0; k < n; k++) {
                for (int l = 0; l < n; l++)
                    R[i + j * n] += Z[k + i * n] * Q[k + l * n] * Z[l + j * n];
            }
        }
    }
    return R;
}

void expect_matrix_near(const std::vector<double>& A, const std::vector<double>& B, double tol)
{
    ASSERT_EQ(A.size(), B.size());
    double scale = 0.0;
    for (double v : B)
        scale = std::max(scale, std::fabs(v));
    for (size_t i = 0; i < A.size(); i++)
        EXPECT_NEAR(A[i], B[i], tol * scale) << "element " << i;
}

// A reproducible strongly correlated problem.
Problem strongly_correlated(unsigned seed, int n)
{
    ambtest::Rng rng(seed);
    return ambtest::factored_problem(rng, n, 4.0, 0.001, 0.1);
}

// ----------------------------------------------------------- factorisation

TEST(LdFactorisation, ReproducesTheCovarianceOrRejectsNonPositiveDefinite)
{
    for (int n = 1; n <= 8; n++) {
        const Problem p = strongly_correlated(100u + n, n);
        Block L(mat(n, n)), D(mat(n, 1));
        ASSERT_EQ(LD(n, p.Q.data(), L.p, D.p), 0);
        for (int i = 0; i < n; i++) {
            EXPECT_GT(D[i], 0.0);
            EXPECT_EQ(L[i + i * n], 1.0);
            for (int j = i + 1; j < n; j++)
                EXPECT_EQ(L[i + j * n], 0.0);
        }
        expect_matrix_near(ltdl(n, L.p, D.p), p.Q, 1e-12);
    }

    const double indefinite[4] = {1.0, 2.0, 2.0, 1.0};  // eigenvalues 3 and -1
    const double singular[4] = {1.0, 1.0, 1.0, 1.0};
    const double negative[1] = {-0.5};
    double L[4], D[2];
    EXPECT_EQ(LD(2, indefinite, L, D), -1);
    EXPECT_EQ(LD(2, singular, L, D), -1);
    EXPECT_EQ(LD(1, negative, L, D), -1);
}

// ------------------------------------------------------------- reduction

// Z is integer with determinant +-1, and Z^T Q Z = L^T D L.
void expect_valid_transformation(int n, const double* Z, const double* L, const double* D,
                                 const std::vector<double>& Q)
{
    std::vector<double> lu(Z, Z + n * n);
    std::vector<int> indx(n);
    double det = 0.0;
    ASSERT_EQ(ludcmp(lu.data(), n, indx.data(), &det), 0);
    for (int i = 0; i < n; i++) {
        det *= lu[i + i * n];
        for (int j = 0; j < n; j++)
            EXPECT_EQ(Z[i + j * n], std::round(Z[i + j * n]));
    }
    EXPECT_NEAR(std::fabs(det), 1.0, 1e-9);
    expect_matrix_near(ltdl(n, L, D), congruence(n, Z, Q), 1e-9);
}

TEST(Reduction, EndsWithASizeReducedOrderedFactorisation)
{
    for (int n = 2; n <= 10; n++) {
        const Problem p = strongly_correlated(200u + n, n);
        Block L(mat(n, n)), D(mat(n, 1)), Z(eye(n));
        ASSERT_EQ(LD(n, p.Q.data(), L.p, D.p), 0);
        reduction(n, L.p, D.p, Z.p);
        expect_valid_transformation(n, Z.p, L.p, D.p, p.Q);
        // The two conditions the reduction stops on: every L(i,j) rounds to
        // 0, and no swap of neighbours would shrink D[j+1].
        for (int j = 0; j < n; j++) {
            for (int i = j + 1; i < n; i++)
                EXPECT_LE(std::fabs(L[i + j * n]), 0.5 + 1e-12) << i << "," << j;
        }
        for (int j = 0; j + 1 < n; j++) {
            const double l = L[j + 1 + j * n];
            EXPECT_GE(D[j] + l * l * D[j + 1], D[j + 1] * (1.0 - 1e-9));
        }
    }
}

TEST(Reduction, DecorrelatesAStronglyCorrelatedPair)
{
    // Correlation 0.999: the reduced pair is far less correlated.
    const double Q[4] = {1.0, 0.999, 0.999, 1.0};
    double Z[4], L[4], D[2], z[2];
    const double a[2] = {0.3, 1.7};
    ASSERT_EQ(lambda_reduction(2, a, Q, L, D, Z, z), 0);
    const std::vector<double> Qz = congruence(2, Z, std::vector<double>(Q, Q + 4));
    const double rho = Qz[1] / std::sqrt(Qz[0] * Qz[3]);
    EXPECT_LT(std::fabs(rho), 0.5);
    EXPECT_DOUBLE_EQ(z[0], Z[0] * a[0] + Z[1] * a[1]);
    EXPECT_DOUBLE_EQ(z[1], Z[2] * a[0] + Z[3] * a[1]);
}

// ----------------------------------------------------------------- search

TEST(Search, OneDimensionalCandidatesComeInDistanceOrder)
{
    // z = 0.3 with variance 1: 0, 1, -1, 2, -2 at 0.09, 0.49, 1.69, 2.89, 5.29.
    const double L[1] = {1.0}, D[1] = {1.0}, zs[1] = {0.3};
    double zn[5], s[5];
    ASSERT_EQ(search(1, 5, L, D, zs, zn, s), 0);
    const double expected_z[5] = {0.0, 1.0, -1.0, 2.0, -2.0};
    const double expected_s[5] = {0.09, 0.49, 1.69, 2.89, 5.29};
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(zn[i], expected_z[i]);
        EXPECT_NEAR(s[i], expected_s[i], 1e-12);
    }
}

TEST(Search, ReportsLoopCountOverflow)
{
    // One ambiguity and 10000 wanted candidates: every loop finds one leaf,
    // so the loop budget runs out before the search can close.
    const int m = 10000;
    const double L[1] = {1.0}, D[1] = {1.0}, zs[1] = {0.3};
    std::vector<double> zn(m), s(m);
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(search(1, m, L, D, zs, zn.data(), s.data()), -1);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "mlambda : search loop count overflow\n");
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(search(1, m - 1, L, D, zs, zn.data(), s.data()), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

TEST(Search, RejectsEmptyNonFiniteAndIndefiniteProblems)
{
    const double L[1] = {1.0}, D[1] = {1.0}, nan[1] = {std::nan("")};
    double zn[2], s[2];
    EXPECT_EQ(search(0, 2, L, D, nan, zn, s), -1);
    EXPECT_EQ(search(1, 0, L, D, nan, zn, s), -1);
    EXPECT_EQ(search(1, 2, L, D, nan, zn, s), -1);

    const double a[2] = {0.1, 0.2}, Q[4] = {1.0, 2.0, 2.0, 1.0};
    double F[4];
    EXPECT_EQ(lambda(0, 2, a, Q, F, s), -1);
    EXPECT_EQ(lambda(2, 0, a, Q, F, s), -1);
    EXPECT_EQ(lambda(2, 2, a, Q, F, s), -1);
}

// --------------------------------------------------------------- exhaustive

// The two nearest integer vectors seen so far.
struct BestTwo {
    std::vector<double> x[2];
    double d[2] = {HUGE_VAL, HUGE_VAL};

    void offer(const std::vector<double>& v, double dist)
    {
        if (dist >= d[1])
            return;
        if (dist < d[0]) {
            x[1] = x[0];
            d[1] = d[0];
            x[0] = v;
            d[0] = dist;
        } else {
            x[1] = v;
            d[1] = dist;
        }
    }
};

// A bound on the second-best distance: the second smallest distance among
// a few distinct integer vectors near a (sequential conditional rounding,
// plain rounding, and their unit neighbours).
double second_best_bound(const Problem& p, const std::vector<double>& W)
{
    const int n = p.n;
    const std::vector<double> R = ambtest::cholesky_upper(W, n);
    std::vector<double> babai(n), rounded(n);
    for (int i = n - 1; i >= 0; i--) {
        double c = p.a[i];
        for (int j = i + 1; j < n; j++)
            c += R[i * n + j] * (p.a[j] - babai[j]) / R[i * n + i];
        babai[i] = std::round(c);
        rounded[i] = std::round(p.a[i]);
    }
    std::vector<std::vector<double>> set = {babai, rounded};
    for (const auto& base : {babai, rounded}) {
        for (int i = 0; i < n; i++) {
            for (double delta : {-1.0, 1.0}) {
                std::vector<double> x = base;
                x[i] += delta;
                set.push_back(x);
            }
        }
    }
    std::sort(set.begin(), set.end());
    set.erase(std::unique(set.begin(), set.end()), set.end());
    std::vector<double> d;
    for (const auto& x : set)
        d.push_back(ambtest::distance(W, p.a, x));
    std::sort(d.begin(), d.end());
    return d[1];
}

// Margin on chi2 so that rounding cannot drop a vector on the boundary.
constexpr double kMargin = 1.0 + 1e-9;

// Every vector inside the ellipsoid of squared radius chi2: with W = R^T R the distance is a sum of squares whose
// last terms depend only on the last coordinates, so each coordinate, given
// those after it, runs over one interval (Fincke-Pohst enumeration in the
// original coordinates, without reordering or shrinking).
BestTwo ellipsoid_enumeration(const Problem& p, const std::vector<double>& W, double chi2)
{
    const int n = p.n;
    const std::vector<double> R = ambtest::cholesky_upper(W, n);
    std::vector<double> x(n);
    BestTwo best;
    std::function<void(int, double)> level = [&](int i, double partial) {
        const double rii = R[i * n + i];
        double c = p.a[i];
        for (int j = i + 1; j < n; j++)
            c += R[i * n + j] * (p.a[j] - x[j]) / rii;
        const double w = std::sqrt(std::max(0.0, chi2 * kMargin - partial)) / rii;
        for (x[i] = std::ceil(c - w); x[i] <= std::floor(c + w); x[i] += 1.0) {
            const double term = rii * (c - x[i]);
            if (i == 0)
                best.offer(x, partial + term * term);
            else
                level(i - 1, partial + term * term);
        }
    };
    level(n - 1, 0.0);
    return best;
}

Problem random_problem(ambtest::Rng& rng, int index)
{
    const int n = 1 + index % 6;
    switch ((index / 6) % 4) {
    case 0: return ambtest::factored_problem(rng, n, 0.5, 0.01, 0.5);
    case 1: return ambtest::factored_problem(rng, n, 3.0, 0.001, 0.2);
    case 2: return ambtest::factored_problem(rng, n, 8.0, 0.0005, 0.02);
    default: return ambtest::geometry_problem(rng, n, 3, 1.0);
    }
}

TEST(LambdaSearch, MatchesExhaustiveSearchOnRandomProblems)
{
    ambtest::Rng rng(20240611u);
    for (int index = 0; index < 1000; index++) {
        const Problem p = random_problem(rng, index);
        const int n = p.n;
        const std::vector<double> W = ambtest::inverse(p.Q, n);
        ASSERT_FALSE(W.empty());
        const double chi2 = second_best_bound(p, W);
        BestTwo truth = ellipsoid_enumeration(p, W, chi2);
        for (int c = 0; c < 2; c++)
            truth.d[c] = ambtest::distance(W, p.a, truth.x[c]);

        std::vector<double> F(2 * n), s(2);
        ASSERT_EQ(lambda(n, 2, p.a.data(), p.Q.data(), F.data(), s.data()), 0) << "problem " << index;
        for (int c = 0; c < 2; c++) {
            for (int i = 0; i < n; i++)
                EXPECT_NEAR(F[i + c * n], truth.x[c][i], 1e-6) << "problem " << index << " candidate " << c;
            EXPECT_NEAR(s[c], truth.d[c], 1e-8 * (1.0 + truth.d[c])) << "problem " << index;
        }
        if (::testing::Test::HasFailure())
            break;
    }
}

}  // namespace
