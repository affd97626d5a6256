#include <gtest/gtest.h>

#include <cmath>

#include "engine/SmallLsq.h"

namespace {

TEST(SmallLsq, InverseOfANonSymmetricMatrixNeedingPivots)
{
    // A zero leading element forces a row exchange; the inverse is checked by A A^-1 = I.
    const double a[4][4] = {{0.0, 2.0, 1.0, 4.0}, {3.0, 1.0, 0.0, 2.0}, {1.0, 0.0, 5.0, 1.0}, {2.0, 2.0, 1.0, 0.5}};
    double m[kLsqMaxUnknowns][kLsqMaxUnknowns];
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j)
            m[i][j] = a[i][j];
    ASSERT_TRUE(InvertSmall(m, 4));
    for (int i = 0; i < 4; ++i)
        for (int j = 0; j < 4; ++j) {
            double s = 0.0;
            for (int k = 0; k < 4; ++k)
                s += a[i][k] * m[k][j];
            EXPECT_NEAR(s, i == j ? 1.0 : 0.0, 1e-12) << i << " " << j;
        }
}

TEST(SmallLsq, SingularOrNonFiniteMatrixIsRefused)
{
    double m[kLsqMaxUnknowns][kLsqMaxUnknowns] = {{1.0, 2.0}, {2.0, 4.0}};
    EXPECT_FALSE(InvertSmall(m, 2));
    double n[kLsqMaxUnknowns][kLsqMaxUnknowns] = {{std::nan(""), 0.0}, {0.0, 1.0}};
    EXPECT_FALSE(InvertSmall(n, 2));
}

TEST(SmallLsq, WeightedLineFitWithResidualsAndUnitWeightDeviation)
{
    // y = 1 + 2 x observed at x = 0, 1, 2, 3 with errors +0.1, -0.1, -0.1, +0.1 (weights 1):
    // the fit is exact for the line through the error pattern's mean (0) and
    // slope (0), so x = (1, 2), v = -errors, sigma0 = sqrt(0.04 / 2).
    SmallLsq lsq(2);
    const double err[4] = {0.1, -0.1, -0.1, 0.1};
    for (int i = 0; i < 4; ++i) {
        double* a = lsq.AddRow(1.0, 1.0 + 2.0 * i + err[i]);
        a[0] = 1.0;
        a[1] = i;
    }
    ASSERT_TRUE(SolveSmallLsq(lsq, 0.0));
    EXPECT_NEAR(lsq.x[0], 1.0, 1e-12);
    EXPECT_NEAR(lsq.x[1], 2.0, 1e-12);
    for (int i = 0; i < 4; ++i)
        EXPECT_NEAR(lsq.v[i], -err[i], 1e-12);
    EXPECT_NEAR(lsq.sigma0, std::sqrt(0.04 / 2.0), 1e-12);
    // Cofactor of the slope: 1 / sum (x - mean)^2 = 1/5.
    EXPECT_NEAR(lsq.Q[1][1], 0.2, 1e-12);
    double dop;
    ASSERT_TRUE(UnitWeightDop(lsq, 1, 0.0, &dop));
    EXPECT_NEAR(dop, std::sqrt(0.7), 1e-12);   // intercept cofactor: sum x^2 / (n sum (x - mean)^2) = 14/20
    // Standardised residual: v / (sigma0 sqrt(1 - h)), h = 1/4 + (x - 1.5)^2 / 5 = 0.7 at x = 0.
    EXPECT_NEAR(StandardisedResidual(lsq, 0), -0.1 / (lsq.sigma0 * std::sqrt(0.3)), 1e-9);
}

TEST(SmallLsq, RowsStopAtCapacity)
{
    SmallLsq lsq(1);
    for (int i = 0; i < kLsqMaxRows; ++i)
        ASSERT_NE(lsq.AddRow(1.0, 0.0), nullptr);
    EXPECT_EQ(lsq.AddRow(1.0, 0.0), nullptr);
}

}  // namespace
