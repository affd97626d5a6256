// The previous/current epoch pair of slip detection and the copy of the
// smoothed values back into the epoch.
#include <cstring>
#include <new>

#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"

int CGNSSSPP::update_epoch(tagGPSOBSSMOOTH** pair, tagGPSOBSONEEPO* cur)
{
    if (!pair || !cur || cur->nSatNum < 1)
        return 0;
    // The pair is allocated once and then refilled in place: the same contents
    // as a fresh pair every epoch, without heap traffic. The holder releases it
    // with delete.
    if (!*pair) {
        *pair = new (std::nothrow) tagGPSOBSSMOOTH;
        if (!*pair)
            return 0;
    }
    tagGPSOBSSMOOTH* p = *pair;
    std::memmove(&p->prev, m_prevEpo, sizeof(tagGPSOBSONEEPO));
    std::memmove(&p->cur, cur, sizeof(tagGPSOBSONEEPO));

    if (m_prevEpo->nSatNum == 0) {
        m_timeGap = -999.0;
    } else {
        m_timeGap = (cur->tGpsTime.week - m_prevEpo->tGpsTime.week) * 604800.0 +
                    (cur->tGpsTime.sow - m_prevEpo->tGpsTime.sow);
    }
    return 1;
}

int CGNSSSPP::UpdateGPSObsWithSmooth(tagGPSOBSONEEPO* epo, tagGPSOBSSMOOTH* pair)
{
    if (!epo || !pair || pair->cur.nSatNum != epo->nSatNum)
        return 0;
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        const tagOBSONESAT& smoothed = pair->cur.sat[i];
        tagOBSONESAT& sat = epo->sat[i];
        if (smoothed.nSmoothState == 0)
            return 0;   // entries before this one stay updated
        if (smoothed.nSmoothState == 3) {
            sat.dP1 = smoothed.dP1;
            sat.dP2 = smoothed.dP2;
            sat.dPIF = smoothed.dPIF;
            sat.dMW = smoothed.dMW;
            sat.dMWVar = smoothed.dMWVar;
            sat.dMWMeanCyc = smoothed.dMWMeanCyc;
            sat.dPGF = smoothed.dPGF;
            sat.dPIFminusLIF = sat.dPIF - sat.dLIF;
        }
        sat.nSmoothState = smoothed.nSmoothState;
        sat.nSmoothCount = smoothed.nSmoothCount;
    }
    return 1;
}
