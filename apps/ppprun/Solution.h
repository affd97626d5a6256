// One epoch's solution as the program's own output files see it: time,
// position with its covariance, solution quality and satellites, taken
// from the library's solution record and filter after each epoch.
//
//   EpochSolution s;
//   if (TakeSolution(code, record, library, s))
//       positions.write(s);
#ifndef PPPRUN_SOLUTION_H
#define PPPRUN_SOLUTION_H

#include "engine/GNSSResult.h"
#include "lib/ppplib.h"

namespace ppprun {

// Solution quality in the numbering of the common position-file layout.
enum class Quality { kFixed = 1, kFloat = 2, kDifferential = 4, kSingle = 5 };

struct EpochSolution {
    tagCOMMONTIME time;          // GPS time, calendar
    tagGPSTIME2 gpsTime;
    double xyz[3];               // m, ECEF
    double cov[3][3];            // m^2, ECEF; zero off the diagonal when the filter gives none
    Quality quality;
    int satellites;
    int systemSatellites[4];     // G, R, E, C
    double ratio;                // ambiguity validation ratio, 0 when not fixed
    double ztd;                  // m, 0 without a troposphere estimate
};

// Fills `out` from the record of an epoch with result code `code`; false
// when the epoch has no position. The PPP covariance comes from the
// filter's cofactors (t_ppplib::positionCofactors) scaled to the record's
// standard deviations; a fixed epoch carries the float covariance.
bool TakeSolution(int code, const tagSPPONERESULT& record, const t_ppplib& library, EpochSolution& out);

}  // namespace ppprun

#endif
