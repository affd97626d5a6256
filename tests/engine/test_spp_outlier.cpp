#include <gtest/gtest.h>

#include <cstring>

#include "support/EngineFixtures.h"

using namespace enginetest;

namespace {

// An epoch of three used satellites (G05, E11, R03) and a solution whose
// residuals are given in the same order.
struct OutlierRig {
    OutlierRig() : engine({'G', 'R', 'E'})
    {
        epo->tTime = EpochTime();
        epo->tGpsTime = EpochGpsTime();
        const tagGNSSPRN ids[3] = {{'G', 5, 5}, {'E', 11, 70}, {'R', 3, 35}};
        epo->nSatNum = 3;
        for (int i = 0; i < 3; ++i) {
            epo->sat[i].cSys = ids[i].cSys;
            epo->sat[i].prn = ids[i].prn;
            epo->sat[i].iprn = ids[i].iprn;
            epo->sat[i].bUsed = 1;
            res.res[i].cSys = ids[i].cSys;
            res.res[i].prn = ids[i].prn;
            res.res[i].iprn = ids[i].iprn;
        }
        epo->epoHead.nUsedSat = 3;
        epo->epoHead.nUsedSys[0] = epo->epoHead.nUsedSys[1] = epo->epoHead.nUsedSys[2] = 1;
        res.nSatNum = 3;
    }
    void Residuals(double a, double b, double c)
    {
        res.res[0].dRes2 = a;
        res.res[1].dRes2 = b;
        res.res[2].dRes2 = c;
    }
    Engine engine;
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
    tagSPPONERESULT res;
};

TEST(SppOutliers, LargestResidualTiesKeepTheEarlierEntry)
{
    OutlierRig rig;
    int idx;
    double val;
    rig.Residuals(3.0, -7.0, 7.0);
    rig.engine.spp->GetMaxResidual(&idx, &val, &rig.res);
    EXPECT_EQ(idx, 1);
    EXPECT_EQ(val, 7.0);
    rig.res.nSatNum = 0;
    rig.engine.spp->GetMaxResidual(&idx, &val, &rig.res);
    EXPECT_EQ(idx, -1);
}

TEST(SppOutliers, StageLimitsRemoveOnlyAboveAndUpdateTheCounts)
{
    // Stage 1 (approximate) removes above 100 m, stage 2 (precise) above 10 m.
    const struct {
        int stage;
        double residual;
        int removed;
    } cases[] = {{1, -100.0, 0}, {1, -100.01, 1}, {2, 10.0, 0}, {2, -10.01, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.residual);
        OutlierRig rig;
        rig.Residuals(0.5, c.residual, 0.0);
        EXPECT_EQ(rig.engine.spp->SPPOutlierDetection(rig.epo.get(), &rig.res, c.stage, false, false, nullptr),
                  c.removed);
        EXPECT_EQ(rig.epo->sat[1].bUsed, 1 - c.removed);
        EXPECT_EQ(rig.epo->epoHead.nUsedSat, 3 - c.removed);
        EXPECT_EQ(rig.epo->epoHead.nUsedSys[2], 1 - c.removed);
        EXPECT_EQ(rig.epo->epoHead.nUsedSys[0], 1);
    }

    // A residual of a satellite missing from the epoch removes nothing.
    OutlierRig rig;
    rig.Residuals(0.0, 500.0, 0.0);
    rig.res.res[1].prn = 12;
    EXPECT_EQ(rig.engine.spp->SPPOutlierDetection(rig.epo.get(), &rig.res, 1, false, false, nullptr), 0);
    EXPECT_EQ(rig.epo->epoHead.nUsedSat, 3);
}

TEST(SppOutliers, DeletionLinesNeedBothLogSwitches)
{
    TempFile log;
    OutlierRig quiet;
    quiet.Residuals(0.5, 0.0, -10.01);
    EXPECT_EQ(quiet.engine.spp->SPPOutlierDetection(quiet.epo.get(), &quiet.res, 2, true, false, log.fp()), 1);
    EXPECT_EQ(log.Text(), "");

    OutlierRig logged;
    logged.Residuals(0.5, 0.0, -10.01);
    EXPECT_EQ(logged.engine.spp->SPPOutlierDetection(logged.epo.get(), &logged.res, 2, true, true, log.fp()), 1);
    EXPECT_EQ(log.Text(), "2020 06 25 00 15 00 2111 346500.00  R03  SPP pr:           -10.0100 \r\n");

    OutlierRig first;
    first.Residuals(150.0, 0.0, 0.0);
    EXPECT_EQ(first.engine.spp->SPPOutlierDetection(first.epo.get(), &first.res, 0, true, true, log.fp()), 1);
    EXPECT_NE(log.Text().find("  G05  SPP sf:           150.0000 \r\n"), std::string::npos);
}

TEST(SatelliteCounts, ComparedUnsignedAgainstSystemsPlusThree)
{
    Engine engine({'G', 'R', 'E'});
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    // The PPP check adds the further unknowns (1 after construction); -1 is huge read unsigned.
    for (int n : {-1, 5, 6, 7}) {
        epo->nSatNum = epo->epoHead.nUsedSat = n;
        EXPECT_EQ(engine.spp->NoEnoughHealthySats(epo.get()), n == 5) << n;
        if (n >= 0) {
            EXPECT_EQ(engine.spp->NoEnoughUsedSats(epo.get()), n < 6) << n;
            EXPECT_EQ(engine.spp->NoOverUsedSats(epo.get()), n < 7) << n;
        }
    }
}

}  // namespace
