// Bootstrapping success rate and partial ambiguity fixing.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "math/ambiguity_problems.h"
#include "math/mlambda.h"

namespace {

using ambtest::Block;

double rate_from_erf(double sigma)
{
    return std::erf(1.0 / (2.0 * std::sqrt(2.0) * sigma));
}

TEST(BootstrapTable, EndsAndIndependentValues)
{
    EXPECT_EQ(BootSt_2Phi_sigRecip_1[0], 1.0);
    EXPECT_NEAR(BootSt_2Phi_sigRecip_1[460], 0.90441929545, 5e-12);
    // 2 Phi(x) - 1 = 1 - erfc(x / sqrt 2): evaluated another way.
    for (int k : {1, 57, 100, 230, 333, 459}) {
        const double sigma = 0.07 + k / 2000.0;
        const double x = 1.0 / (2.0 * sigma);
        EXPECT_NEAR(BootSt_2Phi_sigRecip_1[k], 1.0 - std::erfc(x / std::sqrt(2.0)), 1e-14) << k;
    }
    for (int k = 1; k <= 460; k++)
        EXPECT_LT(BootSt_2Phi_sigRecip_1[k], BootSt_2Phi_sigRecip_1[k - 1]) << k;
}

TEST(BootstrapRate, LimitsAndInterpolation)
{
    EXPECT_EQ(pBootStrapping(0.07), 1.0);
    EXPECT_EQ(pBootStrapping(-1.0), 1.0);
    const double just_above = pBootStrapping(0.0700001);
    EXPECT_LT(just_above, 1.0);
    EXPECT_GT(just_above, 1.0 - 1e-14);
    EXPECT_EQ(pBootStrapping(0.3), 0.0);
    EXPECT_EQ(pBootStrapping(NAN), 0.0);
    EXPECT_NEAR(pBootStrapping(std::nextafter(0.3, 0.0)), BootSt_2Phi_sigRecip_1[460], 1e-12);
    // Halfway between two entries; between grid points the linear
    // interpolation stays within 1e-6 of erf.
    const double mid = pBootStrapping(0.07 + 60.5 / 2000.0);
    EXPECT_NEAR(mid, 0.5 * (BootSt_2Phi_sigRecip_1[60] + BootSt_2Phi_sigRecip_1[61]), 1e-13);
    for (double sigma = 0.071; sigma < 0.3; sigma += 0.0123)
        EXPECT_NEAR(pBootStrapping(sigma), rate_from_erf(sigma), 1e-6) << sigma;
}

// ---------------------------------------------------------------- lambda_sr

TEST(LambdaWithSuccessRate, RateIsTheProductOverTheConditionalDeviationsOrZero)
{
    ambtest::Rng rng(77u);
    const int n = 6;
    ambtest::Problem p = ambtest::factored_problem(rng, n, 2.0, 0.004, 0.03);
    Block L(mat(n, n)), D(mat(n, 1)), Z(mat(n, n)), z(mat(n, 1));
    ASSERT_EQ(lambda_reduction(n, p.a.data(), p.Q.data(), L.p, D.p, Z.p, z.p), 0);
    double expected = 1.0;
    for (int i = 0; i < n; i++)
        expected *= pBootStrapping(std::sqrt(D[i]));
    ASSERT_GT(expected, 0.0);
    ASSERT_LT(expected, 1.0);

    std::vector<double> F(2 * n), s(2), F2(2 * n), s2(2);
    double ps = -1.0;
    ASSERT_EQ(lambda_sr(n, 2, p.a.data(), p.Q.data(), F.data(), s.data(), &ps), 0);
    EXPECT_DOUBLE_EQ(ps, expected);
    ASSERT_EQ(lambda(n, 2, p.a.data(), p.Q.data(), F2.data(), s2.data()), 0);
    EXPECT_EQ(F, F2);
    EXPECT_EQ(s, s2);

    // Failures leave the rate zero.
    const double indefinite[4] = {1.0, 2.0, 2.0, 1.0};
    ps = 0.5;
    EXPECT_EQ(lambda_sr(0, 2, p.a.data(), indefinite, F.data(), s.data(), &ps), -1);
    EXPECT_EQ(ps, 0.0);
    ps = 0.5;
    EXPECT_EQ(lambda_sr(2, 2, p.a.data(), indefinite, F.data(), s.data(), &ps), -1);
    EXPECT_EQ(ps, 0.0);
}

// --------------------------------------------------------------- Lambda_par

// Diagonal covariance with the given variances.
std::vector<double> diagonal(const std::vector<double>& var)
{
    const size_t n = var.size();
    std::vector<double> Q(n * n, 0.0);
    for (size_t i = 0; i < n; i++)
        Q[i + i * n] = var[i];
    return Q;
}

struct ParResult {
    int fixed = 0;
    std::vector<double> out;
};

ParResult partial_fix(const std::vector<double>& a, const std::vector<double>& Q, double limit = 3.0)
{
    const int n = static_cast<int>(a.size());
    ParResult r;
    r.out.assign(lambda_par_out_size(n), -12345.0);
    r.fixed = Lambda_par(n, 2, a.data(), Q.data(), limit, r.out.data());
    return r;
}

// out holds T (nf x n) with z_sub = T a, and the fixed integers of z_sub.
std::vector<double> subset_values(const ParResult& r, const std::vector<double>& v)
{
    const int nf = static_cast<int>(r.out[0]);
    const int n = static_cast<int>(v.size());
    std::vector<double> t(nf, 0.0);
    for (int i = 0; i < nf; i++) {
        for (int j = 0; j < n; j++)
            t[i] += r.out[3 + i + j * nf] * v[j];
    }
    return t;
}

TEST(PartialFixing, RefusesFewerThanFiveLargeLimitsAndAmbiguousSets)
{
    const std::vector<double> a4 = {1.01, 2.02, -3.01, 4.0};
    const ParResult r4 = partial_fix(a4, diagonal({1e-3, 1e-3, 1e-3, 1e-3}));
    EXPECT_EQ(r4.fixed, 0);
    for (double v : r4.out)
        EXPECT_EQ(v, -12345.0);  // not written

    const std::vector<double> a5 = {1.01, 2.02, -3.01, 4.0, 5.03};
    const std::vector<double> Q5 = diagonal({1e-3, 1e-3, 1e-3, 1e-3, 1e-3});
    EXPECT_EQ(partial_fix(a5, Q5, 30.5).fixed, 0);
    EXPECT_EQ(partial_fix(a5, Q5, 30.0).fixed, 1);
    EXPECT_EQ(partial_fix(a5, diagonal({1.0, -1.0, 1.0, 1.0, 1.0})).fixed, 0);

    // Five ambiguities that fail are not reduced: one sits halfway between
    // two integers, the two best vectors are equally far.
    const ParResult half = partial_fix({0.5, 2.02, -3.01, 4.0, 5.03}, diagonal({0.1, 1e-3, 1e-3, 1e-3, 1e-3}));
    EXPECT_EQ(half.fixed, 0);
    EXPECT_EQ(half.out[0], -12345.0);
    // Every subset ambiguous: nothing fixed.
    const std::vector<double> halves = {0.5, 1.5, 2.5, 3.5, 4.5, 5.5, 6.5};
    EXPECT_EQ(partial_fix(halves, diagonal(std::vector<double>(7, 0.01))).fixed, 0);
}

TEST(PartialFixing, FiveAmbiguitiesFixedAsAWhole)
{
    ambtest::Rng rng(5u);
    ambtest::Problem p = ambtest::factored_problem(rng, 5, 2.0, 0.0005, 0.003);
    std::vector<double> F(10), s(2);
    double ps = 0.0;
    ASSERT_EQ(lambda_sr(5, 2, p.a.data(), p.Q.data(), F.data(), s.data(), &ps), 0);
    // Floats drawn anywhere in the cell: pull them next to the best vector
    // so that the ratio test passes.
    for (int i = 0; i < 5; i++)
        p.a[i] = F[i] + 0.3 * (p.a[i] - F[i]);
    ASSERT_EQ(lambda_sr(5, 2, p.a.data(), p.Q.data(), F.data(), s.data(), &ps), 0);
    ASSERT_GE(s[1] / s[0], 2.0);

    const ParResult r = partial_fix(p.a, p.Q);
    ASSERT_EQ(r.fixed, 1);
    EXPECT_EQ(r.out[0], 5.0);
    EXPECT_NEAR(r.out[1], std::min(s[1] / s[0], 999.99), 1e-9 * r.out[1]);
    EXPECT_DOUBLE_EQ(r.out[2], ps);
    // T a is the decorrelated float vector; T maps the best candidate onto
    // the fixed integers.
    Block L(mat(5, 5)), D(mat(5, 1)), Z(mat(5, 5)), z(mat(5, 1));
    ASSERT_EQ(lambda_reduction(5, p.a.data(), p.Q.data(), L.p, D.p, Z.p, z.p), 0);
    const std::vector<double> Ta = subset_values(r, p.a);
    const std::vector<double> TF = subset_values(r, std::vector<double>(F.begin(), F.begin() + 5));
    for (int i = 0; i < 5; i++) {
        EXPECT_NEAR(Ta[i], z[i], 1e-9);
        EXPECT_NEAR(TF[i], r.out[3 + 25 + i], 1e-9);
    }
}

TEST(PartialFixing, SubsetPassesWhereTheFullSetFails)
{
    const std::vector<double> a = {0.48, 2.02, -3.01, 4.0, 5.03, -6.04};
    const std::vector<double> Q = diagonal({0.1, 1e-3, 2e-3, 1.5e-3, 1e-3, 3e-3});
    std::vector<double> F(12), s(2);
    ASSERT_EQ(lambda(6, 2, a.data(), Q.data(), F.data(), s.data()), 0);
    ASSERT_LT(s[1] / s[0], 2.0);

    const ParResult r = partial_fix(a, Q);
    ASSERT_EQ(r.fixed, 1);
    ASSERT_EQ(r.out[0], 5.0);
    EXPECT_GE(r.out[1], 2.0);
    // With uncorrelated ambiguities T only reorders: the uncertain one is left
    // out and the others are fixed to their nearest integers.
    for (int i = 0; i < 5; i++) {
        EXPECT_EQ(r.out[3 + i + 0 * 5], 0.0);
        double unit = 0.0;
        for (int j = 0; j < 6; j++)
            unit += std::fabs(r.out[3 + i + j * 5]);
        EXPECT_EQ(unit, 1.0);
    }
    const std::vector<double> Ta = subset_values(r, a);
    for (int i = 0; i < 5; i++)
        EXPECT_EQ(r.out[3 + 30 + i], std::round(Ta[i]));
}

TEST(PartialFixing, RatioIsCappedAt999_99)
{
    const std::vector<double> Q = diagonal({1e-3, 1e-3, 1e-3, 1e-3, 1e-3});
    for (const std::vector<double>& a : {std::vector<double>{1.00001, 2.0, -3.0, 4.0, 5.0},
                                         std::vector<double>{1.0, 2.0, -3.0, 4.0, 5.0}}) {
        const ParResult r = partial_fix(a, Q);
        ASSERT_EQ(r.fixed, 1);
        EXPECT_EQ(r.out[1], 999.99);
    }
}

}  // namespace
