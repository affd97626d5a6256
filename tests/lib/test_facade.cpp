// The facade's result codes, its epoch check and what construction does to
// the host's configuration. Code -1 (preprocessing failed) has no test: the
// preprocessing stage has no failure path, so the code cannot occur.
#include <gtest/gtest.h>

#include <cstring>

#include "LibFixtures.h"
#include "engine/ProcInfoSite.h"

using namespace libtest;

namespace {

using Systems = std::vector<char>;

// Per-system satellite counts G, R, E, C that the host wrote into the epoch header.
void SetSystemCounts(tagGPSOBSONEEPO* epoch, int g, int r, int e, int c)
{
    const int counts[4] = {g, r, e, c};
    std::memcpy(epoch->epoHead.nSysSat, counts, sizeof(counts));
}

TEST(FacadeEpochCheck, PresentSystemListsAreReplacedUnlessTheFirstConfiguredSystemIsAbsent)
{
    // The first configured system absent: rejected before the present systems
    // were looked at, the lists stay as configured.
    Host absent;   // observes G, R, E
    absent.Start({'C', 'G'});
    absent.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    EXPECT_EQ(absent.Run(), -5);
    EXPECT_EQ(absent.engine().m_sys, (Systems{'C', 'G'}));
    EXPECT_EQ(absent.process().systems, (Systems{'C', 'G'}));
    absent.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    absent.epoch->tTime.year = 0;
    EXPECT_EQ(absent.Run(), -5);

    // An empty epoch still replaces the lists.
    Host empty({'G', 'E'});
    empty.Start({'G', 'R', 'C'});
    empty.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    empty.epoch->tTime.year = 0;
    EXPECT_EQ(empty.Run(), -3);
    EXPECT_EQ(empty.engine().m_sys, (Systems{'G', 'E'}));
    EXPECT_EQ(empty.process().systems, (Systems{'G', 'E'}));

    // Present systems are listed in the fixed order G, R, E, C.
    Host order;
    order.Start({'E', 'G'});
    order.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    SetSystemCounts(order.epoch.get(), 0, 0, 7, 3);
    EXPECT_EQ(order.lib->judge(&order.obs), 1);
    EXPECT_EQ(order.engine().m_sys, (Systems{'E', 'C'}));
    EXPECT_EQ(order.process().systems, (Systems{'E', 'C'}));
}

TEST(FacadeEpochCheck, NeedsThreeSatellitesMoreThanConfiguredSystems)
{
    Host host;
    host.Start({'G', 'C'});
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    SetSystemCounts(host.epoch.get(), 3, 0, 0, 1);
    host.epoch->nSatNum = 4;
    EXPECT_EQ(host.lib->judge(&host.obs), -5);
    host.epoch->nSatNum = 5;
    EXPECT_EQ(host.lib->judge(&host.obs), 1);
    // The configured systems count, not the present ones: G alone is present here.
    SetSystemCounts(host.epoch.get(), 4, 0, 0, 0);
    host.epoch->nSatNum = 4;
    EXPECT_EQ(host.lib->judge(&host.obs), -5);
}

TEST(FacadeResultCodes, ZeroIntervalRejectsEveryEpochAndSppFailureGivesZero)
{
    Host host;
    host.conf.interval = 0.0;
    host.Start();
    for (int k = 0; k < 3; ++k) {
        host.SetEpoch(2020, 6, 25, 0, 15, 30.0 * k);
        EXPECT_EQ(host.Run(), -4);
    }
    EXPECT_EQ(host.result->tTime.year, 0) << "no stage may run";

    Host noOrbits;
    noOrbits.Start();
    for (tagSP3ONESAT& s : noOrbits.orbits->sat)
        s = tagSP3ONESAT{};
    noOrbits.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    EXPECT_EQ(noOrbits.Run(), 0);
}

TEST(FacadeResultCodes, SppOnlyModesNeverPreprocess)
{
    struct Case {
        int mode;
        uint8_t pppEnable;
    };
    for (const Case c : {Case{0, 1}, Case{1, 1}, Case{2, 0}, Case{2, 2}, Case{5, 0}}) {
        Host host;
        host.conf.mode = c.mode;
        host.conf.ppp_enable = c.pppEnable;
        host.Start();
        for (int k = 0; k < 2; ++k) {
            host.SetEpoch(2020, 6, 25, 0, 15, 30.0 * k);
            EXPECT_EQ(host.Run(), 1) << "mode " << c.mode << ", ppp_enable " << int(c.pppEnable);
        }
        EXPECT_EQ(host.engine().m_prevEpo->nSatNum, 0) << "mode " << c.mode;
        EXPECT_EQ(host.smooth, nullptr);
        EXPECT_EQ(host.result->bSppValid, 1);
    }
}

TEST(FacadeResultCodes, FloatPppModeRunsPreprocessingAndGivesTwo)
{
    Host host;
    host.conf.mode = 2;
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    AddPhases(host.epoch.get(), 4.0);
    EXPECT_EQ(host.Run(), 2);
    EXPECT_GT(host.engine().m_prevEpo->nSatNum, 0);
    EXPECT_NE(host.smooth, nullptr);
    EXPECT_EQ(host.result->bPppStored, 1);
}

TEST(FacadeResultCodes, AmbiguityModesWithoutUpdsGiveZeroAfterAGoodFloatSolution)
{
    for (int mode : {4, 5, 6, 9}) {
        TempDir dir;
        Host host;
        host.conf.mode = mode;
        std::strcpy(host.conf.res_dir, dir.path().c_str());
        host.Start();
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        AddPhases(host.epoch.get(), 4.0);
        const int code = host.Run();
        if (!host.result->bPppStored)
            GTEST_SKIP() << "the float PPP stage gives no solution for the synthetic epoch";
        EXPECT_EQ(code, 0) << "mode " << mode;
        EXPECT_EQ(CountLines(dir / "20200625/ABCD_20200625_rtp_K_GRE.ppp"), 1) << "mode " << mode;
    }
}

TEST(FacadeResultCodes, RtkModeWithoutAugmentationStopsBeforeSpp)
{
    TempDir dir;
    Host host;
    host.conf.mode = 7;
    std::strcpy(host.conf.res_dir, dir.path().c_str());
    host.Start();
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    EXPECT_EQ(host.Run(nullptr, nullptr), 0);
    EXPECT_EQ(host.result->tTime.year, 0) << "SPP must not have run";
    EXPECT_EQ(CountLines(dir / "20200625/ABCD_20200625_rtp_K_GRE.spp"), 0);
}

TEST(FacadeResultCodes, RtkModeWithAugmentationGivesSixAndKeepsSevenDegrees)
{
    TempDir dir;
    Host host;
    host.conf.mode = 7;
    host.conf.elev_mask = 12.0;
    std::strcpy(host.conf.res_dir, dir.path().c_str());
    host.Start();
    EXPECT_EQ(host.engine().m_elevCutoff, 12.0);
    host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
    AddPhases(host.epoch.get(), 4.0);
    std::vector<t_aug> aug = FullAugmentation(host.epoch->tGpsTime);
    EXPECT_EQ(host.Run(nullptr, aug.data()), 6);
    EXPECT_EQ(host.engine().m_elevCutoff, 7.0);
    EXPECT_EQ(CountLines(dir / "20200625/ABCD_20200625_rtp_K_GRE.ppprtk"), 1);
}

TEST(FacadeConstruction, NormalisesTheFirstFiveWeightsInPlace)
{
    Host host;
    const double factors[5] = {4.0, 2.0, 1.0, 1.0, 0.1};
    const double sigmas[5] = {310.0, 620.0, 630.0, 640.0, 950.0};
    std::memcpy(host.conf.weight.dWeightFactor, factors, sizeof(factors));
    std::memcpy(host.conf.weight.dWeightSigma, sigmas, sizeof(sigmas));
    host.Start();

    const double normalised[5] = {1.0, 0.5, 0.25, 0.25, 0.025};
    for (int k = 0; k < 5; ++k) {
        EXPECT_DOUBLE_EQ(host.conf.weight.dWeightFactor[k], normalised[k]) << k;
        EXPECT_EQ(host.conf.weight.dWeightSigma[k], sigmas[k]) << k;
        // The engine is built after the normalisation and copies the result.
        EXPECT_DOUBLE_EQ(host.engine().m_weight.dWeightFactor[k], normalised[k]) << k;
    }
    // A second facade on the same record normalises again: nothing changes any more.
    t_ppplib second({'G'}, &host.site, &host.conf);
    EXPECT_DOUBLE_EQ(host.conf.weight.dWeightFactor[1], 0.5);
}

TEST(FacadeConstruction, EpochValueOverridesTheConfigurationOnlyForSp3Products)
{
    for (int source : {1, 3}) {
        Host host;
        host.conf.product_source = source;
        host.conf.use_epoch_value = 1;
        host.conf.pppos_value = 1.5;
        host.Start();
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        host.epoch->epoHead.dEpochValue = 7.25;
        host.epoch->tTime.year = 0;   // also for an epoch that is then rejected
        EXPECT_EQ(host.Run(), -3);
        EXPECT_EQ(host.conf.pppos_value, source == 3 ? 7.25 : 1.5) << "product source " << source;
    }
}

}  // namespace
