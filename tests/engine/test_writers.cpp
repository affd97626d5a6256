#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "support/EngineFixtures.h"
#include "engine/ProcInfoSite.h"

using namespace enginetest;

namespace {

std::string Repeat(const std::string& s, int n)
{
    std::string out;
    for (int i = 0; i < n; ++i)
        out += s;
    return out;
}

// 2020-06-25 13:07:59.999, week 2111, 392879.999 s of week.
void FillEpoch(tagCOMMONTIME* t, tagGPSTIME2* g)
{
    *t = EpochTime();
    t->hour = 13;
    t->minute = 7;
    t->second = 59.999;
    *g = tagGPSTIME2{2111, 392879.999};
}

struct WriterRig {
    explicit WriterRig(std::vector<char> systems = {'G', 'R', 'E'}) : engine(systems)
    {
        FillEpoch(&r.tTime, &r.tGpsTime);
        r.dNEU[0] = 0.0123;
        r.dNEU[1] = -0.4567;
        r.dNEU[2] = 1.2345;
        r.nSatNum = 23;
        const int sysSat[4] = {9, 7, 7, 0}, cnt2[4] = {5, 4, 3, 0}, cnt3[4] = {5, 4, 2, 0};
        std::memcpy(r.nSysSat, sysSat, sizeof(sysSat));
        std::memcpy(r.nSysCnt2, cnt2, sizeof(cnt2));
        std::memcpy(r.nSysCnt3, cnt3, sizeof(cnt3));
        r.dQ0 = 1.234;
        r.dRatio1 = 2.5;
        r.dQual1 = 0.0123;
        r.dQual2 = 0.0456;
        r.dPos[0] = kEsbc.x + 0.1;
        r.dPos[1] = kEsbc.y - 0.2;
        r.dPos[2] = kEsbc.z + 0.3;
        r.dStd[0] = 0.01;
        r.dStd[1] = 0.02;
        r.dStd[2] = 0.03;
        r.dSigma0 = 0.5;
        r.dQ2 = 0.25;
    }
    Engine engine;
    tagSPPONERESULT r;
    TempFile file;
};

TEST(ResultWriters, PositionLine)
{
    WriterRig rig;
    rig.r.dRatio = 3.2;
    EXPECT_EQ(rig.engine.spp->WritePos(rig.file.fp(), &rig.r), 1);
    const std::string expected = "2020 06 25 13 07 59 2111 392880.00      0.0123     -0.4567      1.2345"
                                 "     23  9  7  7  0  1.23"
                                 "   2.500  5  4  3  0   3.200  5  4  2  0 "
                                 "      45.6     12.3 "
                                 "          0.1000        -0.2000         0.3000"
                                 "    0.0100    0.0200    0.0300    0.5000    0.2500"
                                 "\r\n";
    EXPECT_EQ(rig.file.Text(), expected);
}

TEST(ResultWriters, RtklibLineQualityFlagAndScaledDeviations)
{
    WriterRig rig;
    EXPECT_EQ(rig.engine.spp->WritePos_rtklib(rig.file.fp(), &rig.r, 2), 1);
    // Seconds 59.999 round to 60.0 without carrying into the minute;
    // sdx = sqrt(std[2]), sdy = sqrt(std[0]), sdz = sqrt(2 std[1]).
    std::string expected = "2020/06/25 13:07:60.0   3582104.8660    532589.9780   5232755.4390   6  23"
                           "   0.1732   0.1000   0.2000   1.2340   0.5000   0.0123   0.00    0.0\r\n";
    EXPECT_EQ(rig.file.Text(), expected);

    // A fixed solution (ratio above 0) has quality 1 and scaled deviations, whatever the mode.
    WriterRig fixed;
    fixed.r.dRatio = 3.2;
    fixed.engine.spp->WritePos_rtklib(fixed.file.fp(), &fixed.r, 2);
    expected = "2020/06/25 13:07:60.0   3582104.8660    532589.9780   5232755.4390   1  23"
               "   0.0433   0.0250   0.0800   1.2340   0.5000   0.0123   0.00    3.2\r\n";
    EXPECT_EQ(fixed.file.Text(), expected);
}

TEST(ResultWriters, RtklibQualityByMode)
{
    const int modes[] = {0, 1, 2, 3, 4, 7};
    const char* flags[] = {"  0", "  5", "  6", "  0", "  1", "  0"};
    for (int i = 0; i < 6; ++i) {
        WriterRig rig;
        rig.engine.spp->WritePos_rtklib(rig.file.fp(), &rig.r, modes[i]);
        EXPECT_EQ(rig.file.Text().substr(67, 3), flags[i]) << modes[i];
    }
}

TEST(ResultWriters, SatelliteCountAndNorthEastUpLines)
{
    WriterRig rig;
    const tagCRDTOPOCENTRIC neu{1.5, -2.25, 0.125};
    rig.engine.spp->WriteNsat(rig.file.fp(), &rig.r);
    rig.engine.spp->WriteNEU(rig.file.fp(), &rig.r, neu);
    rig.engine.spp->WriteSPPResNEURT(rig.file.fp(), &rig.r, neu);
    EXPECT_EQ(rig.r.dNEU[0], 0.0123);   // only the PPP variant stores
    rig.engine.spp->WritePPPResNEURT(rig.file.fp(), &rig.r, neu);
    EXPECT_EQ(rig.r.dNEU[0], 1.5);
    EXPECT_EQ(rig.r.dNEU[1], -2.25);
    EXPECT_EQ(rig.r.dNEU[2], 0.125);
    const std::string rt = "2020 06 25 13 07 59   2111   392880.00       1.5000    -2.2500     0.1250 \r\n";
    const std::string expected = "2020 06 25 13 07 59 2111 392880.00  23  9  7  7  0      1.234 \r\n"
                                 "2020 06 25 13 07 59  2111  392880.00          1.5000        -2.2500         0.1250 \r\n" +
                                 rt + rt;
    EXPECT_EQ(rig.file.Text(), expected);
}

TEST(ResultWriters, ResidualLinesOnlyForListedSystems)
{
    WriterRig rig({'G', 'E'});
    TempFile phase;
    tagSPPONERESULT& r = rig.r;
    r.bValid = 1;
    r.nSatNum = 4;
    const tagRESONESAT entries[4] = {
        {'G', 5, 5, 1.5, 0.015, 0.0, 0.0, 0.0},
        {'R', 3, 35, 7.0, 0.07, 0.0, 0.0, 0.0},   // GLONASS is not processed: not written
        {'E', 11, 70, -2.25, -0.0225, 0.0, 0.0, 0.0},
        {'G', 5, 5, 9.0, 9.0, 0.0, 0.0, 0.0},   // a second entry of G05 is never reached
    };
    std::memcpy(r.res, entries, sizeof(entries));
    EXPECT_EQ(rig.engine.spp->WritePPPResidualRT(rig.file.fp(), phase.fp(), &r), 1);

    const std::string prefix = "2020 06 25 13 07 59 2111 392880.00";
    const std::string none = " 99999.000";
    EXPECT_EQ(rig.file.Text(), prefix + Repeat(none, 4) + "     1.500" + Repeat(none, 27) + Repeat(none, 10) +
                                   "    -2.250" + Repeat(none, 19) + "\r\n");
    EXPECT_EQ(phase.Text(), prefix + Repeat(none, 4) + "     0.015" + Repeat(none, 27) + Repeat(none, 10) +
                                "    -0.022" + Repeat(none, 19) + "\r\n");

    // An invalid solution writes nothing.
    WriterRig invalid({'G'});
    EXPECT_EQ(invalid.engine.spp->WritePPPResidualRT(invalid.file.fp(), invalid.file.fp(), &invalid.r), 1);
    EXPECT_EQ(invalid.file.Text(), "");
}

TEST(CombinationWriter, FourColumnsPerSlotOfTheListedSystems)
{
    Engine engine({'G'});
    auto epo = std::make_unique<tagGPSOBSONEEPO>();
    FillEpoch(&epo->tTime, &epo->tGpsTime);
    epo->nSatNum = 3;
    epo->sat[0] = tagOBSONESAT{};
    epo->sat[0].cSys = 'G';
    epo->sat[0].prn = 5;
    epo->sat[0].nSmoothState = 3;
    epo->sat[0].dMW = 1.2346;
    epo->sat[0].dLDiffCyc = -3.5;
    epo->sat[0].dMWMeanCyc = 1.4321;
    epo->sat[1] = epo->sat[0];
    epo->sat[1].prn = 7;
    epo->sat[1].nSmoothState = 2;   // no running mean to write
    epo->sat[1].dMW = 0.5;
    epo->sat[1].dLDiffCyc = 0.25;
    epo->sat[2] = epo->sat[0];
    epo->sat[2].cSys = 'E';   // Galileo is not in the list

    TempFile a, b, c, d;
    EXPECT_EQ(engine.spp->WriteMW_GF(a.fp(), b.fp(), c.fp(), d.fp(), epo.get()), 1);
    const std::string prefix = "2020 06 25 13 07 59 2111 392880.00";
    const std::string none = " 99999.000";
    EXPECT_EQ(a.Text(), prefix + Repeat(none, 4) + "     1.235" + none + "     0.500" + Repeat(none, 25) + "\r\n");
    EXPECT_EQ(b.Text(), prefix + Repeat(none, 4) + "    -3.500" + none + "     0.250" + Repeat(none, 25) + "\r\n");
    const std::string mean = prefix + Repeat(none, 4) + "     1.432" + Repeat(none, 27) + "\r\n";
    EXPECT_EQ(c.Text(), mean);
    EXPECT_EQ(d.Text(), mean);
}

// A cofactor whose error figure (q x 0.0009 x 1000) is exactly 1.0.
double CofactorForUnitError()
{
    double q = 1.0 / 0.9;
    for (int step = 0; step < 8 && q * 0.0009 * 1000.0 != 1.0; ++step)
        q = std::nextafter(q, q * 0.0009 * 1000.0 > 1.0 ? 0.0 : 2.0);
    return q;
}

// The troposphere state of a site: ZWD 0.1234 m on a ZHD of 2.3 m.
struct ZtdRig {
    ZtdRig() : engine({'G'})
    {
        FillEpoch(&t, &g);
        site.X.SetSize(1, 1);
        site.X(0, 0) = 0.1234;
        site.Qxx.SetSize(1, 1);
        site.dZHD = 2.3;
    }
    void SetCofactor(double q) { site.Qxx(0, 0) = q; }
    int Write(bool cost) { return engine.spp->WriteZTD(file.fp(), &t, &g, &site, cost); }
    Engine engine;
    tagCOMMONTIME t;
    tagGPSTIME2 g;
    PROCINFOSITE site;
    TempFile file;
};

TEST(ZenithDelayWriter, CostAndPlainLines)
{
    ZtdRig cost, plain;
    cost.SetCofactor(CofactorForUnitError());
    plain.SetCofactor(CofactorForUnitError());
    ASSERT_EQ(CofactorForUnitError() * 0.0009 * 1000.0, 1.0);

    EXPECT_EQ(cost.Write(true), 1);
    EXPECT_EQ(cost.file.Text(), " 13 07 59 ffffffff  2423.4    1.0   -9.9   -9.9   -9.9   -9.9   -9.9 999.99 999.99"
                                "  -9.99  -9.99 -99.999\r\n   0\r\n");
    EXPECT_EQ(plain.Write(false), 1);
    EXPECT_EQ(plain.file.Text(), " 2020 06 25 13 07 59   2111   392880.00            2423.4           123.4\r\n");

    // A larger or unknown error suppresses the line.
    ZtdRig rig;
    rig.SetCofactor(1.0000001 / 0.9);
    EXPECT_EQ(rig.Write(true), 0);
    rig.SetCofactor(std::nan(""));
    EXPECT_EQ(rig.Write(false), 0);
    EXPECT_EQ(rig.file.Text(), "");
}

}  // namespace
