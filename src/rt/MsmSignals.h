// Signals of the RTCM 3 multiple signal messages (MSM): the RINEX 3 band and
// attribute ("1C", "2W", "7I") of each 1-32 signal ID per system, and the
// carrier frequency of a band, which turns phase ranges into cycles.
//
//   const char* code = ppprt::msmSignalCode('E', 15);              // "7Q"
//   const double f = ppprt::msmCarrierFrequency('R', '1', -3);     // G1 of channel -3
#ifndef PPPRT_MSMSIGNALS_H
#define PPPRT_MSMSIGNALS_H

namespace ppprt {

constexpr int kMsmMaxSignalId = 32;
// GLONASS frequency channel not known (MSM4/6 carry none).
constexpr int kNoChannel = -100;

// Systems with MSM messages, in the order of the per-system tables.
constexpr char kMsmSystems[] = "GRECJ";
constexpr int kMsmSystemCount = 5;

// Index of a system in kMsmSystems, -1 for a system without MSM support.
int msmSystemIndex(char system);

// Band and attribute of signal `signalId` (1-32) of a system; nullptr when
// the ID has no signal assigned.
const char* msmSignalCode(char system, int signalId);

// Signal ID (1-32) of a band and attribute ("2W"), 0 when the system has none.
int msmSignalId(char system, const char* code);

// Carrier frequency (Hz) of a band digit; 0 when unknown, and for GLONASS
// FDMA bands when `glonassChannel` is kNoChannel.
double msmCarrierFrequency(char system, char band, int glonassChannel);

}  // namespace ppprt

#endif
