#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <vector>

#include "common/GNSSConst.h"
#include "io/FractionalBiasFit.h"
#include "io/UpdComparison.h"
#include "io/UpdEstimator.h"

using namespace pppio;

namespace {

constexpr int kWeek = 2111;
constexpr double kDayStart = 345600.0;
constexpr double kStep = 30.0;
constexpr int kEpochs = 720;   // six hours
constexpr double kInterval = 900.0;

double Ratio(int iprn)
{
    double f1 = 0.0, f2 = 0.0;
    UpdFrequencies(iprn, f1, f2);
    return f2 / (f1 - f2);
}

double NlScale(int iprn)
{
    double f1 = 0.0, f2 = 0.0;
    UpdFrequencies(iprn, f1, f2);
    return (f1 + f2) / _LIGHT_SPEED;
}

// A network with known UPDs: GPS and Galileo satellites with wide-lane
// UPDs close to +/-0.5 among them, receiver biases per system, random
// integers per arc, arcs that end below the horizon or restart, converging
// float ambiguities at each station's start and a few outliers.
struct Network {
    std::vector<int> satellites{1, 3, 7, 8, 12, 15, 19, 22, 27, 31, 61, 64, 70, 85};
    std::vector<AmbiguityExport> stations;
    UpdProduct truth;
    int wlOutliers = 0;
    int nlOutlierIntervals = 0;

    double wlUpd(size_t s) const { return truth.wideLane[s].value; }
    double nlUpd(size_t s, int interval) const { return truth.narrowLane[static_cast<size_t>(interval) * satellites.size() + s].value; }

    explicit Network(int nStations, bool outliers)
    {
        std::mt19937 rng(20260);
        std::uniform_real_distribution<double> uniform(-0.5, 0.5);
        std::normal_distribution<double> noise(0.0, 1.0);
        std::uniform_int_distribution<int> integer(-40, 40);
        const tagGPSTIME2 day{kWeek, kDayStart};
        for (size_t s = 0; s < satellites.size(); ++s)
            truth.wideLane.push_back({satellites[s], day, uniform(rng), 0.0, 0});
        truth.wideLane[0].value = 0.499;
        truth.wideLane[1].value = -0.497;
        // Narrow-lane UPDs drift slowly and wrap through +/-0.5.
        truth.nlInterval = kInterval;
        std::vector<double> nlStart, nlRate;
        for (size_t s = 0; s < satellites.size(); ++s) {
            nlStart.push_back(uniform(rng));
            nlRate.push_back(0.02 * uniform(rng));
        }
        const int intervals = static_cast<int>(kEpochs * kStep / kInterval);
        for (int k = 0; k < intervals; ++k)
            for (size_t s = 0; s < satellites.size(); ++s)
                truth.narrowLane.push_back({satellites[s], {kWeek, kDayStart + k * kInterval},
                                            WrapCycle(nlStart[s] + nlRate[s] * k), 0.0, 0});

        for (int r = 0; r < nStations; ++r) {
            AmbiguityExport station;
            station.site = "ST" + std::to_string(r);
            const double wlRec[2] = {uniform(rng), uniform(rng)};
            const double nlRec[2] = {uniform(rng), uniform(rng)};
            std::vector<double> phase, nw(satellites.size()), n1(satellites.size());
            std::vector<int> lock(satellites.size(), 0);
            for (size_t s = 0; s < satellites.size(); ++s)
                phase.push_back(6.283 * (uniform(rng) + 0.5));
            for (int e = 0; e < kEpochs; ++e) {
                const double age = e * kStep;
                station.epochs.push_back({{kWeek, kDayStart + age}, {}});
                for (size_t s = 0; s < satellites.size(); ++s) {
                    const int iprn = satellites[s];
                    const double elev = 45.0 + 42.0 * std::sin(phase[s] + age * 6.283 / 20000.0);
                    if (elev < 5.0) {
                        lock[s] = 0;
                        continue;
                    }
                    // A restart every few hours on some satellites.
                    if (lock[s] > 0 && (e + 37 * static_cast<int>(s) + 11 * r) % 290 == 0)
                        lock[s] = 0;
                    if (lock[s] == 0) {
                        nw[s] = integer(rng);
                        n1[s] = integer(rng);
                    }
                    ++lock[s];
                    const int sys = iprn > 32 ? 1 : 0;
                    // Running mean of the Melbourne-Wuebbena combination.
                    const double wlNoise = 0.25 / std::sqrt(lock[s]) * noise(rng);
                    const double wl = -nw[s] + wlUpd(s) - wlRec[sys] + wlNoise;
                    // Float ambiguity: converges over the filter's first half hour.
                    const double converging = 0.6 * std::exp(-age / 600.0);
                    const double nl = -n1[s] + nlUpd(s, static_cast<int>(age / kInterval)) - nlRec[sys] +
                                      converging + 0.03 * noise(rng);
                    const double amb = (nl - Ratio(iprn) * nw[s]) / NlScale(iprn);
                    station.epochs.back().satellites.push_back({iprn, lock[s], elev, wl, 0.01, amb, 0.02});
                }
            }
            stations.push_back(std::move(station));
        }
        if (outliers)
            addOutliers();
    }

    // Biases the wide lane of a few whole arcs by 0.4 cycle and the float
    // ambiguities of a few arcs by 0.35 cycle during one interval.
    void addOutliers()
    {
        for (int r : {1, 4, 6}) {
            const int iprn = satellites[static_cast<size_t>(r)];
            const int target = satellites[static_cast<size_t>(r + 3)];
            for (AmbiguityEpoch& epoch : stations[static_cast<size_t>(r)].epochs) {
                const bool inInterval = epoch.time.sow >= kDayStart + 3 * 3600 && epoch.time.sow < kDayStart + 3 * 3600 + kInterval;
                for (AmbiguitySatellite& rec : epoch.satellites) {
                    if (rec.iprn == iprn)
                        rec.wl += 0.4;
                    if (rec.iprn == target && inInterval)
                        rec.amb += 0.35 / NlScale(target);
                }
            }
            ++wlOutliers;
            ++nlOutlierIntervals;
        }
    }
};

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
        estimate.wideLane.push_back({s + 1, t, wl[s] + 0.3 - k, 0.0, 0});
        estimate.narrowLane.push_back({s + 1, t, WrapCycle(nl[s] - 0.2 - Ratio(1) * k), 0.0, 0});
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
}

TEST(UpdEstimator, RecoversNetworkUpdsDespiteOutliersAndRestarts)
{
    struct Case {
        bool outliers;
        int stations;
    };
    for (const Case c : {Case{false, 8}, Case{true, 8}}) {
        SCOPED_TRACE(c.outliers ? "with outliers" : "clean");
        const Network network(c.stations, c.outliers);
        const UpdEstimate estimate = EstimateUpds(network.stations, UpdEstimatorOptions{});
        const UpdStatistics& st = estimate.statistics;
        EXPECT_EQ(st.stations, c.stations);
        EXPECT_EQ(st.satellites, static_cast<int>(network.satellites.size()));
        EXPECT_EQ(st.days, 1);
        // The first half hour is skipped while the float ambiguities converge.
        EXPECT_EQ(st.intervals, 22);
        EXPECT_GE(st.wlRejected, network.wlOutliers);
        EXPECT_GE(st.nlRejected, network.nlOutlierIntervals);
        EXPECT_LT(st.wlRms, 0.05);
        EXPECT_LT(st.nlRms, 0.05);

        const UpdErrors e = CompareUpds(estimate.product, network.truth);
        EXPECT_EQ(e.wlCount, static_cast<int>(network.satellites.size()));
        EXPECT_GT(e.nlCount, 22 * 12);
        EXPECT_LT(e.wlRms, 0.01);
        EXPECT_LT(e.nlRms, 0.015);
        EXPECT_LT(e.nlMax, 0.05);
        for (const UpdValue& u : estimate.product.wideLane) {
            EXPECT_GE(u.value, -0.5);
            EXPECT_LT(u.value, 0.5);
            EXPECT_GE(u.count, 2);
        }
    }
}

}  // namespace
