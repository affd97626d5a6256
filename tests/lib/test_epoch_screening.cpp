// What the facade does with a host's epoch record that is broken: a record
// that cannot be an epoch is refused with -3 before any stage reads it, a
// satellite that cannot be computed with is taken out and the rest of the
// epoch is solved as if it had never been there, and nothing non-finite
// reaches the filter.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <random>

#include "LibFixtures.h"
#include "common/gnsscmn.h"
#include "lib/EpochScreening.h"

using namespace libtest;

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInf = std::numeric_limits<double>::infinity();

using Damage = std::function<void(tagGPSOBSONEEPO&)>;

// The epoch of the host with its first satellite (a GPS one) removed by hand.
void RemoveFirstSatellite(tagGPSOBSONEEPO& e)
{
    --e.epoHead.nSysSat[judge_sys(e.sat[0].cSys)];
    for (int i = 1; i < e.nSatNum; ++i)
        e.sat[i - 1] = e.sat[i];
    --e.nSatNum;
}

// Float PPP over `epochs` epochs; `damage` is applied to the epoch of index `at`.
struct Outcome {
    std::vector<int> codes;
    double position[3];
    int satellitesOfLastEpoch;
};

Outcome RunFloatPpp(const Damage& damage, int at, int epochs = 4)
{
    Host host;
    host.conf.mode = 2;
    host.Start();
    Outcome out{};
    for (int k = 0; k < epochs; ++k) {
        host.SetEpoch(2020, 6, 25, 0, 15, 30.0 * k);
        AddPhases(host.epoch.get(), 4.0);
        if (k == at)
            damage(*host.epoch);
        out.codes.push_back(host.Run());
    }
    for (int c = 0; c < 3; ++c)
        out.position[c] = host.result->dPos[c];
    out.satellitesOfLastEpoch = host.epoch->nSatNum;
    return out;
}

TEST(EpochScreening, RecordsThatAreNoEpochAreRefusedBeforeAnyStage)
{
    const struct {
        const char* what;
        Damage damage;
    } cases[] = {
        {"satellite count above the capacity", [](tagGPSOBSONEEPO& e) { e.nSatNum = MAXSATNUM + 1; }},
        {"negative satellite count", [](tagGPSOBSONEEPO& e) { e.nSatNum = -1; }},
        {"system count above the capacity", [](tagGPSOBSONEEPO& e) { e.epoHead.nSysSat[1] = 1000; }},
        {"month 13", [](tagGPSOBSONEEPO& e) { e.tTime.month = 13; }},
        {"day 0", [](tagGPSOBSONEEPO& e) { e.tTime.day = 0; }},
        {"hour 24", [](tagGPSOBSONEEPO& e) { e.tTime.hour = 24; }},
        {"second NaN", [](tagGPSOBSONEEPO& e) { e.tTime.second = kNaN; }},
        {"seconds of week NaN", [](tagGPSOBSONEEPO& e) { e.tGpsTime.sow = kNaN; }},
        {"seconds of week beyond the week", [](tagGPSOBSONEEPO& e) { e.tGpsTime.sow = 604800.0; }},
        {"negative week", [](tagGPSOBSONEEPO& e) { e.tGpsTime.week = -3; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome out = RunFloatPpp(c.damage, 1);
        EXPECT_EQ(out.codes, (std::vector<int>{2, -3, 2, 2}));
    }
}

TEST(EpochScreening, UnusableSatelliteIsSolvedAroundAsIfItWereAbsent)
{
    const Outcome reference = RunFloatPpp(RemoveFirstSatellite, 0, 1);
    ASSERT_EQ(reference.codes, std::vector<int>{2});
    const struct {
        const char* what;
        Damage damage;
    } cases[] = {
        {"code NaN", [](tagGPSOBSONEEPO& e) { e.sat[0].dP1 = kNaN; }},
        {"phase infinite", [](tagGPSOBSONEEPO& e) { e.sat[0].dL2 = -kInf; }},
        {"code of 1e300 m", [](tagGPSOBSONEEPO& e) { e.sat[0].dP2 = 1e300; }},
        {"Doppler NaN", [](tagGPSOBSONEEPO& e) { e.sat[0].dD1 = kNaN; }},
        {"no carrier frequency", [](tagGPSOBSONEEPO& e) { e.sat[0].dF2 = 0.0; }},
        {"equal frequencies", [](tagGPSOBSONEEPO& e) { e.sat[0].dF2 = e.sat[0].dF1; }},
        {"weight NaN", [](tagGPSOBSONEEPO& e) { e.sat[0].dSatWeight = kNaN; }},
        {"unknown system", [](tagGPSOBSONEEPO& e) { e.sat[0].cSys = 'J'; }},
        {"packed index beyond the tables", [](tagGPSOBSONEEPO& e) { e.sat[0].iprn = 500; }},
        {"number and packed index disagree", [](tagGPSOBSONEEPO& e) { e.sat[0].prn += 1; }},
        {"packed index of another system", [](tagGPSOBSONEEPO& e) { e.sat[0].iprn = 40; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const Outcome out = RunFloatPpp(c.damage, 0, 1);
        ASSERT_EQ(out.codes, std::vector<int>{2});
        EXPECT_EQ(out.satellitesOfLastEpoch, reference.satellitesOfLastEpoch);
        for (int k = 0; k < 3; ++k)
            EXPECT_DOUBLE_EQ(out.position[k], reference.position[k]);
    }
}

TEST(EpochScreening, RepeatedSatelliteKeepsItsFirstEntryAndCounts)
{
    Host host;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    tagGPSOBSONEEPO& e = *host.epoch;
    const int satellites = e.nSatNum, gps = e.epoHead.nSysSat[0];
    const double firstCode = e.sat[0].dP1;
    e.sat[satellites] = e.sat[0];
    e.sat[satellites].dP1 += 100.0;
    ++e.nSatNum;
    ++e.epoHead.nSysSat[0];
    EXPECT_EQ(DropUnusableSatellites(&e, host.orbits.get()), 1);
    EXPECT_EQ(e.nSatNum, satellites);
    EXPECT_EQ(e.epoHead.nSysSat[0], gps);
    EXPECT_EQ(e.sat[0].dP1, firstCode);
}

TEST(EpochScreening, OrbitThatIsNotANumberBecomesNoOrbitAndTheSatelliteLeftOut)
{
    const Outcome reference = RunFloatPpp(RemoveFirstSatellite, 0, 1);
    Host host;
    host.conf.mode = 2;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    AddPhases(host.epoch.get(), 4.0);
    tagSP3ONESAT& orbit = host.orbits->sat[host.epoch->sat[0].iprn - 1];
    ASSERT_TRUE(OrbitPresent(orbit));
    orbit.dPos[1] = kNaN;
    EXPECT_EQ(host.Run(), 2);
    EXPECT_FALSE(OrbitPresent(orbit));
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(host.result->dPos[k], reference.position[k], 1e-6);
}

// One broken value must not stay in the running normal equations.
TEST(EpochScreening, BrokenEpochDoesNotSpoilTheFollowingOnes)
{
    const Outcome clean = RunFloatPpp([](tagGPSOBSONEEPO&) {}, -1, 6);
    const Outcome spoilt = RunFloatPpp(
        [](tagGPSOBSONEEPO& e) {
            e.sat[2].dL1 = kNaN;
            e.sat[3].dP2 = kInf;
            e.epoHead.dEpochValue = kNaN;
        },
        2, 6);
    EXPECT_EQ(spoilt.codes, clean.codes);
    for (int k = 0; k < 3; ++k) {
        ASSERT_TRUE(std::isfinite(spoilt.position[k]));
        EXPECT_NEAR(spoilt.position[k], clean.position[k], 0.01);
    }
}

}  // namespace

// Random damage to any field the host fills, epoch after epoch, in one run:
// every result is a documented code and every solution a finite position.
TEST(EpochScreening, RandomDamageGivesDocumentedCodesAndFinitePositions)
{
    std::mt19937 random(2026);
    const double weird[] = {kNaN, kInf, -kInf, 0.0, 1e300, -1e300, 1e-320};
    auto pickReal = [&]() { return weird[random() % 7]; };
    auto pickInt = [&]() { return static_cast<int>(random() % 400) - 100; };
    Host host;
    host.conf.mode = 2;
    host.Start();
    int solved = 0;
    for (int k = 0; k < 200; ++k) {
        host.SetEpoch(2020, 6, 25, 0, 15, 30.0 * k);
        AddPhases(host.epoch.get(), 4.0);
        tagGPSOBSONEEPO& e = *host.epoch;
        for (int hits = static_cast<int>(random() % 4); hits > 0; --hits) {
            tagOBSONESAT& s = e.sat[random() % MAXSATNUM];
            switch (random() % 10) {
            case 0: e.nSatNum = pickInt(); break;
            case 1: e.epoHead.nSysSat[random() % 4] = pickInt(); break;
            case 2: e.tGpsTime.sow = pickReal(); break;
            case 3: s.iprn = pickInt(); break;
            case 4: s.prn = pickInt(); break;
            case 5: s.cSys = "GRECJ"[random() % 5]; break;
            case 6: s.dP1 = pickReal(); break;
            case 7: s.dL2 = pickReal(); break;
            case 8: s.dF1 = pickReal(); break;
            default: host.orbits->sat[random() % MAXSATNUM].dPos[random() % 3] = pickReal(); break;
            }
        }
        const int code = host.Run();
        ASSERT_TRUE(code == -5 || code == -3 || code == 0 || code == 1 || code == 2) << "epoch " << k << ": " << code;
        if (code >= 1) {
            ++solved;
            for (double x : host.result->dPos)
                ASSERT_TRUE(std::isfinite(x)) << "epoch " << k;
        }
        *host.orbits = enginetest::Orbits();
    }
    EXPECT_GT(solved, 100);   // the damage leaves most epochs solvable
}

// PPP-RTK corrects the observations before any stage: a finite but absurd
// correction takes its satellite out instead of reaching the single point
// solution, and the used counts follow.
TEST(EpochScreening, AbsurdAugmentationTakesItsSatelliteOut)
{
    Host host;
    host.conf.mode = 7;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    AddPhases(host.epoch.get(), 4.0);
    std::vector<t_aug> aug = FullAugmentation(host.epoch->tGpsTime);
    const int satellites = host.epoch->nSatNum;
    aug[host.epoch->sat[0].iprn - 1].corr_p1 = 1e300;
    EXPECT_EQ(host.Run(nullptr, aug.data()), 6);
    EXPECT_EQ(host.epoch->nSatNum, satellites - 1);
    EXPECT_EQ(host.epoch->epoHead.nUsedSat, satellites - 1);
    for (double x : host.result->dPos)
        EXPECT_TRUE(std::isfinite(x));
}
