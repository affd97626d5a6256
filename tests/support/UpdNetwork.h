// A simulated network of float-ambiguity exports with known UPDs, for the
// tests of the UPD estimator and of updnet: GPS and Galileo satellites with
// wide-lane UPDs close to +/-0.5 among them, receiver biases per system,
// random integers per arc, arcs that end below the horizon or restart,
// float ambiguities that converge over each station's first half hour (and
// again after station ST2 resets its filter at four hours) and, on request,
// a few outliers.
#ifndef PPPLIB_TESTS_SUPPORT_UPDNETWORK_H
#define PPPLIB_TESTS_SUPPORT_UPDNETWORK_H

#include <vector>

#include "io/AmbiguityExport.h"
#include "io/UpdFile.h"

namespace updtest {

constexpr int kWeek = 2111;
constexpr double kDayStart = 345600.0;
constexpr double kStep = 30.0;
constexpr double kInterval = 900.0;

// f2/(f1 - f2) of a satellite: the narrow-lane change per wide-lane cycle.
double WideLaneRatio(int iprn);

struct UpdNetwork {
    UpdNetwork(int stations, int epochs, bool outliers);

    std::vector<int> satellites{1, 3, 7, 8, 12, 15, 19, 22, 27, 31, 61, 64, 70, 85};
    std::vector<pppio::AmbiguityExport> stations;   // sites ST0, ST1, ...
    pppio::UpdProduct truth;                        // wide lane, narrow lane per kInterval
    int wlOutliers = 0;                             // station-satellite pairs with biased wide lanes
    int nlOutliers = 0;                             // arc-intervals with biased float ambiguities

private:
    void addOutliers();
};

}  // namespace updtest

#endif
