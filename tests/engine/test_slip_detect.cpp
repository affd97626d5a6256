#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <initializer_list>

#include "support/EngineFixtures.h"
#include "common/GNSSConst.h"

using namespace enginetest;

namespace {

constexpr double kRange = 2.2e7;   // m; codes equal the range, phases the range in cycles
constexpr double kLambda1 = _LIGHT_SPEED / _GPS_F1;
constexpr double kF1OverF2 = _GPS_F1 / _GPS_F2;   // 77/60

// A GPS satellite; offsets in cycles on the phases and metres on both codes.
struct Sat {
    int prn;
    double dL1 = 0.0, dL2 = 0.0, dCode = 0.0;
};

// Phase offsets that change L1 - (f1/f2) L2 by `cycles` and leave the Melbourne-Wuebbena unchanged.
Sat GeometryFreeJump(int prn, double cycles)
{
    const double both = cycles / (1.0 - kF1OverF2);
    return Sat{prn, both, both, 0.0};
}

struct SlipRig {
    SlipRig() : engine({'G'})
    {
        std::memset(&orbits, 0, sizeof(orbits));
        for (int prn = 1; prn <= 32; ++prn)
            Place(prn, 60.0);
    }
    ~SlipRig() { delete pair; }

    // Puts a satellite 20000 km away at the given elevation above ESBC.
    void Place(int prn, double elevDeg)
    {
        const tagCRDCARTESIAN sat = PointSeenFrom(kEsbc, elevDeg, prn * 0.3);
        orbits.sat[prn - 1].dPos[0] = sat.x;
        orbits.sat[prn - 1].dPos[1] = sat.y;
        orbits.sat[prn - 1].dPos[2] = sat.z;
    }

    // Forms, pairs and tests one epoch at the given seconds of week; returns the tested epoch.
    const tagGPSOBSONEEPO& Process(double sow, std::initializer_list<Sat> sats, bool logOn = false,
                                   bool logEpo = false, FILE* log = nullptr)
    {
        std::memset(epo.get(), 0, sizeof(tagGPSOBSONEEPO));
        epo->tTime = EpochTime();
        epo->tGpsTime = tagGPSTIME2{2111, sow};
        for (const Sat& s : sats) {
            tagOBSONESAT& e = epo->sat[epo->nSatNum++];
            e.cSys = 'G';
            e.prn = s.prn;
            e.iprn = s.prn;
            e.bUsed = 1;
            e.dP1 = e.dP2 = kRange + s.dCode;
            e.dL1 = kRange / kLambda1 + s.dL1;
            e.dL2 = kRange / (_LIGHT_SPEED / _GPS_F2) + s.dL2;
        }
        EXPECT_EQ(engine.spp->get_obs_cmb(epo.get()), 1);
        EXPECT_EQ(engine.spp->update_epoch(&pair, epo.get()), 1);
        EXPECT_EQ(engine.spp->slip_detect(pair, &orbits, kEsbc, logOn, logEpo, log), 1);
        return pair->cur;
    }

    Engine engine;
    tagGMSP3REC orbits;
    tagGPSOBSSMOOTH* pair = nullptr;
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
};

TEST(SlipDetection, ArcStatesOfNewContinuingSlippedAndInterruptedSatellites)
{
    SlipRig rig;
    const tagGPSOBSONEEPO& first = rig.Process(0.0, {{5}, {9}});
    EXPECT_EQ(rig.engine.spp->m_timeGap, -999.0);
    EXPECT_EQ(first.sat[0].nSmoothState, 1);
    EXPECT_EQ(first.sat[0].nSmoothCount, 1);

    // G07 is new; G05 and G09 continue.
    const tagGPSOBSONEEPO& second = rig.Process(30.0, {{5}, {7}, {9}});
    EXPECT_EQ(rig.engine.spp->m_timeGap, 30.0);
    EXPECT_EQ(second.sat[0].nSmoothState, 3);
    EXPECT_EQ(second.sat[0].nSmoothCount, 2);
    EXPECT_EQ(second.sat[1].nSmoothState, 1);
    EXPECT_TRUE(rig.engine.spp->m_slipSats.empty());
    EXPECT_EQ(rig.engine.spp->m_prevEpo->nSatNum, 3);   // the processed epoch is the next call's previous one

    // One second later, one cycle on L1 of G07 is a geometry-free slip; G09 misses an epoch.
    const tagGPSOBSONEEPO& slipped = rig.Process(31.0, {{5}, {7, 1.0, 0.0}});
    EXPECT_EQ(slipped.sat[1].nSmoothState, 2);
    EXPECT_EQ(slipped.sat[1].nSmoothCount, 1);
    EXPECT_EQ(slipped.sat[1].dMWVar, 0.25);   // a new arc starts from the raw value
    ASSERT_EQ(rig.engine.spp->m_slipSats.size(), 1u);
    EXPECT_EQ(rig.engine.spp->m_slipSats[0], 7);

    // The slipped arc continues; the interrupted one starts anew.
    const tagGPSOBSONEEPO& e = rig.Process(32.0, {{5}, {7, 1.0, 0.0}, {9}});
    EXPECT_EQ(e.sat[0].nSmoothCount, 4);
    EXPECT_EQ(e.sat[1].nSmoothState, 3);
    EXPECT_EQ(e.sat[1].nSmoothCount, 2);
    EXPECT_EQ(e.sat[2].nSmoothState, 1);
    EXPECT_EQ(e.sat[2].nSmoothCount, 1);
}

TEST(SlipDetection, OneWideLaneCycleIsSeenOnceTheMeanIsTightEnough)
{
    // Four L1 and three L2 cycles: one wide-lane cycle (0.86 m of Melbourne-
    // Wuebbena) that moves the geometry-free value by 0.15 cycles only. The
    // threshold 4 sqrt(0.25/n) drops below 0.86 m after six epochs.
    for (int epochsBefore : {5, 6}) {
        SlipRig rig;
        for (int k = 0; k < epochsBefore; ++k)
            rig.Process(k, {{5}});
        const tagGPSOBSONEEPO& e = rig.Process(epochsBefore, {{5, 4.0, 3.0}});
        EXPECT_EQ(e.sat[0].nSmoothState, epochsBefore == 6 ? 2 : 3) << epochsBefore;
    }
}

TEST(SlipDetection, RunningMeanAndVarianceOfTheMelbourneWuebbena)
{
    // Melbourne-Wuebbena values 0, +0.3, -0.3 m (codes shifted by 0, -0.3, +0.3 m):
    // n=2: mean 0.15, variance 0.25/2 + 0.15^2/2 = 0.13625;
    // n=3: mean 0, variance 0.13625 * 2/3 + 0.3^2/3 = 0.1208333...
    SlipRig rig;
    rig.Process(0.0, {{5}});
    const double base = rig.engine.spp->m_prevEpo->sat[0].dMW;
    const tagGPSOBSONEEPO& e2 = rig.Process(1.0, {{5, 0.0, 0.0, -0.3}});
    EXPECT_NEAR(e2.sat[0].dMW - base, 0.15, 1e-7);
    EXPECT_NEAR(e2.sat[0].dMWVar, 0.13625, 1e-9);
    const tagGPSOBSONEEPO& e3 = rig.Process(2.0, {{5, 0.0, 0.0, 0.3}});
    EXPECT_NEAR(e3.sat[0].dMW - base, 0.0, 1e-7);
    EXPECT_NEAR(e3.sat[0].dMWVar, 0.13625 * 2.0 / 3.0 + 0.09 / 3.0, 1e-9);
    EXPECT_NEAR(e3.sat[0].dMWMeanCyc, e3.sat[0].dMW / _GPS_WLWL, 1e-9);
    EXPECT_EQ(e3.sat[0].nSmoothCount, 3);
}

// Whether a geometry-free jump of `factor` times b/lambda1 after a gap is flagged.
bool FlaggedAfterGap(double gap, double b, double factor)
{
    SlipRig rig;
    rig.Process(100.0, {{5}});
    const tagGPSOBSONEEPO& e = rig.Process(100.0 + gap, {GeometryFreeJump(5, factor * b / kLambda1)});
    return e.sat[0].nSmoothState == 2;
}

TEST(SlipDetection, GeometryFreeThresholdGrowsWithTheTimeGap)
{
    const struct {
        double gap, b;
    } table[] = {{0.5, 0.1}, {1.0, 0.1}, {10.0, 0.2}, {20.0, 0.3}, {60.0, 0.3},
                 {60.5, 0.5}, {100.0, 0.5}, {100.5, 0.7}, {3600.0, 0.7}};
    for (const auto& row : table) {
        EXPECT_FALSE(FlaggedAfterGap(row.gap, row.b, 0.999)) << row.gap;
        EXPECT_TRUE(FlaggedAfterGap(row.gap, row.b, 1.001)) << row.gap;
    }
}

TEST(SlipDetection, LowSatelliteRaisesTheElevationFloorForLaterOnes)
{
    // b = 0.1 m (gap 1 s). A satellite at 15 degrees has the threshold 3.0 b,
    // but 2.3 b once a satellite below 7 degrees came before it in the epoch.
    const double jump = 2.6 * 0.1 / kLambda1;
    for (bool lowFirst : {true, false}) {
        SlipRig rig;
        rig.Place(3, 6.0);
        rig.Place(5, 15.0);
        if (lowFirst) {
            rig.Process(0.0, {{3}, {5}});
            const tagGPSOBSONEEPO& e = rig.Process(1.0, {{3}, GeometryFreeJump(5, jump)});
            EXPECT_EQ(e.sat[1].nSmoothState, 2);
        } else {
            rig.Process(0.0, {{5}, {3}});
            const tagGPSOBSONEEPO& e = rig.Process(1.0, {GeometryFreeJump(5, jump), {3}});
            EXPECT_EQ(e.sat[0].nSmoothState, 3);
        }
    }
}

TEST(SlipDetection, LogLinesOnlyWithBothSwitches)
{
    for (int switches = 0; switches < 3; ++switches) {
        SlipRig rig;
        TempFile log;
        rig.Process(0.0, {{5}});
        const double oldMW = rig.engine.spp->m_prevEpo->sat[0].dMW;
        const double oldGF = rig.engine.spp->m_prevEpo->sat[0].dLDiffCyc;
        // 78 L1 and 60 L2 cycles: 18 wide-lane cycles and one geometry-free cycle, both tests fire.
        const tagGPSOBSONEEPO& e = rig.Process(1.0, {{5, 78.0, 60.0}}, switches != 1, switches != 0, log.fp());
        EXPECT_EQ(e.sat[0].nSmoothState, 2);
        if (switches < 2) {
            EXPECT_EQ(log.Text(), "");
            continue;
        }
        const tagOBSONESAT& s = e.sat[0];
        const double gfLimit = 0.1 / kLambda1;
        char expected[512];
        snprintf(expected, sizeof(expected),
                 "2020-06-25 00:15:00 2111      1   G05    MW(m)  new=%11.3Lf, old=%11.3Lf, diff=%11.3f, thres=%11.3f, "
                 "elev=60.0\r\n"
                 "2020-06-25 00:15:00 2111      1   G05    GF(c)  new=%11.3Lf, old=%11.3Lf, diff=%11.3f, thres=%11.3f, "
                 "elev=60.0\r\n",
                 static_cast<long double>(s.dMW), static_cast<long double>(oldMW), s.dMW - oldMW, 2.0,
                 static_cast<long double>(s.dLDiffCyc), static_cast<long double>(oldGF), s.dLDiffCyc - oldGF,
                 gfLimit);
        EXPECT_EQ(log.Text(), expected);
        EXPECT_NEAR(s.dMW - oldMW, 18.0 * _LIGHT_SPEED / (_GPS_F1 - _GPS_F2), 1e-6);
    }
}

TEST(EpochPairing, EmptyEpochKeepsThePairAndGapsSpanWeeks)
{
    Engine engine({'G'});
    tagGPSOBSSMOOTH* pair = nullptr;
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    EXPECT_EQ(engine.spp->update_epoch(&pair, epo.get()), 0);
    EXPECT_EQ(pair, nullptr);

    engine.spp->m_prevEpo->nSatNum = 1;
    engine.spp->m_prevEpo->tGpsTime = tagGPSTIME2{2111, 604790.0};
    epo->nSatNum = 1;
    epo->tGpsTime = tagGPSTIME2{2112, 10.0};
    ASSERT_EQ(engine.spp->update_epoch(&pair, epo.get()), 1);
    ASSERT_NE(pair, nullptr);
    EXPECT_EQ(engine.spp->m_timeGap, 20.0);
    EXPECT_EQ(pair->prev.tGpsTime.week, 2111);
    EXPECT_EQ(pair->cur.tGpsTime.week, 2112);
    delete pair;
}

}  // namespace
