// UPD and augmentation intake: the age and value checks of the per-satellite
// tables, the correction of raw observations for PPP-RTK, and the Gaussian
// noise generator.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <limits>

#include "LibFixtures.h"
#include "common/GNSSConst.h"

using namespace libtest;

namespace {

const tagGPSTIME2 kNow{2111, 346500.0};

t_upd Upd(int week, double sow, double wl, double nl)
{
    t_upd e{};
    e.valid = 1;
    e.week = week;
    e.sow = sow;
    e.wl = wl;
    e.wl_num = 11;
    e.nl = nl;
    e.nl_num = 7;
    return e;
}

t_aug Aug(int week, double sow)
{
    t_aug e;
    e.valid = 1;
    e.week = week;
    e.sow = sow;
    e.corr_l1 = 0.11;
    e.corr_l2 = 0.22;
    e.corr_p1 = 0.33;
    e.corr_p2 = 0.44;
    return e;
}

// The UPD tables' column of a satellite: the values and counts, or the
// markers of an unusable entry.
void ExpectUpdColumn(t_Process& p, int column, bool usable, double wl, double nl)
{
    SCOPED_TRACE("column " + std::to_string(column));
    EXPECT_EQ(p.upd_wl(0, column), usable ? wl : 999.999);
    EXPECT_EQ(p.upd_wl(1, column), usable ? 11.0 : 0.0);
    EXPECT_EQ(p.upd_nl(0, column), usable ? nl : 999.999);
    EXPECT_EQ(p.upd_nl(1, column), usable ? 7.0 : 0.0);
}

TEST(UpdIntake, AgeAndValueChecks)
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    const int32_t oldest = std::numeric_limits<int32_t>::min(), latest = std::numeric_limits<int32_t>::max();
    const struct {
        int32_t week;
        double sow, wl, nl;
        bool usable;
    } cases[] = {
        {2111, kNow.sow - 899.9, 0.25, -0.125, true},   {2111, kNow.sow - 900.0, 0.25, -0.125, false},
        {2111, kNow.sow, 999.0, -0.125, false},         {2111, kNow.sow, 0.25, 999.0, false},
        {2111, kNow.sow, nan, -0.125, false},           {2111, kNow.sow, 0.25, nan, false},
        {2111, kNow.sow, -inf, -0.125, false},          {2111, kNow.sow, 0.25, -inf, false},
        {2111, kNow.sow + 3600.0, 0.25, -0.125, true},  // from the future
        {2110, kNow.sow + 604800.0 - 899.9, 0.25, -0.125, true},   // across the week change
        {2110, kNow.sow + 604800.0 - 900.0, 0.25, -0.125, false},
        {2111, kNow.sow, 998.99, -998.5, true},
        {oldest, kNow.sow, 0.25, -0.125, false},          // millions of weeks old
        {latest, kNow.sow, 0.25, -0.125, true},           // from the far future
    };
    const int n = sizeof(cases) / sizeof(cases[0]);
    auto upd = std::make_unique<t_upd[]>(MAXSATNUM);
    for (int i = 0; i < n; ++i)
        upd[i] = Upd(cases[i].week, cases[i].sow, cases[i].wl, cases[i].nl);
    upd[n] = Upd(2111, kNow.sow, 0.25, -0.125);
    upd[n].valid = 2;   // only 1 marks a valid entry
    upd[123] = Upd(2111, kNow.sow - 1.0, 0.5, 0.75);

    Host host;
    host.Start();
    tagGPSTIME2 now = kNow;
    t_Process& p = host.process();
    EXPECT_TRUE(p.ConvetUPD2Matrix(upd.get(), &now));
    for (int i = 0; i < n; ++i)
        ExpectUpdColumn(p, i, cases[i].usable, cases[i].wl, cases[i].nl);
    ExpectUpdColumn(p, n, false, 0, 0);
    ExpectUpdColumn(p, n + 1, false, 0, 0);
    ExpectUpdColumn(p, 123, true, 0.5, 0.75);

    // The tables are rebuilt completely: nothing of the previous record survives.
    const auto empty = std::make_unique<t_upd[]>(MAXSATNUM);
    EXPECT_TRUE(p.ConvetUPD2Matrix(empty.get(), &now));
    ExpectUpdColumn(p, 0, false, 0, 0);
    ExpectUpdColumn(p, 123, false, 0, 0);
}

TEST(AugIntake, AgeChecksAndRowOrder)
{
    Host host;
    host.Start();
    auto aug = std::make_unique<t_aug[]>(MAXSATNUM);
    aug[0] = Aug(2111, kNow.sow - 9.99);
    aug[1] = Aug(2111, kNow.sow - 10.0);
    aug[2] = Aug(2111, kNow.sow + 30.0);
    aug[3] = Aug(2111, kNow.sow);
    aug[3].valid = 2;
    aug[4] = Aug(2110, kNow.sow + 604800.0 - 5.0);
    aug[5] = Aug(2111, kNow.sow);
    aug[5].corr_p2 = std::numeric_limits<double>::quiet_NaN();
    aug[6] = Aug(2111, kNow.sow);
    aug[6].corr_l1 = -std::numeric_limits<double>::infinity();

    tagGPSTIME2 now = kNow;
    t_Process& p = host.process();
    EXPECT_TRUE(p.ConvetAUG2Matrix(aug.get(), &now));
    for (int column : {0, 2, 4}) {
        SCOPED_TRACE(column);
        EXPECT_EQ(p.aug_mat(0, column), 1.0);
        EXPECT_EQ(p.aug_mat(1, column), 0.11);   // L1
        EXPECT_EQ(p.aug_mat(2, column), 0.33);   // P1
        EXPECT_EQ(p.aug_mat(3, column), 0.22);   // L2
        EXPECT_EQ(p.aug_mat(4, column), 0.44);   // P2
    }
    for (int column : {1, 3, 5, 6, 123})   // 5, 6: a correction that is not a finite number
        for (int row = 0; row < 5; ++row)
            EXPECT_EQ(p.aug_mat(row, column), 0.0) << row << ", " << column;

    aug[0].valid = 0;
    EXPECT_TRUE(p.ConvetAUG2Matrix(aug.get(), &now));
    for (int row = 0; row < 5; ++row)
        EXPECT_EQ(p.aug_mat(row, 0), 0.0);
}

// --- the polar method of Marsaglia on rand(), written out independently

struct GaussPair {
    double first, second;
};

GaussPair PolarPair()
{
    double v1, v2, s;
    do {
        v1 = 2.0 * (std::rand() / 2147483647.0) - 1.0;
        v2 = 2.0 * (std::rand() / 2147483647.0) - 1.0;
        s = v1 * v1 + v2 * v2;
    } while (s >= 1.0 || s == 0.0);
    const double scale = std::sqrt(-2.0 * std::log(s) / s);
    return {v1 * scale, v2 * scale};
}

std::vector<GaussPair> PairsAfterSeed(unsigned seed, int count)
{
    std::srand(seed);
    std::vector<GaussPair> pairs;
    for (int i = 0; i < count; ++i)
        pairs.push_back(PolarPair());
    return pairs;
}

// gaussrand keeps its phase for the whole process: bring it to the start of
// a pair, whatever earlier tests drew.
void StartNewGaussPair()
{
    const GaussPair p = PairsAfterSeed(1, 1)[0];
    std::srand(1);
    if (gaussrand() == p.first)
        gaussrand();
}

TEST(GaussianNoise, SuccessiveCallsReturnTheTwoValuesOfOneAcceptedPair)
{
    const std::vector<GaussPair> expected = PairsAfterSeed(20200625, 3);
    StartNewGaussPair();
    std::srand(20200625);
    for (const GaussPair& pair : expected) {
        EXPECT_DOUBLE_EQ(gaussrand(), pair.first);
        EXPECT_DOUBLE_EQ(gaussrand(), pair.second);
    }
}

// --- AugmentCorrect

struct RtkEpoch {
    // Five GPS and three Galileo satellites, all in use; the driver sees G and E.
    RtkEpoch() : host({'G', 'E'})
    {
        host.Start({'G', 'E'});
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        tagGPSOBSONEEPO& e = *host.epoch;
        const int g = e.epoHead.nSysSat[0];
        for (int i = 0; i < 3; ++i)
            e.sat[5 + i] = e.sat[g + i];
        e.nSatNum = 8;
        e.epoHead.nUsedSat = 8;
        const int used[4] = {5, 0, 3, 0};
        for (int s = 0; s < 4; ++s)
            e.epoHead.nUsedSys[s] = e.epoHead.nSysSat[s] = used[s];
        host.process().systems = {'G', 'E'};
        original = e;
    }
    void Correct(int index)
    {
        const tagOBSONESAT& s = host.epoch->sat[index];
        aug[s.iprn - 1] = Aug(kNow.week, kNow.sow);
    }
    Host host;
    tagGPSOBSONEEPO original;
    std::unique_ptr<t_aug[]> aug = std::make_unique<t_aug[]>(MAXSATNUM);
};

TEST(AugmentCorrect, LosesUncorrectedSatellitesAndFailsAtFive)
{
    RtkEpoch rtk;
    for (int i : {0, 2, 5})
        rtk.Correct(i);
    tagGPSOBSONEEPO& e = *rtk.host.epoch;
    EXPECT_FALSE(rtk.host.process().AugmentCorrect(&e, rtk.aug.get()));
    const uint8_t used[8] = {1, 0, 1, 0, 0, 1, 1, 1};
    for (int i = 0; i < 8; ++i)
        EXPECT_EQ(e.sat[i].bUsed, used[i]) << i;
    EXPECT_EQ(e.epoHead.nUsedSat, 5);
    EXPECT_EQ(e.epoHead.nUsedSys[0], 2);
    EXPECT_EQ(e.epoHead.nUsedSys[2], 3);
    // The loss of the third satellite ends the pass: the sixth is never corrected.
    EXPECT_EQ(e.sat[5].dL1, rtk.original.sat[5].dL1);
    EXPECT_EQ(e.sat[5].dP1, rtk.original.sat[5].dP1);

    // Satellites already out of use are not counted as lost.
    RtkEpoch out;
    for (int i : {0, 2, 4, 5, 6, 7})
        out.Correct(i);
    tagGPSOBSONEEPO& o = *out.host.epoch;
    o.sat[3].bUsed = 0;
    o.epoHead.nUsedSat = 7;
    o.epoHead.nUsedSys[0] = 4;
    EXPECT_TRUE(out.host.process().AugmentCorrect(&o, out.aug.get()));
    EXPECT_EQ(o.epoHead.nUsedSat, 6);
    EXPECT_EQ(o.sat[1].bUsed, 0);

    // Stale (10 s) or missing augmentation fails.
    RtkEpoch stale;
    for (int i = 0; i < 8; ++i)
        stale.Correct(i);
    for (int k = 0; k < MAXSATNUM; ++k)
        stale.aug[k].sow -= 10.0;
    EXPECT_FALSE(stale.host.process().AugmentCorrect(stale.host.epoch.get(), stale.aug.get()));
    RtkEpoch none;
    EXPECT_FALSE(none.host.process().AugmentCorrect(none.host.epoch.get(), nullptr));
    EXPECT_EQ(none.host.epoch->epoHead.nUsedSat, 5);
}

TEST(AugmentCorrect, BadIndexesAndCountsReadNothingOutsideTheTables)
{
    RtkEpoch rtk;
    for (int i = 0; i < 8; ++i)
        rtk.Correct(i);
    tagGPSOBSONEEPO& e = *rtk.host.epoch;
    e.sat[2].iprn = 125;   // a packed index beyond the last slot: out of use, counts intact
    for (int i = 8; i < MAXSATNUM; ++i)
        e.sat[i].bUsed = 0;
    e.nSatNum = 200;   // a host count beyond the 124 entries
    EXPECT_TRUE(rtk.host.process().AugmentCorrect(&e, rtk.aug.get()));
    EXPECT_EQ(e.sat[2].bUsed, 0);
    EXPECT_EQ(e.epoHead.nUsedSat, 7);
    const int32_t counts[4] = {5, 0, 3, 0};
    for (int s = 0; s < 4; ++s)
        EXPECT_EQ(e.epoHead.nUsedSys[s], counts[s]) << s;
}

TEST(AugmentCorrect, AppliesCorrectionsInCyclesOfTheSatellitesOwnFrequenciesPlusNoise)
{
    Host host({'G', 'R'});
    host.Start({'G', 'R'});
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    AddPhases(host.epoch.get(), 4.0);
    tagGPSOBSONEEPO& e = *host.epoch;
    const tagGPSOBSONEEPO before = e;
    auto aug = std::make_unique<t_aug[]>(MAXSATNUM);
    for (int i = 0; i < e.nSatNum; ++i) {
        t_aug& a = aug[e.sat[i].iprn - 1];
        a = Aug(kNow.week, kNow.sow - 2.0);
        a.corr_l1 = 0.01 * i;
        a.corr_l2 = -0.02 * i;
        a.corr_p1 = 0.5 + i;
        a.corr_p2 = -1.5 - i;
    }
    const std::vector<GaussPair> noise = PairsAfterSeed(99, e.nSatNum);
    StartNewGaussPair();
    std::srand(99);
    ASSERT_TRUE(host.process().AugmentCorrect(&e, aug.get()));

    bool sawGlonass = false;
    for (int i = 0; i < e.nSatNum; ++i) {
        const tagOBSONESAT& s = e.sat[i];
        const tagOBSONESAT& b = before.sat[i];
        SCOPED_TRACE(std::string(1, s.cSys) + std::to_string(s.prn));
        sawGlonass |= s.cSys == 'R';
        EXPECT_EQ(s.bUsed, 1);
        const double lambda1 = 299792458.0 / b.dF1, lambda2 = 299792458.0 / b.dF2;
        EXPECT_NEAR(s.dL1, b.dL1 - 0.01 * i / lambda1 + noise[i].first / 10.0, 1e-7);
        EXPECT_NEAR(s.dL2, b.dL2 + 0.02 * i / lambda2 + noise[i].second / 10.0, 1e-7);
        EXPECT_NEAR(s.dP1, b.dP1 - (0.5 + i), 1e-7);
        EXPECT_NEAR(s.dP2, b.dP2 + (1.5 + i), 1e-7);
    }
    EXPECT_TRUE(sawGlonass);
    EXPECT_EQ(e.epoHead.nUsedSat, before.epoHead.nUsedSat);
}

}  // namespace
