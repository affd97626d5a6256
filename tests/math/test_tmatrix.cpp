#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <string>
#include <utility>

#include "math/TMatrix.h"

using Matrix = math::matrix<double>;

namespace {

Matrix FromRows(std::initializer_list<std::initializer_list<double>> rows)
{
    Matrix m(static_cast<unsigned>(rows.size()), static_cast<unsigned>(rows.begin()->size()));
    unsigned i = 0;
    for (const auto& row : rows) {
        unsigned j = 0;
        for (double v : row)
            m(i, j++) = v;
        ++i;
    }
    return m;
}

// Diagonally dominant, hence well conditioned.
Matrix RandomWellConditioned(unsigned n, std::mt19937& rng)
{
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Matrix m(n, n);
    for (unsigned i = 0; i < n; ++i) {
        for (unsigned j = 0; j < n; ++j)
            m(i, j) = u(rng);
        m(i, i) += (u(rng) < 0 ? -1.0 : 1.0) * (n + 1.0);
    }
    return m;
}

// Message of the matrix_error thrown by f, or "" when nothing is thrown.
template <typename F>
std::string ErrorOf(F f)
{
    try {
        f();
    } catch (const math::matrix_error& e) {
        return e.what();
    }
    return "";
}

bool SharesStorage(const Matrix& a, const Matrix& b)
{
    return a.RowData(0) == b.RowData(0);
}

void ExpectEqual(const Matrix& a, const Matrix& b, double tol = 0.0)
{
    ASSERT_EQ(a.RowNo(), b.RowNo());
    ASSERT_EQ(a.ColNo(), b.ColNo());
    for (unsigned i = 0; i < a.RowNo(); ++i)
        for (unsigned j = 0; j < a.ColNo(); ++j)
            EXPECT_NEAR(a(i, j), b(i, j), tol) << "at (" << i << ", " << j << ")";
}

const char* const kIndexError = "matrixT::operator(): Index out of range!";
const char* const kSingular = "matrixT::operator!: Inversion of a singular matrix";

}  // namespace

TEST(Matrix, CopiesShareStorageUntilWritten)
{
    Matrix a = FromRows({{1, 2}, {3, 4}});
    Matrix b = a;
    EXPECT_TRUE(SharesStorage(a, b));

    // Reading never separates, whether through const or through at().
    EXPECT_EQ(std::as_const(b)(1, 1), 4.0);
    EXPECT_EQ(b.at(0, 1), 2.0);
    EXPECT_TRUE(SharesStorage(a, b));

    b(0, 0) = 9.0;
    EXPECT_FALSE(SharesStorage(a, b));
    EXPECT_EQ(a.at(0, 0), 1.0);
    EXPECT_EQ(b.at(0, 0), 9.0);

    Matrix c;
    c = a;
    c = c;  // self-assignment keeps the storage alive
    EXPECT_TRUE(SharesStorage(a, c));
    c.Null();
    ExpectEqual(a, FromRows({{1, 2}, {3, 4}}));
    ExpectEqual(c, Matrix(2, 2));
}

TEST(Matrix, OperationsOnACopyLeaveTheOriginal)
{
    const Matrix a = FromRows({{0, 2}, {3, 0}});
    const struct {
        const char* what;
        std::function<void(Matrix&)> change;
        Matrix expected;
    } cases[] = {
        {"+=", [&](Matrix& m) { m += a; }, FromRows({{0, 4}, {6, 0}})},
        {"Unit", [](Matrix& m) { m.Unit(2); }, FromRows({{1, 0}, {0, 1}})},
        {"pivot", [](Matrix& m) { m.pivot(0); }, FromRows({{3, 0}, {0, 2}})},
        {"SetSize", [](Matrix& m) { m.SetSize(3, 1); }, FromRows({{0}, {3}, {0}})},   // keeps old, zeroes new
        {"SetSize", [](Matrix& m) { m.SetSize(3, 3); }, FromRows({{0, 2, 0}, {3, 0, 0}, {0, 0, 0}})},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Matrix copy = a;
        c.change(copy);
        ExpectEqual(copy, c.expected);
        ExpectEqual(a, FromRows({{0, 2}, {3, 0}}));
    }
}

TEST(Matrix, InverseByHandAndInvReducesTheWorkingMatrix)
{
    ExpectEqual(!FromRows({{4, 7}, {2, 6}}), FromRows({{0.6, -0.7}, {-0.2, 0.4}}), 1e-15);
    // Needs a row exchange and gives back the same matrix.
    ExpectEqual(!FromRows({{0, 1}, {1, 0}}), FromRows({{0, 1}, {1, 0}}));

    // Inv() leaves the identity in the working matrix, operator! keeps it.
    const Matrix original = FromRows({{2, 1}, {1, 3}});
    Matrix work = original;
    const Matrix inverse = work.Inv();
    ExpectEqual(work, FromRows({{1, 0}, {0, 1}}));
    ExpectEqual(original, FromRows({{2, 1}, {1, 3}}));

    Matrix kept = original;
    ExpectEqual(!kept, inverse);
    ExpectEqual(kept, original);
}

TEST(Matrix, InverseTimesMatrixIsIdentity)
{
    std::mt19937 rng(20200625);
    for (unsigned n = 1; n <= 60; ++n) {
        const Matrix a = RandomWellConditioned(n, rng);
        const Matrix product = a * !a;
        Matrix identity;
        identity.Unit(n);
        ExpectEqual(product, identity, 1e-13);
        if (HasFailure())
            FAIL() << "size " << n;
    }
}

TEST(Matrix, Arithmetic)
{
    const Matrix a = FromRows({{1, 2, 3}, {4, 5, 6}});
    const Matrix b = FromRows({{7, 8}, {9, 10}, {11, 12}});
    ExpectEqual(a * b, FromRows({{58, 64}, {139, 154}}));
    ExpectEqual(~a, FromRows({{1, 4}, {2, 5}, {3, 6}}));
    ExpectEqual(a + a, 2.0 * a);
    ExpectEqual(a - 3.0 * a, -a * 2.0);
    ExpectEqual(-a, FromRows({{-1, -2, -3}, {-4, -5, -6}}));

    Matrix c = a;
    c *= b;
    ExpectEqual(c, a * b);
    c -= FromRows({{58, 64}, {139, 150}});
    ExpectEqual(c, FromRows({{0, 0}, {0, 4}}));
}

TEST(Matrix, ErrorMessages)
{
    Matrix m(3, 3);
    const Matrix& c = m;
    const Matrix a(2, 3), b(3, 2);
    const struct {
        std::function<void()> f;
        const char* message;
    } cases[] = {
        {[&] { m(3, 0) = 1.0; }, kIndexError},
        {[&] { m(0, 3) = 1.0; }, kIndexError},
        {[&] { (void)c(3, 3); }, kIndexError},
        {[&] { (void)m.at(0, -1); }, kIndexError},
        {[&] { m.RowData(3); }, kIndexError},
        {[] { Matrix e; e(0, 0) = 1.0; }, kIndexError},
        {[] { (void)!Matrix(2, 3); }, "matrixT::operator!: Inversion of a non-square matrix"},
        {[] { (void)!FromRows({{1, 2}, {2, 4}}); }, kSingular},
        {[] { (void)!FromRows({{1, 2, 3}, {0, 0, 4}, {0, 0, 5}}); }, kSingular},
        {[] { (void)!Matrix(3, 3); }, kSingular},
        {[&] { (void)(a * a); }, "matrixT::operator*= : Inconsistent matrix sizes in multiplication!"},
        {[&] { (void)(a - b); }, "matrixT::operator-= : Inconsistent matrix sizes in subtraction!"},
        {[&] { (void)(a + b); }, "matrixT::operator+= : Inconsistent matrix sizes in addition!"},
    };
    for (size_t i = 0; i < sizeof(cases) / sizeof(cases[0]); ++i)
        EXPECT_EQ(ErrorOf(cases[i].f), cases[i].message) << "case " << i;
}
