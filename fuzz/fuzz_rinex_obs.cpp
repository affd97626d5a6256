// RINEX 2/3/4 and Compact RINEX observation files (plain or gzip) through
// RinexObsReader, each epoch then read as the epoch assembly reads it: every
// value of the header's types, and the signal choice of each satellite made
// with the selector built from the header as it stood before the first epoch.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/CarrierFrequencies.h"
#include "io/ReadError.h"
#include "io/RinexObsReader.h"
#include "io/SignalSelection.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr int kMaxEpochs = 200;
    try {
        pppio::RinexObsReader reader(fuzzing::inputFile(data, size));
        const pppio::SignalSelector selector(reader.header());
        const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
        pppio::ObsEpoch epoch;
        pppio::SelectedSignals signals;
        volatile double sum = 0.0;
        for (int n = 0; n < kMaxEpochs && reader.next(epoch); ++n) {
            for (int sat = 0; sat < epoch.satelliteCount(); ++sat) {
                const pppio::ObsSatellite& s = epoch.satellite(sat);
                const int types = reader.header().obsTypes(s.system).count();
                for (int type = 0; type < types; ++type)
                    sum = sum + epoch.obs(sat, type).value;
                double f1 = 0.0, f2 = 0.0;
                if (selector.select(epoch, sat, signals) && frequencies.frequencies(s.system, s.prn, f1, f2))
                    sum = sum + signals.code1 + signals.phase2 * f2;
            }
        }
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
