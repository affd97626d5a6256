#include "engine/EpochLookup.h"

int GetSatIndexInEpo(const tagGPSOBSONEEPO* epo, tagGNSSPRN prn)
{
    if (!epo || epo->nSatNum < 0)
        return -1;
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        if (epo->sat[i].cSys == prn.cSys && epo->sat[i].prn == prn.prn)
            return i;
    }
    return -1;
}

int GetSatIndexInEpo(const tagGPSOBSONEEPO* epo, int iprn)
{
    if (!epo || epo->nSatNum < 0)
        return -1;
    const int n = EpochSatCount(epo);
    for (int i = 0; i < n; ++i) {
        if (epo->sat[i].iprn == iprn)
            return i;
    }
    return -1;
}
