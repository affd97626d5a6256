#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "support/EngineFixtures.h"
#include "common/GNSSConst.h"
#include "engine/ProcInfoSite.h"

using enginetest::Engine;
using enginetest::TempFile;

namespace {

using Matrix = math::matrix<double>;

Matrix Filled(unsigned rows, unsigned cols, double value)
{
    Matrix m(rows, cols);
    for (unsigned i = 0; i < rows; ++i)
        for (unsigned j = 0; j < cols; ++j)
            m(i, j) = value;
    return m;
}

// Eight GPS satellites in the epoch and in the solution record, quiet
// residuals, and a filter state whose backups differ from its current values.
struct OutlierTest : ::testing::Test {
    static constexpr int kSats = 8;
    OutlierTest()
    {
        std::memset(epo.get(), 0, sizeof(tagGPSOBSONEEPO));
        epo->tTime = enginetest::EpochTime();
        epo->tGpsTime = enginetest::EpochGpsTime();
        result->tTime = epo->tTime;
        result->tGpsTime = epo->tGpsTime;
        for (int i = 0; i < kSats; ++i) {
            tagOBSONESAT& s = epo->sat[epo->nSatNum++];
            s.cSys = 'G';
            s.prn = s.iprn = 3 * i + 2;
            s.bUsed = 1;
            s.dSatWeight = 1.0;
            tagRESONESAT& r = result->res[i];
            r.cSys = 'G';
            r.prn = r.iprn = s.prn;
            r.dRes1 = 0.5;          // code (m)
            r.dRes2 = 0.004;        // phase (m)
            r.dStdRes = 0.4 + 0.1 * i;
            r.dStdResCode = 0.2;
        }
        epo->epoHead.nSysSat[0] = epo->epoHead.nUsedSys[0] = epo->epoHead.nUsedSat = kSats;
        result->nSatNum = result->nSysSat[0] = kSats;

        ps.NY = Filled(3, 3, 2.0);
        ps.NY_bak = Filled(3, 3, 1.0);
        ps.UY = Filled(3, 1, 2.0);
        ps.UY_bak = Filled(3, 1, 1.0);
        ps.paraList = Filled(1, 3, 7.0);
        ps.paraList_bak = Filled(1, 2, 5.0);
        ps.ambList = Filled(2, 2, 9.0);
        ps.ambList_bak = Filled(2, 1, 8.0);
        ps.epochCount = 12;
        ps.epochCount_bak = 11;
        ps.nextId = 30;
        ps.nextId_bak = 28;
        const tagCRDCARTESIAN a = enginetest::kEsbc;
        ps.dAprioriPos[0] = a.x;
        ps.dAprioriPos[1] = a.y;
        ps.dAprioriPos[2] = a.z;
        for (int k = 0; k < 4; ++k) {
            ps.dSavedClk[k] = 1e-4 * (k + 1);
            result->dClk[k] = 5.0;
        }
        for (int k = 0; k < 3; ++k)
            result->dPos[k] = 1.0;
    }
    int Test(bool logs = true)
    {
        return engine.spp->PPPOutlierDetection_test(epo.get(), result.get(), &ps, logs, logs, deletions.fp(),
                                                    residuals.fp());
    }
    bool RolledBack() const
    {
        return ps.NY(0, 0) == 1.0 && ps.UY(0, 0) == 1.0 && ps.paraList.ColNo() == 2 && ps.ambList.ColNo() == 1 &&
               ps.epochCount == 11 && ps.nextId == 28;
    }
    bool Untouched() const
    {
        return ps.NY(0, 0) == 2.0 && ps.UY(0, 0) == 2.0 && ps.paraList.ColNo() == 3 && ps.ambList.ColNo() == 2 &&
               ps.epochCount == 12 && ps.nextId == 30 && epo->epoHead.nUsedSat == kSats;
    }
    // The deletion log line of a satellite.
    static std::string Line(int prn, const char* label, double value)
    {
        char line[128];
        std::snprintf(line, sizeof(line), "2020 06 25 00 15 00 2111 346500.00   G%02d  %s: %18.4f \r\n", prn, label,
                      value);
        return line;
    }

    Engine engine{{'G'}};
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
    std::unique_ptr<tagSPPONERESULT> result = std::make_unique<tagSPPONERESULT>();
    PROCINFOSITE ps;
    TempFile deletions, residuals;
};

TEST_F(OutlierTest, StandardisedPhaseResidualOfFourPassesAndJustAboveRemoves)
{
    EXPECT_EQ(Test(), 0);   // quiet residuals
    EXPECT_TRUE(Untouched());
    EXPECT_EQ(deletions.Text(), "");
    result->res[3].dStdRes = -4.0;
    EXPECT_EQ(Test(), 0);
    EXPECT_TRUE(Untouched());

    result->res[3].dStdRes = -4.0001;
    result->res[3].dRes2 = -0.0412;
    EXPECT_EQ(Test(), 1);
    EXPECT_EQ(epo->sat[3].bUsed, 0);
    EXPECT_EQ(epo->epoHead.nUsedSat, kSats - 1);
    EXPECT_EQ(epo->epoHead.nUsedSys[0], kSats - 1);
    EXPECT_TRUE(RolledBack());
    // The clocks of the single point solution and the a-priori position come back.
    for (int k = 0; k < 4; ++k)
        EXPECT_EQ(result->dClk[k], ps.dSavedClk[k]);
    EXPECT_EQ(result->dPos[0], ps.dAprioriPos[0]);
    EXPECT_NEAR(result->dBLH[0] * 180.0 / _PI, 55.49, 0.01);
    EXPECT_EQ(deletions.Text(), Line(11, "PPP f phase D!", -0.0412));
}

TEST_F(OutlierTest, CodeResidualOfThirtyMetresPassesAndJustAboveRemoves)
{
    // The code residual judged is that of the satellite with the largest
    // standardised code residual, not the largest code residual.
    result->res[1].dRes1 = 80.0;
    result->res[5].dRes1 = -30.0;
    result->res[5].dStdResCode = 2.0;
    EXPECT_EQ(Test(), 0);
    EXPECT_TRUE(Untouched());

    result->res[5].dRes1 = -30.0001;
    EXPECT_EQ(Test(), 1);
    EXPECT_EQ(epo->sat[5].bUsed, 0);
    EXPECT_TRUE(RolledBack());
    EXPECT_EQ(deletions.Text(), Line(17, "PPP f code  D!", -30.0001));
}

TEST_F(OutlierTest, PhaseMaximumSatelliteIsDownWeightedByItsCodeStatistic)
{
    // Satellite 7 has the largest standardised phase residual (below 4); its
    // standardised code residual above 3 down-weights it without a roll-back.
    result->res[7].dStdRes = 3.5;
    result->res[7].dStdResCode = -3.2;
    result->res[7].dRes1 = 9.6;
    EXPECT_EQ(Test(), 1);
    EXPECT_EQ(epo->sat[7].dSatWeight, 0.09);
    EXPECT_EQ(epo->sat[7].bUsed, 1);
    EXPECT_TRUE(Untouched());
    EXPECT_EQ(deletions.Text(), Line(23, "PPP f code  R!", 9.6));
    // Picked again on the repeat: the factor is applied again.
    EXPECT_EQ(Test(), 1);
    EXPECT_DOUBLE_EQ(epo->sat[7].dSatWeight, 0.09 * 0.09);

    // A large code statistic of another satellite is left alone.
    result->res[2].dStdResCode = 25.0;
    result->res[2].dRes1 = 12.0;
    result->res[7].dStdResCode = 0.2;
    EXPECT_EQ(Test(), 0);
    EXPECT_EQ(epo->sat[2].dSatWeight, 1.0);
}

TEST_F(OutlierTest, ResidualLogListsEverySatelliteOfTheSolution)
{
    epo->sat[6].bUsed = 0;
    epo->epoHead.nUsedSat = kSats - 1;
    result->nSysSat[0] = 2;   // entries are counted from the per-system counts
    ASSERT_EQ(Test(), 0);
    const std::string want = "2020 06 25 00 15 00 2111 346500.00    8    7\r\n"
                             "G02             0.0040             0.5000             0.4000             0.2000 \r\n"
                             "G05             0.0040             0.5000             0.5000             0.2000 \r\n";
    EXPECT_EQ(residuals.Text(), want);
    EXPECT_EQ(Test(false), 0);
    EXPECT_EQ(residuals.Text(), want);
}

}  // namespace
