#include "rt/SsrBiases.h"

#include <cmath>

#include "io/GpsTime.h"
#include "io/PhaseBiasUpd.h"
#include "io/SignalSelection.h"
#include "io/UpdFile.h"
#include "rt/SsrSignals.h"

namespace ppprt {

namespace {

// The phase bias of a carrier: that of the first phase signal in the
// assembler's order of preference (GPS L1C before L1W: the signal the
// epoch's phase most likely is) that the stream has, else any signal of
// the carrier's band.
const SsrSignalBias* PhaseBiasOfCarrier(const SatelliteSsr& c, char system, pppio::SignalRole role)
{
    for (int choice = 0; choice < pppio::kMaxSignalCandidates; ++choice) {
        const char* phase = pppio::SignalSelector::candidateCode(system, role, choice);
        if (phase[0] == '\0')
            break;
        if (const SsrSignalBias* b = c.findPhaseBias(ssrSignalId(system, phase)))
            return b;
    }
    const char band = pppio::SignalSelector::candidateCode(system, role, 0)[1];
    for (int k = 0; k < c.phaseBiasCount; ++k) {
        const char* name = ssrSignalCode(system, c.phaseBias[k].signal);
        if (name && name[0] == band)
            return &c.phaseBias[k];
    }
    return nullptr;
}

double OsbNanoseconds(double biasMetres)
{
    return -biasMetres / _LIGHT_SPEED * 1e9;
}

}  // namespace

SsrBiases::SsrBiases(const SsrCorrections& ssr, const SsrAges& ages) : m_ssr(ssr), m_ages(ages) {}

bool SsrBiases::fresh(const tagGPSTIME2& biasTime, const tagGPSTIME2& t) const
{
    return biasTime.week != 0 && std::fabs(pppio::secondsBetween(t, biasTime)) <= m_ages.bias;
}

void SsrBiases::correctCodes(const tagGPSTIME2& t, tagGPSOBSONEEPO& epoch, const bool* corrected)
{
    for (int i = 0; i < epoch.nSatNum; ++i) {
        tagOBSONESAT& s = epoch.sat[i];
        const SatelliteSsr& c = m_ssr.satellite(s.iprn);
        const SsrSignalBias* b1 = c.findCodeBias(ssrSignalId(s.cSys, s.obsHead.code1));
        const SsrSignalBias* b2 = c.findCodeBias(ssrSignalId(s.cSys, s.obsHead.code2));
        const bool apply = b1 && b2 && fresh(c.codeBiasTime, t) && (!corrected || corrected[s.iprn - 1]);
        m_codeCorrected[s.iprn - 1] = apply;
        if (!apply) {
            ++m_counts.codeMissing;
            continue;
        }
        s.dP1 += b1->bias;
        s.dP2 += b2->bias;
        ++m_counts.codeCorrected;
    }
}

t_upd* SsrBiases::fillUpds(const tagGPSTIME2& t, const tagGPSOBSONEEPO& epoch)
{
    for (t_upd& entry : m_upds)
        pppio::setUpdEntry(entry, t, nullptr, nullptr);
    for (int i = 0; i < epoch.nSatNum; ++i) {
        const tagOBSONESAT& s = epoch.sat[i];
        const SatelliteSsr& c = m_ssr.satellite(s.iprn);
        if (!m_codeCorrected[s.iprn - 1] || !fresh(c.phaseBiasTime, t))
            continue;
        const SsrSignalBias* p1 = PhaseBiasOfCarrier(c, s.cSys, pppio::kPhase1);
        const SsrSignalBias* p2 = PhaseBiasOfCarrier(c, s.cSys, pppio::kPhase2);
        if (!p1 || !p2)
            continue;
        const pppio::WideNarrowUpd u =
            pppio::updFromPhaseOsb(OsbNanoseconds(p1->bias), OsbNanoseconds(p2->bias), s.dF1, s.dF2);
        const pppio::UpdValue wl{s.iprn, t, u.wl, 0.0, pppio::kOsbUpdCount};
        const pppio::UpdValue nl{s.iprn, t, u.nl, 0.0, pppio::kOsbUpdCount};
        pppio::setUpdEntry(m_upds[s.iprn - 1], t, &wl, &nl);
        ++m_counts.updsGiven;
    }
    return m_upds;
}

void phaseBiasesFromUpd(double wideLane, double narrowLane, double f1, double f2, double& bias1, double& bias2)
{
    const double a1 = narrowLane - f2 * wideLane / (f1 - f2);
    const double a2 = narrowLane - f1 * wideLane / (f1 - f2);
    bias1 = a1 * _LIGHT_SPEED / f1;
    bias2 = a2 * _LIGHT_SPEED / f2;
}

}  // namespace ppprt
