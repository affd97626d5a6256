#include "rt/RtcmMsm.h"

#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "io/GpsTime.h"
#include "rt/MsmLayout.h"
#include "rt/RtcmBits.h"
#include "rt/RtcmTime.h"

namespace ppprt {
namespace {

constexpr double kHugeLockTime = 1e12;             // s, bound of a saturated indicator
constexpr int kLastExtendedIndicator = 704;

// The most negative value of a signed field marks it as not available.
bool available(int64_t value, int bits) { return value != -(int64_t{1} << (bits - 1)); }

tagGPSTIME2 epochTime(char system, uint32_t field, const tagGPSTIME2& reference)
{
    if (system == 'R') {
        const uint32_t day = field >> 27;
        const double ofDay = (field & 0x7FFFFFF) * 1e-3;   // Moscow time
        if (day == 7)   // day not given
            return glonassDayTimeToGps(ofDay, reference);
        const double sow = day * pppio::kSecondsPerDay + ofDay - kMoscowMinusUtc + pppio::leapSecondsAt(reference);
        return nearestTimeOfWeek(std::fmod(sow + pppio::kSecondsPerWeek, pppio::kSecondsPerWeek), reference);
    }
    if (system == 'C')   // BeiDou time, 14 s behind GPS time
        return pppio::shiftedTime(
            nearestTimeOfWeek(field * 1e-3, pppio::shiftedTime(reference, -pppio::kBdtToGps)), pppio::kBdtToGps);
    return nearestTimeOfWeek(field * 1e-3, reference);
}

struct CellRef {
    int sat, cell;
};

}  // namespace

const char* describe(MsmStatus status)
{
    switch (status) {
    case MsmStatus::kOk: return "ok";
    case MsmStatus::kTruncated: return "message shorter than its masks announce";
    case MsmStatus::kTooManyCells: return "more than 64 cells";
    case MsmStatus::kUnsupported: return "not an MSM4-7 of G, R, E, J or C";
    }
    return "unknown";
}

bool msmSystemAndType(int messageNumber, char& system, int& msmType)
{
    const int group = (messageNumber - 1071) / 10;
    msmType = (messageNumber - 1071) % 10 + 1;
    if (messageNumber < 1071 || messageNumber > 1127 || msmType > 7)
        return false;
    constexpr char kGroups[] = "GRESJC";   // 1071 GPS ... 1101 SBAS, 1111 QZSS, 1121 BeiDou
    system = kGroups[group];
    return system != 'S';
}

uint32_t msmEpochField(char system, const tagGPSTIME2& time)
{
    constexpr int64_t kWeekMs = 604800000, kDayMs = 86400000;
    double seconds = time.sow;
    if (system == 'R')
        seconds += kMoscowMinusUtc - pppio::leapSecondsAt(time);
    else if (system == 'C')
        seconds -= pppio::kBdtToGps;
    const int64_t ms = (std::llround(seconds * 1e3) % kWeekMs + kWeekMs) % kWeekMs;
    if (system == 'R')
        return static_cast<uint32_t>((ms / kDayMs) << 27 | (ms % kDayMs));
    return static_cast<uint32_t>(ms);
}

double msmLockTime(int indicator, bool extended)
{
    if (!extended) {
        if (indicator < 0 || indicator > 15)
            return -1.0;
        return indicator == 0 ? 0.0 : std::ldexp(1e-3, indicator + 4);
    }
    if (indicator < 0 || indicator > kLastExtendedIndicator)
        return -1.0;
    if (indicator < 64)
        return indicator * 1e-3;
    // Blocks of 32 indicators, the step doubling from one block to the next.
    const int block = (indicator - 32) / 32;
    const int first = 32 + 32 * block;
    return (std::ldexp(1.0, block) * (indicator - first) + std::ldexp(1.0, block + 5)) * 1e-3;
}

int msmLockIndicator(double seconds, bool extended)
{
    const double ms = seconds * 1e3 + 1e-6;
    if (!extended) {
        int indicator = 0;
        while (indicator < 15 && msmLockTime(indicator + 1, false) * 1e3 <= ms)
            ++indicator;
        return indicator;
    }
    if (ms < 64.0)
        return ms < 0.0 ? 0 : static_cast<int>(ms);
    const int block = static_cast<int>(std::floor(std::log2(ms))) - 5;
    const int indicator = 32 + 32 * block + static_cast<int>((ms - std::ldexp(1.0, block + 5)) / std::ldexp(1.0, block));
    return indicator > kLastExtendedIndicator ? kLastExtendedIndicator : indicator;
}

double msmLockTimeBound(double lockTime, bool extended)
{
    const int indicator = msmLockIndicator(lockTime, extended);
    if (indicator >= (extended ? kLastExtendedIndicator : 15))
        return kHugeLockTime;
    return msmLockTime(indicator + 1, extended);
}

MsmStatus decodeMsm(const uint8_t* payload, size_t length, const tagGPSTIME2& reference, MsmMessage& out)
{
    BitReader in(payload, length);
    out.messageNumber = static_cast<int>(in.unsigned32(12));
    if (!in.ok())
        return MsmStatus::kTruncated;
    if (!msmSystemAndType(out.messageNumber, out.system, out.msmType) || out.msmType < 4)
        return MsmStatus::kUnsupported;
    out.station = static_cast<int>(in.unsigned32(12));
    const uint32_t epochField = in.unsigned32(30);
    out.multipleMessage = in.flag();
    out.iods = static_cast<int>(in.unsigned32(3));
    in.skip(7);
    out.clockSteering = static_cast<int>(in.unsigned32(2));
    out.externalClock = static_cast<int>(in.unsigned32(2));
    out.smoothing = in.flag();
    out.smoothingInterval = static_cast<int>(in.unsigned32(3));
    const uint64_t satelliteMask = in.unsigned64(64);
    const uint32_t signalMask = in.unsigned32(32);
    if (!in.ok())
        return MsmStatus::kTruncated;
    out.time = epochTime(out.system, epochField, reference);

    int signalIds[kMsmMaxSignalId];
    int signalCount = 0;
    for (int bit = 0; bit < 32; ++bit)
        if (signalMask & (0x80000000u >> bit))
            signalIds[signalCount++] = bit + 1;
    out.satelliteCount = 0;
    for (int bit = 0; bit < 64; ++bit)
        if (satelliteMask & (uint64_t{1} << (63 - bit))) {
            MsmSatellite& sat = out.satellites[out.satelliteCount++];
            sat.prn = bit + 1;
            sat.cellCount = 0;
        }
    if (out.satelliteCount * signalCount > kMsmMaxCells)
        return MsmStatus::kTooManyCells;

    CellRef refs[kMsmMaxCells];
    int cellCount = 0;
    for (int s = 0; s < out.satelliteCount; ++s) {
        MsmSatellite& sat = out.satellites[s];
        for (int k = 0; k < signalCount; ++k) {
            if (!in.flag())
                continue;
            MsmCell& cell = sat.cells[sat.cellCount];
            cell = MsmCell{};
            cell.signalId = signalIds[k];
            if (const char* code = msmSignalCode(out.system, cell.signalId))
                std::memcpy(cell.code, code, 2);
            refs[cellCount++] = CellRef{s, sat.cellCount++};
        }
    }

    const MsmCellLayout& layout = msmCellLayout(out.msmType);
    const bool withRates = layout.withRates();
    if (!in.ok() || in.remaining() < static_cast<size_t>(out.satelliteCount * layout.satelliteBits() +
                                                         cellCount * layout.cellBits()))
        return MsmStatus::kTruncated;

    // Satellite data, one block per field.
    int wholeMs[kMsmMaxSatellites];
    for (int s = 0; s < out.satelliteCount; ++s)
        wholeMs[s] = static_cast<int>(in.unsigned32(8));
    for (int s = 0; s < out.satelliteCount; ++s) {
        MsmSatellite& sat = out.satellites[s];
        sat.glonassChannel = kNoChannel;
        if (withRates) {
            const int info = static_cast<int>(in.unsigned32(4));
            if (out.system == 'R' && info <= 13)
                sat.glonassChannel = info - 7;
        }
    }
    for (int s = 0; s < out.satelliteCount; ++s) {
        const uint32_t fraction = in.unsigned32(10);
        out.satellites[s].roughRange = wholeMs[s] == kMsmInvalidWholeMs ? 0.0 : (wholeMs[s] + fraction / 1024.0) * kMsmRangeMs;
    }
    bool rateValid[kMsmMaxSatellites];
    for (int s = 0; s < out.satelliteCount; ++s) {
        const int64_t rate = withRates ? in.signed64(14) : 0;
        rateValid[s] = withRates && available(rate, 14);
        out.satellites[s].roughRate = rateValid[s] ? static_cast<double>(rate) : 0.0;
    }

    // Signal data, one block per field.
    for (int c = 0; c < cellCount; ++c) {
        MsmSatellite& sat = out.satellites[refs[c].sat];
        const int64_t fine = in.signed64(layout.fineRange);
        if (sat.roughRange != 0.0 && available(fine, layout.fineRange))
            sat.cells[refs[c].cell].pseudorange = sat.roughRange + fine * layout.rangeUnit * kMsmRangeMs;
    }
    for (int c = 0; c < cellCount; ++c) {
        MsmSatellite& sat = out.satellites[refs[c].sat];
        const int64_t fine = in.signed64(layout.finePhase);
        if (sat.roughRange != 0.0 && available(fine, layout.finePhase))
            sat.cells[refs[c].cell].phaseRange = sat.roughRange + fine * layout.phaseUnit * kMsmRangeMs;
    }
    for (int c = 0; c < cellCount; ++c) {
        const double lock = msmLockTime(static_cast<int>(in.unsigned32(layout.lock)), layout.extendedLock());
        out.satellites[refs[c].sat].cells[refs[c].cell].lockTime = lock < 0.0 ? 0.0 : lock;
    }
    for (int c = 0; c < cellCount; ++c)
        out.satellites[refs[c].sat].cells[refs[c].cell].halfCycle = in.flag();
    for (int c = 0; c < cellCount; ++c)
        out.satellites[refs[c].sat].cells[refs[c].cell].cnr = in.unsigned32(layout.cnr) * layout.cnrUnit;
    for (int c = 0; c < cellCount && withRates; ++c) {
        MsmSatellite& sat = out.satellites[refs[c].sat];
        const int64_t fine = in.signed64(layout.rate);
        if (rateValid[refs[c].sat] && available(fine, layout.rate))
            sat.cells[refs[c].cell].phaseRate = sat.roughRate + fine * kMsmRateUnit;
    }
    return in.ok() ? MsmStatus::kOk : MsmStatus::kTruncated;
}

}  // namespace ppprt
