#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "support/EngineFixtures.h"
#include "common/GNSSConst.h"

using namespace enginetest;

namespace {

struct SppRun {
    explicit SppRun(std::vector<char> systems = {'G', 'R', 'E'}) : engine(systems) {}
    int Run(FILE* log = nullptr, bool outliers = true)
    {
        tagSPPONERESULT* r = &result;
        return engine.spp->SPPOneEpoch(epo.get(), nullptr, &orbits, &r, log != nullptr, log != nullptr, log,
                                       outliers ? &engine.site.crd : nullptr);
    }
    Engine engine;
    tagGMSP3REC orbits = Orbits();
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
    tagSPPONERESULT result;
};

double DistanceTo(const tagSPPONERESULT& r, const tagCRDCARTESIAN& p)
{
    return std::sqrt((r.dPos[0] - p.x) * (r.dPos[0] - p.x) + (r.dPos[1] - p.y) * (r.dPos[1] - p.y) +
                     (r.dPos[2] - p.z) * (r.dPos[2] - p.z));
}

tagCRDCARTESIAN Site(double latDeg, double lonDeg, double height)
{
    tagCRDGEODETIC blh{lonDeg * _PI / 180.0, latDeg * _PI / 180.0, height};
    tagCRDCARTESIAN p;
    CGNSSCoordConvert().GeodeticToCartesian(&blh, &p, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    return p;
}

// Adds the same error to both codes of a satellite; returns its index.
int BiasCodes(tagGPSOBSONEEPO* epo, char sys, int prn, double metres)
{
    const int i = FindSat(*epo, sys, prn);
    EXPECT_GE(i, 0);
    epo->sat[i].dP1 += metres;
    epo->sat[i].dP2 += metres;
    return i;
}

TEST(SinglePointPositioning, ExactObservationsGiveTheKnownPositionClocksAndVelocity)
{
    SppRun run;
    Scenario sc;
    BuildEpoch(sc, run.epo.get());
    ASSERT_GE(run.epo->nSatNum, 20);
    const int satellites = run.epo->nSatNum;

    ASSERT_EQ(run.Run(), 1);
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);
    for (int s = 0; s < 3; ++s)
        EXPECT_NEAR(run.result.dClk[s], sc.recClk[s], 1e-12) << "system " << s;
    EXPECT_EQ(run.result.nSatNum, satellites);
    for (int s = 0; s < 4; ++s)
        EXPECT_EQ(run.result.nSysSat[s], run.epo->epoHead.nSysSat[s]);
    for (int i = 0; i < satellites; ++i) {
        EXPECT_EQ(run.epo->sat[i].bUsed, 1);
        EXPECT_EQ(run.result.res[i].iprn, run.epo->sat[i].iprn);
        EXPECT_NEAR(run.result.res[i].dRes2, 0.0, 1e-4);
    }
    // A static receiver, and the clock drift that generated the Doppler.
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(run.result.dVel[k], 0.0, 1e-5);
    EXPECT_NEAR(run.result.dClkDrift, sc.recDrift, 1e-14);
    // PDOP of about twenty satellites of three systems.
    EXPECT_GT(run.result.dQ0, 0.8);
    EXPECT_LT(run.result.dQ0, 3.0);
    // Geodetic coordinates of the final position.
    EXPECT_NEAR(run.result.dBLH[0] * 180.0 / _PI, 55.49, 0.01);
    EXPECT_NEAR(run.result.dBLH[1] * 180.0 / _PI, 8.457, 0.01);
    // The elevations were stored in the epoch by the precise stage.
    EXPECT_NEAR(run.epo->sat[0].dElev * 180.0 / _PI, ElevationDeg(run.orbits, run.epo->sat[0].iprn, kEsbc), 1e-6);
}

TEST(SinglePointPositioning, BlunderRemovesExactlyThatSatelliteAndLogsIt)
{
    SppRun run;
    BuildEpoch(Scenario{}, run.epo.get());
    const int bad = BiasCodes(run.epo.get(), 'G', 13, 200.0);
    const int before = run.epo->epoHead.nUsedSat;

    TempFile log;
    ASSERT_EQ(run.Run(log.fp()), 1);
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);
    for (int i = 0; i < run.epo->nSatNum; ++i)
        EXPECT_EQ(run.epo->sat[i].bUsed, i == bad ? 0 : 1) << i;
    EXPECT_EQ(run.epo->epoHead.nUsedSat, before - 1);
    EXPECT_EQ(run.result.nSatNum, before - 1);

    const std::string text = log.Text();
    const std::string prefix = "2020 06 25 00 15 00 2111 346500.00  G13  SPP ap: ";
    ASSERT_EQ(text.compare(0, prefix.size(), prefix), 0) << text;
    ASSERT_EQ(text.size(), prefix.size() + 18 + 3) << text;   // one line: "%18.4f \r\n"
    EXPECT_EQ(text.substr(text.size() - 3), " \r\n");
    EXPECT_GT(std::fabs(std::atof(text.substr(prefix.size()).c_str())), 100.0);

    // Without outlier detection the blunder stays and spoils the solution.
    SppRun plain;
    BuildEpoch(Scenario{}, plain.epo.get());
    BiasCodes(plain.epo.get(), 'G', 13, 200.0);
    plain.Run(nullptr, false);
    EXPECT_EQ(plain.epo->sat[bad].bUsed, 1);
    EXPECT_GT(DistanceTo(plain.result, kEsbc), 1.0);
}

TEST(SinglePointPositioning, ClockColumnsFollowThePresentSystemsAndTooFewSatellitesFail)
{
    SppRun run({'G', 'E'});
    Scenario sc;
    sc.systems = {'G', 'E'};
    BuildEpoch(sc, run.epo.get());
    ASSERT_EQ(run.Run(), 1);
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);
    EXPECT_NEAR(run.result.dClk[0], sc.recClk[0], 1e-12);
    EXPECT_EQ(run.result.dClk[1], 0.0);
    EXPECT_NEAR(run.result.dClk[2], sc.recClk[2], 1e-12);

    SppRun few({'G', 'E'});
    BuildEpoch(sc, few.epo.get());
    few.epo->nSatNum = 4;   // two systems need 5
    few.epo->epoHead.nUsedSat = 4;
    EXPECT_EQ(few.Run(), 0);
    EXPECT_EQ(few.result.nSatNum, 0);   // nothing was written
}

TEST(SinglePointPositioning, HeightLimitAndPolarMappingFallback)
{
    // Solutions above 5000 m are rejected; from 75 degrees of latitude on the
    // Niell functions give nothing and the plain mapping stands in.
    const struct {
        double lat, lon, height;
        int code;
    } sites[] = {{55.49, 8.457, 4900.0, 1}, {55.49, 8.457, 5100.0, 0}, {78.2, 15.4, 40.0, 1}};
    for (const auto& site : sites) {
        SCOPED_TRACE(site.lat + site.height);
        SppRun run;
        Scenario sc;
        sc.rec = Site(site.lat, site.lon, site.height);
        BuildEpoch(sc, run.epo.get());
        ASSERT_EQ(run.Run(), site.code);
        if (site.code == 1) {
            EXPECT_LT(DistanceTo(run.result, sc.rec), 1e-3);
        }
    }
}

TEST(SinglePointPositioning, ElevationCutOffDropsLowSatellites)
{
    SppRun run;
    Scenario sc;
    sc.minElevDeg = 5.0;   // brings in G21 (5.1 deg) and R17 (6.4 deg); G09 is at 7.7 deg
    BuildEpoch(sc, run.epo.get());
    const int g21 = FindSat(*run.epo, 'G', 21), r17 = FindSat(*run.epo, 'R', 17), g09 = FindSat(*run.epo, 'G', 9);
    ASSERT_GE(g21, 0);
    ASSERT_GE(r17, 0);
    ASSERT_GE(g09, 0);
    const int all = run.epo->epoHead.nUsedSat;

    ASSERT_EQ(run.Run(), 1);
    EXPECT_EQ(run.epo->sat[g21].bUsed, 0);
    EXPECT_EQ(run.epo->sat[r17].bUsed, 0);
    EXPECT_EQ(run.epo->sat[g09].bUsed, 1);
    EXPECT_EQ(run.epo->epoHead.nUsedSat, all - 2);
    EXPECT_EQ(run.epo->epoHead.nUsedSys[0] + run.epo->epoHead.nUsedSys[1] + run.epo->epoHead.nUsedSys[2], all - 2);
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);

    // A cut-off of 8 degrees removes G09 as well.
    SppRun higher;
    BuildEpoch(sc, higher.epo.get());
    higher.engine.spp->m_elevCutoff = 8.0;
    ASSERT_EQ(higher.Run(), 1);
    EXPECT_EQ(higher.epo->sat[g09].bUsed, 0);
}

TEST(SinglePointPositioning, SatelliteWithoutOrbitIsNotUsed)
{
    // The engine reads position, clock and velocity only: a zero position is
    // "no orbit", and the host's validity byte is not looked at.
    SppRun run;
    BuildEpoch(Scenario{}, run.epo.get());
    for (tagSP3ONESAT& o : run.orbits.sat)
        o.bValid = 0;
    const int i = FindSat(*run.epo, 'E', 24);
    ASSERT_GE(i, 0);
    for (double& x : run.orbits.sat[run.epo->sat[i].iprn - 1].dPos)
        x = 0.0;
    const int all = run.epo->epoHead.nUsedSat;
    ASSERT_EQ(run.Run(), 1);
    EXPECT_EQ(run.epo->sat[i].bUsed, 0);
    EXPECT_EQ(run.epo->epoHead.nUsedSat, all - 1);
    EXPECT_EQ(run.epo->epoHead.nUsedSys[2], run.epo->epoHead.nSysSat[2] - 1);
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);
}

TEST(SinglePointPositioning, PreciseWeightsSatisfyTheNormalEquations)
{
    // With a 5 m bias on one satellite (below every removal limit) the
    // residuals of a weighted solution are orthogonal to the design columns
    // under the documented weights: elevation factor times (factor/sigma)^2.
    SppRun run;
    BuildEpoch(Scenario{}, run.epo.get());
    BiasCodes(run.epo.get(), 'R', 8, 5.0);
    ASSERT_EQ(run.Run(), 1);
    ASSERT_GT(DistanceTo(run.result, kEsbc), 0.05);

    const ObsWeight w;   // the configuration carries the default table
    double sums[6] = {};
    double scale = 0.0;
    for (int r = 0; r < run.result.nSatNum; ++r) {
        const tagRESONESAT& res = run.result.res[r];
        const tagSP3ONESAT& o = run.orbits.sat[res.iprn - 1];
        const double elev = ElevationDeg(run.orbits, res.iprn, kEsbc) * _PI / 180.0;
        const double zenith = _PI / 2.0 - elev;
        const int k = res.cSys == 'G' ? 0 : res.cSys == 'R' ? 1 : 2;
        const double p = (zenith < _PI / 3.0 ? 1.0 : 2.0 * std::cos(zenith)) * w.dWeightFactor[k] *
                         w.dWeightFactor[k] / (w.dWeightSigma[k] * w.dWeightSigma[k]);
        const double d[3] = {o.dPos[0] - run.result.dPos[0], o.dPos[1] - run.result.dPos[1],
                             o.dPos[2] - run.result.dPos[2]};
        const double rho = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
        for (int j = 0; j < 3; ++j)
            sums[j] += p * res.dRes2 * (-d[j] / rho);
        sums[3 + k] += p * res.dRes2;
        scale += p * std::fabs(res.dRes2);
    }
    for (double s : sums)
        EXPECT_LT(std::fabs(s), 1e-6 * scale);
}

TEST(SinglePointPositioning, SingleFrequencyPreciseStageNeverTakesTheThirdCode)
{
    SppRun run;
    Scenario sc;
    sc.ionoL1 = 0.0;   // raw codes equal the ionosphere-free code
    BuildEpoch(sc, run.epo.get());
    ASSERT_EQ(run.Run(), 1);
    run.engine.spp->m_singleFreq = 1;

    tagOBSONESAT& s = run.epo->sat[2];
    s.dP3 = s.dP1;
    s.dP1 = 0.0;
    EXPECT_TRUE(run.engine.spp->SPPOneEpochOneIteraPrecise(run.epo.get(), nullptr, &run.orbits, &run.result));
    EXPECT_LT(DistanceTo(run.result, kEsbc), 1e-3);   // the second code stood in

    s.dP2 = 0.0;   // only the third code is left: the satellite has no row and the iteration fails
    EXPECT_FALSE(run.engine.spp->SPPOneEpochOneIteraPrecise(run.epo.get(), nullptr, &run.orbits, &run.result));
    // The approximate stage in single mode does take the third code.
    EXPECT_TRUE(run.engine.spp->SPPOneEpochOneIteraAppro(run.epo.get(), nullptr, &run.orbits, &run.result, true));
}

}  // namespace
