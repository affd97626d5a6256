#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "math/MiniVVEstimation.h"

namespace {

std::vector<double> Values(const CPowerMatrix& m)
{
    std::vector<double> v(static_cast<size_t>(m.GetRowNumber()) * m.GetColumnNumber());
    m.GetData(v.data());
    return v;
}

void ExpectNear(const CPowerMatrix& m, const std::vector<double>& expected)
{
    const std::vector<double> got = Values(m);
    ASSERT_EQ(got.size(), expected.size());
    for (size_t i = 0; i < got.size(); ++i)
        EXPECT_NEAR(got[i], expected[i], 1e-14) << "element " << i;
}

// Line y = a + b x through (0, 1), (1, 2), (2, 4).
void AppendLinePoints(CMiniVVEstimation& est)
{
    const double xs[] = {0, 1, 2}, ys[] = {1, 2, 4};
    for (int i = 0; i < 3; ++i) {
        const double b[] = {1.0, xs[i]};
        ASSERT_EQ(est.AppendObservEquation(ys[i], b), 1);
    }
}

}  // namespace

// Weights 1, 2, 1: N = [[4, 4], [4, 6]], B^T P L = (9, 12), X = (0.75, 1.5),
// V = (-0.25, 0.25, -0.25), V^T P V = 0.25 with one degree of freedom.
TEST(LeastSquares, WeightedLineFit)
{
    CMiniVVEstimation est;
    ASSERT_EQ(est.SetXNumber(2), 1);
    AppendLinePoints(est);
    const double q0[] = {1, 0, 0, 0, 0.5, 0, 0, 0, 1};
    ASSERT_EQ(est.SetQ0(CPowerMatrix(q0, 3, 3)), 1);

    CPowerMatrix m;
    ASSERT_EQ(est.GetXEstimation(m), 1);
    ExpectNear(m, {0.75, 1.5});
    double delta0 = 0.0;
    ASSERT_EQ(est.GetDelta0(delta0), 1);
    EXPECT_NEAR(delta0, 0.5, 1e-14);
    ASSERT_EQ(est.GetQOfXEstimation(m), 1);
    ExpectNear(m, {0.75, -0.5, -0.5, 0.5});
    ASSERT_EQ(est.GetDOfXEstimation(m), 1);
    ExpectNear(m, {0.1875, -0.125, -0.125, 0.125});
    ASSERT_EQ(est.GetDOfLEstimation(m), 1);  // 0.25 B Qx B^T
    ExpectNear(m, {0.1875, 0.0625, -0.0625, 0.0625, 0.0625, 0.0625, -0.0625, 0.0625, 0.1875});
}

// Unit weights: N = [[3, 3], [3, 5]], X = (5/6, 3/2), V^T V = 1/6.
TEST(LeastSquares, UnitWeightsEquationByEquationOrAsWholeMatrices)
{
    CMiniVVEstimation est;
    est.SetXNumber(2);
    AppendLinePoints(est);
    CPowerMatrix x;
    ASSERT_EQ(est.GetXEstimation(x), 1);
    ExpectNear(x, {5.0 / 6.0, 1.5});
    double delta0 = 0.0;
    est.GetDelta0(delta0);
    EXPECT_NEAR(delta0, std::sqrt(1.0 / 6.0), 1e-14);

    // A further equation is taken into account by the next request.
    const double b[] = {1.0, 3.0};
    est.AppendObservEquation(4.5, b);
    ASSERT_EQ(est.GetXEstimation(x), 1);
    EXPECT_NE(Values(x)[0], 5.0 / 6.0);

    // The same system given as whole matrices.
    CMiniVVEstimation whole;
    const double l[] = {1, 2, 4}, bm[] = {1, 0, 1, 1, 1, 2};
    ASSERT_EQ(whole.SetB(CPowerMatrix(bm, 3, 2)), 1);
    ASSERT_EQ(whole.SetL(CPowerMatrix(l, 3, 1)), 1);
    EXPECT_EQ(whole.SetL(CPowerMatrix(l, 1, 3)), 0);
    ASSERT_EQ(whole.GetXEstimation(x), 1);
    ExpectNear(x, {5.0 / 6.0, 1.5});
}

TEST(LeastSquares, DeterminedSystemHasNoRedundancy)
{
    CMiniVVEstimation est;
    est.SetXNumber(2);
    const double b1[] = {1, 1}, b2[] = {1, -1};
    est.AppendObservEquation(3.0, b1);
    est.AppendObservEquation(1.0, b2);
    ASSERT_EQ(est.Calculate(), 1);
    CPowerMatrix m;
    est.GetXEstimation(m);
    ExpectNear(m, {2.0, 1.0});
    est.GetQOfXEstimation(m);
    ExpectNear(m, {0, 0, 0, 0});
    double delta0 = -1.0;
    est.GetDelta0(delta0);
    EXPECT_EQ(delta0, 0.0);
}

TEST(LeastSquares, Failures)
{
    CMiniVVEstimation est;
    const double b[] = {1, 2};
    EXPECT_EQ(est.AppendObservEquation(1.0, b), 0);  // no unknowns declared
    est.SetXNumber(2);
    est.AppendObservEquation(1.0, b);
    EXPECT_EQ(est.Calculate(), 0);  // fewer equations than unknowns
    est.AppendObservEquation(2.0, b);
    EXPECT_EQ(est.Calculate(), 0);  // singular design

    const double singular[] = {1, 1, 1, 1};
    EXPECT_EQ(est.SetQ0(CPowerMatrix(singular, 2, 2)), 0);
    const double wrongSize[] = {1};
    est.SetQ0(CPowerMatrix(wrongSize, 1, 1));
    EXPECT_EQ(est.Calculate(), 0);  // weights do not match the observations
}
