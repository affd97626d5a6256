// The bias part of a correction stream applied to assembled epochs: SSR
// code biases correct the code observations, SSR phase biases become the
// library's per-satellite UPDs (t_upd) for ambiguity resolution.
//
// RTCM SSR biases are added to the observations (metres): corrected code =
// code + b_code, corrected phase = phase + b_phase. In observable-specific
// bias terms OSB = -b / c, so the UPDs follow from pppio::updFromPhaseOsb.
// The UPDs assume codes corrected the same way, so a satellite gets a UPD
// only when both its codes were corrected. Each carrier's phase bias is
// that of the first signal the stream has in the assembler's order of phase
// preference (pppio::SignalSelector: GPS L1C, L1W / L2W, L2L, L2X; Galileo
// L1C, L1X / L5Q, L5X), else of any signal of the band (providers give the
// signals of a band the same phase bias), as pppio::fillUpdsFromOsb picks
// Bias-SINEX phase OSBs.
//
//   ppprt::SsrBiases biases(ssr);
//   biases.correctCodes(t, epoch);           // after assembly, before pppos
//   t_upd* upds = biases.fillUpds(t, epoch);  // for the AR modes
#ifndef PPPRT_SSRBIASES_H
#define PPPRT_SSRBIASES_H

#include "engine/GNSSEpoch.h"
#include "engine/PPPRecords.h"
#include "rt/SsrCorrections.h"

namespace ppprt {

struct SsrBiasCounts {
    long codeCorrected = 0;   // satellite-epochs with both codes corrected
    long codeMissing = 0;     // satellite-epochs left uncorrected (no bias for a tracked code)
    long updsGiven = 0;       // satellite-epochs with a UPD from phase biases
};

class SsrBiases {
public:
    explicit SsrBiases(const SsrCorrections& ssr, const SsrAges& ages = SsrAges());

    // Corrects both codes of each satellite that has biases for them and
    // whose orbit and clock come from the same corrections (corrected[iprn
    // - 1]; null: all): code biases belong to the service's clocks, not to
    // the broadcast ones.
    void correctCodes(const tagGPSTIME2& t, tagGPSOBSONEEPO& epoch, const bool* corrected = nullptr);

    // The 124 UPD entries for epoch t (satellites of the epoch whose codes
    // were corrected and whose stream has phase biases on both bands).
    t_upd* fillUpds(const tagGPSTIME2& t, const tagGPSOBSONEEPO& epoch);

    const SsrBiasCounts& counts() const { return m_counts; }

private:
    bool fresh(const tagGPSTIME2& biasTime, const tagGPSTIME2& t) const;

    const SsrCorrections& m_ssr;
    SsrAges m_ages;
    bool m_codeCorrected[MAXSATNUM] = {};
    t_upd m_upds[MAXSATNUM] = {};
    SsrBiasCounts m_counts;
};

// The phase biases (m) of the two carriers f1, f2 that carry a satellite's
// wide-lane and narrow-lane UPDs (cycles): the inverse of the UPDs that
// fillUpds makes of them, a_1 = NL - f2 W / (f1 - f2), a_2 = NL - f1 W /
// (f1 - f2), bias_i = a_i c / f_i.
void phaseBiasesFromUpd(double wideLane, double narrowLane, double f1, double f2, double& bias1, double& bias2);

}  // namespace ppprt

#endif
