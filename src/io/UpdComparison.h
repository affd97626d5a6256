// Errors of estimated UPDs against true ones where only differences between
// satellites are defined:
//
//   pppio::UpdErrors e = pppio::CompareUpds(estimate.product, truth);
//   printf("UPD error WL %.4f NL %.4f cycles\n", e.wlRms, e.nlRms);
//
// Per day (wide lane) or interval (narrow lane) and system, the circular
// mean of the differences estimate - truth is the datum and is removed. A
// published wide lane may differ from the truth by an integer k_s; its
// narrow lane then by -f2/(f1 - f2) k_s, which is taken into account.
// Groups with a single common satellite carry no information and are skipped.
// Estimated values with a count below `minCount` are left out (the library
// does not use values below its minimum count, 2 by default).
#ifndef PPPIO_UPDCOMPARISON_H
#define PPPIO_UPDCOMPARISON_H

#include "io/UpdEstimator.h"

namespace pppio {

struct UpdErrors {
    double wlRms = 0.0;   // cycles
    int wlCount = 0;      // satellite-days compared
    double wlMax = 0.0;
    double nlRms = 0.0;
    int nlCount = 0;      // satellite-intervals compared
    double nlMax = 0.0;
};

UpdErrors CompareUpds(const UpdProduct& estimate, const UpdProduct& truth, int minCount = 1);

}  // namespace pppio

#endif
