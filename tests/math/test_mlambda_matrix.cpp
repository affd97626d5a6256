// The dense kernel of the ambiguity search: allocation limits, products in
// every transposition, LU inversion and solving, checked by hand-computed cases.
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

// Column-major storage of the matrices used below:
//   M = [1 2 3; 4 5 6] (2 x 3), N = [1 0; 2 1; 0 3] (3 x 2).
const double kM[6] = {1.0, 4.0, 2.0, 5.0, 3.0, 6.0};
const double kN[6] = {1.0, 2.0, 0.0, 0.0, 1.0, 3.0};

TEST(MatrixProduct, EveryTranspositionScaledAndAccumulated)
{
    // 2 x 2 results with inner dimension 3, expected values column-major.
    struct Case {
        const char* tr;
        const double* A;
        const double* B;
        double expected[4];
    } cases[] = {
        {"NN", kM, kN, {5.0, 14.0, 11.0, 23.0}},   // M N
        {"TN", kN, kN, {5.0, 2.0, 2.0, 10.0}},     // N^T N, N stored 3 x 2
        {"NT", kM, kM, {14.0, 32.0, 32.0, 77.0}},  // M M^T
        {"TT", kN, kM, {5.0, 11.0, 14.0, 23.0}},   // N^T M^T = (M N)^T
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.tr);
        // beta = 0 overwrites whatever C held, NaN included.
        double C[4] = {NAN, NAN, NAN, NAN};
        matmul(c.tr, 2, 2, 3, 1.0, c.A, c.B, 0.0, C);
        for (int i = 0; i < 4; i++)
            EXPECT_DOUBLE_EQ(C[i], c.expected[i]) << "element " << i;
    }
    // C = -2 M N + 0.5 C.
    double C[4] = {1.0, 1.0, 1.0, 1.0};
    matmul("NN", 2, 2, 3, -2.0, kM, kN, 0.5, C);
    const double expected[4] = {-9.5, -27.5, -21.5, -45.5};
    for (int i = 0; i < 4; i++)
        EXPECT_DOUBLE_EQ(C[i], expected[i]);
    // A non-square result: M^T y with y = (1, -1) is (-3, -3, -3).
    const double y[2] = {1.0, -1.0};
    double r[3];
    matmul("TN", 3, 1, 2, 1.0, kM, y, 0.0, r);
    for (double v : r)
        EXPECT_DOUBLE_EQ(v, -3.0);
}

TEST(LuDecomposition, SolvesWithRowExchangesAndRejectsSingularMatrices)
{
    // A = [0 2 1; 1 1 1; 2 1 0] needs a pivot at the first step.
    // A x = b for x = (1, -2, 3): b = (-1, 2, 0).
    double A[9] = {0.0, 1.0, 2.0, 2.0, 1.0, 1.0, 1.0, 1.0, 0.0};
    int indx[3];
    double d = 0.0;
    ASSERT_EQ(ludcmp(A, 3, indx, &d), 0);
    double b[3] = {-1.0, 2.0, 0.0};
    lubksb(A, 3, indx, b);
    EXPECT_NEAR(b[0], 1.0, 1e-14);
    EXPECT_NEAR(b[1], -2.0, 1e-14);
    EXPECT_NEAR(b[2], 3.0, 1e-14);
    // det A = 3: the parity times the diagonal of U.
    EXPECT_NEAR(d * A[0] * A[4] * A[8], 3.0, 1e-14);

    double rank1[4] = {1.0, 2.0, 2.0, 4.0};
    double zero_column[9] = {0.0, 0.0, 0.0, 1.0, 2.0, 3.0, 4.0, 5.0, 7.0};
    double nan_matrix[1] = {NAN};
    EXPECT_EQ(ludcmp(rank1, 2, indx, &d), -1);
    EXPECT_EQ(ludcmp(zero_column, 3, indx, &d), -1);
    EXPECT_EQ(ludcmp(nan_matrix, 1, indx, &d), -1);
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

TEST(LinearSolve, PlainAndTransposedSystems)
{
    // A = [2 1; 0 1]: A x = y gives x = (0.5, 1) for y = (2, 1); A^T x = y
    // gives x = (1, 0) for y = (2, 1).
    const double A[4] = {2.0, 0.0, 1.0, 1.0};
    const double Y[4] = {2.0, 1.0, 2.0, 1.0};  // two equal right-hand sides
    double X[4];
    ASSERT_EQ(solve("N", A, Y, 2, 2, X), 0);
    EXPECT_NEAR(X[0], 0.5, 1e-15);
    EXPECT_NEAR(X[1], 1.0, 1e-15);
    EXPECT_NEAR(X[2], 0.5, 1e-15);
    ASSERT_EQ(solve("T", A, Y, 2, 1, X), 0);
    EXPECT_NEAR(X[0], 1.0, 1e-15);
    EXPECT_NEAR(X[1], 0.0, 1e-15);
    const double singular[4] = {1.0, 1.0, 1.0, 1.0};
    EXPECT_EQ(solve("T", singular, Y, 2, 1, X), -1);
}

}  // namespace
