// Field widths and units of the MSM satellite and signal data, shared by
// the decoder and the encoder.
#ifndef PPPRT_MSMLAYOUT_H
#define PPPRT_MSMLAYOUT_H

#include "common/GNSSConst.h"

namespace ppprt {

constexpr double kMsmRangeMs = _LIGHT_SPEED * 1e-3;   // metres in one light-millisecond
constexpr int kMsmInvalidWholeMs = 255;               // rough range "not available"
constexpr int kMsmNoExtendedInfo = 15;                // GLONASS channel not given

// Signal data of one MSM type (4..7): widths in bits, units.
struct MsmCellLayout {
    int fineRange, finePhase, lock, cnr, rate;   // rate 0: absent
    double rangeUnit, phaseUnit, cnrUnit;        // ms, ms, dB-Hz
    bool withRates() const { return rate != 0; }
    bool extendedLock() const { return lock == 10; }
    int satelliteBits() const { return withRates() ? 36 : 18; }
    int cellBits() const { return fineRange + finePhase + lock + 1 + cnr + rate; }
};

constexpr double kMsmRateUnit = 1e-4;   // m/s, fine phase range rate

inline const MsmCellLayout& msmCellLayout(int msmType)
{
    static const MsmCellLayout layouts[4] = {
        {15, 22, 4, 6, 0, 0x1p-24, 0x1p-29, 1.0},
        {15, 22, 4, 6, 15, 0x1p-24, 0x1p-29, 1.0},
        {20, 24, 10, 10, 0, 0x1p-29, 0x1p-31, 0x1p-4},
        {20, 24, 10, 10, 15, 0x1p-29, 0x1p-31, 0x1p-4},
    };
    return layouts[msmType - 4];
}

}  // namespace ppprt

#endif
