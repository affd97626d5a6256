// Everything that ambiguity resolution keeps for one site, in one record:
// the per-satellite wide-lane/narrow-lane bookkeeping of the current epoch,
// the reference satellites, the lists of fixable and fixed satellites, and
// the ambiguities held from epoch to epoch.
//
// Conventions of the values (the filter's sign: its ambiguities are the
// negatives of the ambiguity terms in the phase):
//   wide lane     wl = -MW / lambda_w               (cycles)
//   narrow lane   nl = (f1 + f2)/c * A - f2/(f1 - f2) * n   (cycles)
// with A the float ionosphere-free ambiguity (m) and n the fixed wide-lane
// integer; both are single differences against the system's reference
// satellite once the reference is chosen.
#ifndef PPPLIB_ENGINE_AMBIGUITYSTATE_H
#define PPPLIB_ENGINE_AMBIGUITYSTATE_H

#include <cstdint>
#include <vector>

#include "engine/GNSSEpoch.h"

constexpr double _AR_WL_NOT_FIXED = 9999.9999;   // a wide lane that is not fixed
constexpr double _AR_LEFT_OUT = 999.5;           // the left-out ambiguity of a partial fix
constexpr double _AR_RATIO_CEILING = 999.0;      // ratios are reported up to this value
constexpr int _AR_NO_REFERENCE = -999;           // a system without reference satellite

// Ambiguity-resolution status of a satellite in the current epoch.
enum : int32_t {
    kArNone = 0,       // not looked at
    kArLeftOut = 1,    // left out of the narrow-lane fix
    kArWideLane = 2,   // wide lane fixed
    kArFixed = 3,      // narrow lane fixed, or the reference satellite
};

// One satellite of the current epoch.
struct tagARSAT {
    double dElev;        // elevation (rad)
    int32_t nCount;      // epochs of the continuous arc
    double dWL;          // float wide lane (cycles), single difference after re-referencing
    double dWLFrac;      // its fractional part, within half a cycle
    double dWLSd;        // single-difference wide lane after the UPDs (B)
    double dWLInt;       // its integer, or _AR_WL_NOT_FIXED
    double dAmb;         // float ionosphere-free ambiguity (m), single difference after re-referencing
    double dNL;          // float narrow lane (cycles)
    double dNLFrac;      // its fractional part
    double dNLUpd;       // narrow-lane UPD of the satellite minus the reference's (cycles)
    double dNLInt;       // fixed narrow-lane integer
    double dFixedAmb;    // fixed ionosphere-free ambiguity (m)
    double dF1, dF2;     // carrier frequencies (Hz)
    int32_t nColumn;     // column in the site's ambiguity list, -1 when absent
    int32_t nStatus;     // kArNone ... kArFixed
};

struct tagARSTATE {
    tagARSAT sat[MAXSATNUM];
    int32_t refColumn[4];             // reference column per system G, R, E, C; -1 none
    int32_t nRefKeptEpochs;           // epochs the GPS reference has been in use (continuity rule)
    std::vector<int> fixable;         // satellites with a fixed wide lane, in list order
    std::vector<int> fixed;           // satellites of the accepted narrow-lane fix
    std::vector<int> release;         // satellites whose held ambiguity is to be released
    int32_t fixMode;                  // 0 full set, 1 one left out, 2 two left out
    double partialValue;              // partial-fixing value of the epoch
    double distance;                  // squared distance of the last search's best integers
    double variance0;                 // smoothed phase unit-weight variance (m^2), 0 before the first
    // The fixed set that passed every test in the previous epoch: a set is
    // accepted only when it agrees with it, so that one lucky epoch is not.
    std::vector<int> candidateSats;
    std::vector<double> candidateValues;   // fixed ionosphere-free ambiguity (m), single difference
    // Held ambiguities.
    int32_t holdCount[MAXSATNUM];     // consecutive epochs a satellite's held value agreed
    std::vector<int> holdSats;
    std::vector<double> holdValues;   // fixed ambiguity in metres, single difference
    int32_t nHoldCount;               // consecutive epochs in which holding succeeded
    bool holdApplied;                 // the held normal equations were formed this epoch

    tagARSTATE();
    // The per-satellite table before an epoch's ambiguity resolution.
    void ClearEpoch();
    // Forget every held ambiguity.
    void ClearHolds();
};

#endif
