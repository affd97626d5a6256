#include "Corrections.h"

#include <cmath>
#include <optional>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/PPPRecords.h"
#include "io/GpsTime.h"
#include "io/SatelliteId.h"
#include "rt/RtcmEphemeris.h"
#include "rt/RtcmFramer.h"
#include "rt/RtcmSsr.h"
#include "rt/SsrBiases.h"
#include "rt/SsrSignals.h"

namespace rnx2rtcm {

namespace {

// SSR message numbers of orbit, clock, code bias and phase bias per system.
struct SsrNumbers {
    char system;
    int orbit, clock, codeBias, phaseBias;
};
const SsrNumbers kNumbers[] = {
    {'G', 1057, 1058, 1059, 1265}, {'R', 1063, 1064, 1065, 1266},
    {'E', 1240, 1241, 1242, 1267}, {'C', 1258, 1259, 1260, 1270},
};

// Signals given a zero code bias without a Bias-SINEX file (the clocks are
// those of the precise product, whose code biases the simulated and real
// receivers share), and those whose code and phase OSBs are looked up in one.
const char* const kSignals[] = {"1C", "1W", "2W", "2L", "2S", "2X", "5Q", "5X", "1X", "7Q", "7X", "1P", "2C",
                                    "2P", "2I", "6I", "7I"};

// The signals that carry the phase biases of the library's two carriers.
bool PhaseSignals(char system, int& first, int& second)
{
    const char* codes[2] = {nullptr, nullptr};
    if (system == 'G')
        codes[0] = "1C", codes[1] = "2W";
    else if (system == 'E')
        codes[0] = "1C", codes[1] = "5Q";
    else
        return false;
    first = ppprt::ssrSignalId(system, codes[0]);
    second = ppprt::ssrSignalId(system, codes[1]);
    return true;
}

bool OnGrid(const tagGPSTIME2& t, double interval)
{
    const double r = std::fmod(t.sow, interval);
    return r < 1e-6 || interval - r < 1e-6;
}

int EphemerisMessage(const pppio::KeplerEphemeris& eph)
{
    switch (eph.system) {
    case 'G': return 1019;
    case 'C': return 1042;
    default: return (static_cast<long>(eph.l2CodesOrDataSources) & (1 | 512)) != 0 ? 1046 : 1045;
    }
}

}  // namespace

Corrections::Corrections(const Options& o, const pppio::RinexObsHeader& header) : m_o(o), m_message(new ppprt::SsrMessage())
{
    m_broadcast.load(o.nav);
    m_frequencies.reset(new pppio::CarrierFrequencies(header, &m_broadcast));
    if (o.sp3.empty())
        return;
    const pppio::SatelliteSet wanted = pppio::SatelliteSet::ofSystems(o.systems);
    for (const std::string& path : o.sp3)
        m_orbit.load(path, wanted);
    for (const std::string& path : o.clk)
        m_clock.load(path, wanted);
    if (!o.atx.empty())
        m_antennas.load(o.atx);
    if (!o.upd.empty())
        m_upds = pppio::UpdProduct::read(o.upd);
    if (!o.bias.empty()) {
        m_osb = pppio::BiasSinex::read(o.bias);
        m_haveOsb = true;
    }
    pppio::ProductSources sources;
    sources.orbit = &m_orbit;
    sources.clock = o.clk.empty() ? nullptr : &m_clock;
    sources.antennas = o.atx.empty() ? nullptr : &m_antennas;
    m_precise.reset(new pppio::OrbitRecordBuilder(sources, true));
    m_generator.reset(new ppprt::SsrGenerator(m_broadcast, *m_precise, *m_frequencies));
}

Corrections::~Corrections() = default;

void Corrections::sendEphemeris(int iprn, const tagGPSTIME2& t, StreamWriter& out)
{
    ppprt::DecodedEphemeris eph;
    const void* record = nullptr;
    if (judge_sys_char(iprn) == 'R') {
        const pppio::GlonassEphemeris* g =
            m_generator ? m_generator->glonassInUse(iprn) : m_broadcast.selectGlonass(iprn, t);
        if (!g)
            return;
        record = g;
        eph.kind = ppprt::EphemerisKind::kGlonass;
        eph.messageNumber = 1020;
        eph.glonass = *g;
    } else {
        const pppio::KeplerEphemeris* k =
            m_generator ? m_generator->keplerInUse(iprn) : m_broadcast.selectKepler(iprn, t);
        if (!k)
            return;
        record = k;
        eph.kind = ppprt::EphemerisKind::kKepler;
        eph.messageNumber = EphemerisMessage(*k);
        eph.kepler = *k;
    }
    if (!m_sent.insert(record).second)
        return;
    eph.system = judge_sys_char(iprn);
    eph.prn = iprn2prn(iprn);
    uint8_t payload[ppprt::kRtcmMaxPayload];
    out.write(payload, ppprt::encodeEphemeris(eph, payload, sizeof(payload)));
}

void Corrections::writeSsr(int messageNumber, StreamWriter& out)
{
    if (m_message->satelliteCount == 0)
        return;
    m_message->messageNumber = messageNumber;
    uint8_t payload[ppprt::kRtcmMaxPayload];
    out.write(payload, ppprt::encodeSsr(*m_message, payload, sizeof(payload)));
    ++m_ssrMessages;
}

void Corrections::writeBiases(char system, const tagGPSTIME2& t, StreamWriter& out)
{
    const SsrNumbers* numbers = nullptr;
    for (const SsrNumbers& n : kNumbers)
        numbers = n.system == system ? &n : numbers;
    const bool haveUpds = !m_upds.wideLane.empty() && m_upds.fill(t, m_updEntries) > 0;
    const bool phase = m_haveOsb || haveUpds;

    for (const bool phaseMessage : {false, true}) {
        if (phaseMessage && !phase)
            break;
        ppprt::SsrMessage& m = *m_message;
        m.type = phaseMessage ? ppprt::SsrType::kPhaseBias : ppprt::SsrType::kCodeBias;
        m.header = ppprt::SsrHeader();
        m.header.system = system;
        m.header.time = t;
        m.header.updateIntervalIndex = ppprt::ssrUpdateIntervalIndex(m_o.biasInterval);
        m.header.updateInterval = ppprt::ssrUpdateInterval(m.header.updateIntervalIndex);
        m.header.iodSsr = 1;
        m.header.dispersiveConsistent = m.header.mwConsistent = true;
        m.satelliteCount = 0;
        for (int prn = 1; prn <= 40 && m.satelliteCount < ppprt::kSsrMaxSatellites; ++prn) {
            const int iprn = pppio::packedIndex(system, prn);
            if (iprn == 0 || !(m_generator->keplerInUse(iprn) || m_generator->glonassInUse(iprn)))
                continue;
            ppprt::SsrSatellite s;
            s.prn = prn;
            if (m_haveOsb)
                fillOsbBiases(phaseMessage ? 'L' : 'C', iprn, t, s);
            else if (phaseMessage)
                fillUpdPhaseBiases(system, iprn, s);
            else
                for (const char* code : kSignals) {
                    const int id = ppprt::ssrSignalId(system, code);
                    if (id >= 0 && s.codeBiasCount < ppprt::kSsrMaxBiases)
                        s.codeBias[s.codeBiasCount++].signal = id;
                }
            if ((phaseMessage ? s.phaseBiasCount : s.codeBiasCount) == 0)
                continue;
            m.satellites[m.satelliteCount++] = s;
        }
        writeSsr(phaseMessage ? numbers->phaseBias : numbers->codeBias, out);
    }
}

// The phase biases of the two carriers that carry the satellite's UPDs.
void Corrections::fillUpdPhaseBiases(char system, int iprn, ppprt::SsrSatellite& s) const
{
    const t_upd& u = m_updEntries[iprn - 1];
    double f1, f2;
    int first, second;
    if (!u.valid || !m_frequencies->frequencies(system, s.prn, f1, f2) || !PhaseSignals(system, first, second))
        return;
    double b1, b2;
    ppprt::phaseBiasesFromUpd(u.wl, u.nl, f1, f2, b1, b2);
    s.phaseBiasCount = 2;
    s.phaseBias[0].signal = first, s.phaseBias[0].bias = b1;
    s.phaseBias[1].signal = second, s.phaseBias[1].bias = b2;
    for (int k = 0; k < 2; ++k)
        s.phaseBias[k].integer = true, s.phaseBias[k].wideLaneInteger = 2;
}

// Code ('C') or phase ('L') biases of every signal with an OSB at t: the
// bias added to the observation is minus the OSB, in metres.
void Corrections::fillOsbBiases(char kind, int iprn, const tagGPSTIME2& t, ppprt::SsrSatellite& s) const
{
    const char system = judge_sys_char(iprn);
    int& count = kind == 'L' ? s.phaseBiasCount : s.codeBiasCount;
    ppprt::SsrSignalBias* biases = kind == 'L' ? s.phaseBias : s.codeBias;
    for (const char* signal : kSignals) {
        const char code[4] = {kind, signal[0], signal[1], '\0'};
        const int id = ppprt::ssrSignalId(system, code);
        const std::optional<double> ns = id >= 0 ? m_osb.osb(iprn, code, t) : std::nullopt;
        if (!ns || count >= ppprt::kSsrMaxBiases)
            continue;
        ppprt::SsrSignalBias& b = biases[count++];
        b.signal = id;
        b.bias = -*ns * 1e-9 * _LIGHT_SPEED;
        b.integer = kind == 'L';
        b.wideLaneInteger = kind == 'L' ? 2 : 0;
    }
}

void Corrections::writeEpoch(const tagGPSTIME2& t, StreamWriter& out)
{
    const bool orbitEpoch = OnGrid(t, m_o.orbitInterval);
    if (!m_generator) {
        if (!orbitEpoch)
            return;
        for (char system : m_o.systems)
            for (int prn = 1; prn <= 40; ++prn)
                if (const int iprn = pppio::packedIndex(system, prn))
                    sendEphemeris(iprn, t, out);
        return;
    }
    for (char system : m_o.systems) {
        const SsrNumbers* numbers = nullptr;
        for (const SsrNumbers& n : kNumbers)
            numbers = n.system == system ? &n : numbers;
        if (orbitEpoch) {
            m_generator->orbit(system, t, m_o.orbitInterval, *m_message);
            for (int k = 0; k < m_message->satelliteCount; ++k)
                sendEphemeris(pppio::packedIndex(system, m_message->satellites[k].prn), t, out);
            writeSsr(numbers->orbit, out);
        }
        m_generator->clock(system, t, m_o.clockInterval, *m_message);
        writeSsr(numbers->clock, out);
        if (OnGrid(t, m_o.biasInterval))
            writeBiases(system, t, out);
    }
}

void Corrections::writeUpTo(const tagGPSTIME2& t, StreamWriter& out)
{
    if (!m_started) {
        // The first orbit epoch at or before t, so the first observations have corrections.
        m_next = t;
        m_next.sow = std::floor(t.sow / m_o.orbitInterval) * m_o.orbitInterval;
        m_started = true;
    }
    while (pppio::secondsBetween(t, m_next) >= 0.0) {
        writeEpoch(m_next, out);
        m_next = pppio::shiftedTime(m_next, m_o.clockInterval);
    }
}

}  // namespace rnx2rtcm
