// SP3-c/d precise orbit files through readSp3 and PreciseOrbit: position,
// velocity and clock of every satellite at the first epoch, between epochs
// and, with extrapolation on, a few minutes past the last one.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "SpanQueries.h"
#include "io/PreciseOrbit.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    try {
        const pppio::Sp3File file = pppio::readSp3(fuzzing::inputFile(data, size));
        pppio::PreciseOrbit orbit;
        orbit.setExtrapolation(600.0);
        orbit.add(file);
        fuzzing::querySpan(orbit, 437.5, 300.0, [&](int iprn, const tagGPSTIME2& t) {
            double position[3], velocity[3], clock;
            orbit.position(iprn, t, position, velocity);
            orbit.clock(iprn, t, clock);
        });
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
