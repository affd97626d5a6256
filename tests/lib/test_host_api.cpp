// What a host sets and reads through the facade besides the epochs: the
// model settings reach the engine switch they name, and the position
// cofactors are the block behind the solution's standard deviations.
#include <gtest/gtest.h>

#include <cmath>

#include "LibFixtures.h"

using namespace libtest;

namespace {

TEST(FacadeHostApi, EachModelSwitchReachesItsOwnEngineSwitch)
{
    struct Switch {
        bool t_model_settings::*host;
        uint8_t tagENGINESETTINGS::*engine;
    };
    const Switch switches[] = {
        {&t_model_settings::solidTide, &tagENGINESETTINGS::bSolidTide},
        {&t_model_settings::windUp, &tagENGINESETTINGS::bWindUp},
        {&t_model_settings::receiverAntenna, &tagENGINESETTINGS::bRecAntenna},
        {&t_model_settings::satelliteAntenna, &tagENGINESETTINGS::bSatAntenna},
        {&t_model_settings::holdAmbiguities, &tagENGINESETTINGS::bHoldAmb},
    };
    Host host;
    host.Start();
    // A new facade runs with the declared defaults.
    const t_model_settings declared;
    for (const Switch& s : switches)
        EXPECT_EQ(host.lib->modelSettings().*s.host, declared.*s.host);
    EXPECT_EQ(host.lib->modelSettings().ratioThreshold, declared.ratioThreshold);

    for (const Switch& on : switches) {
        t_model_settings settings;
        settings.*on.host = true;
        settings.ratioThreshold = 3.5;
        host.lib->setModelSettings(settings);
        for (const Switch& s : switches)
            EXPECT_EQ(host.engine().m_set.*s.engine, &s == &on ? 1 : 0);
        EXPECT_TRUE(host.lib->modelSettings().*on.host);
        EXPECT_EQ(host.engine().m_set.dRatioThres, 3.5);
    }
}

TEST(FacadeHostApi, PositionCofactorsScaleToTheSolutionsDeviations)
{
    for (int dynamics : {2, 3}) {   // static: carried coordinates; kinematic: the epoch's
        Host host;
        host.conf.mode = kModeFloat;
        host.conf.pos_mode = dynamics;
        host.Start();
        double q[3][3];
        EXPECT_FALSE(host.lib->positionCofactors(q)) << "no filter yet";
        host.SetEpoch(2020, 6, 25, 0, 15, 0.0);
        AddPhases(host.epoch.get(), 4.0);
        ASSERT_EQ(host.Run(), kResultFloat);
        ASSERT_TRUE(host.lib->positionCofactors(q)) << dynamics;
        // The deviations are sqrt(q_ii) times one unit-weight sigma.
        const double* sd = host.result->dStd;
        const double scale = sd[0] * sd[0] / q[0][0];
        EXPECT_GT(scale, 0.0);
        for (int i = 0; i < 3; ++i) {
            EXPECT_NEAR(sd[i] * sd[i] / q[i][i], scale, 1e-9 * scale) << dynamics << " " << i;
            for (int j = 0; j < i; ++j)
                EXPECT_NEAR(q[i][j], q[j][i], 1e-9 * std::fabs(q[i][j]));
        }
        // No ambiguity resolution ran: no wide lane anywhere, none outside the slots.
        for (int iprn : {0, 1, MAXSATNUM, MAXSATNUM + 1})
            EXPECT_FALSE(host.lib->wideLane(iprn).inFilter) << iprn;
    }
}

}  // namespace
