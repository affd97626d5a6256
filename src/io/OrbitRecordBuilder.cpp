#include "io/OrbitRecordBuilder.h"

#include <cstring>

#include "common/gnsscmn.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"

namespace pppio {

namespace {

// ANTEX frequency codes of the library's two frequencies per system.
bool AntennaFrequencyCodes(char system, const char** first, const char** second)
{
    switch (system) {
    case 'G': *first = "G01"; *second = "G02"; return true;
    case 'R': *first = "R01"; *second = "R02"; return true;
    case 'E': *first = "E01"; *second = "E05"; return true;
    case 'C': *first = "C02"; *second = "C07"; return true;
    default: return false;
    }
}

void FillNadirVariations(const AntexAntenna& antenna, const AntexFrequency& frequency, double* var)
{
    const bool tabulated = antenna.zenithCount >= 2 && frequency.noAzimuth.size() >= 2 && antenna.dzen > 0.0;
    for (int k = 0; k < SATPCV_NNADIR; ++k)
        var[k] = tabulated ? satellitePcv(antenna, frequency, k) : 0.0;
}

void FillSatellitePcv(const AntexAntenna& antenna, int iprn, const AntexFrequency& f1, const AntexFrequency& f2,
                      t_satpcv& pcv)
{
    std::memset(&pcv, 0, sizeof(pcv));
    pcv.cSys = judge_sys_char(iprn);
    pcv.prn = iprn2prn(iprn);
    std::strncpy(pcv.type, antenna.type.c_str(), sizeof(pcv.type) - 1);
    if (antenna.hasValidFrom)
        pcv.validFrom = antenna.validFrom;
    if (antenna.hasValidUntil)
        pcv.validUntil = antenna.validUntil;
    const AntexFrequency* frequencies[SATPCV_NFREQ] = {&f1, &f2, &f2};
    for (int f = 0; f < SATPCV_NFREQ; ++f) {
        for (int k = 0; k < 3; ++k)
            pcv.off[f][k] = frequencies[f]->offset[k];
        FillNadirVariations(antenna, *frequencies[f], pcv.var[f]);
    }
}

}  // namespace

OrbitRecordBuilder::OrbitRecordBuilder(const ProductSources& sources, bool applySatelliteAntenna)
    : m_sources(sources),
      // Without satellite antennas there is nothing to apply, and no Sun to compute for the attitude.
      m_applyAntenna(applySatelliteAntenna && sources.antennas && sources.antennas->hasSatellites()),
      m_sun{0.0, 0.0, 0.0}
{
    std::memset(m_pcv, 0, sizeof(m_pcv));
    for (const AntexAntenna*& source : m_pcvSource)
        source = nullptr;
}

double OrbitRecordBuilder::RelativisticCorrection(const double position[3], const double velocity[3])
{
    const double rv = position[0] * velocity[0] + position[1] * velocity[1] + position[2] * velocity[2];
    return -2.0 * rv / (_LIGHT_SPEED * _LIGHT_SPEED);
}

void OrbitRecordBuilder::beginEpoch(const tagCOMMONTIME& epoch, tagGMSP3REC& record)
{
    // A zero position tells the library that a satellite has no orbit.
    std::memset(&record, 0, sizeof(record));
    if (!m_applyAntenna)
        return;
    const double hour = epoch.hour + epoch.minute / 60.0 + epoch.second / 3600.0;
    long double sun[3] = {0.0L, 0.0L, 0.0L};
    m_model.SUN(epoch.year, epoch.month, epoch.day, hour, sun);
    m_sun = {static_cast<double>(sun[0]), static_cast<double>(sun[1]), static_cast<double>(sun[2])};
}

bool OrbitRecordBuilder::clockAt(int iprn, const tagGPSTIME2& t, double& clock) const
{
    if (m_sources.clock)
        return m_sources.clock->clock(iprn, t, clock);
    return m_sources.orbit && m_sources.orbit->clock(iprn, t, clock);
}

bool OrbitRecordBuilder::fromPrecise(int iprn, const tagGPSTIME2& receive, double code, tagSP3ONESAT& out) const
{
    if (!m_sources.orbit)
        return false;
    tagGPSTIME2 transmit;
    double clock = 0.0;
    auto clockOf = [&](const tagGPSTIME2& t, double& c) { return clockAt(iprn, t, c); };
    if (!TransmissionTime(receive, code, clockOf, transmit, clock) ||
        !m_sources.orbit->position(iprn, transmit, out.dPos, out.dVel))
        return false;
    out.dClk = clock + RelativisticCorrection(out.dPos, out.dVel);

    // Rate of the clock around t_tx: central difference over two seconds, one-sided at a data edge.
    double before = 0.0, after = 0.0;
    const bool hasBefore = clockAt(iprn, shiftedTime(transmit, -1.0), before);
    const bool hasAfter = clockAt(iprn, shiftedTime(transmit, 1.0), after);
    if (hasBefore && hasAfter)
        out.dClkDrift = (after - before) / 2.0;
    else if (hasAfter)
        out.dClkDrift = after - clock;
    else if (hasBefore)
        out.dClkDrift = clock - before;
    else
        out.dClkDrift = 0.0;
    return true;
}

bool OrbitRecordBuilder::fromBroadcast(int iprn, const tagGPSTIME2& receive, double code, tagSP3ONESAT& out) const
{
    if (!m_sources.broadcast)
        return false;
    const SatelliteStateSource& nav = *m_sources.broadcast;
    SatelliteState state;
    auto clockOf = [&](const tagGPSTIME2& t, double& c) {
        if (!nav.state(iprn, t, state))
            return false;
        c = state.clock;
        return true;
    };
    tagGPSTIME2 transmit;
    double clock = 0.0;
    // The last clock evaluation was at t_tx, so `state` holds the orbit there.
    if (!TransmissionTime(receive, code, clockOf, transmit, clock))
        return false;
    for (int k = 0; k < 3; ++k) {
        out.dPos[k] = state.position[k];
        out.dVel[k] = state.velocity[k];
    }
    out.dClk = clock + RelativisticCorrection(out.dPos, out.dVel);
    out.dClkDrift = state.clockRate;
    return true;
}

const AntexAntenna* OrbitRecordBuilder::antennaFrequencies(int iprn, const tagGPSTIME2& t,
                                                           const AntexFrequency*& first,
                                                           const AntexFrequency*& second) const
{
    const AntexAntenna* antenna = m_sources.antennas ? m_sources.antennas->satellite(iprn, t) : nullptr;
    const char *code1, *code2;
    if (!antenna || !AntennaFrequencyCodes(judge_sys_char(iprn), &code1, &code2))
        return nullptr;
    first = antenna->frequency(code1);
    second = antenna->frequency(code2);
    return first && second ? antenna : nullptr;
}

bool OrbitRecordBuilder::phaseCentreOffset(int iprn, const tagGPSTIME2& t, double f1, double f2,
                                           const double centreOfMass[3], double offset[3])
{
    const AntexFrequency *first = nullptr, *second = nullptr;
    if (!antennaFrequencies(iprn, t, first, second))
        return false;
    // Ionosphere-free combination of the two body-frame offsets.
    const double g1 = f1 * f1, g2 = f2 * f2;
    const double k1 = g1 / (g1 - g2), k2 = g2 / (g1 - g2);
    const tagCRDCARTESIAN body{k1 * first->offset[0] - k2 * second->offset[0],
                               k1 * first->offset[1] - k2 * second->offset[1],
                               k1 * first->offset[2] - k2 * second->offset[2]};
    const tagCRDCARTESIAN position{centreOfMass[0], centreOfMass[1], centreOfMass[2]};
    tagCRDCARTESIAN moved;
    if (!m_model.sat_Phase_center(m_sun, position, body, &moved))
        return false;
    offset[0] = moved.x, offset[1] = moved.y, offset[2] = moved.z;
    return true;
}

void OrbitRecordBuilder::applyAntenna(int iprn, const tagGPSTIME2& transmit, double f1, double f2,
                                      bool moveToPhaseCentre, tagSP3ONESAT& out)
{
    const AntexFrequency *first = nullptr, *second = nullptr;
    const AntexAntenna* antenna = antennaFrequencies(iprn, transmit, first, second);
    if (!antenna)
        return;
    if (moveToPhaseCentre) {
        double offset[3];
        if (!phaseCentreOffset(iprn, transmit, f1, f2, out.dPos, offset))
            return;
        for (int k = 0; k < 3; ++k)
            out.dPos[k] += offset[k];
    }
    const int slot = iprn - 1;
    if (m_pcvSource[slot] != antenna) {
        FillSatellitePcv(*antenna, iprn, *first, *second, m_pcv[slot]);
        m_pcvSource[slot] = antenna;
    }
    out.pcv = &m_pcv[slot];
}

OrbitSource OrbitRecordBuilder::fill(int iprn, const tagGPSTIME2& receive, double code, double f1, double f2,
                                     tagGMSP3REC& record)
{
    if (iprn < 1 || iprn > MAXSATNUM)
        return OrbitSource::kMissing;
    tagSP3ONESAT& out = record.sat[iprn - 1];
    out.pcv = nullptr;
    OrbitSource source = OrbitSource::kMissing;
    if (fromPrecise(iprn, receive, code, out))
        source = OrbitSource::kPrecise;
    else if (fromBroadcast(iprn, receive, code, out))
        source = OrbitSource::kBroadcast;
    // Broadcast orbits (and orbits corrected by a stream) refer to the phase
    // centre already; they still get the nadir variations.
    if (source != OrbitSource::kMissing && m_applyAntenna && m_antennaSatellites.contains(iprn)) {
        const tagGPSTIME2 transmit = shiftedTime(receive, -code / _LIGHT_SPEED);
        applyAntenna(iprn, transmit, f1, f2, source == OrbitSource::kPrecise, out);
    }
    out.bValid = source == OrbitSource::kMissing ? 0 : 1;
    if (source == OrbitSource::kMissing)
        std::memset(&out, 0, sizeof(out));
    return source;
}

}  // namespace pppio
