#include "io/PhaseBiasUpd.h"

#include <cmath>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/SignalSelection.h"
#include "io/UpdFile.h"

namespace pppio {

namespace {

double Wrapped(double cycles)
{
    return cycles - std::floor(cycles + 0.5);
}

// Phase OSB (ns) of a band: the preferred signal, else the first candidate
// of SignalSelection that the file has; false when none. `frequency` is
// that of the signal used.
bool PhaseOsb(const BiasSinex& biases, int iprn, char system, SignalRole role, const char* preferred,
              const tagGPSTIME2& t, double& ns, double& frequency)
{
    std::optional<double> value;
    const char* code = preferred;
    if (preferred[0] != '\0')
        value = biases.osb(iprn, preferred, t);
    for (int choice = 0; !value && choice < kMaxSignalCandidates; ++choice) {
        code = SignalSelector::candidateCode(system, role, choice);
        if (code[0] != '\0')
            value = biases.osb(iprn, code, t);
    }
    if (!value)
        return false;
    ns = *value;
    frequency = signalFrequency(system, code[1]);
    return frequency > 0.0;
}

}  // namespace

std::optional<double> codeBiasMetres(const BiasSinex& biases, int iprn, const char* code, const tagGPSTIME2& t)
{
    const std::optional<double> ns = biases.osb(iprn, code, t);
    return ns ? std::optional<double>(*ns * 1e-9 * _LIGHT_SPEED) : std::nullopt;
}

WideNarrowUpd updFromPhaseOsb(double osb1, double osb2, double f1, double f2)
{
    const double a1 = -osb1 * 1e-9 * f1;
    const double a2 = -osb2 * 1e-9 * f2;
    const double w = a1 - a2;
    const double nl = (f1 * a1 - f2 * a2) / (f1 - f2);
    const double k = std::floor(w + 0.5);
    return WideNarrowUpd{w - k, Wrapped(nl - f2 / (f1 - f2) * k)};
}

int fillUpdsFromOsb(const BiasSinex& biases, const tagGPSTIME2& t, t_upd upds[kMaxPackedIndex],
                    const PhaseSignalPreference& preferred)
{
    int valid = 0;
    for (int iprn = 1; iprn <= kMaxPackedIndex; ++iprn) {
        const char system = judge_sys_char(iprn);
        const char(*codes)[4] = system == 'G' ? preferred.gps : system == 'E' ? preferred.gal : nullptr;
        double osb1, osb2, f1, f2;
        const bool found = codes && PhaseOsb(biases, iprn, system, kPhase1, codes[0], t, osb1, f1) &&
                           PhaseOsb(biases, iprn, system, kPhase2, codes[1], t, osb2, f2);
        if (!found) {
            setUpdEntry(upds[iprn - 1], t, nullptr, nullptr);
            continue;
        }
        const WideNarrowUpd u = updFromPhaseOsb(osb1, osb2, f1, f2);
        const UpdValue wl{iprn, t, u.wl, 0.0, kOsbUpdCount};
        const UpdValue nl{iprn, t, u.nl, 0.0, kOsbUpdCount};
        setUpdEntry(upds[iprn - 1], t, &wl, &nl);
        ++valid;
    }
    return valid;
}

}  // namespace pppio
