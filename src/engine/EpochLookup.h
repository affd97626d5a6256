// Position of a satellite in an epoch's satellite entries, and the entry
// counts of the epoch and solution records limited to their capacity.
#ifndef PPPLIB_ENGINE_EPOCHLOOKUP_H
#define PPPLIB_ENGINE_EPOCHLOOKUP_H

#include "common/gnsscmn.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSResult.h"

// Index of the first entry with the same system letter and number, or -1
// (also for a null epoch or a negative satellite count).
int GetSatIndexInEpo(const tagGPSOBSONEEPO* epo, tagGNSSPRN prn);
// Index of the first entry with this packed index, or -1.
int GetSatIndexInEpo(const tagGPSOBSONEEPO* epo, int iprn);

inline int ClampSatCount(int32_t n)
{
    return n < 0 ? 0 : (n > MAXSATNUM ? MAXSATNUM : n);
}
// Entries that may be read: nSatNum limited to 0..124.
inline int EpochSatCount(const tagGPSOBSONEEPO* epo)
{
    return ClampSatCount(epo->nSatNum);
}
inline int ResultSatCount(const tagSPPONERESULT* res)
{
    return ClampSatCount(res->nSatNum);
}

#endif
