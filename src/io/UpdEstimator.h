// Satellite wide-lane and narrow-lane UPDs of a network of stations from
// their float ambiguities (mode 3 of the library, one export per station).
//
//   std::vector<pppio::StationAmbiguities> network = ...;   // one per station
//   pppio::UpdEstimate estimate = pppio::EstimateUpds(network, pppio::UpdEstimatorOptions{});
//   // estimate.product.wl: one entry per satellite and day,
//   // estimate.product.nl: one per satellite and narrow-lane interval
//
// In the library's sign convention the wide lane of station r and satellite
// s is wl = -Nw + W_s - W_r, so the fractional parts of the arcs give W_s
// and W_r per day (FitFractions). With them every usable arc gets its
// integer n = round(wl - W_s + W_r) and each epoch the narrow-lane float
// nl = (f1 + f2)/c * amb - f2/(f1 - f2) * n = -N1 + NL_s - NL_r, whose
// fractional parts, averaged per arc and interval, give NL_s per interval.
// The narrow lane uses exactly the wide-lane values that are published,
// wrapped into [-0.5, 0.5), so the pair is consistent for users.
// GPS, Galileo (E1/E5a) and BeiDou (B1I/B2I); GLONASS (FDMA) is skipped.
#ifndef PPPIO_UPDESTIMATOR_H
#define PPPIO_UPDESTIMATOR_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

// One satellite of one epoch of a station's float-ambiguity export, in the
// library's sign convention. Values of 9999 or more mean "no value".
struct FloatAmbiguity {
    tagGPSTIME2 time;
    int iprn;             // packed satellite index
    int lock;             // epochs of the continuous arc; a smaller count starts a new arc
    double elevationDeg;
    double wl;            // Melbourne-Wuebbena running mean, cycles
    double wlSigma;       // m
    double amb;           // ionosphere-free float ambiguity, m
    double ambSigma;      // m
};

// The export of one station, epochs in time order.
struct StationAmbiguities {
    std::string site;
    std::vector<FloatAmbiguity> records;
};

struct UpdEstimatorOptions {
    double nlIntervalSeconds = 900.0;
    double minElevationDeg = 15.0;   // wide-lane arcs must reach it; narrow-lane epochs must be above it
    double minArcMinutes = 20.0;     // shortest wide-lane arc; youngest arc age for the narrow lane
    double convergenceMinutes = 30.0;  // narrow lane skips the start of each station's filter
    double maxFraction = 0.25;       // residual (cycles) beyond which an arc or sample is rejected
};

// A satellite's UPD valid from `time` (a day for the wide lane, an interval
// for the narrow lane), in cycles of the library domain.
struct SatelliteUpd {
    tagGPSTIME2 time;
    int iprn;
    double value;     // [-0.5, 0.5)
    double sigma;
    int count;        // wide lane: arcs; narrow lane: stations
};

struct UpdProduct {
    double nlIntervalSeconds = 900.0;
    std::vector<SatelliteUpd> wl;   // by day, then satellite
    std::vector<SatelliteUpd> nl;   // by interval, then satellite
};

struct UpdStatistics {
    int stations = 0;          // stations that contributed a wide-lane arc
    int satellites = 0;        // satellites with a wide-lane UPD
    int days = 0;
    int intervals = 0;         // narrow-lane intervals with a solution
    int wlArcs = 0;            // arcs used
    int wlRejected = 0;
    double wlRms = 0.0;        // of the fractional residuals, cycles
    int nlSamples = 0;         // arc-interval means used
    int nlRejected = 0;
    double nlRms = 0.0;
};

struct UpdEstimate {
    UpdProduct product;
    UpdStatistics statistics;
};

UpdEstimate EstimateUpds(const std::vector<StationAmbiguities>& network, const UpdEstimatorOptions& options);

// Carrier frequencies (Hz) of the two frequencies of a packed index whose
// UPDs are estimated; false for GLONASS and outside the packed range.
bool UpdFrequencies(int iprn, double& f1, double& f2);

}  // namespace pppio

#endif
