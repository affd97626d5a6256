// Decoding of the RTCM 3 multiple signal messages MSM4 to MSM7 of GPS
// (1074-1077), GLONASS (1084-1087), Galileo (1094-1097), QZSS (1114-1117)
// and BeiDou (1124-1127) into full ranges in metres, with the epoch time
// turned into GPS time.
//
//   ppprt::MsmMessage msm;                     // large: keep one and reuse it
//   if (ppprt::decodeMsm(frame.payload, frame.length, approximateNow, msm) == ppprt::MsmStatus::kOk)
//       builder.add(msm);
//
// The epoch fields hold only the time within a week (GLONASS: a day), so the
// decoder takes the week (day) that puts the epoch nearest to `reference`,
// e.g. the time of the previous epoch or the computer's clock.
#ifndef PPPRT_RTCMMSM_H
#define PPPRT_RTCMMSM_H

#include <cstddef>
#include <cstdint>

#include "common/GNSSTimeConvert.h"
#include "rt/MsmSignals.h"

namespace ppprt {

constexpr int kMsmMaxSatellites = 64;   // the 64-bit satellite mask
constexpr int kMsmMaxCells = 64;        // satellites x signals of one message
constexpr int kMsmMaxSatelliteCells = 32;

// Ranges are metres, rates m/s; a field the message marks as not available
// gives 0, as does every field a message type does not carry.
struct MsmCell {
    int signalId = 0;           // 1..32
    char code[3] = {};          // RINEX 3 band + attribute ("1C"), empty for a reserved ID
    double pseudorange = 0.0;
    double phaseRange = 0.0;
    double phaseRate = 0.0;     // MSM5/7
    double cnr = 0.0;           // dB-Hz
    double lockTime = 0.0;      // s, the least lock time its indicator stands for
    bool halfCycle = false;
};

struct MsmSatellite {
    int prn = 0;
    int glonassChannel = kNoChannel;   // -7..6 from MSM5/7, else kNoChannel
    double roughRange = 0.0;           // m
    double roughRate = 0.0;            // m/s, MSM5/7
    int cellCount = 0;
    MsmCell cells[kMsmMaxSatelliteCells];
};

struct MsmMessage {
    int messageNumber = 0;
    char system = ' ';
    int msmType = 0;            // 4..7
    int station = 0;
    tagGPSTIME2 time{0, 0.0};   // GPS time
    bool multipleMessage = false;   // more messages of this epoch follow
    int iods = 0;
    int clockSteering = 0;
    int externalClock = 0;
    bool smoothing = false;
    int smoothingInterval = 0;
    int satelliteCount = 0;
    MsmSatellite satellites[kMsmMaxSatellites];
};

enum class MsmStatus {
    kOk,
    kTruncated,      // the payload ends before the fields its masks announce
    kTooManyCells,   // satellites x signals above 64
    kUnsupported,    // not MSM4-7 of a supported system
};

const char* describe(MsmStatus status);

// System letter and MSM type (1-7) of a message number; false when it is
// not an MSM of G, R, E, J or C.
bool msmSystemAndType(int messageNumber, char& system, int& msmType);

MsmStatus decodeMsm(const uint8_t* payload, size_t length, const tagGPSTIME2& reference, MsmMessage& out);

// The 30-bit epoch field of a system's MSM for GPS time `time` (encoding).
uint32_t msmEpochField(char system, const tagGPSTIME2& time);

// Least lock time (s) of a lock time indicator: the 4-bit one of MSM4/5 or
// the 10-bit one of MSM6/7; negative for a reserved value.
double msmLockTime(int indicator, bool extended);
// Largest indicator whose least lock time does not exceed `seconds`.
int msmLockIndicator(double seconds, bool extended);
// Upper end of the lock times that give the same indicator as `lockTime`
// (s); a very large value for the last indicator.
double msmLockTimeBound(double lockTime, bool extended);

}  // namespace ppprt

#endif
