// Hardware biases of the simulation and the uncalibrated phase delays
// (UPD) they imply, in the library's sign convention:
//   phase (cycles) = ... + N_i + a_r,i - a_s,i,   code (m) = ... + d_r,i - d_s,i
//   W_s  = (a_s,1 - a_s,2) - (f1 d_s,1 + f2 d_s,2) / ((f1 + f2) lambda_w)
//   NL_s = (f1 a_s,1 - f2 a_s,2) / (f1 - f2)
// Satellite code biases have a zero ionosphere-free combination
// (d_s,2 = d_s,1 f1^2/f2^2), as the clock products assume.
#ifndef NETSIM_BIASES_H
#define NETSIM_BIASES_H

#include "Random.h"

namespace netsim {

struct PhaseCodeBiases {
    double phase[2];   // a_1, a_2 in cycles
    double code[2];    // d_1, d_2 in m
};

// Satellite biases: phases uniform in [-1, 1) cycles, code d_1 uniform
// within +-3 ns and d_2 from the zero ionosphere-free combination.
PhaseCodeBiases SatelliteBiases(Random& random, double f1, double f2);
// Receiver biases: phases within +-1 cycle, codes within +-5 ns each.
PhaseCodeBiases ReceiverBiases(Random& random);

// Satellite phase biases `hours` after the start with a narrow-lane drift of
// `nlPerHour` cycles per hour: both phases move alike, the wide lane stays.
PhaseCodeBiases Drifted(const PhaseCodeBiases& b, double nlPerHour, double hours);

struct Upd {
    double wl;   // cycles
    double nl;   // cycles
};

// W_s and NL_s of satellite biases, unwrapped.
Upd SatelliteUpd(const PhaseCodeBiases& b, double f1, double f2);

// Both values brought into [-0.5, 0.5): the whole cycles k taken from the
// wide lane take f2/(f1 - f2) k with them from the narrow lane.
Upd WrappedUpd(const Upd& u, double f1, double f2);

}  // namespace netsim

#endif
