// The truth files of a simulation: site coordinates, the satellite UPDs
// (ppplib UPD file), the same biases as Bias-SINEX OSBs, and the injected
// slips and gaps.
#ifndef NETSIM_TRUTHFILES_H
#define NETSIM_TRUTHFILES_H

#include <string>

#include "Simulator.h"

namespace netsim {

// stations.txt, truth.upd, truth.bia and slips.txt in `dir`; throws
// std::runtime_error when a file cannot be written.
void WriteTruthFiles(const std::string& dir, const Simulator& simulation, double nlInterval, double interval);

}  // namespace netsim

#endif
