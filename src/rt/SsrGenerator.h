// The corrections a real-time service sends for the broadcast ephemerides,
// made from precise products: orbit = broadcast minus precise phase centre
// in the radial/along/cross frame of the broadcast orbit (with rates over
// the update interval), clock = c (precise - broadcast). Corrections refer
// to the reference time t0 = epoch + interval/2, as the decoder applies
// them (see SsrCorrections.h). Clock messages refer to the ephemeris of the
// satellite's latest orbit message, as the messages carry no issue of
// their own.
//
//   ppprt::SsrGenerator generator(broadcast, preciseOrbits, frequencies);
//   generator.orbit('G', epoch, 60.0, message);   // every 60 s, then encode
//   generator.clock('G', epoch, 5.0, message);    // every 5 s
#ifndef PPPRT_SSRGENERATOR_H
#define PPPRT_SSRGENERATOR_H

#include <memory>

#include "io/BroadcastOrbit.h"
#include "io/CarrierFrequencies.h"
#include "io/OrbitRecordBuilder.h"
#include "rt/SsrMessages.h"

namespace ppprt {

class SsrGenerator {
public:
    // `precise` holds the precise orbits, clocks and satellite antennas.
    SsrGenerator(const pppio::BroadcastOrbit& broadcast, pppio::OrbitRecordBuilder& precise,
                 const pppio::CarrierFrequencies& frequencies, int iodSsr = 1);
    ~SsrGenerator();

    // Orbit (resp. clock) corrections of `system` at `epoch` for an update
    // interval; the number of satellites put in `out`.
    int orbit(char system, const tagGPSTIME2& epoch, double interval, SsrMessage& out);
    int clock(char system, const tagGPSTIME2& epoch, double interval, SsrMessage& out);

    // The ephemeris the satellite's latest orbit correction refers to (null
    // before the first); a stream sends it before the correction.
    const pppio::KeplerEphemeris* keplerInUse(int iprn) const { return m_kepler[iprn - 1]; }
    const pppio::GlonassEphemeris* glonassInUse(int iprn) const { return m_glonass[iprn - 1]; }

private:
    bool broadcastState(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const;
    bool preciseState(int iprn, const tagGPSTIME2& t, double position[3], double& clock);
    bool orbitDifference(int iprn, const tagGPSTIME2& t, double rac[3]);
    void header(char system, const tagGPSTIME2& epoch, double interval, SsrType type, SsrMessage& out) const;

    const pppio::BroadcastOrbit& m_broadcast;
    pppio::OrbitRecordBuilder& m_precise;
    const pppio::CarrierFrequencies& m_frequencies;
    int m_iodSsr;
    std::unique_ptr<tagGMSP3REC> m_scratch;   // for the Sun of the epoch
    const pppio::KeplerEphemeris* m_kepler[MAXSATNUM] = {};
    const pppio::GlonassEphemeris* m_glonass[MAXSATNUM] = {};
};

// The update-interval index of RTCM SSR for an interval in seconds (the
// largest interval not above it).
int ssrUpdateIntervalIndex(double seconds);
double ssrUpdateInterval(int index);

}  // namespace ppprt

#endif
