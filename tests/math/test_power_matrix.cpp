#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "math/PowerMatrix.h"

namespace {

CPowerMatrix Make(int rows, int cols, std::vector<double> values)
{
    return CPowerMatrix(values.data(), rows, cols);
}

std::vector<double> Values(const CPowerMatrix& m)
{
    std::vector<double> v(static_cast<size_t>(m.GetRowNumber()) * m.GetColumnNumber());
    m.GetData(v.data());
    return v;
}

bool IsEmpty(const CPowerMatrix& m)
{
    return m.GetRowNumber() == 0 && m.GetColumnNumber() == 0;
}

void ExpectMatrix(const CPowerMatrix& m, int rows, int cols, const std::vector<double>& values, double tol = 0.0)
{
    ASSERT_EQ(m.GetRowNumber(), rows);
    ASSERT_EQ(m.GetColumnNumber(), cols);
    const std::vector<double> got = Values(m);
    for (size_t i = 0; i < values.size(); ++i)
        EXPECT_NEAR(got[i], values[i], tol) << "element " << i;
}

}  // namespace

TEST(PowerMatrix, InverseSelectsTheFullPivot)
{
    ExpectMatrix(Make(2, 2, {0, 1, 1, 0}).GetInverseMatrix(), 2, 2, {0, 1, 1, 0});
    ExpectMatrix(Make(2, 2, {4, 7, 2, 6}).GetInverseMatrix(), 2, 2, {0.6, -0.7, -0.2, 0.4}, 1e-15);
    ExpectMatrix(Make(3, 3, {0, 0, 2, 0, 3, 0, 5, 0, 0}).GetInverseMatrix(), 3, 3,
                 {0, 0, 0.2, 0, 1.0 / 3, 0, 0.5, 0, 0}, 1e-15);
}

TEST(PowerMatrix, InverseTimesMatrixIsIdentity)
{
    std::mt19937 rng(42);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    for (int n = 1; n <= 30; ++n) {
        CPowerMatrix a;
        a.InitZeroMatrix(n, n);
        for (int i = 0; i < n; ++i)
            for (int j = 0; j < n; ++j)
                a.ChangeMember(i, j, u(rng) + (i == j ? n : 0));
        CPowerMatrix identity;
        identity.SetIdentity(n);
        ExpectMatrix(a * a.GetInverseMatrix(), n, n, Values(identity), 1e-13);
        ExpectMatrix(a % a, n, n, Values(identity), 1e-13);
    }
}

TEST(PowerMatrix, SingularAndNonSquareInversesAreEmpty)
{
    const CPowerMatrix singular = Make(2, 2, {1, 2, 2, 4});
    const CPowerMatrix a = Make(2, 2, {1, 0, 0, 1});
    CPowerMatrix inverse = a;
    EXPECT_EQ(singular.GetInverseMatrix(inverse), 0);
    EXPECT_TRUE(IsEmpty(inverse));
    EXPECT_EQ(Make(1, 2, {1, 2}).GetInverseMatrix(inverse), 0);
    EXPECT_TRUE(IsEmpty(a / singular));
    EXPECT_TRUE(IsEmpty(singular % a));
    EXPECT_EQ(CPowerMatrix::invers_matrix(Values(singular).data(), 2), 0);
}

TEST(PowerMatrix, ArithmeticAndDivision)
{
    const CPowerMatrix a = Make(2, 3, {1, 2, 3, 4, 5, 6});
    const CPowerMatrix b = Make(3, 2, {7, 8, 9, 10, 11, 12});
    ExpectMatrix(a * b, 2, 2, {58, 64, 139, 154});
    ExpectMatrix(a + a, 2, 3, {2, 4, 6, 8, 10, 12});
    ExpectMatrix(a - a * 3.0, 2, 3, {-2, -4, -6, -8, -10, -12});
    ExpectMatrix(-a, 2, 3, {-1, -2, -3, -4, -5, -6});
    EXPECT_TRUE(IsEmpty(a + b));
    EXPECT_TRUE(IsEmpty(a - b));
    // The inner dimension comes from the left operand: extra rows of b are unused.
    ExpectMatrix(Make(1, 2, {1, 1}) * b, 1, 2, {16, 18});
    EXPECT_TRUE(IsEmpty(b * Make(1, 2, {1, 1})));

    // a / b = a b^-1, b % c = b^-1 c.
    const CPowerMatrix d = Make(2, 2, {2, 0, 0, 4});
    ExpectMatrix(Make(1, 2, {1, 2}) / d, 1, 2, {0.5, 0.5});
    ExpectMatrix(d % Make(2, 1, {1, 2}), 2, 1, {0.5, 0.5});
    ExpectMatrix(d / 2.0, 2, 2, {1, 0, 0, 2});
}

TEST(PowerMatrix, AppendDeleteAndTranspose)
{
    CPowerMatrix m;
    const double row1[] = {1, 2, 5}, row2[] = {3, 4, 6};
    EXPECT_EQ(m.AppendNewLine(row1, 3), 1);
    EXPECT_EQ(m.AppendNewLine(row2, 3), 1);
    EXPECT_EQ(m.AppendNewLine(row2, 2), 0);
    ExpectMatrix(m.GetTransposedMatrix(), 3, 2, {1, 3, 2, 4, 5, 6});
    CPowerMatrix part;
    EXPECT_EQ(m.DeleteOneLine(0, part), 1);
    ExpectMatrix(part, 1, 3, {3, 4, 6});
    EXPECT_EQ(m.DeleteOneLine(2), 0);
    // Copies own their elements.
    CPowerMatrix copy(m);
    m.ChangeMember(0, 0, 9.0);
    EXPECT_EQ(Values(copy)[0], 1.0);
}

