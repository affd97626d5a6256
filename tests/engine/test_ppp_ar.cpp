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
#include "support/FacadeHost.h"

using namespace pppsim;
using Matrix = math::matrix<double>;

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
ArOutcome RunAr(int posMode, const UpdEdit& edit, bool hold = false)
{
    SimSetup setup;
    setup.phaseBiases = true;
    Simulator sim(setup), floatSim(setup);
    RunOptions options;
    options.posMode = posMode;
    options.processNoise = 1e-3;
    options.mode = 4;
    FacadeRun run(sim, options);
    run.engine().m_set.bHoldAmb = hold ? 1 : 0;
    options.mode = 2;
    FacadeRun floatRun(floatSim, options);

    ArOutcome out;
    std::vector<t_upd> upds;
    for (int k = 0; k < kEpochs; ++k) {
        FillUpds(sim, Sow(k), edit, upds);
        const int code = run.Step(Sow(k), nullptr, upds.data());
        EXPECT_EQ(floatRun.Step(Sow(k)), 2);
        EXPECT_TRUE(code == 2 || code == 4) << "epoch " << k << " code " << code;
        // No reference satellite before ten minutes of arc: no wide lane either.
        if (run.state().datumSat[0] < 0) {
            EXPECT_EQ(run.result().nSysCnt2[0], 0);
        }
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
        bool hold;
        double firstFixMinutes, fixedShare, finalError;   // min, share of epochs after the first fix, m
    } cases[] = {{2, false, 20.0, 0.65, 0.01}, {3, false, 60.0, 0.6, 0.03}, {3, true, 60.0, 0.6, 0.03}};
    for (const auto& c : cases) {
        SCOPED_TRACE("dynamics " + std::to_string(c.posMode) + (c.hold ? ", holding" : ""));
        const ArOutcome out = RunAr(c.posMode, nullptr, c.hold);
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

TEST(PPPAmbiguityResolution, ExportedFloatsAreTheTrueAmbiguitiesPlusTheUpds)
{
    // Mode 3 on the biased simulation: between two GPS satellites the
    // exported wide lane minus the true UPDs is an integer, and the exported
    // ionosphere-free ambiguity is the negated true one.
    SimSetup setup;
    setup.phaseBiases = true;
    Simulator sim(setup);
    RunOptions options;
    options.processNoise = 1e-3;
    options.mode = 3;
    FacadeRun run(sim, options);
    for (int k = 0; k < kEpochs; ++k)
        ASSERT_EQ(run.Step(Sow(k)), 3) << "epoch " << k;
    const t_input_upds& record = run.result().upds;
    std::vector<const t_input_upd*> gps;
    for (const t_input_upd& slot : record.gps)
        if (slot.valid && slot.lock > 100 && slot.param > 20.0 * _DEG2RAD)
            gps.push_back(&slot);
    ASSERT_GE(gps.size(), 3u);
    const t_input_upd& ref = *gps[0];
    double refWl, refNl, wl, nl;
    sim.TrueUpd('G', ref.prn, &refWl, &refNl);
    for (size_t i = 1; i < gps.size(); ++i) {
        const t_input_upd& s = *gps[i];
        SCOPED_TRACE("G" + std::to_string(s.prn));
        sim.TrueUpd('G', s.prn, &wl, &nl);
        const double wide = (s.mw - ref.mw) - (wl - refWl);
        EXPECT_NEAR(wide, std::round(wide), 0.1);
        const double truth = -(sim.IonoFreeAmbiguity('G', s.prn) - sim.IonoFreeAmbiguity('G', ref.prn));
        EXPECT_NEAR(s.amb - ref.amb, truth, 0.05);
        EXPECT_EQ(s.iprn, s.prn);
    }
    for (const t_input_upd& slot : record.glo)
        EXPECT_EQ(slot.valid, 0);
}

TEST(PPPAmbiguityResolution, SearchRatioAndLeaveOneOut)
{
    enginetest::FacadeHost host;
    host.Start({'G'});
    CGNSSSPP& engine = host.engine();
    engine.m_set.dRatioThres = 3.0;
    auto column = [](std::initializer_list<double> v) {
        Matrix m(static_cast<unsigned>(v.size()), 1);
        unsigned i = 0;
        for (double x : v)
            m(i++, 0) = x;
        return m;
    };
    auto diagonal = [](unsigned n, double variance) {
        Matrix q(n, n);
        q.Null();
        for (unsigned i = 0; i < n; ++i)
            q(i, i) = variance;
        return q;
    };
    // One ambiguity 0.01 from its integer: s1/s0 = (0.99/0.01)^2 = 9801, reported as 999.
    double ratio = 0.0, ps = 0.0;
    long fixed[5] = {};
    ASSERT_TRUE(engine.FixAmb(column({3.01}), diagonal(1, 1e-4), &ratio, fixed, &ps));
    EXPECT_EQ(ratio, _AR_RATIO_CEILING);
    EXPECT_EQ(fixed[0], 3);
    // s1/s0 = (0.6/0.4)^2 = 2.25 by hand.
    ASSERT_TRUE(engine.FixAmb(column({-1.4}), diagonal(1, 1e-2), &ratio, fixed, &ps));
    EXPECT_NEAR(ratio, 2.25, 1e-9);
    EXPECT_EQ(fixed[0], -1);
    // A half-cycle ambiguity spoils the full set; leaving it out fixes the rest.
    const Matrix floats = column({2.02, -0.99, 7.49, 0.03, 5.01});
    const Matrix Q = diagonal(5, 4e-4);
    ASSERT_TRUE(engine.FixAmb(floats, Q, &ratio, fixed, &ps));
    EXPECT_LT(ratio, 3.0);
    Matrix partial;
    int leftOut = -1;
    ASSERT_TRUE(engine.PartialFixAmb(floats, Q, &ratio, partial, &leftOut, &ps));
    EXPECT_EQ(leftOut, 2);
    EXPECT_GE(ratio, 3.0);
    const double expected[5] = {2.0, -1.0, _AR_LEFT_OUT, 0.0, 5.0};
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(partial(i, 0), expected[i]) << i;
    // Back into list order.
    Matrix listOrder;
    CGNSSSPP::RecoverOrderAmb({4, 0, 3, 1, 2}, partial, listOrder);
    EXPECT_EQ(listOrder(4, 0), 2.0);
    EXPECT_EQ(listOrder(3, 0), _AR_LEFT_OUT);
}
