#include "rt/RtcmMsmEncoder.h"

#include <algorithm>
#include <cmath>

#include "io/GpsTime.h"
#include "rt/MsmLayout.h"
#include "rt/RtcmBits.h"

namespace ppprt {
namespace {

constexpr double kRoughUnit = kMsmRangeMs / 1024.0;   // m, resolution of the rough range

int firstMessageNumber(char system)
{
    switch (system) {
    case 'G': return 1071;
    case 'R': return 1081;
    case 'E': return 1091;
    case 'J': return 1111;
    case 'C': return 1121;
    default: return 0;
    }
}

int64_t notAvailable(int bits) { return -(int64_t{1} << (bits - 1)); }

// Fine value of `value` relative to the satellite's rough range, or the
// "not available" pattern for an absent value or one out of the field's reach.
int64_t fineField(double value, double rough, double unitMs, int bits)
{
    if (value == 0.0 || rough == 0.0)
        return notAvailable(bits);
    return scaledSigned(value - rough, unitMs * kMsmRangeMs, bits);
}

const MsmCell* findCell(const MsmSatellite& sat, int signalId)
{
    for (int c = 0; c < sat.cellCount; ++c)
        if (sat.cells[c].signalId == signalId)
            return &sat.cells[c];
    return nullptr;
}

}  // namespace

MsmStatus encodeMsm(const MsmMessage& msg, uint8_t* out, size_t capacity, size_t& length)
{
    length = 0;
    const int first = firstMessageNumber(msg.system);
    if (first == 0 || msg.msmType < 4 || msg.msmType > 7 || msg.satelliteCount < 0 ||
        msg.satelliteCount > kMsmMaxSatellites)
        return MsmStatus::kUnsupported;
    const MsmCellLayout& layout = msmCellLayout(msg.msmType);

    // Satellites in the order of the mask, signals of the message.
    const MsmSatellite* sats[kMsmMaxSatellites];
    uint64_t satelliteMask = 0;
    uint32_t signalMask = 0;
    for (int s = 0; s < msg.satelliteCount; ++s) {
        const MsmSatellite& sat = msg.satellites[s];
        const uint64_t bit = sat.prn >= 1 && sat.prn <= 64 ? uint64_t{1} << (64 - sat.prn) : 0;
        if (bit == 0 || (satelliteMask & bit) || sat.cellCount > kMsmMaxSatelliteCells)
            return MsmStatus::kUnsupported;
        satelliteMask |= bit;
        sats[s] = &sat;
        for (int c = 0; c < sat.cellCount; ++c) {
            if (sat.cells[c].signalId < 1 || sat.cells[c].signalId > kMsmMaxSignalId)
                return MsmStatus::kUnsupported;
            signalMask |= 0x80000000u >> (sat.cells[c].signalId - 1);
        }
    }
    std::sort(sats, sats + msg.satelliteCount, [](const MsmSatellite* a, const MsmSatellite* b) { return a->prn < b->prn; });
    int signalIds[kMsmMaxSignalId];
    int signalCount = 0;
    for (int id = 1; id <= kMsmMaxSignalId; ++id)
        if (signalMask & (0x80000000u >> (id - 1)))
            signalIds[signalCount++] = id;
    if (msg.satelliteCount * signalCount > kMsmMaxCells)
        return MsmStatus::kTooManyCells;

    BitWriter w(out, capacity);
    w.putUnsigned(static_cast<uint64_t>(first + msg.msmType - 1), 12);
    w.putUnsigned(static_cast<uint64_t>(msg.station), 12);
    w.putUnsigned(msmEpochField(msg.system, msg.time), 30);
    w.putFlag(msg.multipleMessage);
    w.putUnsigned(static_cast<uint64_t>(msg.iods), 3);
    w.putUnsigned(0, 7);
    w.putUnsigned(static_cast<uint64_t>(msg.clockSteering), 2);
    w.putUnsigned(static_cast<uint64_t>(msg.externalClock), 2);
    w.putFlag(msg.smoothing);
    w.putUnsigned(static_cast<uint64_t>(msg.smoothingInterval), 3);
    w.putUnsigned(satelliteMask, 64);
    w.putUnsigned(signalMask, 32);
    const MsmCell* cells[kMsmMaxCells];
    const MsmSatellite* cellSat[kMsmMaxCells];
    int cellCount = 0;
    for (int s = 0; s < msg.satelliteCount; ++s)
        for (int k = 0; k < signalCount; ++k) {
            const MsmCell* cell = findCell(*sats[s], signalIds[k]);
            w.putFlag(cell != nullptr);
            if (cell) {
                cellSat[cellCount] = sats[s];
                cells[cellCount++] = cell;
            }
        }

    for (int s = 0; s < msg.satelliteCount; ++s) {
        const int64_t units = std::llround(sats[s]->roughRange / kRoughUnit);
        w.putUnsigned(sats[s]->roughRange == 0.0 ? kMsmInvalidWholeMs : static_cast<uint64_t>(units >> 10), 8);
    }
    for (int s = 0; s < msg.satelliteCount && layout.withRates(); ++s) {
        const int channel = sats[s]->glonassChannel;
        const bool known = msg.system == 'R' && channel >= -7 && channel <= 6;
        w.putUnsigned(known ? static_cast<uint64_t>(channel + 7) : msg.system == 'R' ? kMsmNoExtendedInfo : 0, 4);
    }
    for (int s = 0; s < msg.satelliteCount; ++s)
        w.putUnsigned(static_cast<uint64_t>(std::llround(sats[s]->roughRange / kRoughUnit) & 0x3FF), 10);
    for (int s = 0; s < msg.satelliteCount && layout.withRates(); ++s)
        w.putSigned(scaledSigned(sats[s]->roughRate, 1.0, 14), 14);

    for (int c = 0; c < cellCount; ++c)
        w.putSigned(fineField(cells[c]->pseudorange, cellSat[c]->roughRange, layout.rangeUnit, layout.fineRange),
                    layout.fineRange);
    for (int c = 0; c < cellCount; ++c)
        w.putSigned(fineField(cells[c]->phaseRange, cellSat[c]->roughRange, layout.phaseUnit, layout.finePhase),
                    layout.finePhase);
    for (int c = 0; c < cellCount; ++c)
        w.putUnsigned(static_cast<uint64_t>(msmLockIndicator(cells[c]->lockTime, layout.extendedLock())), layout.lock);
    for (int c = 0; c < cellCount; ++c)
        w.putFlag(cells[c]->halfCycle);
    const double cnrMax = static_cast<double>((1 << layout.cnr) - 1);
    for (int c = 0; c < cellCount; ++c)
        w.putUnsigned(static_cast<uint64_t>(std::min(cnrMax, std::max(0.0, std::round(cells[c]->cnr / layout.cnrUnit)))),
                      layout.cnr);
    for (int c = 0; c < cellCount && layout.withRates(); ++c) {
        const double rate = cells[c]->phaseRate;
        w.putSigned(rate == 0.0 ? notAvailable(layout.rate)
                                : scaledSigned(rate - cellSat[c]->roughRate, kMsmRateUnit, layout.rate),
                    layout.rate);
    }
    if (!w.ok())
        return MsmStatus::kTruncated;
    length = w.bytes();
    return MsmStatus::kOk;
}

MsmEncoder::MsmEncoder(const pppio::RinexObsHeader& header, int station) : m_header(header), m_station(station)
{
    for (int sys = 0; sys < kMsmSystemCount; ++sys) {
        const char system = kMsmSystems[sys];
        for (int id = 1; id <= kMsmMaxSignalId; ++id) {
            const char* code = msmSignalCode(system, id);
            if (!code)
                continue;
            auto index = [&](char type) { return header.obsIndex(system, std::string(1, type) + code); };
            const SignalTypes types{id, index('C'), index('L'), index('D'), index('S')};
            if (types.code >= 0 || types.phase >= 0)
                m_types[sys].push_back(types);
        }
    }
    m_locks.resize(static_cast<size_t>(kMsmSystemCount) * (kMsmMaxSatellites + 1) * (kMsmMaxSignalId + 1));
}

int MsmEncoder::fill(const pppio::ObsEpoch& epoch, char system, int first, MsmMessage& msg)
{
    msg.messageNumber = firstMessageNumber(system) + 6;
    msg.system = system;
    msg.msmType = 7;
    msg.station = m_station;
    msg.time = epoch.gpsTime;
    msg.multipleMessage = false;
    msg.iods = msg.clockSteering = msg.externalClock = msg.smoothingInterval = 0;
    msg.smoothing = false;
    msg.satelliteCount = 0;
    if (!m_haveOrigin) {
        m_origin = epoch.gpsTime;
        m_haveOrigin = true;
    }
    const double now = pppio::secondsBetween(epoch.gpsTime, m_origin);
    uint32_t signals = 0;
    int sat = first;
    for (; sat < epoch.satelliteCount(); ++sat) {
        if (epoch.satellite(sat).system != system || msg.satelliteCount == kMsmMaxSatellites)
            continue;
        MsmSatellite& out = msg.satellites[msg.satelliteCount];
        if (!fillSatellite(epoch, sat, system, now, out))
            continue;
        uint32_t joined = signals;
        for (int c = 0; c < out.cellCount; ++c)
            joined |= 1u << (out.cells[c].signalId - 1);
        int signalCount = 0;
        for (uint32_t bits = joined; bits; bits &= bits - 1)
            ++signalCount;
        if ((msg.satelliteCount + 1) * signalCount > kMsmMaxCells)
            break;   // starts the next message
        signals = joined;
        ++msg.satelliteCount;
    }
    while (sat < epoch.satelliteCount() && epoch.satellite(sat).system != system)
        ++sat;
    return sat;
}

bool MsmEncoder::fillSatellite(const pppio::ObsEpoch& epoch, int sat, char system, double now, MsmSatellite& out)
{
    const int sys = msmSystemIndex(system);
    const int prn = epoch.satellite(sat).prn;
    if (sys < 0 || prn < 1 || prn > kMsmMaxSatellites)
        return false;
    out.prn = prn;
    out.glonassChannel = kNoChannel;
    int channel = kNoChannel;
    if (system == 'R' && m_header.glonassChannel(prn, channel))
        out.glonassChannel = channel;
    out.cellCount = 0;
    out.roughRange = out.roughRate = 0.0;
    for (const SignalTypes& types : m_types[sys]) {
        const pppio::ObsValue none{0.0, 0, 0};
        const pppio::ObsValue& code = types.code >= 0 ? epoch.obs(sat, types.code) : none;
        const pppio::ObsValue& phase = types.phase >= 0 ? epoch.obs(sat, types.phase) : none;
        const pppio::ObsValue& doppler = types.doppler >= 0 ? epoch.obs(sat, types.doppler) : none;
        const pppio::ObsValue& strength = types.strength >= 0 ? epoch.obs(sat, types.strength) : none;
        const char* rinex = msmSignalCode(system, types.signalId);
        const double frequency = msmCarrierFrequency(system, rinex[0], out.glonassChannel);
        const double wavelength = frequency > 0.0 ? _LIGHT_SPEED / frequency : 0.0;
        if (!code.present() && !(phase.present() && wavelength > 0.0))
            continue;
        MsmCell& cell = out.cells[out.cellCount++];
        cell = MsmCell{};
        cell.signalId = types.signalId;
        std::copy(rinex, rinex + 2, cell.code);
        cell.pseudorange = code.value;
        LockState& state = lock(sys, prn, types.signalId);
        const bool withPhase = phase.present() && wavelength > 0.0;
        const bool shifted = withPhase && shiftPhase(state, phase.value, code.value, wavelength);
        cell.phaseRange = withPhase ? (phase.value - state.shift) * wavelength : 0.0;
        cell.phaseRate = -doppler.value * wavelength;
        const uint8_t ssi = phase.present() ? phase.ssi : code.ssi;
        cell.cnr = strength.present() ? strength.value : ssi * 6.0;
        cell.halfCycle = (phase.lli & 2) != 0;
        cell.lockTime = phase.present() ? lockTime(state, (phase.lli & 1) != 0 || shifted, now) : 0.0;
        if (out.roughRange == 0.0) {
            const double range = cell.pseudorange != 0.0 ? cell.pseudorange : cell.phaseRange;
            out.roughRange = std::round(range / kRoughUnit) * kRoughUnit;
            out.roughRate = std::round(cell.phaseRate);
        }
    }
    return out.cellCount > 0;
}

MsmEncoder::LockState& MsmEncoder::lock(int system, int prn, int signalId)
{
    return m_locks[(static_cast<size_t>(system) * (kMsmMaxSatellites + 1) + static_cast<size_t>(prn)) *
                       (kMsmMaxSignalId + 1) +
                   static_cast<size_t>(signalId)];
}

double MsmEncoder::lockTime(LockState& lock, bool lost, double now)
{
    if (!lock.seen || now - lock.last > kMaxGap || (lost && lock.last < now))
        lock.start = now;
    lock.seen = true;
    lock.last = now;
    return now - lock.start;
}

// A new shift when the phase is out of the fine field's reach; true then
// (the jump restarts the lock time, as a slip would).
bool MsmEncoder::shiftPhase(LockState& lock, double cycles, double code, double wavelength)
{
    constexpr double kReach = 1000.0;   // m, inside the +-1171 m of the fine phase range
    if (code == 0.0 || std::fabs((cycles - lock.shift) * wavelength - code) <= kReach)
        return false;
    const double shift = std::round(cycles - code / wavelength);
    const bool jump = lock.seen;
    lock.shift = shift;
    return jump;
}

}  // namespace ppprt
