#include <gtest/gtest.h>

#include "support/EngineFixtures.h"
#include "MatrixTestTools.h"
#include "engine/NormalEquations.h"

using mtest::Block;
using mtest::MaxAbsDiff;
using mtest::Random;
using mtest::RowOf;

namespace {

Matrix Zeros(unsigned rows, unsigned cols)
{
    return Matrix(rows, cols);
}

// Copies a normal system over the identifiers `from` into one over `to`
// (every identifier of `from` must be in `to`).
void Embed(Matrix& N, Matrix& U, const Matrix& n, const Matrix& u, const Matrix& from, const Matrix& to)
{
    for (unsigned a = 0; a < from.ColNo(); ++a) {
        const int i = GetIndexInMatrixCol(to, from(0, a));
        U(i, 0) += u(a, 0);
        for (unsigned b = 0; b < from.ColNo(); ++b)
            N(i, GetIndexInMatrixCol(to, from(0, b))) += n(a, b);
    }
}

struct FilterUpdate : ::testing::Test {
    enginetest::Engine engine{{'G'}};
    CGNSSSPP& spp = *engine.spp;
    Matrix spare;
};

TEST_F(FilterUpdate, ParameterMissingFromTheTargetIsEliminatedNotDropped)
{
    Random r(3);
    // Identifier 13 is not carried on; 14 is new in the target and gets nothing.
    const Matrix target = RowOf({10, 12, 14}), current = RowOf({12, 13, 10});
    const Matrix N = r.SymmetricPositive(3), U = r.Fill(3, 1, -1, 1);
    const Matrix full = !N * U;   // estimates of 12, 13, 10

    Matrix NY = Zeros(3, 3), UY = Zeros(3, 1);
    ASSERT_EQ(spp.UpdateMatrix_NY_UY(NY, UY, N, U, target, current, spare), 1);
    EXPECT_EQ(NY(2, 2), 0.0);
    EXPECT_EQ(UY(2, 0), 0.0);
    const Matrix kept = !Block(NY, 0, 2, 0, 2) * Block(UY, 0, 2, 0, 1);
    EXPECT_NEAR(kept(0, 0), full(2, 0), 1e-12);   // identifier 10
    EXPECT_NEAR(kept(1, 0), full(0, 0), 1e-12);   // identifier 12

    // No identifier of the target present: the accumulators stay as they were.
    const Matrix NY0 = NY, UY0 = UY;
    ASSERT_EQ(spp.UpdateMatrix_NY_UY(NY, UY, N, U, target, RowOf({7, 8, 9}), spare), 1);
    EXPECT_EQ(MaxAbsDiff(NY, NY0), 0.0);
    EXPECT_EQ(MaxAbsDiff(UY, UY0), 0.0);
}

TEST_F(FilterUpdate, ReindexingThenAddingEqualsTheCombinedSystem)
{
    // The epoch update: the carried equations are first re-indexed to the new
    // parameter list (dropping identifier 5), then the epoch's equations are
    // added over the new list. The result must solve like the combined system
    // over the union of identifiers.
    Random r(4);
    const Matrix oldList = RowOf({0, 5, 7}), newList = RowOf({0, 7, 9});
    const Matrix NYold = r.SymmetricPositive(3), UYold = r.Fill(3, 1, -1, 1);
    const Matrix N = r.SymmetricPositive(3), U = r.Fill(3, 1, -1, 1);

    Matrix NY = Zeros(3, 3), UY = Zeros(3, 1);
    ASSERT_EQ(spp.UpdateMatrix_NY_UY(NY, UY, NYold, UYold, newList, oldList, spare), 1);
    ASSERT_EQ(spp.UpdateMatrix_NY_UY(NY, UY, N, U, newList, newList, spare), 1);
    const Matrix X = !NY * UY;

    const Matrix all = RowOf({0, 5, 7, 9});
    Matrix Nall = Zeros(4, 4), Uall = Zeros(4, 1);
    Embed(Nall, Uall, NYold, UYold, oldList, all);
    Embed(Nall, Uall, N, U, newList, all);
    const Matrix Xall = !Nall * Uall;
    EXPECT_NEAR(X(0, 0), Xall(0, 0), 1e-12);
    EXPECT_NEAR(X(1, 0), Xall(2, 0), 1e-12);
    EXPECT_NEAR(X(2, 0), Xall(3, 0), 1e-12);
}

// ------------------------------------------------- troposphere prediction

struct Prediction : FilterUpdate {
    // Weight of the random walk over one 30 s step.
    double Weight(double q) const { return (1.296e7 / q) / (30.0 * 30.0); }
    // Predicts NY, UY of `n` parameters whose last `m` are ambiguities.
    void Predict(double q, unsigned n, unsigned m, uint32_t seed)
    {
        Random r(seed);
        NY = r.SymmetricPositive(n);
        UY = r.Fill(n, 1, -1, 1);
        Qbefore = !NY;
        Xbefore = Qbefore * UY;
        engine.conf.pppos_value = q;
        ASSERT_EQ(spp.UpdateNY_UY_Pre_Tro(NY, UY, Matrix(2, m), 30.0), 1);
        Qafter = !NY;
        Xafter = Qafter * UY;
    }
    Matrix NY, UY, Qbefore, Qafter, Xbefore, Xafter;
};

TEST_F(Prediction, NothingToDoWithoutEquationsOrAmbiguities)
{
    engine.conf.pppos_value = 1.0;
    Random r(5);
    NY = r.SymmetricPositive(4);
    UY = r.Fill(4, 1, -1, 1);
    const Matrix NY0 = NY, UY0 = UY;
    EXPECT_EQ(spp.UpdateNY_UY_Pre_Tro(NY, UY, Matrix(1, 0), 30.0), 1);
    EXPECT_EQ(MaxAbsDiff(NY, NY0), 0.0);
    EXPECT_EQ(MaxAbsDiff(UY, UY0), 0.0);
}

TEST_F(Prediction, OnlyTheTroposphereGetsTheRandomWalkOthersAreLinkedWithWeightOne)
{
    // A random walk: the troposphere variance grows by 1/W and its estimate
    // does not move. Leading parameters after the first (kinematic
    // coordinates) are linked to their old values with weight 1, static
    // coordinates are carried with the ambiguities.
    const struct {
        int posMode;
        unsigned n, m, linked;
    } cases[] = {{0, 5, 4, 0}, {0, 7, 4, 2}, {2, 8, 4, 0}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.n);
        engine.conf.pos_mode = c.posMode;
        const double q = 1e3;
        Predict(q, c.n, c.m, c.n);
        Matrix want = Qbefore;
        want(0, 0) += 1.0 / Weight(q);
        for (unsigned k = 1; k <= c.linked; ++k)
            want(k, k) += 1.0;
        EXPECT_LT(MaxAbsDiff(Qafter, want), 1e-12);
        if (c.linked == 0) {
            EXPECT_LT(MaxAbsDiff(Xafter, Xbefore), 1e-12);
        }
    }
}

}  // namespace
