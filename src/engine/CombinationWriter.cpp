// The combination log of one epoch: Melbourne-Wuebbena, geometry-free and the
// running Melbourne-Wuebbena means, one column per satellite slot.
#include <cstdio>

#include "common/GNSSConst.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/SystemSlots.h"

namespace {

const tagOBSONESAT* FindSatellite(const tagGPSOBSONEEPO* epo, char sys, int prn)
{
    const int i = GetSatIndexInEpo(epo, tagGNSSPRN{sys, prn, 0});
    return i < 0 ? nullptr : &epo->sat[i];
}

void WriteValue(FILE* fp, bool present, double value)
{
    if (present)
        fprintf(fp, "%10.3Lf", static_cast<long double>(value));
    else
        fprintf(fp, "%10.3f", _default_v);
}

}  // namespace

int CGNSSSPP::WriteMW_GF(FILE* a, FILE* b, FILE* c, FILE* d, tagGPSOBSONEEPO* epo)
{
    const tagCOMMONTIME& t = epo->tTime;
    for (FILE* fp : {a, b, c, d})
        fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2Lf", t.year, t.month, t.day, t.hour, t.minute,
                static_cast<int>(t.second), epo->tGpsTime.week, static_cast<long double>(epo->tGpsTime.sow));
    ForEachSystemSlot(m_sys, [&](char sys, int prn) {
        const tagOBSONESAT* s = FindSatellite(epo, sys, prn);
        WriteValue(a, s, s ? s->dMW : 0.0);
        WriteValue(b, s, s ? s->dLDiffCyc : 0.0);
        const bool smoothed = s && s->nSmoothState == 3;
        WriteValue(c, smoothed, smoothed ? s->dMWMeanCyc : 0.0);
        WriteValue(d, smoothed, smoothed ? s->dMWMeanCyc : 0.0);
    });
    for (FILE* fp : {a, b, c, d}) {
        fprintf(fp, "\r\n");
        fflush(fp);
    }
    return 1;
}
