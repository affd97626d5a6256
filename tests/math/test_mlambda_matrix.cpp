// The dense kernel of the ambiguity search: allocation limits and inversion,
// checked by hand-computed cases. Products, LU decomposition and solving are
// checked through the search itself (test_mlambda.cpp).
#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <vector>

#include "math/ambiguity_problems.h"
#include "math/mlambda.h"

namespace {

using ambtest::Block;

TEST(MatrixAllocation, RejectsBadDimensionsAndBuildsIdentity)
{
    EXPECT_EQ(mat(0, 3), nullptr);
    EXPECT_EQ(imat(-2, 2), nullptr);
    EXPECT_EQ(zeros(0, 0), nullptr);
    EXPECT_EQ(eye(0), nullptr);
    // A byte count that does not fit in size_t, on 32 and on 64 bits.
    EXPECT_EQ(mat(INT_MAX, INT_MAX), nullptr);
    Block I(eye(3));
    for (int j = 0; j < 3; j++) {
        for (int i = 0; i < 3; i++)
            EXPECT_EQ(I[i + j * 3], i == j ? 1.0 : 0.0);
    }
}

TEST(MatrixInverse, RoundTripAndSingularInput)
{
    // [4 7; 2 6]^-1 = [0.6 -0.7; -0.2 0.4].
    double A[4] = {4.0, 2.0, 7.0, 6.0};
    ASSERT_EQ(matinv(A, 2), 0);
    const double inverse[4] = {0.6, -0.2, -0.7, 0.4};
    for (int i = 0; i < 4; i++)
        EXPECT_NEAR(A[i], inverse[i], 1e-15);
    ASSERT_EQ(matinv(A, 2), 0);
    EXPECT_NEAR(A[0], 4.0, 1e-14);
    EXPECT_NEAR(A[3], 6.0, 1e-14);

    // A singular matrix is reported and left as it was.
    double S[9] = {1.0, 2.0, 3.0, 2.0, 4.0, 6.0, 0.0, 1.0, 5.0};
    const std::vector<double> before(S, S + 9);
    EXPECT_EQ(matinv(S, 3), -1);
    EXPECT_EQ(std::vector<double>(S, S + 9), before);
}

}  // namespace
