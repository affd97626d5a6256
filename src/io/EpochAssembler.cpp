#include "io/EpochAssembler.h"

#include <algorithm>
#include <cstring>

#include "common/gnsscmn.h"

namespace pppio {

namespace {

void CopyCode(const char* code, char (&field)[4])
{
    std::strncpy(field, code, sizeof(field) - 1);
    field[sizeof(field) - 1] = '\0';
}

}  // namespace

EpochAssembler::EpochAssembler(const RinexObsHeader& header, const CarrierFrequencies& frequencies,
                               OrbitRecordBuilder& orbits, const std::string& systems)
    : m_selector(header), m_frequencies(frequencies), m_orbits(orbits)
{
    for (int s = 0; s < kLibrarySystems; ++s)
        m_systemOn[s] = false;
    for (char letter : systems) {
        const int s = LibrarySystemIndex(letter);
        if (s >= 0)
            m_systemOn[s] = true;
    }
    m_order.reserve(MAXSATNUM);
}

bool EpochAssembler::assemble(const ObsEpoch& in, tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbit)
{
    if (in.isEvent() || in.flag == ObsEpoch::kCycleSlips)
        return false;
    epoch.tTime = in.time;
    epoch.tGpsTime = in.gpsTime;
    epoch.nSatNum = 0;
    epoch.epoHead = tagEPOHEAD{};
    epoch.epoHead.dRecClk = in.hasClockOffset ? in.clockOffset : 0.0;
    m_orbits.beginEpoch(in.time, orbit);

    m_order.clear();
    for (int sat = 0; sat < in.satelliteCount(); ++sat) {
        const ObsSatellite& id = in.satellite(sat);
        const int s = LibrarySystemIndex(id.system);
        const int iprn = PackedIndex(id.system, id.prn);
        if (s < 0 || !m_systemOn[s])
            continue;
        if (iprn > 0)
            m_order.emplace_back(iprn, sat);
        else if (id.prn >= 1 && id.prn <= kMaxPrn)
            ++m_tally.beyondRange[s][id.prn];
    }
    // Packed order; a satellite listed twice keeps its first record.
    std::stable_sort(m_order.begin(), m_order.end(),
                     [](const std::pair<int, int>& a, const std::pair<int, int>& b) { return a.first < b.first; });
    int previous = 0;
    for (const std::pair<int, int>& entry : m_order) {
        if (entry.first == previous)
            continue;
        previous = entry.first;
        tagOBSONESAT& out = epoch.sat[epoch.nSatNum];
        if (!fillSatellite(in, entry.second, entry.first, out, orbit))
            continue;
        const int s = judge_sys(out.cSys);
        ++epoch.epoHead.nSysSat[s];
        ++epoch.epoHead.nUsedSys[s];
        ++epoch.epoHead.nUsedSat;
        ++epoch.nSatNum;
    }
    ++m_tally.epochs;
    m_tally.satellites += epoch.nSatNum;
    return true;
}

bool EpochAssembler::fillSatellite(const ObsEpoch& in, int sat, int iprn, tagOBSONESAT& out, tagGMSP3REC& orbit)
{
    const ObsSatellite& id = in.satellite(sat);
    SelectedSignals signals;
    if (!m_selector.select(in, sat, signals)) {
        ++m_tally.incomplete;
        return false;
    }
    double f1 = 0.0, f2 = 0.0;
    if (!m_frequencies.frequencies(id.system, id.prn, f1, f2)) {
        ++m_tally.noFrequency;
        return false;
    }
    const OrbitSource source = m_orbits.fill(iprn, in.gpsTime, signals.code1, f1, f2, orbit);
    if (source == OrbitSource::kMissing) {
        ++m_tally.missingProducts;
        ++m_tally.missingPerSatellite[iprn - 1];
        return false;
    }
    if (source == OrbitSource::kBroadcast) {
        ++m_tally.broadcast;
        ++m_tally.broadcastPerSatellite[iprn - 1];
    }
    m_signals.count(id.system, signals);

    std::memset(&out, 0, sizeof(out));
    CopyCode(SignalSelector::candidateCode(id.system, kCode1, signals.code1Choice), out.obsHead.code1);
    CopyCode(SignalSelector::candidateCode(id.system, kCode2, signals.code2Choice), out.obsHead.code2);
    out.obsHead.lli1 = signals.lli1;
    out.obsHead.lli2 = signals.lli2;
    out.obsHead.ssi1 = signals.ssi1;
    out.obsHead.ssi2 = signals.ssi2;
    out.cSys = id.system;
    out.prn = id.prn;
    out.iprn = iprn;
    out.bUsed = 1;
    out.dSatWeight = 1.0;
    out.nSmoothState = 0;
    out.dP1 = signals.code1;
    out.dP2 = signals.code2;
    out.dL1 = signals.phase1;
    out.dL2 = signals.phase2;
    out.dD1 = signals.doppler1;
    out.dF1 = f1;
    out.dF2 = f2;
    return true;
}

}  // namespace pppio
