#include "engine/AmbiguityState.h"

#include <cstring>

tagARSTATE::tagARSTATE() : refColumn{-1, -1, -1, -1}, fixMode(0), partialValue(1.0), distance(0.0), variance0(0.0), holdCount{}, nHoldCount(0),
                           holdApplied(false)
{
    ClearEpoch();
}

void tagARSTATE::ClearEpoch()
{
    std::memset(sat, 0, sizeof(sat));
    for (tagARSAT& s : sat) {
        s.dWLInt = _AR_WL_NOT_FIXED;
        s.nColumn = -1;
    }
    fixable.clear();
    fixed.clear();
    fixMode = 0;
    partialValue = 1.0;
}

void tagARSTATE::ClearHolds()
{
    std::memset(holdCount, 0, sizeof(holdCount));
    holdSats.clear();
    holdValues.clear();
}
