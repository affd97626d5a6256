// Real epochs for the facade harness: the first epochs of the bundled ESBC
// sample (data/sample), assembled once per process with the toolkit's
// readers into the records the library takes, as ppprun assembles them.
//
//   const fuzzing::SampleEpochs& sample = fuzzing::SampleEpochs::get();
//   *epoch = sample.epochs[k];   // and *orbit = sample.orbits[k]
#ifndef PPPLIB_FUZZ_SAMPLEEPOCHS_H
#define PPPLIB_FUZZ_SAMPLEEPOCHS_H

#include <vector>

#include "engine/GNSSEpoch.h"
#include "engine/PPPRecords.h"

namespace fuzzing {

struct SampleEpochs {
    static constexpr int kEpochs = 40;   // 20 minutes at 30 s

    std::vector<tagGPSOBSONEEPO> epochs;   // systems G, R, E
    std::vector<tagGMSP3REC> orbits;       // the orbit record of each epoch
    tagSITE site{};                        // ESBC with its antenna offsets and reference coordinates

    // Read on the first call; aborts when the sample cannot be read.
    static const SampleEpochs& get();
};

}  // namespace fuzzing

#endif
