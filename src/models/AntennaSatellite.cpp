// Satellite antennas of the table: nadir variations and the phase-centre
// offset turned from the satellite body frame to the Earth-fixed frame.
#include <cmath>

#include "common/GNSSConst.h"
#include "models/GNSSErrorCorrection.h"
#include "models/Vector3.h"

namespace {

constexpr double kMaxNadir = 17.0;   // degrees covered by the satellite grids

tagSATPCV* FindSatellite(tagSATPCV* table, int n, tagGNSSPRN prn)
{
    for (int i = 0; i < n; ++i) {
        if (table[i].cSys == prn.cSys && table[i].prn == prn.prn)
            return &table[i];
    }
    return nullptr;
}

bool Normalise3(double* v)
{
    const double length = Norm3(v);
    if (!(length > 0.0))
        return false;
    for (int i = 0; i < 3; ++i)
        v[i] /= length;
    return true;
}

// f1^2 / (f1^2 - f2^2) of the system's two frequencies, 0 for an unknown one.
double IonoFreeFactor(char sys)
{
    switch (sys) {
    case 'G': return _GPS_IF_COEF1;
    case 'R': return _GLONASS_IF_COEF1;
    case 'E': return _GAL_IF_COEF1;
    case 'C': return _BDS_IF_COEF1;
    default: return 0.0;
    }
}

}  // namespace

int CGNSSErrorCorrection::GetSatPcvCorrection(tagGNSSPRN prn, double azimuth, double zenith, double* pcv)
{
    if (!(azimuth >= 0.0 && azimuth <= 360.0 && zenith >= 0.0 && zenith <= kMaxNadir))
        return 0;
    // A satellite without an entry gets no correction.
    tagSATPCV* entry = FindSatellite(m_satPcv, m_nSatPcv, prn);
    if (!entry)
        return 0;
    return GetPcvCorrection(&entry->pcv, azimuth, zenith, pcv, 0);
}

int CGNSSErrorCorrection::sat_Phase_center(tagCRDCARTESIAN sun, tagCRDCARTESIAN sat, tagCRDCARTESIAN body,
                                           tagCRDCARTESIAN* ecef)
{
    if (!ecef)
        return 0;
    double ez[3] = {-sat.x, -sat.y, -sat.z};
    const double toSun[3] = {sun.x - sat.x, sun.y - sat.y, sun.z - sat.z};
    double ey[3], ex[3];
    if (!Normalise3(ez))
        return 0;
    Cross3(ez, toSun, ey);
    if (!Normalise3(ey))   // Sun, satellite and Earth in one line: no yaw
        return 0;
    Cross3(ey, ez, ex);
    ecef->x = ex[0] * body.x + ey[0] * body.y + ez[0] * body.z;
    ecef->y = ex[1] * body.x + ey[1] * body.y + ez[1] * body.z;
    ecef->z = ex[2] * body.x + ey[2] * body.y + ez[2] * body.z;
    return 1;
}

int CGNSSErrorCorrection::GetSatPhaseCenter(tagGNSSPRN prn, tagCRDCARTESIAN sun, tagCRDCARTESIAN sat,
                                            tagCRDCARTESIAN* pc1, tagCRDCARTESIAN* pc2)
{
    const tagSATPCV* entry = FindSatellite(m_satPcv, m_nSatPcv, prn);
    if (!entry || !pc1 || !pc2)
        return 0;
    return sat_Phase_center(sun, sat, entry->pco1, pc1) && sat_Phase_center(sun, sat, entry->pco2, pc2);
}

int CGNSSErrorCorrection::GetSatPhaseCenter(tagGNSSPRN prn, tagCRDCARTESIAN sun, tagCRDCARTESIAN sat,
                                            tagCRDCARTESIAN* pcIF)
{
    const double k1 = IonoFreeFactor(prn.cSys);
    tagCRDCARTESIAN pc1, pc2;
    if (!pcIF || k1 == 0.0 || !GetSatPhaseCenter(prn, sun, sat, &pc1, &pc2))
        return 0;
    const double k2 = k1 - 1.0;
    pcIF->x = k1 * pc1.x - k2 * pc2.x;
    pcIF->y = k1 * pc1.y - k2 * pc2.y;
    pcIF->z = k1 * pc1.z - k2 * pc2.z;
    return 1;
}
