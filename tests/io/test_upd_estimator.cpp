#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "io/FractionalBiasFit.h"
#include "io/UpdComparison.h"
#include "io/UpdEstimator.h"
#include "support/UpdNetwork.h"

using namespace pppio;
using namespace updtest;

namespace {

TEST(UpdComparison, RemovesDatumAndPublishedIntegers)
{
    UpdProduct truth, estimate;
    truth.nlInterval = estimate.nlInterval = kInterval;
    const tagGPSTIME2 t{kWeek, kDayStart};
    const double wl[3] = {0.1, 0.45, -0.3}, nl[3] = {0.2, -0.1, 0.4};
    for (int s = 0; s < 3; ++s) {
        truth.wideLane.push_back({s + 1, t, wl[s], 0.0, 0});
        truth.narrowLane.push_back({s + 1, t, nl[s], 0.0, 0});
    }
    // The same UPDs in another datum: +0.3 cycle for the wide lane and -0.2
    // for the narrow lane, G02's wide lane wrapped (k = 1) with its narrow lane.
    for (int s = 0; s < 3; ++s) {
        const double k = s == 1 ? 1.0 : 0.0;
        estimate.wideLane.push_back({s + 1, t, wl[s] + 0.3 - k, 0.0, 5});
        estimate.narrowLane.push_back({s + 1, t, WrapCycle(nl[s] - 0.2 - WideLaneRatio(1) * k), 0.0, 5});
    }
    UpdErrors e = CompareUpds(estimate, truth);
    EXPECT_EQ(e.wlCount, 3);
    EXPECT_EQ(e.nlCount, 3);
    EXPECT_NEAR(e.wlRms, 0.0, 1e-9);
    EXPECT_NEAR(e.nlRms, 0.0, 1e-9);

    // An error of 0.06 on one satellite: deviations -0.02, -0.02, 0.04.
    estimate.narrowLane[2].value += 0.06;
    e = CompareUpds(estimate, truth);
    EXPECT_NEAR(e.nlRms, std::sqrt(0.0024 / 3), 2e-4);
    EXPECT_NEAR(e.nlMax, 0.04, 2e-4);

    // A value from a single station is left out with a minimum count of 2.
    estimate.narrowLane[2].count = 1;
    e = CompareUpds(estimate, truth, 2);
    EXPECT_EQ(e.nlCount, 2);
    EXPECT_NEAR(e.nlRms, 0.0, 1e-9);
}

TEST(UpdEstimator, RecoversNetworkUpdsDespiteOutliersAndRestarts)
{
    const UpdNetwork clean(8, 720, false);   // six hours
    const UpdEstimate reference = EstimateUpds(clean.stations, UpdEstimatorOptions{});
    for (const bool outliers : {false, true}) {
        SCOPED_TRACE(outliers ? "with outliers" : "clean");
        const UpdNetwork network(8, 720, outliers);
        const UpdEstimate estimate = EstimateUpds(network.stations, UpdEstimatorOptions{});
        const UpdStatistics& st = estimate.statistics;
        EXPECT_EQ(st.stations, 8);
        EXPECT_EQ(st.satellites, static_cast<int>(network.satellites.size()));
        EXPECT_EQ(st.days, 1);
        // The first 45 minutes are skipped while the float ambiguities converge.
        EXPECT_EQ(st.intervals, 21);
        EXPECT_GE(st.wlRejected, network.wlOutliers);
        EXPECT_GE(st.nlRejected, network.nlOutliers);
        EXPECT_LT(st.wlRms, 0.05);
        EXPECT_LT(st.nlRms, 0.05);

        const UpdErrors e = CompareUpds(estimate.product, network.truth);
        EXPECT_EQ(e.wlCount, static_cast<int>(network.satellites.size()));
        EXPECT_GT(e.nlCount, 21 * 12);
        EXPECT_LT(e.wlRms, 0.01);
        EXPECT_LT(e.nlRms, 0.015);
        EXPECT_LT(e.nlMax, 0.05);
        for (const UpdValue& u : estimate.product.wideLane) {
            EXPECT_GE(u.value, -0.5);
            EXPECT_LT(u.value, 0.5);
            EXPECT_GE(u.count, 2);
        }
        // Successive intervals keep one datum: the series follow the truth's slow drift.
        for (size_t k = 0; k < estimate.product.narrowLane.size(); ++k)
            for (size_t j = 0; j < k; ++j) {
                const UpdValue& a = estimate.product.narrowLane[j];
                const UpdValue& b = estimate.product.narrowLane[k];
                if (a.iprn == b.iprn && b.start.sow - a.start.sow == kInterval) {
                    EXPECT_LT(std::fabs(WrapCycle(b.value - a.value)), 0.05) << a.iprn << " " << b.start.sow;
                }
            }
        // The outliers leave the UPDs where the clean network puts them.
        const UpdErrors moved = CompareUpds(estimate.product, reference.product);
        EXPECT_LT(moved.wlMax, 0.005);
        EXPECT_LT(moved.nlMax, 0.01);
    }
}

}  // namespace
