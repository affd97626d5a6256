// Collects the MSM messages of one epoch, of every system, into an
// observation epoch as the RINEX readers deliver it, described by a RINEX 3
// header that lists, per system, the code, phase, Doppler and signal
// strength of every signal of the MSM tables. So the epoch assembly and
// signal selection of the file path work unchanged on streams.
//
//   ppprt::MsmEpochBuilder builder;
//   pppio::EpochAssembler assembler(builder.header(), frequencies, orbits, "GRE");
//   for each decoded MSM message:
//       if (builder.add(msm))
//           assembler.assemble(builder.epoch(), record, orbit);
//   if (builder.flush())
//       assembler.assemble(builder.epoch(), record, orbit);
//
// An epoch is complete when a message arrives with the multiple-message bit
// clear, or when a message of a later time arrives (so a lost last message
// does not lose its epoch). Messages older than the epoch being collected
// are dropped. Units as in RINEX: phase in cycles (GLONASS only once the
// channel is known, from MSM5/7 or setGlonassChannel), Doppler in Hz, signal
// strength in dB-Hz with the RINEX 1-9 digit. Loss-of-lock bit 0 is set when
// the lock time shows the signal was lost since its previous observation,
// on a signal's first observation and after a gap of more than kMaxGap;
// bit 1 carries the half-cycle ambiguity flag.
#ifndef PPPRT_MSMEPOCHBUILDER_H
#define PPPRT_MSMEPOCHBUILDER_H

#include <vector>

#include "io/ObsEpoch.h"
#include "io/RinexObsHeader.h"
#include "rt/RtcmMsm.h"

namespace ppprt {

struct MsmBuilderCounts {
    long epochs = 0;
    long messages = 0;
    long lateMessages = 0;      // older than the epoch being collected: dropped
    long noWavelength = 0;      // phases left out for an unknown carrier (GLONASS channel)
    long restarts = 0;          // jumps back by more than kRestartJump: the stream started over
};

class MsmEpochBuilder {
public:
    static constexpr double kMaxGap = 60.0;   // s: a signal back after longer restarts its lock
    // A message this much older than the epochs so far starts the builder
    // over (a week first guessed wrong, a recording played again).
    static constexpr double kRestartJump = 86400.0;

    MsmEpochBuilder();

    // Adds a decoded message; true when an epoch completed (see epoch()).
    bool add(const MsmMessage& msg);
    // Completes the epoch being collected, at the end of a stream; true when
    // there was one.
    bool flush();

    // The epoch completed last; valid until the next add() or flush().
    const pppio::ObsEpoch& epoch() const { return m_done; }
    const pppio::RinexObsHeader& header() const { return m_header; }
    const MsmBuilderCounts& counts() const { return m_counts; }

    // GLONASS frequency channel of a slot, e.g. from a 1020 ephemeris.
    void setGlonassChannel(int slot, int channel);
    // The channel known for a slot (from MSM5/7 or set); false when none.
    bool glonassChannel(int slot, int& channel) const;

private:
    struct SignalState {
        double time = 0.0;        // s since the builder's first epoch, of the last observation
        double lockTime = 0.0;    // s, at the last observation
        bool seen = false;
    };

    void restart();
    void startEpoch(const MsmMessage& msg);
    void addMessage(const MsmMessage& msg);
    void complete();
    uint8_t lossOfLock(int system, int prn, const MsmCell& cell, bool extended, double now);

    pppio::RinexObsHeader m_header;
    pppio::ObsEpoch m_building, m_done;
    bool m_collecting = false;      // m_building holds messages
    bool m_buildingComplete = false;   // ... and its last message came
    bool m_haveOrigin = false;
    tagGPSTIME2 m_origin{0, 0.0};   // time of the first epoch, origin of SignalState::time
    int m_stride = 0;
    int m_typeBase[kMsmSystemCount][kMsmMaxSignalId + 1];   // first of the C/L/D/S types, -1 none
    int m_rowOf[kMsmSystemCount][kMsmMaxSatellites + 1];    // satellite row in m_building, -1 none
    int m_channel[kMsmMaxSatellites + 1];
    std::vector<SignalState> m_signals;   // [system][prn][signal], sized once
    MsmBuilderCounts m_counts;
};

}  // namespace ppprt

#endif
