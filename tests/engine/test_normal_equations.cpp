#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <initializer_list>
#include <memory>

#include "MatrixTestTools.h"
#include "engine/NormalEquations.h"

using mtest::Block;
using mtest::MaxAbsDiff;
using mtest::Random;
using mtest::RowOf;

namespace {

// A small PPP-like problem: m satellites, group 1 (position and a clock
// column of ones), group 2 (a mapping-function-like column), two weight rows
// and code/phase observed-minus-computed pairs.
struct Problem {
    Matrix A1, A2, P[2], L;
    int m;
};

Problem MakeProblem(int m, uint32_t seed)
{
    Random r(seed);
    Problem p;
    p.m = m;
    p.A1 = r.Fill(m, 4, -1.0, 1.0);
    p.A2 = r.Fill(m, 2, 1.0, 3.0);
    for (int i = 0; i < m; ++i)
        p.A1(i, 3) = 1.0;
    p.P[0] = r.Fill(1, m, 0.5, 2.0);
    p.P[1] = r.Fill(1, m, 1e-4, 1e-3);
    p.L = r.Fill(1, 2 * m, -5.0, 5.0);
    return p;
}

Matrix SideBySide(const Matrix& a, const Matrix& b)
{
    Matrix out(a.RowNo(), a.ColNo() + b.ColNo());
    for (unsigned i = 0; i < a.RowNo(); ++i) {
        for (unsigned j = 0; j < a.ColNo(); ++j)
            out(i, j) = a(i, j);
        for (unsigned j = 0; j < b.ColNo(); ++j)
            out(i, a.ColNo() + j) = b(i, j);
    }
    return out;
}

// The observation equations written out: per satellite a code row [a_i, 0]
// and a phase row [a_i, -1 in ambiguity column i], their weights and values.
struct Stacked {
    Matrix A, W, l;
};

Stacked Stack(const Matrix& common, const Problem& p)
{
    const int m = p.m, n = static_cast<int>(common.ColNo());
    Stacked s{Matrix(2 * m, n + m), Matrix(2 * m, 2 * m), Matrix(2 * m, 1)};
    for (int i = 0; i < m; ++i) {
        for (int j = 0; j < n; ++j)
            s.A(2 * i, j) = s.A(2 * i + 1, j) = common(i, j);
        s.A(2 * i + 1, n + i) = -1.0;
        s.W(2 * i, 2 * i) = p.P[1](0, i);
        s.W(2 * i + 1, 2 * i + 1) = p.P[0](0, i);
        s.l(2 * i, 0) = p.L(0, 2 * i);
        s.l(2 * i + 1, 0) = p.L(0, 2 * i + 1);
    }
    return s;
}

TEST(NormalEquationBuilders, BlocksAreCutsOfTheStackedCodeAndPhaseSystem)
{
    for (uint32_t seed : {1u, 2u, 11u}) {
        SCOPED_TRACE(seed);
        const Problem p = MakeProblem(8, seed);
        const Stacked s = Stack(SideBySide(p.A1, p.A2), p);
        const Matrix N = ~s.A * s.W * s.A, U = ~s.A * s.W * s.l;
        Matrix single[2], blocks[5];
        ASSERT_EQ(GetXTPY(single[0], single[1], SideBySide(p.A1, p.A2), -1, p.P, p.L), 1);
        EXPECT_LT(MaxAbsDiff(single[0], N), 1e-12);
        EXPECT_LT(MaxAbsDiff(single[1], U), 1e-12);

        ASSERT_EQ(GetXTPY(blocks[0], blocks[1], blocks[2], blocks[3], blocks[4], p.A1, p.A2, -1, p.P, p.L), 1);
        const unsigned nA = 4, rest = 2 + 8;
        EXPECT_LT(MaxAbsDiff(blocks[0], Block(N, 0, nA, 0, nA)), 1e-12);
        EXPECT_LT(MaxAbsDiff(blocks[1], Block(N, nA, rest, nA, rest)), 1e-12);
        EXPECT_LT(MaxAbsDiff(blocks[2], Block(N, 0, nA, nA, rest)), 1e-12);
        EXPECT_LT(MaxAbsDiff(blocks[3], Block(U, 0, nA, 0, 1)), 1e-12);
        EXPECT_LT(MaxAbsDiff(blocks[4], Block(U, nA, rest, 0, 1)), 1e-12);

        // The blocked variant splits N11 into its code and phase parts.
        Matrix blocked[7];
        ASSERT_EQ(GetXTPY_Blocked(blocked[0], blocked[1], blocked[2], blocked[3], blocked[4], blocked[5], blocked[6],
                                  p.A1, p.A2, -1, p.P, p.L),
                  1);
        for (int k = 0; k < 5; ++k)
            EXPECT_LT(MaxAbsDiff(blocked[k], blocks[k]), 1e-12) << "output " << k;
        EXPECT_LT(MaxAbsDiff(blocked[5] + blocked[6], blocks[0]), 1e-12);
    }
}

TEST(NormalEquationBuilders, EliminatingGroupOneKeepsTheSolutionOfTheRest)
{
    // The reduced system N22 - N12' N11^-1 N12 is the Schur complement of the
    // full system: it yields the same group-2 and ambiguity estimates.
    const Problem p = MakeProblem(9, 5);
    Matrix N, U;
    ASSERT_EQ(GetXTPY(N, U, SideBySide(p.A1, p.A2), -1, p.P, p.L), 1);
    const Matrix full = !N * U;

    Matrix N11, N22, N12, U1, U2;
    ASSERT_EQ(GetXTPY(N11, N22, N12, U1, U2, p.A1, p.A2, -1, p.P, p.L), 1);
    const Matrix Q11 = !N11;
    const Matrix reduced = !(N22 - ~N12 * Q11 * N12) * (U2 - ~N12 * Q11 * U1);
    EXPECT_LT(MaxAbsDiff(reduced, Block(full, 4, 11, 0, 1)), 1e-8);
    // Back-substitution of the eliminated group, as the epoch solution does it.
    const Matrix dX = Q11 * (U1 - N12 * reduced);
    EXPECT_LT(MaxAbsDiff(dX, Block(full, 0, 4, 0, 1)), 1e-8);
}

TEST(NormalEquationBuilders, SingleWeightRowGivesCodeOneTenThousandthOfPhase)
{
    Problem p = MakeProblem(6, 21);
    Matrix a[5], b[5];
    ASSERT_EQ(GetXTPY_SingleWeight(a[0], a[1], a[2], a[3], a[4], p.A1, p.A2, -1, p.P[0], p.L), 1);
    for (int i = 0; i < p.m; ++i)
        p.P[1](0, i) = p.P[0](0, i) / 10000.0;
    ASSERT_EQ(GetXTPY(b[0], b[1], b[2], b[3], b[4], p.A1, p.A2, -1, p.P, p.L), 1);
    for (int k = 0; k < 5; ++k)
        EXPECT_LT(MaxAbsDiff(a[k], b[k]), 1e-12) << "output " << k;

    // The plain weighted product A' P A.
    Matrix W(6, 6), NA;
    for (int i = 0; i < 6; ++i)
        W(i, i) = p.P[0](0, i);
    ASSERT_EQ(GetATPA(NA, p.A1, p.P[0]), 1);
    EXPECT_LT(MaxAbsDiff(NA, ~p.A1 * W * p.A1), 1e-12);
}

// ------------------------------------------------------------ satellite lists

// One-row matrices stacked into one.
Matrix Rows(std::initializer_list<Matrix> rows)
{
    Matrix m(static_cast<unsigned>(rows.size()), rows.begin()->ColNo());
    const Matrix* row = rows.begin();
    for (unsigned i = 0; i < m.RowNo(); ++i, ++row)
        for (unsigned j = 0; j < m.ColNo(); ++j)
            m(i, j) = (*row)(0, j);
    return m;
}

TEST(SatelliteLists, ExchangeSortIsDescendingAndKeepsEqualElevationsInOrder)
{
    int prn[6] = {1, 2, 3, 4, 5, 6};
    double elev[6] = {0.3, 0.5, 0.3, 0.9, 0.5, 0.3};
    double other[6] = {10, 20, 30, 40, 50, 60};
    ASSERT_EQ(SortSatsByElev(prn, elev, other, 6), 1);
    const int prnWant[6] = {4, 2, 5, 1, 3, 6};
    const double elevWant[6] = {0.9, 0.5, 0.5, 0.3, 0.3, 0.3};
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(prn[i], prnWant[i]) << i;
        EXPECT_EQ(elev[i], elevWant[i]) << i;
        EXPECT_EQ(other[i], prnWant[i] * 10.0) << i;
    }
    EXPECT_EQ(SortSatsByElev(nullptr, elev, other, 6), 0);
    EXPECT_EQ(SortSatsByElev(prn, nullptr, 6), 0);
}

TEST(SatelliteLists, MatrixSortsRoundTheIndexesAndCarryTheValueRow)
{
    Matrix list = Rows({RowOf({5.0000001, 7.0, 9.4}), RowOf({0.2, 0.8, 0.5}), RowOf({1.0, 2.0, 3.0})});
    ASSERT_EQ(SortMatrixByElev(list), 1);
    EXPECT_EQ(MaxAbsDiff(list, Rows({RowOf({7, 9, 5}), RowOf({0.8, 0.5, 0.2}), RowOf({2, 3, 1})})), 0.0);

    Matrix two = Rows({RowOf({7, 9, 5}), RowOf({0.1, 0.5, 0.2})});
    ASSERT_EQ(SortMatrixByElev2(two), 1);
    EXPECT_EQ(MaxAbsDiff(two, Rows({RowOf({9, 5, 7}), RowOf({0.5, 0.2, 0.1})})), 0.0);
    Matrix one = RowOf({3.0, 4.0});
    EXPECT_EQ(SortMatrixByElev2(one), 0);

    // By the elevations of the epoch, which must hold every satellite of the list.
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    const int iprn[3] = {3, 40, 70};
    const double elev[3] = {0.2, 0.9, 0.5};
    for (int i = 0; i < 3; ++i) {
        epo->sat[i].iprn = iprn[i];
        epo->sat[i].dElev = elev[i];
    }
    epo->nSatNum = 3;
    Matrix byEpoch = RowOf({3, 70, 40});
    ASSERT_EQ(SortMatrixByElev(byEpoch, epo.get()), 1);
    EXPECT_EQ(MaxAbsDiff(byEpoch, RowOf({40, 70, 3})), 0.0);
    Matrix missing = RowOf({3, 12});
    EXPECT_EQ(SortMatrixByElev(missing, epo.get()), 0);
}

TEST(SatelliteLists, LookupsAndCommonSatellites)
{
    const Matrix list = RowOf({4, 7.0000001, 9, 7});
    EXPECT_EQ(GetIndexInMatrixCol(list, 7.0), 3);   // exact equality
    EXPECT_EQ(GetIndexInMatrixC(7, list), 1);       // rounded
    EXPECT_EQ(GetIndexInMatrixCol(list, 5.0), -1);
    EXPECT_EQ(GetIndexInMatrixC(5, list), -1);
    EXPECT_EQ(GetIndexInMatrix(~list, 9.0), 2);
    EXPECT_EQ(GetIndexInMatrix(~list, 1.0), -1);
    EXPECT_EQ(GetIndexInMatrixCol(Matrix(), 4.0), -1);
    EXPECT_EQ(GetIndexInMatrixC(4, Matrix()), -1);
    EXPECT_EQ(GetIndexInMatrix(Matrix(), 4.0), -1);
    EXPECT_EQ(GetIndexInMatrixCol(Matrix(1, 0), 4.0), -1);

    // Common satellites follow the second list and carry the value row of the first.
    const Matrix listA = Rows({RowOf({5, 8, 12}), RowOf({0.5, 0.8, 0.12})}), listB = RowOf({12, 6, 5});
    Matrix out;
    ASSERT_EQ(GenMatrixSatsCmn(out, listA, listB), 1);
    EXPECT_EQ(MaxAbsDiff(out, Rows({RowOf({12, 5}), RowOf({0.12, 0.5}), RowOf({0, 0})})), 0.0);
    ASSERT_EQ(GenMatrixSatsCmn(out, Block(listA, 0, 1, 0, 3), listB), 1);
    EXPECT_EQ(MaxAbsDiff(out, RowOf({12, 5})), 0.0);
    EXPECT_EQ(GenMatrixSatsCmn(out, Matrix(3, 3), listB), 0);

    Matrix index;
    ASSERT_EQ(GenMatrixIndexC(index, listB, listA), 1);
    EXPECT_EQ(MaxAbsDiff(index, RowOf({2, -1, 0})), 0.0);
}

// An epoch of satellites with packed indexes, in-use flags and arc states.
std::unique_ptr<tagGPSOBSONEEPO> EpochOf(std::initializer_list<std::array<int, 3>> sats)
{
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    std::memset(epo.get(), 0, sizeof(tagGPSOBSONEEPO));
    for (const auto& s : sats) {
        tagOBSONESAT& e = epo->sat[epo->nSatNum++];
        e.iprn = s[0];
        e.bUsed = static_cast<uint8_t>(s[1]);
        e.nSmoothState = s[2];
        e.cSys = 'G';
        e.prn = s[0];
    }
    return epo;
}

TEST(ParameterList, CarriedArcsKeepTheirIdentifiersOthersGetNewOnes)
{
    // Old list: troposphere 0, ambiguities of satellites 3, 5, 8 with identifiers 11, 12, 13.
    const Matrix oldList = RowOf({0, 11, 12, 13});
    const Matrix ambList = RowOf({3, 5, 8});
    // Satellite 5 continues, 3 restarted its arc, 7 is new, 8 is not in use.
    const auto epo = EpochOf({{3, 1, 2}, {5, 1, 3}, {7, 1, 3}, {8, 0, 3}});
    Matrix newList(1, 4);
    newList(0, 0) = 0;
    int nextId = 20;
    ASSERT_EQ(GenMatrix_Para(newList, oldList, nextId, ambList, epo.get(), 1), 1);
    EXPECT_EQ(newList(0, 1), 20.0);
    EXPECT_EQ(newList(0, 2), 12.0);
    EXPECT_EQ(newList(0, 3), 21.0);
    EXPECT_EQ(nextId, 22);
}

TEST(ParameterList, TwoEpochFormNeedsTheArcInBothEpochs)
{
    const Matrix oldList = RowOf({0, 11, 12});
    const Matrix ambList = RowOf({3, 5});
    const auto prev = EpochOf({{3, 1, 3}, {5, 1, 1}});
    const auto cur = EpochOf({{3, 1, 3}, {5, 1, 3}});
    const tagGPSOBSONEEPO* epochs[2] = {prev.get(), cur.get()};
    // Column 0 of the satellite list is not a satellite.
    const Matrix sats = RowOf({-1, 3, 5});
    Matrix newList(1, 3);
    int nextId = 30;
    ASSERT_EQ(GenMatrix_Para(newList, oldList, nextId, ambList, sats, epochs), 1);
    EXPECT_EQ(newList(0, 1), 11.0);
    EXPECT_EQ(newList(0, 2), 30.0);   // satellite 5 only continues in the current epoch
    EXPECT_EQ(nextId, 31);

    const Matrix absent = RowOf({-1, 3, 9});
    EXPECT_EQ(GenMatrix_Para(newList, oldList, nextId, ambList, absent, epochs), 0);
}

}  // namespace
