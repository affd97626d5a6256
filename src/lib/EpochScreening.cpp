#include "lib/EpochScreening.h"

#include <cmath>
#include <cstring>

#include "common/gnsscmn.h"

namespace {

constexpr double kSecondsPerWeek = 604800.0;
// Bounds far beyond any real value, tight enough that squares and products
// of them stay finite.
constexpr double kMaxRangeM = 1e9;          // code, and orbit radius
constexpr double kMaxPhaseCycles = 1e12;
constexpr double kMaxDopplerHz = 1e7;
constexpr double kMinCarrierHz = 1e8, kMaxCarrierHz = 1e10;
constexpr double kMaxSatelliteClockS = 1.0;
constexpr double kMaxSatelliteSpeedMs = 1e5;

bool Within(double value, double limit)
{
    return std::fabs(value) <= limit;   // false for NaN
}

bool CountIsSound(int32_t count)
{
    return count >= 0 && count <= MAXSATNUM;
}

bool IdentityIsSound(const tagOBSONESAT& s)
{
    const int system = judge_sys(s.cSys);
    return system >= 0 && s.iprn >= 1 && s.iprn <= MAXSATNUM && judge_sys(s.iprn) == system && s.prn >= 1 &&
           prn2iprn(s.prn, s.cSys) == s.iprn;
}

bool ObservationsAreSound(const tagOBSONESAT& s)
{
    return Within(s.dP1, kMaxRangeM) && Within(s.dP2, kMaxRangeM) && Within(s.dP3, kMaxRangeM) &&
           Within(s.dL1, kMaxPhaseCycles) && Within(s.dL2, kMaxPhaseCycles) && Within(s.dD1, kMaxDopplerHz) &&
           s.dF1 >= kMinCarrierHz && s.dF1 <= kMaxCarrierHz && s.dF2 >= kMinCarrierHz && s.dF2 <= kMaxCarrierHz &&
           s.dF1 != s.dF2 && s.dSatWeight >= 0.0 && s.dSatWeight <= 1e6;
}

bool OrbitIsSound(const tagSP3ONESAT& o)
{
    for (int k = 0; k < 3; ++k)
        if (!Within(o.dPos[k], kMaxRangeM) || !Within(o.dVel[k], kMaxSatelliteSpeedMs))
            return false;
    return Within(o.dClk, kMaxSatelliteClockS) && Within(o.dClkDrift, 1.0);
}

}  // namespace

bool EpochRecordIsSound(const tagGPSOBSONEEPO& epoch)
{
    if (!CountIsSound(epoch.nSatNum))
        return false;
    for (int32_t count : epoch.epoHead.nSysSat)
        if (!CountIsSound(count))
            return false;
    const tagCOMMONTIME& t = epoch.tTime;
    if (t.month < 1 || t.month > 12 || t.day < 1 || t.day > 31 || t.hour > 23 || t.minute > 59 ||
        !(t.second >= 0.0 && t.second < 61.0))
        return false;
    return epoch.tGpsTime.week >= 0 && epoch.tGpsTime.sow >= 0.0 && epoch.tGpsTime.sow < kSecondsPerWeek;
}

int DropUnusableSatellites(tagGPSOBSONEEPO* epoch, tagGMSP3REC* orbits)
{
    bool seen[MAXSATNUM + 1] = {};
    int kept = 0;
    for (int i = 0; i < epoch->nSatNum; ++i) {
        const tagOBSONESAT& s = epoch->sat[i];
        const bool identified = IdentityIsSound(s);
        if (!identified || seen[s.iprn] || !ObservationsAreSound(s)) {
            const int system = judge_sys(s.cSys);
            tagEPOHEAD& head = epoch->epoHead;
            if (system >= 0 && head.nSysSat[system] > 0)
                --head.nSysSat[system];
            // The used counts matter before the first stage rebuilds them (PPP-RTK
            // corrects the observations first).
            if (s.bUsed == 1 && head.nUsedSat > 0) {
                --head.nUsedSat;
                if (system >= 0 && head.nUsedSys[system] > 0)
                    --head.nUsedSys[system];
            }
            continue;
        }
        seen[s.iprn] = true;
        // An orbit entry that cannot be a satellite's becomes "no orbit" (a zero position).
        if (orbits && OrbitPresent(orbits->sat[s.iprn - 1]) && !OrbitIsSound(orbits->sat[s.iprn - 1]))
            std::memset(orbits->sat[s.iprn - 1].dPos, 0, sizeof(orbits->sat[s.iprn - 1].dPos));
        if (kept != i)
            epoch->sat[kept] = s;
        ++kept;
    }
    const int dropped = epoch->nSatNum - kept;
    epoch->nSatNum = kept;
    return dropped;
}
