#include "UpdNetwork.h"

#include <algorithm>
#include <cmath>
#include <random>
#include <string>

#include "common/GNSSConst.h"
#include "io/FractionalBiasFit.h"
#include "io/UpdEstimator.h"

namespace updtest {

namespace {

// Cycles of the narrow lane per metre of ionosphere-free ambiguity.
double NarrowLanePerMetre(int iprn)
{
    double f1 = 0.0, f2 = 0.0;
    pppio::UpdFrequencies(iprn, f1, f2);
    return (f1 + f2) / _LIGHT_SPEED;
}

}  // namespace

double WideLaneRatio(int iprn)
{
    double f1 = 0.0, f2 = 0.0;
    pppio::UpdFrequencies(iprn, f1, f2);
    return f2 / (f1 - f2);
}

UpdNetwork::UpdNetwork(int nStations, int epochs, bool outliers)
{
    std::mt19937 rng(20260);
    std::uniform_real_distribution<double> uniform(-0.5, 0.5);
    std::normal_distribution<double> noise(0.0, 1.0);
    std::uniform_int_distribution<int> integer(-40, 40);
    const size_t nSat = satellites.size();
    for (size_t s = 0; s < nSat; ++s)
        truth.wideLane.push_back({satellites[s], {kWeek, kDayStart}, uniform(rng), 0.0, 0});
    truth.wideLane[0].value = 0.499;
    truth.wideLane[1].value = -0.497;
    // Narrow-lane UPDs drift slowly and wrap through +/-0.5.
    truth.nlInterval = kInterval;
    std::vector<double> nlStart, nlRate;
    for (size_t s = 0; s < nSat; ++s) {
        nlStart.push_back(uniform(rng));
        nlRate.push_back(0.02 * uniform(rng));
    }
    const int intervals = static_cast<int>(std::ceil(epochs * kStep / kInterval));
    for (int k = 0; k < intervals; ++k)
        for (size_t s = 0; s < nSat; ++s)
            truth.narrowLane.push_back({satellites[s], {kWeek, kDayStart + k * kInterval},
                                        pppio::WrapCycle(nlStart[s] + nlRate[s] * k), 0.0, 0});

    for (int r = 0; r < nStations; ++r) {
        pppio::AmbiguityExport station;
        station.site = "ST" + std::to_string(r);
        station.interval = kStep;
        const double wlReceiver[2] = {uniform(rng), uniform(rng)};
        const double nlReceiver[2] = {uniform(rng), uniform(rng)};
        std::vector<double> phase(nSat), nw(nSat), n1(nSat), mwSum(nSat);
        std::vector<int> lock(nSat, 0);
        for (size_t s = 0; s < nSat; ++s)
            phase[s] = 6.283 * (uniform(rng) + 0.5);
        // Station ST2 resets its filter after four hours.
        const int resetEpoch = r == 2 ? 480 : -1;
        double filterStart = 0.0;
        for (int e = 0; e < epochs; ++e) {
            const double age = e * kStep;
            if (e == resetEpoch) {
                std::fill(lock.begin(), lock.end(), 0);
                filterStart = age;
            }
            station.epochs.push_back({{kWeek, kDayStart + age}, {}});
            for (size_t s = 0; s < nSat; ++s) {
                const int iprn = satellites[s];
                const double elevation = 45.0 + 42.0 * std::sin(phase[s] + age * 6.283 / 20000.0);
                if (elevation < 5.0) {
                    lock[s] = 0;
                    continue;
                }
                // A restart every few hours on each satellite.
                if (lock[s] > 0 && (e + 37 * static_cast<int>(s) + 11 * r) % 290 == 0)
                    lock[s] = 0;
                if (lock[s] == 0) {
                    nw[s] = integer(rng);
                    n1[s] = integer(rng);
                    mwSum[s] = 0.0;
                }
                ++lock[s];
                const int sys = iprn > 32 ? 1 : 0;
                // Running mean of Melbourne-Wuebbena samples with 0.3 cycle noise.
                mwSum[s] += -nw[s] + truth.wideLane[s].value - wlReceiver[sys] + 0.3 * noise(rng);
                const double wl = mwSum[s] / lock[s];
                const double nlUpd = truth.narrowLane[static_cast<size_t>(age / kInterval) * nSat + s].value;
                // Float ambiguities converge after the filter starts and after each restart.
                const double arcAge = (lock[s] - 1) * kStep;
                const double converging =
                    (0.6 * std::exp(-(age - filterStart) / 600.0) + 0.3 * std::exp(-arcAge / 300.0)) *
                    std::cos(phase[s]);
                const double nl = -n1[s] + nlUpd - nlReceiver[sys] + converging + 0.03 * noise(rng);
                const double amb = (nl - WideLaneRatio(iprn) * nw[s]) / NarrowLanePerMetre(iprn);
                station.epochs.back().satellites.push_back({iprn, lock[s], elevation, wl, 0.01, amb, 0.02});
            }
        }
        stations.push_back(std::move(station));
    }
    if (outliers)
        addOutliers();
}

// Biases the wide lane of one satellite at a few stations by 0.4 cycle
// and the float ambiguities of another by 0.35 cycle during one interval.
void UpdNetwork::addOutliers()
{
    const double from = kDayStart + 3 * 3600;
    for (int r : {1, 4, 6}) {
        if (r >= static_cast<int>(stations.size()))
            break;
        const int biasedWl = satellites[static_cast<size_t>(r)];
        const int biasedNl = satellites[static_cast<size_t>(r + 3)];
        for (pppio::AmbiguityEpoch& epoch : stations[static_cast<size_t>(r)].epochs) {
            const bool inInterval = epoch.time.sow >= from && epoch.time.sow < from + kInterval;
            for (pppio::AmbiguitySatellite& sat : epoch.satellites) {
                if (sat.iprn == biasedWl)
                    sat.wl += 0.4;
                if (sat.iprn == biasedNl && inInterval)
                    sat.amb += 0.35 / NarrowLanePerMetre(biasedNl);
            }
        }
        ++wlOutliers;
        ++nlOutliers;
    }
}

}  // namespace updtest
