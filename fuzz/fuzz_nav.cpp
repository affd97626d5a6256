// RINEX 3 navigation files through readNav and BroadcastOrbit: every
// satellite's position and clock at each of its records' reference times
// and 15 minutes after, the issue look-up and the Klobuchar coefficients.
#include <cstddef>
#include <cstdint>

#include "FuzzInput.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "io/ReadError.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr size_t kMaxQueries = 64;
    try {
        const pppio::NavFile file = pppio::readNav(fuzzing::inputFile(data, size));
        pppio::BroadcastOrbit orbit;
        orbit.add(file);
        pppio::SatelliteState state;
        for (size_t k = 0; k < file.kepler.size() && k < kMaxQueries; ++k) {
            const pppio::KeplerEphemeris& eph = file.kepler[k];
            pppio::keplerState(eph, eph.toe, state);
            orbit.state(eph.iprn, pppio::shiftedTime(eph.toe, 900.0), state);
            orbit.keplerByIssue(eph.iprn, pppio::keplerIssue(eph), eph.toe);
        }
        for (size_t k = 0; k < file.glonass.size() && k < kMaxQueries; ++k) {
            const pppio::GlonassEphemeris& eph = file.glonass[k];
            orbit.state(eph.iprn, pppio::shiftedTime(eph.toe, 900.0), state);
            orbit.glonassByIssue(eph.iprn, pppio::glonassIssue(eph), eph.toe);
            int channel = 0;
            orbit.glonassChannel(eph.iprn - 32, channel);
        }
        tagGMNHDR klobuchar;
        orbit.klobuchar(klobuchar);
    } catch (const pppio::ReadError&) {
    }
    return 0;
}
