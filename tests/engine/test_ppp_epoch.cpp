#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>

#include "FacadeRun.h"
#include "common/GNSSConst.h"
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "engine/ProcInfoSite.h"

using namespace pppsim;

namespace {

constexpr int kThreeHours = 360;   // epochs of 30 s

double Sow(int k)
{
    return kStartSow + 30.0 * k;
}

// The site's coordinates handed to the library, two metres off the truth.
RunOptions StaticRun()
{
    RunOptions o;
    const SimSetup truth;
    o.apriori = {truth.site.x + 1.2, truth.site.y - 0.9, truth.site.z + 1.3};
    return o;
}

// Identifier of a satellite's ambiguity in the filter, or -1.
double AmbiguityId(PROCINFOSITE& ps, int iprn, int nonAmbiguity)
{
    const int column = GetIndexInMatrixCol(ps.ambList, iprn);
    return column < 0 ? -1.0 : ps.paraList(0, nonAmbiguity + column);
}

// The used satellite of the last solution with the highest elevation, of
// one system or (0) of any.
int HighestSatellite(const tagSPPONERESULT& r, char sys = 0)
{
    int best = -1;
    for (int i = 0; i < r.nSatNum; ++i)
        if ((sys == 0 || r.res[i].cSys == sys) && (best < 0 || r.res[i].dElev > r.res[best].dElev))
            best = i;
    return best < 0 ? -1 : r.res[best].iprn;
}

double Distance(const double a[3], const double b[3])
{
    return std::sqrt((a[0] - b[0]) * (a[0] - b[0]) + (a[1] - b[1]) * (a[1] - b[1]) + (a[2] - b[2]) * (a[2] - b[2]));
}

TEST(PPPFloatSimulation, EachDynamicsConvergesToTheKnownSite)
{
    // Static (piecewise constant or random-walk troposphere), kinematic (RMS
    // of the last hour) and fixed coordinates, two metres off the truth
    // except when fixed.
    const struct {
        int posMode;
        double processNoise, position, zwd;
    } cases[] = {{2, 0.0, 0.005, 0.005}, {2, 1e-3, 0.005, 0.005}, {3, 0.0, 0.05, 0.01}, {1, 0.0, 0.0, 0.005}};
    for (const auto& c : cases) {
        SCOPED_TRACE("mode " + std::to_string(c.posMode) + ", noise " + std::to_string(c.processNoise));
        Simulator sim(SimSetup{});
        RunOptions options = StaticRun();
        options.posMode = c.posMode;
        options.processNoise = c.processNoise;
        if (c.posMode == 1)
            options.apriori = sim.setup().site;
        FacadeRun run(sim, options);
        double sum = 0.0;
        for (int k = 0; k < kThreeHours; ++k) {
            ASSERT_EQ(run.Step(Sow(k)), 2) << "epoch " << k;
            if (k >= kThreeHours - 120)
                sum += run.PositionError() * run.PositionError();
        }
        const tagSPPONERESULT& r = run.result();
        EXPECT_LE(c.posMode == 3 ? std::sqrt(sum / 120) : run.PositionError(), c.position);
        EXPECT_NEAR(r.dZWD, sim.setup().zwd, c.zwd);
        EXPECT_NEAR(r.dZTD, r.dZHD + r.dZWD, 1e-12);
        EXPECT_EQ(run.state().epochCount, kThreeHours);
        // The squared length of the correction to the a-priori coordinates
        // (differences of millions of metres carry 1e-9 m).
        EXPECT_NEAR(std::sqrt(r.dDx2), Distance(r.dPos, run.state().dAprioriPos), 1e-8);
        if (c.posMode == 3)
            continue;
        // Receiver clocks: the epoch parameters after back-substitution.
        const double sow = Sow(kThreeHours - 1);
        EXPECT_NEAR(r.dClk[0], Simulator::ReceiverClock('G', sow), 0.5e-9);
        EXPECT_NEAR(r.dClk[2], Simulator::ReceiverClock('E', sow), 0.5e-9);
        if (c.posMode == 1) {
            // Only the troposphere and the ambiguities are carried.
            EXPECT_EQ(r.dDx2, 0.0);
            EXPECT_EQ(run.state().paraList.ColNo(), run.state().ambList.ColNo() + 1);
        }
    }
}

// The same simulation twice, once undisturbed: the difference of the two
// solutions is the effect of the disturbance alone.
struct TwinRuns {
    explicit TwinRuns(bool logs = false) : clean(cleanSim, StaticRun()), disturbed(sim, Options(logs)) {}
    static RunOptions Options(bool logs)
    {
        RunOptions o = StaticRun();
        o.logs = logs;
        return o;
    }
    void Step(int k, const std::function<void(tagGPSOBSONEEPO&)>& edit = nullptr)
    {
        ASSERT_EQ(clean.Step(Sow(k)), 2) << "epoch " << k;
        ASSERT_EQ(disturbed.Step(Sow(k), edit), 2) << "epoch " << k;
    }
    double Difference() const { return Distance(clean.result().dPos, disturbed.result().dPos); }

    Simulator cleanSim{SimSetup{}}, sim{SimSetup{}};
    FacadeRun clean, disturbed;
};

// An outlier of the ionosphere-free code and phase of a satellite (m),
// shaped so that the Melbourne-Wuebbena combination does not change: the
// narrow-lane code and the wide-lane phase stay as they are. The slip
// detector therefore lets it through to the PPP outlier rules.
std::function<void(tagGPSOBSONEEPO&)> Outlier(int iprn, double code, double phase)
{
    return [=](tagGPSOBSONEEPO& epo) {
        for (int i = 0; i < epo.nSatNum; ++i) {
            tagOBSONESAT& s = epo.sat[i];
            if (s.iprn != iprn)
                continue;
            const double r = s.dF2 / s.dF1;
            const double p1 = code * (1.0 - r), phase1 = phase * (1.0 + r);
            s.dP1 += p1;
            s.dP2 -= p1 / r;
            s.dL1 += phase1 * s.dF1 / _LIGHT_SPEED;
            s.dL2 += phase1 / r * s.dF2 / _LIGHT_SPEED;
        }
    };
}

TEST(PPPFloatSimulation, CycleSlipDoesNotMoveTheSolution)
{
    TwinRuns twins;
    const int slipEpoch = 150;
    for (int k = 0; k < slipEpoch; ++k)
        twins.Step(k);
    const int iprn = HighestSatellite(twins.disturbed.result());
    PROCINFOSITE& ps = twins.disturbed.state();
    const double idBefore = AmbiguityId(ps, iprn, 4);
    ASSERT_GE(idBefore, 0.0);
    twins.sim.SlipL1(judge_sys_char(iprn), iprn2prn(iprn), 1);
    double worst = 0.0;
    for (int k = slipEpoch; k < slipEpoch + 60; ++k) {
        twins.Step(k);
        worst = std::fmax(worst, twins.Difference());
    }
    EXPECT_LT(worst, 0.01);
    // The arc of the satellite restarted: a new ambiguity.
    const double idAfter = AmbiguityId(ps, iprn, 4);
    EXPECT_GE(idAfter, 0.0);
    EXPECT_NE(idAfter, idBefore);
}

// Counts the lines of an outlier log that name a satellite with a label at an epoch.
int CountLines(const std::string& log, int k, int iprn, const char* label)
{
    char text[96];
    std::snprintf(text, sizeof(text), "2111 %9.2f   %c%02d  %s", Sow(k), judge_sys_char(iprn), iprn2prn(iprn), label);
    int n = 0;
    for (size_t at = log.find(text); at != std::string::npos; at = log.find(text, at + 1))
        ++n;
    return n;
}

TEST(PPPFloatSimulation, OutliersAreRemovedOrDownWeightedAsTheRulesSay)
{
    TwinRuns twins(true);
    const int codeEpoch = 150, phaseEpoch = 160, pairedEpoch = 170, end = 190;
    int codeSat = -1, phaseSat = -1, pairedSat = -1;
    double worst = 0.0;
    for (int k = 0; k < end; ++k) {
        std::function<void(tagGPSOBSONEEPO&)> edit;
        const tagSPPONERESULT& last = twins.disturbed.result();
        if (k == codeEpoch) {
            // 5 m on a code: below 30 m and below three standardised units, kept.
            codeSat = last.res[0].iprn;
            edit = Outlier(codeSat, 5.0, 0.0);
        } else if (k == phaseEpoch) {
            // 0.5 m on a phase: far above four standardised units, removed.
            phaseSat = last.res[1].iprn;
            edit = Outlier(phaseSat, 0.0, 0.5);
        } else if (k == pairedEpoch) {
            // 15 m on the code of a high GPS satellite whose phase carries
            // the largest standardised residual (3 cm, below four units):
            // five units of code, down-weighted once.
            pairedSat = HighestSatellite(last, 'G');
            edit = Outlier(pairedSat, 15.0, 0.03);
        }
        twins.Step(k, edit);
        if (k >= codeEpoch)
            worst = std::fmax(worst, twins.Difference());
    }
    EXPECT_LT(worst, 0.01);

    const std::string log = twins.disturbed.ResultFile(".outlier");
    EXPECT_EQ(CountLines(log, codeEpoch, codeSat, "PPP f code"), 0) << log;
    EXPECT_EQ(CountLines(log, phaseEpoch, phaseSat, "PPP f phase D!"), 1) << log;
    EXPECT_EQ(CountLines(log, pairedEpoch, pairedSat, "PPP f code  R!"), 1) << log;
    size_t lines = 0;
    for (size_t at = log.find("PPP f"); at != std::string::npos; at = log.find("PPP f", at + 1))
        ++lines;
    EXPECT_EQ(lines, 2u) << log;
}

// The epoch's own reduced normal equations, from what the filter kept of it.
Matrix EpochOnlyNormalMatrix(PROCINFOSITE& ps)
{
    Matrix N11, N22, N12, U1, U2;
    EXPECT_EQ(GetXTPY(N11, N22, N12, U1, U2, ps.A1, ps.A2, -1, ps.P, ps.L), 1);
    return N22 - ~N12 * ps.Q11 * N12;
}

double RelativeDifference(const Matrix& a, const Matrix& b)
{
    double diff = 0.0, size = 0.0;
    for (unsigned i = 0; i < a.RowNo(); ++i)
        for (unsigned j = 0; j < a.ColNo(); ++j) {
            diff = std::fmax(diff, std::fabs(a(i, j) - b(i, j)));
            size = std::fmax(size, std::fabs(a(i, j)));
        }
    return diff / size;
}

TEST(PPPFloatSimulation, GapOfMoreThanNineHundredSecondsResetsTheFilter)
{
    for (double gap : {900.0, 901.0}) {
        Simulator sim(SimSetup{});
        RunOptions options = StaticRun();
        options.logs = true;
        FacadeRun run(sim, options);
        for (int k = 0; k < 120; ++k)
            ASSERT_EQ(run.Step(Sow(k)), 2);
        const double errorBefore = run.PositionError();
        ASSERT_EQ(run.Step(Sow(119) + gap), 2);
        const std::string log = run.ResultFile(".outlier");
        PROCINFOSITE& ps = run.state();
        const double fromEpochOnly = RelativeDifference(ps.NY, EpochOnlyNormalMatrix(ps));
        if (gap == 900.0) {
            EXPECT_EQ(log.find("LargeBreak"), std::string::npos) << log;
            EXPECT_GT(fromEpochOnly, 0.1);
            EXPECT_LT(std::fabs(run.PositionError() - errorBefore), 0.01);
        } else {
            // All that was accumulated is dropped: the normal equations are the epoch's own.
            EXPECT_NE(log.find("2020 06 25 01 14 31 2111 350071.00   LargeBreak ,Reset!difftime =    901.000\n"),
                      std::string::npos)
                << log;
            EXPECT_LT(fromEpochOnly, 1e-9);
        }
    }
}

TEST(PPPFloatSimulation, PiecewiseTroposphereTakesANewIdentifierEveryPiece)
{
    Simulator sim(SimSetup{});
    FacadeRun run(sim, StaticRun());
    run.engine().m_set.dTropPieceHours = 0.1;   // 12 epochs of 30 s
    PROCINFOSITE& ps = run.state();
    double previous = -1.0;
    for (int k = 0; k < 40; ++k) {
        ASSERT_EQ(run.Step(Sow(k)), 2);
        ASSERT_EQ(ps.epochCount, k + 1);
        const double id = ps.paraList(0, 0);
        if (k % 12 == 0)
            EXPECT_GT(id, previous) << "epoch " << k;
        else
            EXPECT_EQ(id, previous) << "epoch " << k;
        previous = id;
    }
    // At the first epoch the identifiers 0-3 are taken by the troposphere and
    // the coordinates: the first piece takes the next one.
    EXPECT_EQ(ps.paraList(0, 1), 1.0);
    EXPECT_NEAR(run.result().dZWD, sim.setup().zwd, 0.05);
}

TEST(PPPFloatSimulation, UnknownStaticSiteKeepsTheFirstSinglePointPosition)
{
    Simulator sim(SimSetup{});
    RunOptions options;
    options.apriori = {0.0, 0.0, 0.0};
    FacadeRun run(sim, options);
    ASSERT_EQ(run.Step(Sow(0)), 2);
    double first[3];
    for (int i = 0; i < 3; ++i)
        first[i] = run.result().dSppPos[i];
    const double truth[3] = {sim.setup().site.x, sim.setup().site.y, sim.setup().site.z};
    ASSERT_GT(Distance(first, truth), 0.01);
    for (int k = 1; k < 150; ++k) {
        ASSERT_EQ(run.Step(Sow(k)), 2);
        ASSERT_EQ(Distance(run.state().dAprioriPos, first), 0.0) << "epoch " << k;
        // The filter keeps the solution record of the epoch it accumulated.
        ASSERT_EQ(run.state().lastResult.tGpsTime.sow, Sow(k));
    }
    EXPECT_EQ(run.engine().m_set.bStaticPosValid, 1);
    EXPECT_LT(run.PositionError(), 0.02);
}

}  // namespace
