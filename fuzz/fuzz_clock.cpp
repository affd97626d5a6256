// RINEX clock files through readClock and PreciseClock: every satellite's
// clock at the first sample, between samples and just past the data.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const pppio::ClockFile file = pppio::readClock(fuzzing::inputFile(data, size));
        pppio::PreciseClock clocks;
        clocks.setEdgeExtrapolation(1.0);
        clocks.add(file);
        tagGPSTIME2 first, last;
        if (!clocks.span(first, last))
            return 0;
        const tagGPSTIME2 times[] = {first, pppio::shiftedTime(first, 17.25), pppio::shiftedTime(last, 0.5)};
        double clock;
        for (int iprn = 1; iprn <= pppio::kMaxPackedIndex; ++iprn)
            if (clocks.sampleCount(iprn) > 0)
                for (const tagGPSTIME2& t : times)
                    clocks.clock(iprn, t, clock);
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
