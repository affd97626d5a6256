// Post-fit screening of a float PPP epoch: remove one satellite and roll the
// filter back, or down-weight one code observation, or accept the epoch.
#include <cmath>
#include <cstdio>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"

namespace {

int ResultEntries(const tagSPPONERESULT* r)
{
    const int n = r->nSysSat[0] + r->nSysSat[1] + r->nSysSat[2] + r->nSysSat[3];
    return n < MAXSATNUM ? n : MAXSATNUM;
}

// Running maximum of |value|: an entry takes over while the maximum is still
// exactly zero or when it is strictly greater, so ties keep the first.
struct RunningMax {
    double value = 0.0;
    int index = -1;
    bool offer(double v, int i)
    {
        const double a = std::fabs(v);
        if (value == 0.0 || a > value) {
            value = a;
            index = i;
            return true;
        }
        return false;
    }
};

}  // namespace

void CGNSSSPP::GetMaxResidual_test(int* phaseIndex, int* codeIndex, double* maxStdPhase,
                                   double* codeResidualAtMaxStdCode, tagSPPONERESULT* result)
{
    RunningMax phase, code;
    double codeResidual = 0.0;
    for (int i = 0; i < ResultEntries(result); ++i) {
        phase.offer(result->res[i].dStdRes, i);
        if (code.offer(result->res[i].dStdResCode, i))
            codeResidual = std::fabs(result->res[i].dRes1);
    }
    *phaseIndex = phase.index;
    *codeIndex = code.index;
    *maxStdPhase = phase.value;
    *codeResidualAtMaxStdCode = codeResidual;
}

void CGNSSSPP::GetMaxStdResidualPPP(int* first, int* second, tagSPPONERESULT* result)
{
    RunningMax code, phase;
    for (int i = 0; i < ResultEntries(result); ++i) {
        code.offer(result->res[i].dStdResCode, i);
        phase.offer(result->res[i].dStdRes, i);
    }
    *first = code.index;
    *second = phase.index;
}

int CGNSSSPP::PPPOutlierDetection_test(tagGPSOBSONEEPO* epoch, tagSPPONERESULT* result, PROCINFOSITE* site,
                                       bool log, bool logPre, FILE* deletionLog, FILE* residualLog)
{
    int phaseIndex, codeIndex;
    double maxStdPhase, codeResidual;
    GetMaxResidual_test(&phaseIndex, &codeIndex, &maxStdPhase, &codeResidual, result);
    const int entries = ResultEntries(result);

    if (log && logPre && residualLog) {
        const tagCOMMONTIME& t = result->tTime;
        std::fprintf(residualLog, "%04d %02d %02d %02d %02d %02d %04d %6.2f %4d %4d\r\n", t.year, t.month, t.day,
                     t.hour, t.minute, static_cast<int>(t.second), result->tGpsTime.week, result->tGpsTime.sow,
                     epoch->nSatNum, epoch->epoHead.nUsedSat);
        std::fflush(residualLog);
        for (int i = 0; i < entries; ++i) {
            const tagRESONESAT& r = result->res[i];
            std::fprintf(residualLog, "%c%02d %18.4f %18.4f %18.4f %18.4f \r\n", r.cSys, r.prn, r.dRes2, r.dRes1,
                         r.dStdRes, r.dStdResCode);
            std::fflush(residualLog);
        }
    }

    auto remove = [&](int resultIndex, int kind) {
        const tagRESONESAT& r = result->res[resultIndex];
        tagGNSSPRN id{r.cSys, r.prn, r.iprn};
        const int epochIndex = GetSatIndexInEpo(epoch, id);
        DeletePPPOutlier(epoch, result, site, epochIndex, resultIndex, log, logPre, deletionLog, kind);
        return epochIndex;
    };
    if (phaseIndex >= 0 && maxStdPhase > 4.0) {
        remove(phaseIndex, 1);
        return 1;
    }
    if (codeIndex >= 0 && codeResidual > 30.0) {
        remove(codeIndex, 2);
        return 1;
    }
    int first, second;
    GetMaxStdResidualPPP(&first, &second, result);
    // The satellite with the largest phase statistic is judged by its code
    // statistic: this pairing is intended.
    if (second >= 0 && std::fabs(result->res[second].dStdResCode) > 3.0) {
        const int epochIndex = remove(second, 3);
        if (epochIndex >= 0)
            epoch->sat[epochIndex].dSatWeight *= 0.09;
        return 1;
    }
    return 0;
}

int CGNSSSPP::DeletePPPOutlier(tagGPSOBSONEEPO* epoch, tagSPPONERESULT* result, PROCINFOSITE* site, int epochIndex,
                               int resultIndex, bool log, bool logPre, FILE* fp, int kind)
{
    if ((kind == 1 || kind == 2) && epochIndex >= 0) {
        DropSatellite(*epoch, epochIndex);
        site->RestoreBackup();
        for (int i = 0; i < 4; ++i)
            result->dClk[i] = site->dSavedClk[i];
        for (int i = 0; i < 3; ++i)
            result->dPos[i] = site->dAprioriPos[i];
        StoreGeodetic(result);
    }
    const char* label = kind == 1 ? "PPP f phase D!" : kind == 2 ? "PPP f code  D!" : kind == 3 ? "PPP f code  R!" : nullptr;
    if (label && log && logPre && fp && resultIndex >= 0) {
        const tagRESONESAT& r = result->res[resultIndex];
        const tagCOMMONTIME& t = result->tTime;
        const double value = kind == 1 ? r.dRes2 : r.dRes1;
        std::fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f   %c%02d  %s: %18.4f \r\n", t.year, t.month, t.day,
                     t.hour, t.minute, static_cast<int>(t.second), result->tGpsTime.week, result->tGpsTime.sow,
                     r.cSys, r.prn, label, value);
        std::fflush(fp);
    }
    return 1;
}
