#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>

#include "support/EngineFixtures.h"
#include "PPPSimulation.h"
#include "common/GNSSConst.h"

using enginetest::Engine;
using enginetest::TempFile;
using pppsim::Simulator;

namespace {

using Matrix = math::matrix<double>;

// The outputs of one call of the model.
struct Model {
    Matrix A1, A2, sats, P[2], L, extra;
    double trop[128 + 2 * MAXSATNUM] = {};
    int Run(CGNSSSPP& spp, tagSPPONERESULT* apriori, tagGPSOBSONEEPO* epo, tagGMSP3REC* orb)
    {
        return spp.GenPPPKinLSM_A_B_P_L_RT(A1, A2, sats, P, L, extra, apriori, epo, orb, nullptr, trop, nullptr,
                                           nullptr);
    }
};

// A noise-free simulated epoch, and an a-priori solution at the truth.
struct TruthEpoch {
    explicit TruthEpoch(double sow = pppsim::kStartSow + 3600.0) : sim(NoiseFree())
    {
        sim.Observe(sow, epo.get(), orb.get());
        const tagCRDCARTESIAN& site = sim.setup().site;
        apriori->dPos[0] = site.x;
        apriori->dPos[1] = site.y;
        apriori->dPos[2] = site.z;
        apriori->dClk[0] = Simulator::ReceiverClock('G', sow);
        apriori->dClk[2] = Simulator::ReceiverClock('E', sow);
    }
    static pppsim::SimSetup NoiseFree()
    {
        pppsim::SimSetup s;
        s.codeSigma = s.phaseSigma = 0.0;
        return s;
    }
    // Leaves only the satellites of one system in the epoch.
    void KeepOnly(char sys)
    {
        tagGPSOBSONEEPO kept = *epo;
        kept.nSatNum = 0;
        std::memset(&kept.epoHead, 0, sizeof(kept.epoHead));
        for (int i = 0; i < epo->nSatNum; ++i)
            if (epo->sat[i].cSys == sys) {
                kept.sat[kept.nSatNum++] = epo->sat[i];
                ++kept.epoHead.nSysSat[judge_sys(sys)];
                ++kept.epoHead.nUsedSys[judge_sys(sys)];
                ++kept.epoHead.nUsedSat;
            }
        *epo = kept;
    }
    Simulator sim;
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
    std::unique_ptr<tagGMSP3REC> orb = std::make_unique<tagGMSP3REC>();
    std::unique_ptr<tagSPPONERESULT> apriori = std::make_unique<tagSPPONERESULT>();
};

TEST(PPPModel, AtTheTruthTheCodeResidualIsTheSlantWetDelay)
{
    Engine engine({'G', 'E'});
    for (double sow : {pppsim::kStartSow + 3600.0, pppsim::kStartSow + 3630.0}) {
        TruthEpoch truth(sow);
        Model model;
        ASSERT_EQ(model.Run(*engine.spp, truth.apriori.get(), truth.epo.get(), truth.orb.get()), 1);
        const int m = truth.epo->nSatNum;
        ASSERT_GE(m, 8);
        ASSERT_EQ(static_cast<int>(model.L.ColNo()), 2 * m);
        EXPECT_NEAR(model.trop[0], 2.3, 0.1);   // hydrostatic zenith delay near sea level
        EXPECT_EQ(model.trop[2], model.trop[0] + model.trop[1]);
        for (int i = 0; i < m; ++i) {
            const tagOBSONESAT& s = truth.epo->sat[i];
            const double wet = 0.1 * model.trop[251 + s.iprn];
            EXPECT_EQ(model.sats(0, i), s.iprn);
            EXPECT_EQ(model.A2(i, 0), model.trop[251 + s.iprn]);
            EXPECT_NEAR(model.L(0, 2 * i), wet, 1e-3) << s.cSys << s.prn;
            EXPECT_EQ(s.dOmcPIF, model.L(0, 2 * i));
            EXPECT_EQ(s.dOmcLIF, model.L(0, 2 * i + 1));
            // The ionosphere-free combinations of the single-frequency by-products.
            const double r2 = std::pow(s.dF2 / s.dF1, 2);
            const double p1 = model.extra(0, 2 * m + 2 * i), p2 = model.extra(0, 4 * m + 2 * i);
            const double l1 = model.extra(0, 2 * m + 2 * i + 1), l2 = model.extra(0, 4 * m + 2 * i + 1);
            EXPECT_NEAR((p1 - r2 * p2) / (1 - r2), model.L(0, 2 * i), 1e-6);
            EXPECT_NEAR((l1 - r2 * l2) / (1 - r2), model.L(0, 2 * i + 1), 1e-6);
            EXPECT_NEAR(model.extra(0, 2 * i), (s.dF1 * p1 + s.dF2 * p2) / (s.dF1 + s.dF2), 1e-6);
        }
    }
}

TEST(PPPModel, PhaseResidualMinusCodeResidualIsTheConstantAmbiguity)
{
    Engine engine({'G', 'E'});
    TruthEpoch first(pppsim::kStartSow + 3600.0), later(pppsim::kStartSow + 4200.0);
    Model a, b;
    ASSERT_EQ(a.Run(*engine.spp, first.apriori.get(), first.epo.get(), first.orb.get()), 1);
    ASSERT_EQ(b.Run(*engine.spp, later.apriori.get(), later.epo.get(), later.orb.get()), 1);
    int common = 0;
    for (unsigned i = 0; i < a.sats.ColNo(); ++i)
        for (unsigned j = 0; j < b.sats.ColNo(); ++j)
            if (a.sats(0, i) == b.sats(0, j)) {
                ++common;
                EXPECT_NEAR(a.L(0, 2 * i + 1) - a.L(0, 2 * i), b.L(0, 2 * j + 1) - b.L(0, 2 * j), 1e-3);
            }
    EXPECT_GE(common, 6);
}

TEST(PPPModel, ColumnsFollowTheDynamicsAndTheSystems)
{
    struct Case {
        int posMode;
        std::vector<char> systems;
        unsigned a1, a2;
    };
    const Case cases[] = {
        {3, {'G'}, 4, 1}, {2, {'G'}, 1, 4}, {1, {'G'}, 1, 1}, {0, {'G', 'E'}, 5, 1}, {2, {'G', 'E'}, 2, 4},
    };
    for (const Case& c : cases) {
        Engine engine(c.systems);
        engine.conf.pos_mode = c.posMode;
        TruthEpoch truth;
        if (c.systems.size() == 1)
            truth.KeepOnly('G');
        Model model;
        ASSERT_EQ(model.Run(*engine.spp, truth.apriori.get(), truth.epo.get(), truth.orb.get()), 1);
        EXPECT_EQ(model.A1.ColNo(), c.a1) << "mode " << c.posMode;
        EXPECT_EQ(model.A2.ColNo(), c.a2) << "mode " << c.posMode;
        // Clock columns: 1 in the column of the satellite's own system.
        const unsigned clock0 = c.a1 - static_cast<unsigned>(c.systems.size());
        for (unsigned i = 0; i < model.A1.RowNo(); ++i) {
            const unsigned own = clock0 + (truth.epo->sat[i].cSys == 'E' ? 1 : 0);
            for (unsigned j = clock0; j < c.a1; ++j)
                EXPECT_EQ(model.A1(i, j), j == own ? 1.0 : 0.0);
        }
        // The line-of-sight columns, in A1 or (static) in A2: unit vectors up
        // to the Earth-rotation term of the range they are divided by.
        if (c.posMode == 1)
            continue;
        const Matrix& los = c.posMode == 2 ? model.A2 : model.A1;
        const unsigned first = c.posMode == 2 ? 1 : 0;
        for (unsigned i = 0; i < los.RowNo(); ++i)
            EXPECT_NEAR(std::hypot(los(i, first), los(i, first + 1), los(i, first + 2)), 1.0, 1e-5);
    }
}

// A GPS epoch whose satellites sit at chosen elevations (degrees) around
// of the receiver, 20000 km away.
struct GeometryEpoch {
    explicit GeometryEpoch(std::initializer_list<double> elevations)
    {
        std::memset(epo.get(), 0, sizeof(tagGPSOBSONEEPO));
        std::memset(orb.get(), 0, sizeof(tagGMSP3REC));
        epo->tTime = enginetest::EpochTime();
        epo->tGpsTime = enginetest::EpochGpsTime();
        tagCRDCARTESIAN rec = enginetest::kEsbc;
        apriori->dPos[0] = rec.x;
        apriori->dPos[1] = rec.y;
        apriori->dPos[2] = rec.z;
        int prn = 1;
        for (double e : elevations) {
            const tagCRDCARTESIAN sat = enginetest::PointSeenFrom(rec, e, 0.4 * prn);
            tagSP3ONESAT& o = orb->sat[prn - 1];
            o.dPos[0] = sat.x;
            o.dPos[1] = sat.y;
            o.dPos[2] = sat.z;
            o.bValid = 1;
            tagOBSONESAT& s = epo->sat[epo->nSatNum++];
            s.cSys = 'G';
            s.prn = s.iprn = prn++;
            s.bUsed = 1;
            s.dSatWeight = 1.0;
            s.dF1 = _GPS_F1;
            s.dF2 = _GPS_F2;
            s.dP1 = s.dP2 = 2e7;
            ++epo->epoHead.nSysSat[0];
            ++epo->epoHead.nUsedSys[0];
            ++epo->epoHead.nUsedSat;
        }
    }
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
    std::unique_ptr<tagGMSP3REC> orb = std::make_unique<tagGMSP3REC>();
    std::unique_ptr<tagSPPONERESULT> apriori = std::make_unique<tagSPPONERESULT>();
};

TEST(PPPModel, ElevationWeightIsContinuousAtThirtyDegrees)
{
    Engine engine({'G'});
    const double tiny = 1e-9;
    GeometryEpoch g({30.0 + tiny, 30.0 - tiny, 30.0, 15.0, 60.0, 85.0});
    g.epo->sat[4].dSatWeight = 0.5;
    Model model;
    ASSERT_EQ(model.Run(*engine.spp, g.apriori.get(), g.epo.get(), g.orb.get()), 1);
    ASSERT_EQ(model.P[0].ColNo(), 6u);
    const double a = 4.0, b = 300.0;   // GPS factor and code-to-phase sigma ratio of the default table
    const double want[6] = {1.0, 1.0, 1.0, 2.0 * std::sin(15.0 * _PI / 180.0), 1.0, 1.0};
    for (int i = 0; i < 6; ++i) {
        EXPECT_NEAR(model.P[0](0, i) / (a * a), want[i], 1e-8) << i;
        EXPECT_NEAR(model.P[1](0, i), model.P[0](0, i) / (b * b) * g.epo->sat[i].dSatWeight, 1e-15) << i;
    }
}

TEST(PPPModel, SatelliteBelowTheCutOffLeavesTheEpochCounts)
{
    Engine engine({'G'});
    engine.spp->m_elevCutoff = 10.0;
    GeometryEpoch g({40.0, 9.0, 50.0, 60.0, 70.0});
    Model model;
    ASSERT_EQ(model.Run(*engine.spp, g.apriori.get(), g.epo.get(), g.orb.get()), 1);
    EXPECT_EQ(g.epo->sat[1].bUsed, 0);
    EXPECT_EQ(g.epo->epoHead.nUsedSat, 4);
    EXPECT_EQ(g.epo->epoHead.nUsedSys[0], 4);
    EXPECT_EQ(model.A1.RowNo(), 4u);
    EXPECT_EQ(model.sats(0, 1), 3.0);

    // One system needs four satellites: dropping the second of four refuses the epoch.
    GeometryEpoch few({40.0, 9.0, 50.0, 60.0});
    Model none;
    EXPECT_EQ(none.Run(*engine.spp, few.apriori.get(), few.epo.get(), few.orb.get()), 0);
    EXPECT_EQ(few.epo->epoHead.nUsedSat, 3);
}

TEST(PPPModel, WindUpFollowsThePreviousEpochAcrossTheHalfCycle)
{
    Engine engine({'G'});
    CGNSSSPP& spp = *engine.spp;
    spp.m_set.bWindUp = 1;
    GeometryEpoch g({20.0, 35.0, 50.0, 65.0, 80.0});
    Model model;
    // Against a previous value of 0 the wind-up is stored as computed (within half a cycle).
    ASSERT_EQ(model.Run(spp, g.apriori.get(), g.epo.get(), g.orb.get()), 1);
    int checked = 0;
    for (int slot = 0; slot < 5; ++slot) {
        const double w = spp.m_satVal[slot];
        ASSERT_LE(std::fabs(w), 0.5);
        // A jump of 0.7 cycles is taken as -0.3.
        spp.m_satVal[slot] = w - 0.7;
        ASSERT_EQ(model.Run(spp, g.apriori.get(), g.epo.get(), g.orb.get()), 1);
        EXPECT_NEAR(spp.m_satVal[slot] - (w - 0.7), -0.3, 1e-12);
        // A jump of exactly half a cycle is kept as it is.
        const double previous = w >= 0.0 ? w - 0.5 : w + 0.5;
        if (std::fabs(w - previous) != 0.5)
            continue;   // the half cycle is not exact in binary for this value
        spp.m_satVal[slot] = previous;
        ASSERT_EQ(model.Run(spp, g.apriori.get(), g.epo.get(), g.orb.get()), 1);
        EXPECT_EQ(spp.m_satVal[slot], w);
        ++checked;
    }
    EXPECT_GE(checked, 1);
}

// ------------------------------------------------------------ prefit screening

struct Prefit : ::testing::Test {
    Prefit()
    {
        engine.conf.interval = 30.0;
        std::memset(epo.get(), 0, sizeof(tagGPSOBSONEEPO));
        epo->tTime = enginetest::EpochTime();   // 00:15:00
        epo->tTime.hour = 1;
        epo->tTime.minute = 2;
        epo->tTime.second = 3.0;
        epo->tGpsTime = tagGPSTIME2{2111, 349323.0};
    }
    // n satellites with code residuals of +-spread m.
    void Fill(int n, double spread = 0.5)
    {
        for (int i = 0; i < n; ++i) {
            tagOBSONESAT& s = epo->sat[i];
            s.cSys = 'G';
            s.prn = s.iprn = i + 1;
            s.bUsed = 1;
            s.dOmcPIF = i % 2 ? spread : -spread;
        }
        epo->nSatNum = epo->epoHead.nUsedSat = n;
    }
    Engine engine{{'G'}};
    std::unique_ptr<tagGPSOBSONEEPO> epo = std::make_unique<tagGPSOBSONEEPO>();
};

TEST_F(Prefit, NeedsThreeSigmaAndThirtyMetresAndTheLastOutlierWins)
{
    const struct {
        int sats;
        double spread;
        int at[2];
        double value[2];
        int expected;
    } cases[] = {
        {30, 0.5, {4, 20}, {40.0, -40.0}, 20},   // several outliers: the last wins
        {10, 0.0, {3, 3}, {40.0, 40.0}, -1},      // exactly three sigma (mean 4, sigma 12) passes
        {30, 0.5, {3, 3}, {29.0, 29.0}, -1},      // far beyond three sigma, within 30 m
    };
    TempFile log;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.expected);
        Fill(c.sats, c.spread);
        for (int k = 0; k < 2; ++k)
            epo->sat[c.at[k]].dOmcPIF = c.value[k];
        EXPECT_EQ(engine.spp->PrefitResiduals(epo.get(), true, true, log.fp()), c.expected);
    }
    EXPECT_EQ(log.Text().find(" G04 "), std::string::npos);
    // A satellite out of use takes no part.
    Fill(30);
    epo->sat[3].bUsed = 0;
    epo->sat[3].dOmcPIF = 1000.0;
    epo->epoHead.nUsedSat = 29;
    EXPECT_EQ(engine.spp->PrefitResiduals(epo.get(), false, false, nullptr), -1);
    // Logs off: flagged, nothing written; on: one line. Epoch number: 3723 s
    // of the day at 30 s, plus one. The mean and sigma conversions of the line
    // have no conversion letter and print as they stand.
    for (bool logOn : {false, true}) {
        TempFile file;
        Fill(12);
        epo->sat[7].dOmcPIF = 40.0;
        EXPECT_EQ(engine.spp->PrefitResiduals(epo.get(), true, logOn, file.fp()), 7);
        EXPECT_EQ(file.Text(), logOn ? "2020 06 25 01 02 03 2111 349323.00      125  G08 OMC ppp: "
                                       "           40.0000 %18.4 %18.4 \r\n"
                                     : "");
    }
}

}  // namespace
