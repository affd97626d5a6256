// Observable-specific biases (Bias-SINEX OSB) turned into what the library
// consumes for ambiguity resolution: code corrections in metres and, per
// epoch, the t_upd entries of GPS and Galileo satellites.
//
// A corrected observation is the raw one minus its OSB: code by OSB*1e-9*c
// metres, phase by OSB*1e-9*f cycles. In the library's sign convention
// (phase phi_i = ... + N_i + a_r,i - a_s,i cycles, code P_i = ... + d_r,i -
// d_s,i m) the satellite biases are therefore
//   a_s,i = -OSB(L_i) * 1e-9 * f_i   [cycles]      d_s,i = -OSB(C_i) * 1e-9 * c   [m]
// The host subtracts codeBiasMetres() from its code observations, so d_s,i
// = 0 and the satellite wide-lane and narrow-lane UPDs reduce to
//   W_s  = a_s,1 - a_s,2                     = 1e-9 (f2 OSB(L2) - f1 OSB(L1))
//   NL_s = (f1 a_s,1 - f2 a_s,2) / (f1 - f2) = 1e-9 (f2^2 OSB(L2) - f1^2 OSB(L1)) / (f1 - f2)
// Both are published wrapped into [-0.5, 0.5): with k = floor(W_s + 0.5),
//   W' = W_s - k,  NL' = NL_s - f2/(f1 - f2) k,  then NL' - floor(NL' + 0.5)
// (the wide-lane integer k moves f2/(f1 - f2) k cycles into the narrow-lane
// float; the integer part of NL' goes into N1).
// f1/f2 are GPS L1/L2 and Galileo E1/E5a. The phase signals: per band, the
// host's preference when the file has it for the satellite, else the first
// of the order of SignalSelection.h that it has (GPS L1C, L1W / L2W, L2L,
// L2X; Galileo L1C, L1X / L5Q, L5X). Producers of OSB products usually give
// the signals of one band the same phase OSB, so the choice rarely matters.
// Entries get sigma 0 and count kOsbUpdCount (the OSB product stands for a
// whole network; the count only has to pass the library's minimum).
//
//   const pppio::BiasSinex biases = pppio::BiasSinex::read(path);
//   if (auto m = pppio::codeBiasMetres(biases, iprn, obsHead.code1, t)) P1 -= *m;
//   t_upd upds[pppio::kMaxPackedIndex];
//   pppio::fillUpdsFromOsb(biases, t, upds);         // each epoch
#ifndef PPPIO_PHASEBIASUPD_H
#define PPPIO_PHASEBIASUPD_H

#include <optional>

#include "common/GNSSTimeConvert.h"
#include "engine/PPPRecords.h"
#include "io/BiasSinexReader.h"

namespace pppio {

constexpr int kOsbUpdCount = 99;

// Metres to subtract from the satellite's code observation `code` ("C1W"),
// OSB * 1e-9 * c; nullopt when the file has no OSB for it at t.
std::optional<double> codeBiasMetres(const BiasSinex& biases, int iprn, const char* code, const tagGPSTIME2& t);

// Phase signals the host tracks, tried first per band ("L1C", "L2W"; empty = none).
struct PhaseSignalPreference {
    char gps[2][4] = {"", ""};
    char gal[2][4] = {"", ""};
};

struct WideNarrowUpd {
    double wl;   // cycles, wrapped into [-0.5, 0.5)
    double nl;   // cycles, adjusted for the wide-lane wrap and wrapped
};

// The formulas above for phase OSBs (ns) of carriers f1 and f2 (Hz).
WideNarrowUpd updFromPhaseOsb(double osb1, double osb2, double f1, double f2);

// Fills the library's 124 entries for epoch t: GPS and Galileo satellites
// with phase OSBs of both bands valid at t get valid = 1, week/sow = t, the
// wrapped W' and NL'', sigma 0 and count kOsbUpdCount; all other entries
// valid = 0. Returns the number of valid entries. No allocation.
int fillUpdsFromOsb(const BiasSinex& biases, const tagGPSTIME2& t, t_upd upds[kMaxPackedIndex],
                    const PhaseSignalPreference& preferred = PhaseSignalPreference());

}  // namespace pppio

#endif
