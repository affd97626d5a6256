// The engine's working records: one epoch of one site's observations, the
// pair of epochs kept for smoothing and slip detection, and the orbit and
// clock record of an epoch. All are plain records of fixed size; the engine
// copies whole epochs byte for byte.
#ifndef PPPLIB_ENGINE_GNSSEPOCH_H
#define PPPLIB_ENGINE_GNSSEPOCH_H

#include <cstdint>
#include <type_traits>

#include "common/GNSSTimeConvert.h"
#include "common/gnsscmn.h"

struct t_satpcv;

constexpr int MAXSATNUM = 124;   // satellite entries of an epoch, slots of every per-satellite table

// Signal identification written by the input stage.
struct tagOBSHEAD {
    char code1[4];     // RINEX code of the first-frequency code observation, e.g. "C1W"
    char code2[4];     // RINEX code of the second-frequency code observation
    uint8_t lli1;      // loss-of-lock indicators of the two phases
    uint8_t lli2;
    uint8_t ssi1;      // signal strength indicators
    uint8_t ssi2;
};

// One satellite of an epoch. Code in metres, phase in cycles, Doppler in Hz.
struct tagOBSONESAT {
    tagOBSHEAD obsHead;
    char cSys;               // 'G', 'R', 'E' or 'C'
    int32_t prn;             // number within the system
    int32_t iprn;            // packed index 1..124
    uint8_t bUsed;           // 1: takes part in this epoch's solution
    double dSatWeight;       // factor on the code weight (down-weighting of outliers)
    int32_t nSmoothState;    // 0 no history, 1 new, 2 slip, 3 continuing arc
    int32_t nSmoothCount;    // epochs in the current arc
    double dPIFRaw;          // ionosphere-free code as first formed (m)
    double dLIFRaw;          // ionosphere-free phase as first formed (m)
    double dPIF;             // ionosphere-free code (m)
    double dLIF;             // ionosphere-free phase (m)
    double dMW;              // Melbourne-Wuebbena (m); its running mean after slip detection
    double dLWLCyc;          // L1 - L2 (cycles)
    double dPNL;             // narrow-lane code (m)
    double dLGF;             // geometry-free phase L1 lambda1 - L2 lambda2 (m)
    double dPGF;             // geometry-free code P2 - P1 (m)
    double dLDiffCyc;        // L1 - (f1/f2) L2 (cycles)
    double dLGF2;            // geometry-free phase, second copy (m)
    double dMWCyc;           // Melbourne-Wuebbena in wide-lane cycles
    double dMWMeanCyc;       // running mean of the Melbourne-Wuebbena (wide-lane cycles)
    double dPIFminusLIF;     // dPIF - dLIF (m)
    double dLIFminusPIF;     // phase-minus-code value formed with the GPS second coefficient (m)
    double dMWCyc2;          // Melbourne-Wuebbena in wide-lane cycles, second form
    double dGraphic;         // (L1 lambda1 + P1) / 2 (m)
    double dGraphicRaw;      // dGraphic as first formed (m)
    double dMWVar;           // variance of the Melbourne-Wuebbena mean (m^2)
    double dDist;            // topocentric polar coordinates of the satellite:
    double dAzim;            //   distance (m), azimuth (rad),
    double dElev;            //   elevation (rad)
    double dModel1;          // code model term of the PPP model (m)
    double dModel2;          // phase model term of the PPP model (m)
    double dL1;
    double dL2;
    double dP1;
    double dP2;
    double dP3;
    double dD1;
    double dF1;              // carrier frequencies of this satellite (Hz)
    double dF2;
    double dOmcPIF;          // ionosphere-free code observed-minus-computed of the PPP model (m)
    double dOmcLIF;          // ionosphere-free phase observed-minus-computed of the PPP model (m)
};

// Epoch header: the input stage's per-system counts, the used counts the
// stages maintain, and two reals of the input stage.
struct tagEPOHEAD {
    int32_t nSysSat[4];      // satellites per system G, R, E, C as delivered
    int32_t nUsedSat;        // satellites whose bUsed is 1
    int32_t nUsedSys[4];     // the same per system G, R, E, C
    double dRecClk;          // receiver clock offset reported by the receiver (s), informative
    double dEpochValue;      // overrides t_conf.pppos_value when the configuration allows it
};

struct tagGPSOBSONEEPO {
    tagCOMMONTIME tTime;
    tagGPSTIME2 tGpsTime;
    int32_t nSatNum;         // valid entries of sat
    tagEPOHEAD epoHead;
    tagOBSONESAT sat[MAXSATNUM];
};

// Takes entry `index` out of the epoch's solution: clears its use and lowers
// the used counts, the per-system one of `system` (judge_sys; an index below 0
// has no per-system count). The caller knows that the entry was in use.
inline void DropSatellite(tagGPSOBSONEEPO& epoch, int index, int system)
{
    epoch.sat[index].bUsed = 0;
    --epoch.epoHead.nUsedSat;
    if (system >= 0)
        --epoch.epoHead.nUsedSys[system];
}

// The same, for the system of the entry's letter.
inline void DropSatellite(tagGPSOBSONEEPO& epoch, int index)
{
    DropSatellite(epoch, index, judge_sys(epoch.sat[index].cSys));
}

// Previous and current epoch, kept between epochs for slip detection.
// update_epoch allocates it with new at first use and refills it later;
// its holder releases it with delete.
struct tagGPSOBSSMOOTH {
    tagGPSOBSONEEPO prev;
    tagGPSOBSONEEPO cur;
};

// Orbit and clock of one satellite at the epoch's transmission time.
struct tagSP3ONESAT {
    double dPos[3];          // Earth-fixed X, Y, Z (m), not rotated for the signal travel time
    double dClk;             // satellite clock offset (s), relativistic correction included
    double dVel[3];          // Earth-fixed velocity (m/s)
    double dClkDrift;        // s/s
    uint8_t bValid;          // host bookkeeping; the engine does not read it
    const t_satpcv* pcv;     // satellite antenna variations, or null
};

// The engine reads only position, clock and velocity of an entry: a satellite
// whose position is all zero has no orbit this epoch.
inline bool OrbitPresent(const tagSP3ONESAT& o)
{
    return o.dPos[0] != 0.0 || o.dPos[1] != 0.0 || o.dPos[2] != 0.0;
}

// Orbits and clocks of one epoch, indexed by packed satellite index - 1.
struct tagGMSP3REC {
    tagSP3ONESAT sat[MAXSATNUM];
};

static_assert(std::is_trivially_copyable<tagGPSOBSONEEPO>::value, "epochs are copied byte for byte");
static_assert(std::is_trivially_copyable<tagGMSP3REC>::value, "orbit records are copied byte for byte");

#endif
