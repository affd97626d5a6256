// Writer of observable-specific biases (OSB) in the Bias-SINEX 1.00 format:
// the %=BIA header line, a FILE/REFERENCE block, a BIAS/DESCRIPTION block
// and the BIAS/SOLUTION block, one line per satellite, observable and
// validity interval (ns).
//
//   pppio::BiasSinexFile file{"SIM", start, end, {}};
//   file.biases.push_back({"G01", "C1C", start, end, 1.234});
//   pppio::WriteBiasSinex("truth.bia", file);
#ifndef PPPIO_BIASSINEXWRITER_H
#define PPPIO_BIASSINEXWRITER_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

struct ObservableBias {
    std::string satellite;    // RINEX 3 id, "G01"
    std::string observable;   // "C1C", "L2W"
    tagGPSTIME2 start, end;
    double valueNs;
};

struct BiasSinexFile {
    std::string agency;       // three characters
    tagGPSTIME2 start, end;   // data span
    std::vector<ObservableBias> biases;
};

// Throws std::runtime_error when the file cannot be written.
void WriteBiasSinex(const std::string& path, const BiasSinexFile& file);

}  // namespace pppio

#endif
