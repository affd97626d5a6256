// Map selection and interpolation on the global ionosphere map block.
#include "models/GNSSIonex.h"

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "common/GNSSConst.h"

namespace {

constexpr double kMaxGridCount = 10000.0;   // nodes per axis; real maps have about 70
constexpr int kMaxMaps = 10000;
constexpr double kSecondsPerWeek = 604800.0;
// 40.28e16 / f1^2 with f1 in 1e9 Hz: metres of L1 delay per TEC unit.
constexpr double kIonoFactor = 0.4028;
constexpr double kF1SquaredGHz = 2.4819481764;
// Fixed single-layer shell of the three-argument pierce point.
constexpr double kShellRadius = 6371000.0;
constexpr double kShellHeight = 450000.0;

// Lower index of the grid cell holding v (in grid steps). Points outside the
// grid keep the edge cell, so the interpolation extrapolates from it instead
// of reading outside the map.
int CellIndex(double v, int maxIndex)
{
    const double cell = std::floor(v);
    if (!(cell >= 0.0))
        return 0;
    if (cell > maxIndex)
        return maxIndex;
    return static_cast<int>(cell);
}

}  // namespace

int CGNSSIonex::GetGridSize(const tagGMIHDR* hdr, int* nLon, int* nLat)
{
    const double dLon = std::fabs(hdr->lon[2]);
    const double dLat = std::fabs(hdr->lat[2]);
    if (!(dLon > 0.0) || !(dLat > 0.0))
        return 0;
    const double lonCount = std::trunc(std::fabs(hdr->lon[1] - hdr->lon[0]) / dLon);
    const double latCount = std::trunc(std::fabs(hdr->lat[0] - hdr->lat[1]) / dLat + 1.0);
    if (!(lonCount >= 1.0 && lonCount <= kMaxGridCount) || !(latCount >= 2.0 && latCount <= kMaxGridCount))
        return 0;
    *nLon = static_cast<int>(lonCount);
    *nLat = static_cast<int>(latCount);
    return 1;
}

size_t CGNSSIonex::GetMapSize(const tagGMIHDR* hdr)
{
    int nLon, nLat;
    if (!GetGridSize(hdr, &nLon, &nLat))
        return 0;
    return sizeof(tagGMIMAP) + sizeof(double) * static_cast<size_t>(nLon + 6) * static_cast<size_t>(nLat);
}

double* CGNSSIonex::GetMapRow(tagGMIMAP* map, const tagGMIHDR* hdr, int row)
{
    int nLon, nLat;
    if (!map || !GetGridSize(hdr, &nLon, &nLat) || row < 0 || row >= nLat)
        return nullptr;
    double* rows = reinterpret_cast<double*>(reinterpret_cast<char*>(map) + sizeof(tagGMIMAP));
    return rows + static_cast<size_t>(row) * static_cast<size_t>(nLon + 6);
}

tagGMI* CGNSSIonex::AttachMaps(tagGMIHDR** hdr)
{
    if (!hdr || !*hdr)
        return nullptr;
    const size_t mapSize = GetMapSize(*hdr);
    const int nMaps = (*hdr)->nMaps;
    if (mapSize == 0 || nMaps < 1 || nMaps > kMaxMaps || mapSize > (SIZE_MAX - GMI_HEADER_AREA) / nMaps)
        return nullptr;
    const size_t mapBytes = mapSize * static_cast<size_t>(nMaps);
    void* block = std::realloc(*hdr, GMI_HEADER_AREA + mapBytes);
    if (!block)
        return nullptr;
    std::memset(static_cast<char*>(block) + GMI_HEADER_AREA, 0, mapBytes);
    *hdr = static_cast<tagGMIHDR*>(block);
    return static_cast<tagGMI*>(block);
}

tagGMIMAP* CGNSSIonex::GetGMIMAP(tagGMI* gmi, int i)
{
    if (!gmi || i < 0 || i > gmi->hdr.nMaps - 1)
        return nullptr;
    const size_t mapSize = GetMapSize(&gmi->hdr);
    if (mapSize == 0)
        return nullptr;
    char* base = reinterpret_cast<char*>(gmi) + GMI_HEADER_AREA;
    return reinterpret_cast<tagGMIMAP*>(base + static_cast<size_t>(i) * mapSize);
}

int CGNSSIonex::GetIndexNearestMap(tagGMI* gmi, tagGPSTIME2* t)
{
    if (!gmi || !t)
        return -1;
    int nearest = -1;
    double smallest = 0.0;
    for (int i = 0; i < gmi->hdr.nMaps; ++i) {
        const tagGMIMAP* map = GetGMIMAP(gmi, i);
        if (!map)
            return -1;
        const double diff =
            std::fabs(kSecondsPerWeek * (t->week - map->time.week) + (t->sow - map->time.sow));
        if (nearest < 0 || diff < smallest) {   // on a tie the earlier map stays
            nearest = i;
            smallest = diff;
        }
    }
    return nearest;
}

tagGMIMAP* CGNSSIonex::GetNearestMap(tagGMI* gmi, tagGPSTIME2* t)
{
    return GetGMIMAP(gmi, GetIndexNearestMap(gmi, t));
}

double CGNSSIonex::ShellRatio(tagCRDGEODETIC pos, double elevation, double shellRadius)
{
    tagCRDCARTESIAN xyz;
    m_coord.GeodeticToCartesian(&pos, &xyz, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    const double r = std::sqrt(xyz.x * xyz.x + xyz.y * xyz.y + xyz.z * xyz.z);
    return r / shellRadius * std::cos(elevation);
}

int CGNSSIonex::PiercePoint(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, double radius, double height,
                            tagCRDGEODETIC* pp)
{
    if (!pp)
        return 0;
    const double e = azel.elevation, a = azel.azimuth;
    const double psi = _PI / 2.0 - e - std::asin(ShellRatio(pos, e, radius + height));
    pp->lat = std::asin(std::sin(pos.lat) * std::cos(psi) + std::cos(pos.lat) * std::sin(psi) * std::cos(a));
    pp->lon = pos.lon + std::asin(std::sin(psi) * std::sin(a) / std::cos(pp->lat));
    pp->height = height;
    return 1;
}

int CGNSSIonex::CalCoordSpot(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagGMI* gmi, tagCRDGEODETIC* pp)
{
    if (!gmi)
        return 0;
    return PiercePoint(pos, azel, gmi->hdr.baseRadius * 1000.0, gmi->hdr.hgt[0] * 1000.0, pp);
}

int CGNSSIonex::CalCoordSpot(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagCRDGEODETIC* pp)
{
    return PiercePoint(pos, azel, kShellRadius, kShellHeight, pp);
}

double CGNSSIonex::GetVTECSpot(tagGMIMAP* map, tagGMI* gmi, tagCRDGEODETIC pp)
{
    int nLon, nLat;
    if (!map || !gmi || !GetGridSize(&gmi->hdr, &nLon, &nLat))
        return 0.0;
    const double lat1 = gmi->hdr.lat[0], dLat = gmi->hdr.lat[2];
    const double lon1 = gmi->hdr.lon[0], dLon = gmi->hdr.lon[2];
    const double lat = pp.lat * _RAD2DEG, lon = pp.lon * _RAD2DEG;

    const int i = CellIndex((lat - lat1) / dLat, nLat - 2);
    const double p = (lat - lat1 - i * dLat) / dLat;
    const int j = CellIndex((lon - lon1) / dLon, nLon - 1);
    const double q = (lon - lon1 - j * dLon) / dLon;

    // TEC values start after the five doubles of the row header.
    const double* row0 = GetMapRow(map, &gmi->hdr, i) + 5;
    const double* row1 = GetMapRow(map, &gmi->hdr, i + 1) + 5;
    const double e00 = row0[j], e01 = row0[j + 1], e10 = row1[j], e11 = row1[j + 1];
    return (1 - q) * (1 - p) * e00 + (1 - p) * q * e01 + (1 - q) * p * e10 + q * p * e11;
}

int CGNSSIonex::GetIonoDelay(tagGPSTIME2 t, tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagGMI* gmi,
                             double* delay)
{
    if (!gmi || !delay)
        return 0;
    tagCRDGEODETIC pp;
    CalCoordSpot(pos, azel, gmi, &pp);

    const int i = GetIndexNearestMap(gmi, &t);
    tagGMIMAP* nearest = GetGMIMAP(gmi, i);
    if (!nearest)
        return 0;
    double vtec = GetVTECSpot(nearest, gmi, pp);

    // The second map lies on the side of the epoch; without one there is no
    // interpolation, and no extrapolation either.
    const double dt = m_time.GetTimeDelta(&t, &nearest->time);
    if (dt != 0.0) {
        tagGMIMAP* other = GetGMIMAP(gmi, dt < 0.0 ? i - 1 : i + 1);
        const double interval = gmi->hdr.interval;
        if (!other || !(interval > 0.0))
            return 0;
        const double w = std::fabs(dt) / interval;
        vtec = w * GetVTECSpot(other, gmi, pp) + (interval - std::fabs(dt)) / interval * vtec;
    }

    const double shell = (gmi->hdr.baseRadius + gmi->hdr.hgt[0]) * 1000.0;
    const double ratio = ShellRatio(pos, azel.elevation, shell);
    const double mapping = 1.0 / std::sqrt(1.0 - ratio * ratio);
    // Negative by convention of this model's callers.
    *delay = -(vtec * mapping * kIonoFactor) / kF1SquaredGHz;
    return 1;
}

int CGNSSIonex::GetP1DCB(int prn, tagGMIHDR* hdr, double* dcb)
{
    if (!hdr || !dcb)
        return 0;
    const int n = hdr->nSatellites < GMI_MAX_DCB ? hdr->nSatellites : GMI_MAX_DCB;
    for (int k = 0; k < n; ++k) {
        const tagGMIDCB& entry = hdr->dcb[k];
        if ((entry.cSys == 'G' || entry.cSys == ' ') && entry.prn == prn) {
            *dcb = -_GPS_IF_COEF2 * _LIGHT_SPEED * 1e-9 * entry.bias;
            return 1;
        }
    }
    return 0;
}
