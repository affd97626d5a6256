// Dual-frequency combinations of every satellite of an epoch.
#include <cmath>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"

namespace {

struct CombinationConstants {
    double f1, f2;            // Hz
    double lambda1, lambda2;  // m
    double lambdaWL;          // wide-lane wavelength (m)
    double g;                 // f2 / f1
    double k1;                // first ionosphere-free coefficient
};

// Constants of the satellite's system; false for an unknown system letter.
// GLONASS frequencies are the satellite's own, but its ratio f2/f1 is the
// fixed 7/9 of every channel.
bool SystemConstants(const tagOBSONESAT& sat, CombinationConstants* c)
{
    switch (sat.cSys) {
    case 'G':
        *c = {_GPS_F1, _GPS_F2, _GPS_WL1, _GPS_WL2, _GPS_WLWL, _GPS_FGF, _GPS_IF_COEF1};
        return true;
    case 'R':
        *c = {sat.dF1,
              sat.dF2,
              _LIGHT_SPEED / sat.dF1,
              _LIGHT_SPEED / sat.dF2,
              _LIGHT_SPEED / (sat.dF1 - sat.dF2),
              _GLO_FGF,
              _GLONASS_IF_COEF1};
        return true;
    case 'E':
        *c = {_GAL_F1, _GAL_F5, _GAL_WL1, _GAL_WL5, _GAL_WLWL, _GAL_FGF, _GAL_IF_COEF1};
        return true;
    case 'C':
        *c = {_BDS_F2, _BDS_F7, _BDS_WL1, _BDS_WL2, _BDS_WLWL, _BDS_FGF, _BDS_IF_COEF1};
        return true;
    default:
        return false;
    }
}

void FormCombinations(tagOBSONESAT& s, const CombinationConstants& c)
{
    const double g2 = c.g * c.g;
    const double phase1 = s.dL1 * c.lambda1;   // m
    const double phase2 = s.dL2 * c.lambda2;
    const double narrowCode = (c.f1 * s.dP1 + c.f2 * s.dP2) / (c.f1 + c.f2);
    const double wideLanePhase = (c.f1 * phase1 - c.f2 * phase2) / (c.f1 - c.f2);

    s.dPGF = s.dP2 - s.dP1;
    s.dPIF = (s.dP1 - g2 * s.dP2) / (1.0 - g2);
    s.dPIFRaw = s.dPIF;
    s.dMWCyc2 = (s.dL1 - s.dL2) - narrowCode / c.lambdaWL;
    // The second coefficient is the GPS one for every system: kept as in the original model.
    s.dLIFminusPIF = c.k1 * phase1 - _GPS_IF_COEF2 * phase2 - s.dPIF;
    s.dLIF = (phase1 - g2 * phase2) / (1.0 - g2);
    s.dLIFRaw = s.dLIF;
    s.dLGF = phase1 - phase2;
    s.dLWLCyc = s.dL1 - s.dL2;
    s.dPNL = narrowCode;
    s.dPIFminusLIF = s.dPIF - s.dLIF;
    s.dMWVar = 0.25;
    s.dGraphic = (phase1 + s.dP1) / 2.0;
    s.dGraphicRaw = s.dGraphic;
    s.dLDiffCyc = s.dL1 - (c.f1 / c.f2) * s.dL2;
    s.dLGF2 = phase1 - phase2;
    s.dMWCyc = (wideLanePhase - narrowCode) / c.lambdaWL;
    s.dMW = wideLanePhase - narrowCode;
}

}  // namespace

int CGNSSSPP::get_obs_cmb(tagGPSOBSONEEPO* epo)
{
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        tagOBSONESAT& sat = epo->sat[i];
        CombinationConstants c;
        // An entry outside the per-satellite tables is as unusable as an unknown system.
        if (!SystemConstants(sat, &c) || sat.iprn < 1 || sat.iprn > MAXSATNUM)
            return 0;
        m_f1[sat.iprn - 1] = c.f1;
        m_f2[sat.iprn - 1] = c.f2;
        FormCombinations(sat, c);
    }
    return 1;
}
