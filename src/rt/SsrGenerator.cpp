#include "rt/SsrGenerator.h"

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/GpsTime.h"
#include "io/PreciseOrbit.h"
#include "io/SatelliteId.h"
#include "rt/SsrCorrections.h"

namespace ppprt {

namespace {

const double kUpdateIntervals[16] = {1, 2, 5, 10, 15, 30, 60, 120, 240, 300, 600, 900, 1800, 3600, 7200, 10800};

// Half-width (s) of the central differences that give the rates.
constexpr double kRateStep = 1.0;
// More than any signal travel time (s).
constexpr double kTravelMargin = 1.0;

}  // namespace

int ssrUpdateIntervalIndex(double seconds)
{
    int index = 0;
    for (int k = 0; k < 16; ++k)
        if (kUpdateIntervals[k] <= seconds + 1e-9)
            index = k;
    return index;
}

double ssrUpdateInterval(int index)
{
    return index >= 0 && index < 16 ? kUpdateIntervals[index] : 0.0;
}

SsrGenerator::SsrGenerator(const pppio::BroadcastOrbit& broadcast, pppio::OrbitRecordBuilder& precise,
                           const pppio::CarrierFrequencies& frequencies, int iodSsr)
    : m_broadcast(broadcast), m_precise(precise), m_frequencies(frequencies), m_iodSsr(iodSsr),
      m_scratch(new tagGMSP3REC())
{
}

SsrGenerator::~SsrGenerator() = default;

bool SsrGenerator::broadcastState(int iprn, const tagGPSTIME2& t, pppio::SatelliteState& state) const
{
    if (const pppio::KeplerEphemeris* eph = m_kepler[iprn - 1]) {
        pppio::keplerState(*eph, t, state);
        return true;
    }
    if (const pppio::GlonassEphemeris* eph = m_glonass[iprn - 1]) {
        pppio::glonassState(*eph, t, state);
        return true;
    }
    return false;
}

bool SsrGenerator::preciseState(int iprn, const tagGPSTIME2& t, double position[3], double& clock)
{
    const pppio::PreciseOrbit* orbit = m_precise.sources().orbit;
    double f1 = 0.0, f2 = 0.0, offset[3];
    if (!orbit || !orbit->position(iprn, t, position) || !m_precise.clockAt(iprn, t, clock) ||
        !m_frequencies.frequencies(judge_sys_char(iprn), iprn2prn(iprn), f1, f2))
        return false;
    if (m_precise.phaseCentreOffset(iprn, t, f1, f2, position, offset))
        for (int k = 0; k < 3; ++k)
            position[k] += offset[k];
    return true;
}

// Broadcast minus precise position in the broadcast orbit frame.
bool SsrGenerator::orbitDifference(int iprn, const tagGPSTIME2& t, double rac[3])
{
    pppio::SatelliteState b;
    double precise[3], clock;
    if (!broadcastState(iprn, t, b) || !preciseState(iprn, t, precise, clock))
        return false;
    double axes[3][3];
    orbitFrame(b.position, b.velocity, axes[0], axes[1], axes[2]);
    const double d[3] = {b.position[0] - precise[0], b.position[1] - precise[1], b.position[2] - precise[2]};
    for (int a = 0; a < 3; ++a)
        rac[a] = axes[a][0] * d[0] + axes[a][1] * d[1] + axes[a][2] * d[2];
    return true;
}

void SsrGenerator::header(char system, const tagGPSTIME2& epoch, double interval, SsrType type,
                          SsrMessage& out) const
{
    out.type = type;
    out.header = SsrHeader();
    out.header.system = system;
    out.header.time = epoch;
    out.header.updateIntervalIndex = ssrUpdateIntervalIndex(interval);
    out.header.updateInterval = ssrUpdateInterval(out.header.updateIntervalIndex);
    out.header.iodSsr = m_iodSsr;
    out.satelliteCount = 0;
}

int SsrGenerator::orbit(char system, const tagGPSTIME2& epoch, double interval, SsrMessage& out)
{
    header(system, epoch, interval, SsrType::kOrbit, out);
    const tagGPSTIME2 t0 = pppio::shiftedTime(epoch, out.header.updateInterval / 2.0);
    // The sun of the epoch for the satellite attitude.
    tagCOMMONTIME calendar;
    tagGPSTIME2 copy = t0;
    CGNSSTimeConvert().GPSTime2ToCommonTime(&copy, &calendar);
    m_precise.beginEpoch(calendar, *m_scratch);

    for (int prn = 1; prn <= pppio::systemCapacity(system) && out.satelliteCount < kSsrMaxSatellites; ++prn) {
        const int iprn = pppio::packedIndex(system, prn);
        // The ephemeris a service would use now, in the record the user picks
        // for its issue. Chosen at the start of the interval (less the signal
        // travel time), so that it is valid wherever the user applies it.
        const tagGPSTIME2 start = pppio::shiftedTime(epoch, -kTravelMargin);
        m_kepler[iprn - 1] = nullptr;
        m_glonass[iprn - 1] = nullptr;
        int issue = 0;
        if (system == 'R') {
            const pppio::GlonassEphemeris* eph = m_broadcast.selectGlonass(iprn, start);
            if (!eph)
                continue;
            issue = pppio::glonassIssue(*eph);
            m_glonass[iprn - 1] = m_broadcast.glonassByIssue(iprn, issue, start);
        } else {
            const pppio::KeplerEphemeris* eph = m_broadcast.selectKepler(iprn, start);
            if (!eph)
                continue;
            issue = pppio::keplerIssue(*eph);
            m_kepler[iprn - 1] = m_broadcast.keplerByIssue(iprn, issue, start);
        }
        double now[3], before[3], after[3];
        if (!orbitDifference(iprn, t0, now) ||
            !orbitDifference(iprn, pppio::shiftedTime(t0, -kRateStep), before) ||
            !orbitDifference(iprn, pppio::shiftedTime(t0, kRateStep), after)) {
            m_kepler[iprn - 1] = nullptr;
            m_glonass[iprn - 1] = nullptr;
            continue;
        }
        SsrSatellite& s = out.satellites[out.satelliteCount++];
        s = SsrSatellite();
        s.prn = prn;
        s.iode = issue;
        s.radial = now[0], s.along = now[1], s.cross = now[2];
        s.dotRadial = (after[0] - before[0]) / (2.0 * kRateStep);
        s.dotAlong = (after[1] - before[1]) / (2.0 * kRateStep);
        s.dotCross = (after[2] - before[2]) / (2.0 * kRateStep);
    }
    return out.satelliteCount;
}

int SsrGenerator::clock(char system, const tagGPSTIME2& epoch, double interval, SsrMessage& out)
{
    header(system, epoch, interval, SsrType::kClock, out);
    const tagGPSTIME2 t0 = pppio::shiftedTime(epoch, out.header.updateInterval / 2.0);
    for (int prn = 1; prn <= pppio::systemCapacity(system) && out.satelliteCount < kSsrMaxSatellites; ++prn) {
        const int iprn = pppio::packedIndex(system, prn);
        double c[3];   // c (precise - broadcast) at t0 - step, t0, t0 + step
        bool ok = true;
        for (int k = 0; k < 3 && ok; ++k) {
            const tagGPSTIME2 t = pppio::shiftedTime(t0, (k - 1) * kRateStep);
            pppio::SatelliteState b;
            double precise = 0.0;
            ok = broadcastState(iprn, t, b) && m_precise.clockAt(iprn, t, precise);
            c[k] = (precise - b.clock) * _LIGHT_SPEED;
        }
        if (!ok)
            continue;
        SsrSatellite& s = out.satellites[out.satelliteCount++];
        s = SsrSatellite();
        s.prn = prn;
        s.c0 = c[1];
        s.c1 = (c[2] - c[0]) / (2.0 * kRateStep);
        s.c2 = 0.0;
    }
    return out.satelliteCount;
}

}  // namespace ppprt
