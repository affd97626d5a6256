#include "rt/SsrCorrections.h"

#include <cmath>

#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "io/SatelliteId.h"

namespace ppprt {

namespace {

// A GLONASS epoch this close to the leap seconds after the other systems'
// latest epoch was written as GPS time + 3 h, without the leap seconds.
constexpr double kLeapMatch = 0.5;

const SsrSignalBias* FindBias(const SsrSignalBias* biases, int count, int signal)
{
    for (int k = 0; k < count; ++k)
        if (biases[k].signal == signal)
            return &biases[k];
    return nullptr;
}

void Cross(const double a[3], const double b[3], double out[3])
{
    out[0] = a[1] * b[2] - a[2] * b[1];
    out[1] = a[2] * b[0] - a[0] * b[2];
    out[2] = a[0] * b[1] - a[1] * b[0];
}

bool Normalise(double v[3])
{
    const double norm = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    if (!(norm > 0.0))
        return false;
    for (int k = 0; k < 3; ++k)
        v[k] /= norm;
    return true;
}

}  // namespace

const SsrSignalBias* SatelliteSsr::findCodeBias(int signal) const
{
    return FindBias(codeBias, codeBiasCount, signal);
}

const SsrSignalBias* SatelliteSsr::findPhaseBias(int signal) const
{
    return FindBias(phaseBias, phaseBiasCount, signal);
}

SsrCorrections::SsrCorrections() = default;

tagGPSTIME2 SsrCorrections::epochOf(const SsrMessage& message)
{
    const tagGPSTIME2 t = message.header.time;
    if (message.header.system != 'R') {
        if (m_latestNonGlonass.week == 0 || pppio::secondsBetween(t, m_latestNonGlonass) > 0.0)
            m_latestNonGlonass = t;
        return t;
    }
    if (m_latestNonGlonass.week == 0)
        return t;
    const double leap = pppio::leapSecondsAt(t);
    const double ahead = pppio::secondsBetween(t, m_latestNonGlonass);
    // The other systems' corrections arrive every few seconds: a GLONASS
    // epoch just the leap seconds ahead of their latest one counted them twice.
    if (std::fabs(ahead - leap) < kLeapMatch) {
        ++m_counts.glonassEpochShifted;
        return pppio::shiftedTime(t, -leap);
    }
    return t;
}

void SsrCorrections::add(const SsrMessage& message)
{
    ++m_counts.messages;
    if (message.type == SsrType::kVtec)
        return;
    const tagGPSTIME2 epoch = epochOf(message);
    const tagGPSTIME2 reference = pppio::shiftedTime(epoch, message.header.updateInterval / 2.0);
    const int iodSsr = message.header.iodSsr;
    for (int k = 0; k < message.satelliteCount && k < kSsrMaxSatellites; ++k) {
        const SsrSatellite& in = message.satellites[k];
        ++m_counts.satelliteEntries;
        const int iprn = pppio::packedIndex(message.header.system, in.prn);
        if (iprn == 0) {
            ++m_counts.noPackedIndex;
            continue;
        }
        SatelliteSsr& out = m_satellites[iprn - 1];
        const bool orbit = message.type == SsrType::kOrbit || message.type == SsrType::kCombined;
        const bool clock = message.type == SsrType::kClock || message.type == SsrType::kCombined;
        if (orbit) {
            IssueCorrections& c = out.current;
            if (c.hasOrbit && c.iode != in.iode)
                out.previous = c;   // a new ephemeris issue
            c.hasOrbit = true;
            c.orbitTime = reference;
            c.iode = in.iode;
            c.orbitIodSsr = iodSsr;
            c.orbit[0] = in.radial, c.orbit[1] = in.along, c.orbit[2] = in.cross;
            c.orbitRate[0] = in.dotRadial, c.orbitRate[1] = in.dotAlong, c.orbitRate[2] = in.dotCross;
        }
        if (clock) {
            IssueCorrections& c = out.current;
            c.hasClock = true;
            c.clockTime = reference;
            c.clockIodSsr = iodSsr;
            c.clock[0] = in.c0, c.clock[1] = in.c1, c.clock[2] = in.c2;
            out.hasHighRateClock = false;   // a high-rate clock refines the clock it follows
        }
        switch (message.type) {
        case SsrType::kHighRateClock:
            out.hasHighRateClock = true;
            out.highRateTime = epoch;
            out.highRateClock = in.highRateClock;
            break;
        case SsrType::kCodeBias:
            out.codeBiasTime = epoch;
            out.codeBiasCount = in.codeBiasCount;
            for (int b = 0; b < in.codeBiasCount && b < kSsrMaxBiases; ++b)
                out.codeBias[b] = in.codeBias[b];
            break;
        case SsrType::kPhaseBias:
            out.phaseBiasTime = epoch;
            out.phaseBiasCount = in.phaseBiasCount;
            for (int b = 0; b < in.phaseBiasCount && b < kSsrMaxBiases; ++b)
                out.phaseBias[b] = in.phaseBias[b];
            break;
        case SsrType::kUra:
            out.ura = in.ura;
            break;
        default:
            break;
        }
    }
}

const char* describe(SsrOutcome outcome)
{
    switch (outcome) {
    case SsrOutcome::kCorrected: return "corrected";
    case SsrOutcome::kNoOrbit: return "no orbit correction";
    case SsrOutcome::kNoClock: return "no clock correction";
    case SsrOutcome::kTooOld: return "correction older than its maximum age";
    case SsrOutcome::kIssueMismatch: return "orbit and clock of different SSR issues";
    case SsrOutcome::kNoEphemeris: return "the ephemeris the correction refers to is unknown or out of its validity";
    }
    return "?";
}

void orbitFrame(const double position[3], const double velocity[3], double radial[3], double along[3],
                double cross[3])
{
    for (int k = 0; k < 3; ++k)
        along[k] = velocity[k];
    Normalise(along);
    Cross(position, velocity, cross);
    Normalise(cross);
    Cross(along, cross, radial);
}

SsrSatelliteStates::SsrSatelliteStates(const pppio::BroadcastOrbit& broadcast, const SsrCorrections& ssr,
                                       const SsrAges& ages)
    : m_broadcast(broadcast), m_ssr(ssr), m_ages(ages)
{
}

bool SsrSatelliteStates::state(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const
{
    const bool fallback = m_fallback || m_ssr.counts().messages == 0;
    return evaluate(iprn, t, state) == SsrOutcome::kCorrected || (fallback && m_broadcast.state(iprn, t, state));
}

SsrOutcome SsrSatelliteStates::evaluate(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const
{
    if (iprn < 1 || iprn > MAXSATNUM)
        return SsrOutcome::kNoOrbit;
    const SatelliteSsr& satellite = m_ssr.satellite(iprn);
    const SsrOutcome outcome = apply(iprn, satellite.current, satellite, t, m_ages.clock, state);
    if (outcome != SsrOutcome::kNoEphemeris || !satellite.previous.hasOrbit)
        return outcome;
    // The previous issue's last clock correction bridges the time until the
    // new ephemeris arrives, as long as its orbit correction may be used.
    const SsrOutcome bridged = apply(iprn, satellite.previous, satellite, t, m_ages.orbit, state);
    return bridged == SsrOutcome::kCorrected ? bridged : outcome;
}

SsrOutcome SsrSatelliteStates::apply(int iprn, const IssueCorrections& c, const SatelliteSsr& satellite,
                                     const tagGPSTIME2& t, double clockLimit, pppio::SatelliteState& state) const
{
    if (!c.hasOrbit)
        return SsrOutcome::kNoOrbit;
    if (!c.hasClock)
        return SsrOutcome::kNoClock;
    const double orbitAge = pppio::secondsBetween(t, c.orbitTime);
    const double clockAge = pppio::secondsBetween(t, c.clockTime);
    if (std::fabs(orbitAge) > m_ages.orbit || std::fabs(clockAge) > clockLimit)
        return SsrOutcome::kTooOld;
    if (c.orbitIodSsr != c.clockIodSsr)
        return SsrOutcome::kIssueMismatch;

    if (judge_sys_char(iprn) == 'R') {
        const pppio::GlonassEphemeris* eph = m_broadcast.glonassByIssue(iprn, c.iode, t);
        if (!eph)
            return SsrOutcome::kNoEphemeris;
        pppio::glonassState(*eph, t, state);
    } else {
        const pppio::KeplerEphemeris* eph = m_broadcast.keplerByIssue(iprn, c.iode, t);
        if (!eph)
            return SsrOutcome::kNoEphemeris;
        pppio::keplerState(*eph, t, state);
    }

    double radial[3], along[3], cross[3];
    orbitFrame(state.position, state.velocity, radial, along, cross);
    double rac[3];
    for (int k = 0; k < 3; ++k)
        rac[k] = c.orbit[k] + c.orbitRate[k] * orbitAge;
    for (int k = 0; k < 3; ++k) {
        state.position[k] -= radial[k] * rac[0] + along[k] * rac[1] + cross[k] * rac[2];
        state.velocity[k] -= radial[k] * c.orbitRate[0] + along[k] * c.orbitRate[1] + cross[k] * c.orbitRate[2];
    }

    double clock = c.clock[0] + c.clock[1] * clockAge + c.clock[2] * clockAge * clockAge;
    if (&c == &satellite.current && satellite.hasHighRateClock &&
        std::fabs(pppio::secondsBetween(t, satellite.highRateTime)) <= m_ages.clock)
        clock += satellite.highRateClock;
    state.clock += clock / _LIGHT_SPEED;
    state.clockRate += (c.clock[1] + 2.0 * c.clock[2] * clockAge) / _LIGHT_SPEED;
    return SsrOutcome::kCorrected;
}

}  // namespace ppprt
