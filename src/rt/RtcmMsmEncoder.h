// Encoding of MSM messages: any decoded MSM4-7 record back into a payload,
// and the satellites of one system of an observation epoch (RINEX units,
// e.g. from MsmEpochBuilder or a RINEX file) into MSM7 records, with the
// lock time kept per signal and restarted by the loss-of-lock flag.
// Phases whose ambiguity puts them farther from the code than an MSM fine
// phase range reaches (+-1171 m; simulated or converted files) are moved by
// a whole number of cycles next to the code, as a receiver starts its
// phase; the shift is kept while the phase stays within reach (always, in
// practice), so arcs and ambiguities stay unbroken; a new shift restarts
// the signal's lock time like a slip.
//
//   ppprt::MsmEncoder encoder(header, 1234);
//   static ppprt::MsmMessage msm;
//   for (char system : "GRE") for (int next = 0; next < epoch.satelliteCount();) {
//       next = encoder.fill(epoch, system, next, msm);
//       msm.multipleMessage = !(system == 'E' && next == epoch.satelliteCount());
//       if (ppprt::encodeMsm(msm, payload, sizeof(payload), length) == ppprt::MsmStatus::kOk)
//           n = ppprt::RtcmFramer::frame(payload, length, frame);
//   }
#ifndef PPPRT_RTCMMSMENCODER_H
#define PPPRT_RTCMMSMENCODER_H

#include <vector>

#include "io/ObsEpoch.h"
#include "io/RinexObsHeader.h"
#include "rt/RtcmMsm.h"

namespace ppprt {

// Writes `msg` (its msmType 4..7, system, satellites and cells) as a
// payload. Values beyond a field's range are written as "not available";
// kTooManyCells above 64 cells, kTruncated when `capacity` is too small.
MsmStatus encodeMsm(const MsmMessage& msg, uint8_t* out, size_t capacity, size_t& length);

class MsmEncoder {
public:
    static constexpr double kMaxGap = 60.0;   // s: a signal back after longer restarts its lock time

    // `header` lists the observation types of the epochs to encode; it must
    // outlive the encoder (GLONASS channels are read from it).
    MsmEncoder(const pppio::RinexObsHeader& header, int station);

    // Fills `msg` as an MSM7 of `system` with the satellites of `epoch` from
    // index `first` on, as many as fit in 64 cells; returns the index at
    // which the next message of this system starts (satelliteCount() when
    // none is left). The multiple-message bit is left for the caller.
    int fill(const pppio::ObsEpoch& epoch, char system, int first, MsmMessage& msg);

private:
    struct SignalTypes {
        int signalId;
        int code, phase, doppler, strength;   // observation indices, -1 absent
    };
    struct LockState {
        double start = 0.0, last = 0.0;   // s since the first epoch
        double shift = 0.0;               // whole cycles taken off the phase
        bool seen = false;
    };

    bool fillSatellite(const pppio::ObsEpoch& epoch, int sat, char system, double now, MsmSatellite& out);
    LockState& lock(int system, int prn, int signalId);
    double lockTime(LockState& lock, bool lost, double now);
    static bool shiftPhase(LockState& lock, double cycles, double code, double wavelength);

    const pppio::RinexObsHeader& m_header;
    int m_station;
    std::vector<SignalTypes> m_types[kMsmSystemCount];
    std::vector<LockState> m_locks;   // [system][prn][signal], sized once
    bool m_haveOrigin = false;
    tagGPSTIME2 m_origin{0, 0.0};
};

}  // namespace ppprt

#endif
