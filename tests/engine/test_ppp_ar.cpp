// Ambiguity resolution on simulated GPS and Galileo observations whose phases
// carry satellite and receiver biases, with the satellites' true UPDs: the
// fixes must hold the true integers, and damaged UPDs must never lead to an
// accepted wrong fix or a position worse than the float one.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include "FacadeRun.h"
#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"

using namespace pppsim;

namespace {

constexpr int kEpochs = 240;   // two hours at 30 s
constexpr int kUpdCount = 10;

double Sow(int k)
{
    return kStartSow + 30.0 * k;
}

using UpdEdit = std::function<void(int prn, t_upd&)>;

void FillUpds(const Simulator& sim, double sow, const UpdEdit& edit, std::vector<t_upd>& upds)
{
    upds.assign(MAXSATNUM, t_upd{});
    for (int prn = 1; prn <= 32; ++prn) {
        t_upd& e = upds[prn - 1];
        e.valid = 1;
        e.week = kWeek;
        e.sow = sow;
        sim.TrueUpd('G', prn, &e.wl, &e.nl);
        e.wl_num = e.nl_num = kUpdCount;
        if (edit)
            edit(prn, e);
    }
}

struct ArOutcome {
    int fixedEpochs = 0;
    int firstFix = -1;           // epoch index
    int wrongAmbiguities = 0;    // fixed single differences off the truth
    int fixedAmbiguities = 0;
    double worstExcess = 0.0;    // largest (fixed error - float error) over fixed epochs (m)
    double finalError = 0.0;     // of the last epoch (m)
};

// Runs the ambiguity-resolution mode and a float twin on the same simulation.
ArOutcome RunAr(int posMode, const UpdEdit& edit)
{
    SimSetup setup;
    setup.phaseBiases = true;
    Simulator sim(setup), floatSim(setup);
    RunOptions options;
    options.posMode = posMode;
    options.processNoise = 1e-3;
    options.mode = 4;
    FacadeRun run(sim, options);
    options.mode = 2;
    FacadeRun floatRun(floatSim, options);

    ArOutcome out;
    std::vector<t_upd> upds;
    for (int k = 0; k < kEpochs; ++k) {
        FillUpds(sim, Sow(k), edit, upds);
        const int code = run.Step(Sow(k), nullptr, upds.data());
        EXPECT_EQ(floatRun.Step(Sow(k)), 2);
        EXPECT_TRUE(code == 2 || code == 4) << "epoch " << k << " code " << code;
        if (code != 4)
            continue;
        ++out.fixedEpochs;
        if (out.firstFix < 0)
            out.firstFix = k;
        out.worstExcess = std::max(out.worstExcess, run.PositionError() - floatRun.PositionError());
        const tagARSTATE& ar = run.engine().m_ar;
        const int ref = run.state().datumSat[0];
        for (int iprn : ar.fixed) {
            // Library sign: the negated single difference of the phase ambiguity terms.
            const double truth = -(sim.IonoFreeAmbiguity('G', iprn) - sim.IonoFreeAmbiguity('G', ref));
            ++out.fixedAmbiguities;
            if (std::fabs(ar.sat[iprn - 1].dFixedAmb - truth) > 0.01)
                ++out.wrongAmbiguities;
        }
    }
    out.finalError = run.PositionError();
    return out;
}

}  // namespace

TEST(PPPAmbiguityResolution, TrueUpdsFixTheTrueIntegers)
{
    // About five GPS satellites of this constellation are high enough to fix
    // at a time, and four are needed: first fixes come later and the fixed
    // share is lower than under a real sky.
    const struct {
        int posMode;
        double firstFixMinutes, fixedShare, finalError;   // min, share of epochs after the first fix, m
    } cases[] = {{2, 20.0, 0.65, 0.01}, {3, 35.0, 0.6, 0.03}};
    for (const auto& c : cases) {
        SCOPED_TRACE("dynamics " + std::to_string(c.posMode));
        const ArOutcome out = RunAr(c.posMode, nullptr);
        ASSERT_GE(out.firstFix, 0) << "never fixed";
        // Fixing starts after five minutes of float solutions.
        EXPECT_LE(out.firstFix * 30.0, c.firstFixMinutes * 60.0);
        EXPECT_GE(out.fixedEpochs, c.fixedShare * (kEpochs - out.firstFix));
        EXPECT_EQ(out.wrongAmbiguities, 0) << "of " << out.fixedAmbiguities;
        EXPECT_LE(out.finalError, c.finalError);
    }
}

TEST(PPPAmbiguityResolution, DamagedUpdsNeverGiveAWrongFix)
{
    const struct {
        const char* name;
        UpdEdit edit;
    } cases[] = {
        {"flipped sign", [](int, t_upd& e) { e.wl = -e.wl, e.nl = -e.nl; }},
        {"one satellite half a cycle off", [](int prn, t_upd& e) { e.nl += prn == 5 ? 0.5 : 0.0; }},
        {"900 s old", [](int, t_upd& e) { e.sow -= 900.0; }},
        {"wide lane 999", [](int, t_upd& e) { e.wl = 999.0; }},
        {"too few stations behind", [](int, t_upd& e) { e.nl_num = 1; }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const ArOutcome out = RunAr(2, c.edit);
        EXPECT_EQ(out.wrongAmbiguities, 0) << "of " << out.fixedAmbiguities;
        EXPECT_LE(out.worstExcess, 0.01);
    }
}
