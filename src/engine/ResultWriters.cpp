// Position, satellite-count, north/east/up, residual and zenith delay lines.
// Every writer flushes its file; lines end in CR LF.
#include <cmath>
#include <cstdio>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"
#include "engine/SystemSlots.h"

namespace {

// Whole seconds of the space-separated formats: truncated, so 59.999 prints 59.
int WholeSeconds(const tagCOMMONTIME& t)
{
    return static_cast<int>(t.second);
}

// The first residual entry of this satellite, or null.
const tagRESONESAT* FindResidual(const tagSPPONERESULT* res, char sys, int prn)
{
    const int n = ResultSatCount(res);
    for (int i = 0; i < n; ++i)
        if (res->res[i].cSys == sys && res->res[i].prn == prn)
            return &res->res[i];
    return nullptr;
}

void WriteNEULine(FILE* fp, const tagSPPONERESULT* res, const tagCRDTOPOCENTRIC& neu)
{
    const tagCOMMONTIME& t = res->tTime;
    fprintf(fp, "%04d %02d %02d %02d %02d %02d   %04d   %6.2f   %10.4f %10.4f %10.4f \r\n", t.year, t.month, t.day,
            t.hour, t.minute, WholeSeconds(t), res->tGpsTime.week, res->tGpsTime.sow, neu.north, neu.east, neu.up);
    fflush(fp);
}

}  // namespace

int CGNSSSPP::WritePos(FILE* fp, tagSPPONERESULT* res)
{
    const tagCOMMONTIME& t = res->tTime;
    fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f %11.4f %11.4f %11.4f    %3d %2d %2d %2d %2d %5.2f", t.year,
            t.month, t.day, t.hour, t.minute, WholeSeconds(t), res->tGpsTime.week, res->tGpsTime.sow, res->dNEU[0],
            res->dNEU[1], res->dNEU[2], res->nSatNum, res->nSysSat[0], res->nSysSat[1], res->nSysSat[2],
            res->nSysSat[3], res->dQ0);
    fprintf(fp, " %7.3f %2d %2d %2d %2d %7.3f %2d %2d %2d %2d ", res->dRatio1, res->nSysCnt2[0], res->nSysCnt2[1],
            res->nSysCnt2[2], res->nSysCnt2[3], res->dRatio, res->nSysCnt3[0], res->nSysCnt3[1], res->nSysCnt3[2],
            res->nSysCnt3[3]);
    fprintf(fp, "  %8.1f %8.1f ", res->dQual2 * 1000.0, res->dQual1 * 1000.0);
    const tagCRDCARTESIAN ref = m_site ? m_site->crd : tagCRDCARTESIAN{0.0, 0.0, 0.0};
    fprintf(fp, "  %14.4f %14.4f %14.4f", res->dPos[0] - ref.x, res->dPos[1] - ref.y, res->dPos[2] - ref.z);
    fprintf(fp, "%10.4f%10.4f%10.4f%10.4f%10.4f", res->dStd[0], res->dStd[1], res->dStd[2], res->dSigma0, res->dQ2);
    fprintf(fp, "\r\n");
    fflush(fp);
    return 1;
}

int CGNSSSPP::WritePos_rtklib(FILE* fp, tagSPPONERESULT* res, int mode)
{
    int quality = mode == 1 ? 5 : (mode == 2 ? 6 : (mode == 4 ? 1 : 0));
    if (res->dRatio > 0.0)
        quality = 1;

    // Seconds with one decimal, rounded by printf: 59.999 gives 60.0 without
    // carrying into the minute.
    const int precision = 1;
    const int width = precision < 1 ? 2 : precision + 3;
    const tagCOMMONTIME& t = res->tTime;
    char timeText[64];
    snprintf(timeText, sizeof(timeText), "%04d/%02d/%02d %02d:%02d:%0*.*f", t.year, t.month, t.day, t.hour, t.minute,
             width, precision, t.second);

    // The doubled variance of the third figure is kept as in the original output.
    double sdx = std::sqrt(res->dStd[2]);
    double sdy = std::sqrt(res->dStd[0]);
    double sdz = std::sqrt(2.0 * res->dStd[1]);
    if (quality == 1) {
        sdx *= 0.25;
        sdy *= 0.25;
        sdz *= 0.4;
    }
    const char* sep = " ";
    fprintf(fp, "%s%s%14.4f%s%14.4f%s%14.4f%s%3d%s%3d%s%8.4f%s%8.4f%s%8.4f%s%8.4f%s%8.4f%s%8.4f%s%6.2f%s%6.1f\r\n",
            timeText, sep, res->dPos[0], sep, res->dPos[1], sep, res->dPos[2], sep, quality, sep, res->nSatNum, sep,
            sdx, sep, sdy, sep, sdz, sep, res->dQ0, sep, res->dSigma0, sep, res->dQual1, sep, 0.0, sep, res->dRatio);
    fflush(fp);
    return 1;
}

int CGNSSSPP::WriteNsat(FILE* fp, tagSPPONERESULT* res)
{
    const tagCOMMONTIME& t = res->tTime;
    fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f %3d %2d %2d %2d %2d %10.3f \r\n", t.year, t.month, t.day,
            t.hour, t.minute, WholeSeconds(t), res->tGpsTime.week, res->tGpsTime.sow, res->nSatNum, res->nSysSat[0],
            res->nSysSat[1], res->nSysSat[2], res->nSysSat[3], res->dQ0);
    fflush(fp);
    return 1;
}

int CGNSSSPP::WriteNEU(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu)
{
    const tagCOMMONTIME& t = res->tTime;
    fprintf(fp, "%04d %02d %02d %02d %02d %02d  %04d  %6.2f  %14.4f %14.4f %14.4f \r\n", t.year, t.month, t.day,
            t.hour, t.minute, WholeSeconds(t), res->tGpsTime.week, res->tGpsTime.sow, neu.north, neu.east, neu.up);
    fflush(fp);
    return 1;
}

int CGNSSSPP::WriteSPPResNEURT(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu)
{
    WriteNEULine(fp, res, neu);
    return 1;
}

int CGNSSSPP::WritePPPResNEURT(FILE* fp, tagSPPONERESULT* res, tagCRDTOPOCENTRIC neu)
{
    // Kept in the record for WritePos.
    res->dNEU[0] = neu.north;
    res->dNEU[1] = neu.east;
    res->dNEU[2] = neu.up;
    WriteNEULine(fp, res, neu);
    return 1;
}

int CGNSSSPP::WritePPPResultRT(FILE* fp, tagSPPONERESULT* res)
{
    // Hook for a periodic result output every m_set.dOutputModulus epochs;
    // it writes nothing yet.
    if (res->bValid == 1)
        fflush(fp);
    return 1;
}

int CGNSSSPP::WritePPPResidualRT(FILE* codeFile, FILE* phaseFile, tagSPPONERESULT* res)
{
    if (res->bValid != 1)
        return 1;
    const tagCOMMONTIME& t = res->tTime;
    for (FILE* fp : {codeFile, phaseFile})
        fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f", t.year, t.month, t.day, t.hour, t.minute,
                WholeSeconds(t), res->tGpsTime.week, res->tGpsTime.sow);
    ForEachSystemSlot(m_sys, [&](char sys, int prn) {
        const tagRESONESAT* r = FindResidual(res, sys, prn);
        fprintf(codeFile, "%10.3f", r ? r->dRes1 : _default_v);
        fprintf(phaseFile, "%10.3f", r ? r->dRes2 : _default_v);
    });
    for (FILE* fp : {codeFile, phaseFile}) {
        fprintf(fp, "\r\n");
        fflush(fp);
    }
    return 1;
}

int CGNSSSPP::WriteZTD(FILE* fp, tagCOMMONTIME* t, tagGPSTIME2* gt, PROCINFOSITE* site, bool cost)
{
    if (site->X.RowNo() < 1 || site->Qxx.RowNo() < 1)
        return 0;   // no troposphere estimated yet
    const double wet = site->X.at(0, 0);
    const double zwd = wet * 1000.0;   // mm
    const double ztd = (wet + site->dZHD) * 1000.0;
    const double sigma = site->Qxx.at(0, 0) * 0.0009 * 1000.0;
    if (sigma > 1.0 || std::isnan(sigma))
        return 0;
    if (cost) {
        // COST-716 data line; "ffffffff" is the format's flag word.
        fprintf(fp, " %02d %02d %02d ffffffff %7.1f%7.1f%7.1f%7.1f%7.1f%7.1f%7.1f%7.2f%7.2f%7.2f%7.2f%8.3f", t->hour,
                t->minute, WholeSeconds(*t), ztd, sigma, -9.9, -9.9, -9.9, -9.9, -9.9, 999.99, 999.99, -9.99, -9.99,
                -99.999);
        fprintf(fp, "\r\n");
        fprintf(fp, "   0");
        fprintf(fp, "\r\n");
    } else {
        fprintf(fp, " %04d %02d %02d %02d %02d %02d   %04d   %6.2f   %15.1f %15.1f", t->year, t->month, t->day,
                t->hour, t->minute, WholeSeconds(*t), gt->week, gt->sow, ztd, zwd);
        fprintf(fp, "\r\n");
    }
    fflush(fp);
    return 1;
}
