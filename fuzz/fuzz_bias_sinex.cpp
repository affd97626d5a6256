// Bias-SINEX files through BiasSinex::read: the code biases of every value
// at its own start, the code lists and the epoch UPDs made from the phase
// biases, as the host makes them for ambiguity resolution.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/PhaseBiasUpd.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kMaxQueries = 64;
    try {
        const pppio::BiasSinex biases = pppio::BiasSinex::read(fuzzing::inputFile(data, size));
        for (char system : {'G', 'R', 'E', 'C'})
            biases.codes(system);
        static t_upd upds[pppio::kMaxPackedIndex];
        const std::vector<pppio::BiasValue>& values = biases.values();
        for (size_t k = 0; k < values.size() && k < kMaxQueries; ++k) {
            const double start = values[k].start > -1e9 && values[k].start < 1e9 ? values[k].start : 0.0;
            const tagGPSTIME2 t{2168, start};
            pppio::codeBiasMetres(biases, values[k].iprn, values[k].code, t);
            if (k % 8 == 0)
                pppio::fillUpdsFromOsb(biases, t, upds);
        }
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
