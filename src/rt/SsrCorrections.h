// The state-space corrections of a stream as they stand, per satellite,
// and the satellite states they give: broadcast ephemeris of the referenced
// issue, corrected in orbit and clock.
//
// Orbit: the correction (radial, along-track, cross-track) plus its rates
// times t - t0 is turned into Earth-fixed axes with the broadcast position
// r and velocity v: along = v/|v|, cross = r x v/|r x v|, radial = along x
// cross; the corrected position is the broadcast one minus the correction.
// Clock: dC = C0 + C1 (t - t0) + C2 (t - t0)^2 (+ the high-rate clock)
// is added to the broadcast clock as dC/c. The reference time t0 of both
// is the correction's epoch plus half its update interval. Corrected
// positions refer to the ionosphere-free antenna phase centre, as the
// broadcast orbits do. A correction older than its maximum age, or whose
// orbit and clock belong to different SSR issues, or that refers to an
// ephemeris never received, leaves the satellite without a state.
//
//   ppprt::SsrCorrections ssr;
//   ssr.add(message);                                  // each decoded SSR message
//   ppprt::SsrSatelliteStates states(broadcast, ssr);
//   sources.broadcast = &states;                       // pppio::ProductSources
#ifndef PPPRT_SSRCORRECTIONS_H
#define PPPRT_SSRCORRECTIONS_H

#include "common/GNSSConst.h"
#include "engine/GNSSEpoch.h"
#include "io/BroadcastOrbit.h"
#include "rt/SsrMessages.h"

namespace ppprt {

// Maximum ages (s) of corrections, after which they are dropped.
struct SsrAges {
    double orbit = 180.0;
    double clock = 60.0;
    double bias = 900.0;
};

// The orbit and clock corrections of one ephemeris issue.
struct IssueCorrections {
    bool hasOrbit = false;
    tagGPSTIME2 orbitTime{0, 0.0};   // reference time t0
    int iode = 0;
    int orbitIodSsr = 0;
    double orbit[3] = {};            // radial, along, cross (m)
    double orbitRate[3] = {};        // m/s

    bool hasClock = false;
    tagGPSTIME2 clockTime{0, 0.0};   // reference time t0
    int clockIodSsr = 0;
    double clock[3] = {};            // C0 m, C1 m/s, C2 m/s^2
};

struct SatelliteSsr {
    // The corrections of the current ephemeris issue, and those of the
    // issue before: a service switches to a new issue as soon as it is
    // broadcast, while a stream may deliver the new ephemeris a minute or
    // two later; until then the previous issue's corrections still apply.
    IssueCorrections current;
    IssueCorrections previous;

    bool hasHighRateClock = false;
    tagGPSTIME2 highRateTime{0, 0.0};
    double highRateClock = 0.0;      // m

    tagGPSTIME2 codeBiasTime{0, 0.0};
    int codeBiasCount = 0;
    SsrSignalBias codeBias[kSsrMaxBiases];

    tagGPSTIME2 phaseBiasTime{0, 0.0};
    int phaseBiasCount = 0;
    SsrSignalBias phaseBias[kSsrMaxBiases];

    double ura = 0.0;                // m

    // Bias (m) of a signal identifier, null when absent.
    const SsrSignalBias* findCodeBias(int signal) const;
    const SsrSignalBias* findPhaseBias(int signal) const;
};

struct SsrCounts {
    long messages = 0;
    long satelliteEntries = 0;
    long noPackedIndex = 0;       // satellites the library has no slot for (QZSS, SBAS, E31+...)
    long glonassEpochShifted = 0; // GLONASS epochs written without the leap seconds, corrected
};

class SsrCorrections {
public:
    SsrCorrections();

    void add(const SsrMessage& message);

    // Corrections of satellite iprn (1..124), whatever their age.
    const SatelliteSsr& satellite(int iprn) const { return m_satellites[iprn - 1]; }

    const SsrCounts& counts() const { return m_counts; }

private:
    tagGPSTIME2 epochOf(const SsrMessage& message);

    SatelliteSsr m_satellites[MAXSATNUM];
    tagGPSTIME2 m_latestNonGlonass{0, 0.0};
    SsrCounts m_counts;
};

enum class SsrOutcome { kCorrected, kNoOrbit, kNoClock, kTooOld, kIssueMismatch, kNoEphemeris };
const char* describe(SsrOutcome outcome);

class SsrSatelliteStates : public pppio::SatelliteStateSource {
public:
    SsrSatelliteStates(const pppio::BroadcastOrbit& broadcast, const SsrCorrections& ssr,
                       const SsrAges& ages = SsrAges());

    // With the fallback on, a satellite without usable corrections gets its
    // plain broadcast state (metre-level orbit and clock errors) rather
    // than none. Until the first correction arrives every satellite does:
    // a stream without corrections is a broadcast-only stream.
    void setBroadcastFallback(bool on) { m_fallback = on; }

    bool state(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const override;

    // What state() would make of satellite iprn at t, with the state.
    SsrOutcome evaluate(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const;

    const SsrAges& ages() const { return m_ages; }

private:
    SsrOutcome apply(int iprn, const IssueCorrections& c, const SatelliteSsr& satellite, const tagGPSTIME2& t,
                     double clockLimit, pppio::SatelliteState& state) const;

    const pppio::BroadcastOrbit& m_broadcast;
    const SsrCorrections& m_ssr;
    SsrAges m_ages;
    bool m_fallback = false;
};

// Radial, along-track and cross-track unit vectors of a position and velocity.
void orbitFrame(const double position[3], const double velocity[3], double radial[3], double along[3],
                double cross[3]);

}  // namespace ppprt

#endif
