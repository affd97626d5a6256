// Choice of the RINEX signals that fill the library's two frequencies per
// system, following the conventions of the precise clock products (which
// refer to the ionosphere-free combination of these codes):
//
//   system   code 1        code 2             phase 1      phase 2            Doppler 1
//   GPS      C1W, C1C      C2W, C2L, C2X      L1C, L1W     L2W, L2L, L2X      D1C, D1W
//   GLONASS  C1P, C1C      C2P, C2C           L1P, L1C     L2P, L2C           D1P, D1C
//   Galileo  C1C, C1X      C5Q, C5X           L1C, L1X     L5Q, L5X           D1C, D1X
//   BeiDou   C2I           C7I                L2I          L7I                D2I
//
// The first signal of each list that the satellite has in an epoch is taken,
// so a satellite that lacks the preferred code for a moment keeps flowing on
// the next one; the tally tells how often each code pair was used.
#ifndef PPPIO_SIGNALSELECTION_H
#define PPPIO_SIGNALSELECTION_H

#include <cstdint>
#include <string>

#include "io/ObsEpoch.h"
#include "io/RinexObsHeader.h"

namespace pppio {

// Signals of the library's frequencies, in the order of the table above.
enum SignalRole { kCode1, kCode2, kPhase1, kPhase2, kDoppler1, kRoleCount };

constexpr int kLibrarySystems = 4;          // G, R, E, C
constexpr int kMaxSignalCandidates = 3;     // longest list of the table

// Index of a library system letter ('G', 'R', 'E', 'C'), -1 for any other.
int LibrarySystemIndex(char system);

// The signals of one satellite in one epoch.
struct SelectedSignals {
    double code1, code2;        // m
    double phase1, phase2;      // cycles
    double doppler1;            // Hz, 0 when absent
    uint8_t lli1, lli2;         // loss-of-lock indicators of the phases
    uint8_t ssi1, ssi2;         // signal strength of the phases
    int code1Choice, code2Choice;   // position of the code in its candidate list
};

class SignalSelector {
public:
    // Looks the candidate signals up in the header once.
    explicit SignalSelector(const RinexObsHeader& header);

    // Signals of satellite `sat` of the epoch; false unless both codes and
    // both phases are present.
    bool select(const ObsEpoch& epoch, int sat, SelectedSignals& out) const;

    // RINEX code of a candidate ("C1W"), empty when out of range.
    static const char* candidateCode(char system, SignalRole role, int choice);
    // The code pair the header offers first for a system ("C1W/C2W"), empty
    // when the header lacks either code.
    std::string preferredCodes(char system) const;

private:
    struct Candidates {
        int index[kMaxSignalCandidates];   // observation index in the header's list, -1 absent
        int choice[kMaxSignalCandidates];  // position in the table's list
        int count;
    };
    // First present value of a role: its value and flags, and its position
    // in the table's list; false when none is present.
    bool pick(const ObsEpoch& epoch, int sat, const Candidates& c, const ObsValue** value, int* choice) const;

    Candidates m_candidates[kLibrarySystems][kRoleCount];
};

// How often each code pair was used, per system.
class SignalTally {
public:
    void count(char system, const SelectedSignals& s);
    // "C1W/C2W 6512, C1C/C2L 3" for a system; empty when nothing was counted.
    std::string describe(char system) const;
    long total(char system) const;

private:
    long m_counts[kLibrarySystems][kMaxSignalCandidates][kMaxSignalCandidates] = {};
};

}  // namespace pppio

#endif
