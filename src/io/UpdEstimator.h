// Satellite wide-lane and narrow-lane UPDs of a network of stations from
// their float ambiguities (mode 3 of the library, one export per station).
//
//   std::vector<pppio::AmbiguityExport> network;   // one per station, readAmbiguityExport
//   pppio::UpdEstimate estimate = pppio::EstimateUpds(network, pppio::UpdEstimatorOptions{});
//   estimate.product.write("day.upd");   // wide lane per satellite and day,
//                                        // narrow lane per satellite and interval
//
// In the library's sign convention the wide lane of station r and satellite
// s is wl = -Nw + W_s - W_r, so the fractional parts of the arcs give W_s
// and W_r per day (FitFractions). With them every usable arc gets its
// integer n = round(wl - W_s + W_r) and each epoch the narrow-lane float
// nl = (f1 + f2)/c * amb - f2/(f1 - f2) * n = -N1 + NL_s - NL_r, whose
// fractional parts, averaged per arc and interval, give NL_s per interval.
// The noise of an arc's wide lane comes from the steps of its running mean
// (the record's wl_sig is not used): short and low arcs whose mean is too
// noisy for a safe integer stay out of both steps.
// The narrow lane uses exactly the wide-lane values that are published,
// wrapped into [-0.5, 0.5), so the pair is consistent for users. Counts:
// wide-lane arcs behind a wide-lane value, stations behind a narrow-lane one.
// GPS, Galileo (E1/E5a) and BeiDou (B1I/B2I); GLONASS (FDMA) is skipped.
#ifndef PPPIO_UPDESTIMATOR_H
#define PPPIO_UPDESTIMATOR_H

#include <string>
#include <vector>

#include "io/AmbiguityExport.h"
#include "io/UpdFile.h"

namespace pppio {

struct UpdEstimatorOptions {
    double nlIntervalSeconds = 900.0;
    double minElevationDeg = 15.0;   // wide-lane arcs must reach it; narrow-lane epochs must be above it
    double minArcMinutes = 20.0;     // shortest wide-lane arc; youngest arc age for the narrow lane
    double convergenceMinutes = 45.0;  // narrow lane skips each station's filter start and reset
                                       // (a reset: all satellites start new arcs at one epoch)
    double maxFraction = 0.25;       // residual (cycles) beyond which an arc or sample is rejected
    double maxWlSigma = 0.1;         // noisiest wide-lane arc mean used (cycles), see below
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

// Values of 9999.99 in the records mean "no value". A satellite's
// lock count smaller than on its previous epoch starts a new arc.
UpdEstimate EstimateUpds(const std::vector<AmbiguityExport>& network, const UpdEstimatorOptions& options);

// Carrier frequencies (Hz) of the two frequencies of a packed index whose
// UPDs are estimated; false for GLONASS and outside the packed range.
bool UpdFrequencies(int iprn, double& f1, double& f2);

}  // namespace pppio

#endif
