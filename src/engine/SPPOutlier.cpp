// Satellite counts and the removal of the worst code residual of single
// point positioning.
#include <cmath>

#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"

bool CGNSSSPP::CountBelowSystems(int32_t count, int32_t extra) const
{
    // Compared unsigned, as all satellite counts of the engine.
    return static_cast<uint32_t>(count) < static_cast<uint32_t>(m_sys.size()) + static_cast<uint32_t>(extra);
}

bool CGNSSSPP::NoEnoughHealthySats(tagGPSOBSONEEPO* epo)
{
    return CountBelowSystems(epo->nSatNum, 3);
}

bool CGNSSSPP::NoEnoughUsedSats(tagGPSOBSONEEPO* epo)
{
    return CountBelowSystems(epo->epoHead.nUsedSat, 3);
}

bool CGNSSSPP::NoOverUsedSats(tagGPSOBSONEEPO* epo)
{
    return CountBelowSystems(epo->epoHead.nUsedSat, m_nExtraPar + 3);
}

void CGNSSSPP::GetMaxResidual(int* idx, double* val, tagSPPONERESULT* res)
{
    *idx = -1;
    *val = 0.0;
    const int n = ResultSatCount(res);
    for (int i = 0; i < n; ++i) {
        const double v = std::fabs(res->res[i].dRes2);
        if (i == 0 || v > *val) {   // ties keep the earlier entry
            *idx = i;
            *val = v;
        }
    }
}

int CGNSSSPP::GetMaxStdResidual(tagSPPONERESULT* res)
{
    int idx = -1;
    double largest = 0.0;
    const int n = ResultSatCount(res);
    for (int i = 0; i < n; ++i) {
        const double v = std::fabs(res->res[i].dStdRes);
        if (idx < 0 || v > largest) {
            idx = i;
            largest = v;
        }
    }
    return idx;
}

int CGNSSSPP::SPPOutlierDetection(tagGPSOBSONEEPO* epo, tagSPPONERESULT* res, int stage, bool logOn, bool logEpo,
                                  FILE* log)
{
    static const char* const kLabels[] = {"SPP sf", "SPP ap", "SPP pr"};
    static const double kLimits[] = {10.0, 10.0, 1.0};   // m; a residual above 10 times the limit is removed
    if (stage < 0 || stage > 2)
        return 0;

    int worst;
    double value;
    GetMaxResidual(&worst, &value, res);
    if (worst < 0 || !(value > 10.0 * kLimits[stage]))
        return 0;
    const tagRESONESAT& r = res->res[worst];
    const int i = GetSatIndexInEpo(epo, tagGNSSPRN{r.cSys, r.prn, r.iprn});
    if (i < 0 || epo->sat[i].iprn != r.iprn)
        return 0;
    DropSatellite(*epo, i);
    if (logOn && logEpo && log) {
        const tagCOMMONTIME& t = epo->tTime;
        fprintf(log, "%04d %02d %02d %02d %02d %02d %04d %6.2f  %c%02d  %s: %18.4f \r\n", t.year, t.month, t.day,
                t.hour, t.minute, static_cast<int>(t.second), epo->tGpsTime.week, epo->tGpsTime.sow, r.cSys, r.prn,
                kLabels[stage], r.dRes2);
        fflush(log);
    }
    return 1;
}
