// RINEX clock files through readClock and PreciseClock: every satellite's
// clock at the first sample, between samples and just past the data.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "SpanQueries.h"
#include "io/PreciseClock.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const pppio::ClockFile file = pppio::readClock(fuzzing::inputFile(data, size));
        pppio::PreciseClock clocks;
        clocks.setEdgeExtrapolation(1.0);
        clocks.add(file);
        fuzzing::querySpan(clocks, 17.25, 0.5, [&](int iprn, const tagGPSTIME2& t) {
            double clock;
            clocks.clock(iprn, t, clock);
        });
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
