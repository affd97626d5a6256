#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "support/EngineFixtures.h"
#include "common/GNSSConst.h"
#include "engine/BDSMultipath.h"

using namespace enginetest;

namespace {

tagOBSONESAT Satellite(char sys, int prn, int iprn, double p1, double p2, double l1, double l2)
{
    tagOBSONESAT s;
    std::memset(&s, 0, sizeof(s));
    s.cSys = sys;
    s.prn = prn;
    s.iprn = iprn;
    s.dP1 = p1;
    s.dP2 = p2;
    s.dL1 = l1;
    s.dL2 = l2;
    return s;
}

struct Expected {
    double pif, lif, pgf, pnl, lgf, lwl, ldiff, mw, mwCyc, mwCyc2, lifMinusPif, graphic, pifMinusLif;
};

// Values computed independently from the textbook definitions
// (coefficients f1^2/(f1^2-f2^2), f2^2/(f1^2-f2^2), wide-lane c/(f1-f2)).
void ExpectCombinations(const tagOBSONESAT& s, const Expected& e)
{
    EXPECT_NEAR(s.dPIF, e.pif, 1e-6);
    EXPECT_EQ(s.dPIFRaw, s.dPIF);
    EXPECT_NEAR(s.dLIF, e.lif, 1e-6);
    EXPECT_EQ(s.dLIFRaw, s.dLIF);
    EXPECT_NEAR(s.dPGF, e.pgf, 1e-8);
    EXPECT_NEAR(s.dPNL, e.pnl, 1e-6);
    EXPECT_NEAR(s.dLGF, e.lgf, 1e-6);
    EXPECT_EQ(s.dLGF2, s.dLGF);
    EXPECT_NEAR(s.dLWLCyc, e.lwl, 1e-6);
    EXPECT_NEAR(s.dLDiffCyc, e.ldiff, 1e-6);
    EXPECT_NEAR(s.dMW, e.mw, 1e-6);
    EXPECT_NEAR(s.dMWCyc, e.mwCyc, 1e-6);
    EXPECT_NEAR(s.dMWCyc2, e.mwCyc2, 1e-6);
    EXPECT_NEAR(s.dLIFminusPIF, e.lifMinusPif, 1e-6);
    EXPECT_NEAR(s.dGraphic, e.graphic, 1e-6);
    EXPECT_EQ(s.dGraphicRaw, s.dGraphic);
    EXPECT_NEAR(s.dPIFminusLIF, e.pifMinusLif, 1e-6);
    EXPECT_EQ(s.dMWVar, 0.25);
}

TEST(ObservationCombinations, GpsGlonassAndBeiDouAgainstHandComputedValues)
{
    Engine engine({'G', 'R', 'C'});
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    epo->nSatNum = 3;
    epo->sat[0] = Satellite('G', 5, 5, 22345678.123, 22345681.456, 117426955.321, 91501523.654);
    epo->sat[1] = Satellite('R', 8, 40, 20123456.789, 20123460.012, 107564321.25, 83661140.5);
    epo->sat[1].dF1 = 1602e6 - 4 * 562500.0;   // channel -4
    epo->sat[1].dF2 = 1246e6 - 4 * 437500.0;
    epo->sat[2] = Satellite('C', 12, 101, 37890123.456, 37890127.901, 197308765.125, 152571432.875);
    ASSERT_EQ(engine.spp->get_obs_cmb(epo.get()), 1);

    ExpectCombinations(epo->sat[0], {22345672.9710893109, 22345606.6032774150, 3.3330000006, 22345679.5827080272,
                                     -0.0066539347, 25925431.6669999957, -0.0349666774, -72.9926299192,
                                     -84.6862416349, -84.6862416416, -66.3678118959, 22345642.3682812899,
                                     66.3678118959});
    // The phase-minus-code value uses the GPS second coefficient for every system.
    ExpectCombinations(epo->sat[1], {20123451.8537812568, 20157506.6277608573, 3.2229999974, 20123458.1990624964,
                                     -0.4216490276, 23903180.7500000000, -2.2500000149, 34047.5985768400,
                                     40374.3355480498, 40374.3355480507, -257781.1910666861, 20140482.0312054642,
                                     -34054.7739796005});
    ExpectCombinations(epo->sat[2], {37890116.8455368504, 37891155.2889260203, 4.4450000003, 37890125.3943222538,
                                     54.7280393764, 44737332.2500000000, 284.9832627177, 1135.1495563313,
                                     1340.2447457832, 1340.2447457686, -2217839.4261624590, 37890598.6775600016,
                                     -1038.4433891699});

    EXPECT_EQ(engine.spp->m_f1[4], _GPS_F1);
    EXPECT_EQ(engine.spp->m_f2[4], _GPS_F2);
    EXPECT_EQ(engine.spp->m_f1[39], 1599750000.0);
    EXPECT_EQ(engine.spp->m_f2[39], 1244250000.0);
    EXPECT_EQ(engine.spp->m_f1[100], _BDS_F2);
    EXPECT_EQ(engine.spp->m_f2[100], _BDS_F7);
}

TEST(ObservationCombinations, UnknownSystemStopsAtThatSatellite)
{
    Engine engine({'G'});
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    epo->nSatNum = 3;
    epo->sat[0] = Satellite('G', 5, 5, 22345678.123, 22345681.456, 117426955.321, 91501523.654);
    epo->sat[1] = Satellite('J', 1, 5, 22345678.123, 22345681.456, 117426955.321, 91501523.654);
    epo->sat[2] = Satellite('G', 7, 7, 22345678.123, 22345681.456, 117426955.321, 91501523.654);
    EXPECT_EQ(engine.spp->get_obs_cmb(epo.get()), 0);
    EXPECT_NE(epo->sat[0].dPIF, 0.0);
    EXPECT_EQ(epo->sat[1].dPIF, 0.0);
    EXPECT_EQ(epo->sat[2].dPIF, 0.0);   // untouched after the stop
    EXPECT_EQ(engine.spp->m_f1[6], 0.0);
}

// Code corrections (P1, P2) of one BeiDou satellite at an elevation (degrees).
void CorrectedCodes(int prn, double elevDeg, double* p1, double* p2)
{
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    epo->nSatNum = 1;
    epo->sat[0] = Satellite('C', prn, prn + 89, 100.0, 200.0, 0.0, 0.0);
    epo->sat[0].dElev = elevDeg * 3.141592653589793 / 180.0;
    EXPECT_EQ(BDSmultipathCorr(epo.get()), 1);
    *p1 = epo->sat[0].dP1 - 100.0;
    *p2 = epo->sat[0].dP2 - 200.0;
}

TEST(BeiDouMultipath, SatelliteClassesInterpolationAndLimits)
{
    const struct {
        int prn;
        double elevDeg, p1, p2;
    } cases[] = {
        {16, 45.0, (-0.11 + 0.06) / 2.0, (-0.06 + 0.09) / 2.0},   // medium orbit, halfway between nodes
        {13, 45.0, (-0.15 - 0.04) / 2.0, (-0.14 - 0.03) / 2.0},   // C13 and C15 are inclined orbits
        {15, 23.0, -0.34 * 0.7 - 0.23 * 0.3, -0.33 * 0.7 - 0.19 * 0.3},
        {6, 5.0, (-0.55 - 0.40) / 2.0, (-0.71 - 0.36) / 2.0},
        {11, 5.0, (-0.47 - 0.38) / 2.0, (-0.40 - 0.31) / 2.0},
        {16, 95.0, 1.05, 0.69},                                   // 90 degrees and above: the last node
        {16, 1.0, -0.47 * 0.9 - 0.38 * 0.1, -0.40 * 0.9 - 0.31 * 0.1},
        {16, 0.99, 0.0, 0.0},                                     // below one degree: uncorrected
        {5, 45.0, 0.0, 0.0},                                      // geostationary: uncorrected
        {1, 45.0, 0.0, 0.0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE("C" + std::to_string(c.prn) + " at " + std::to_string(c.elevDeg));
        double p1, p2;
        CorrectedCodes(c.prn, c.elevDeg, &p1, &p2);
        EXPECT_NEAR(p1, c.p1, 1e-9);
        EXPECT_NEAR(p2, c.p2, 1e-9);
    }
}

TEST(BeiDouMultipath, OtherSystemsAndUnknownElevationsAreLeftAlone)
{
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    epo->nSatNum = 2;
    epo->sat[0] = Satellite('G', 16, 16, 100.0, 200.0, 0.0, 0.0);
    epo->sat[0].dElev = 0.7;
    epo->sat[1] = Satellite('C', 16, 105, 100.0, 200.0, 0.0, 0.0);
    epo->sat[1].dElev = std::nan("");
    EXPECT_EQ(BDSmultipathCorr(epo.get()), 1);
    EXPECT_EQ(epo->sat[0].dP1, 100.0);
    EXPECT_EQ(epo->sat[1].dP1, 100.0);
    EXPECT_EQ(BDSmultipathCorr(nullptr), 0);
}

}  // namespace
