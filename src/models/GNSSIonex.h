// Global ionosphere maps (GIM) from IONEX files: the header reader, the
// single-layer pierce point, bilinear interpolation of vertical TEC and the
// slant delay interpolated in time between two maps.
//
// One heap block (malloc family, released by the caller with std::free)
// holds the header in a fixed area of GMI_HEADER_AREA bytes, followed by the
// maps one after another:
//
//   offset 0                      tagGMIHDR
//   offset 2560 + i * map size    map i: tagGMIMAP (40 bytes), then n_lat rows
//                                 of n_lon + 6 doubles: latitude, first and
//                                 last longitude, longitude step, height, and
//                                 the n_lon + 1 TEC values from LON1 to LON2.
//
// with n_lon = trunc(|LON2 - LON1| / |DLON|) and
// n_lat = trunc(|LAT1 - LAT2| / |DLAT| + 1). TEC values are kept as read from
// the file: the IONEX exponent is not applied here.
#ifndef PPPLIB_MODELS_GNSSIONEX_H
#define PPPLIB_MODELS_GNSSIONEX_H

#include <cstddef>
#include <cstdint>
#include <cstdio>

#include "common/GNSSCoordConvert.h"
#include "common/GNSSTimeConvert.h"

constexpr size_t GMI_HEADER_AREA = 2560;   // bytes before the first map
constexpr int GMI_MAX_DCB = 100;           // bias entries the header can hold

// One "PRN / BIAS / RMS" entry of the differential code bias block.
struct tagGMIDCB {
    char cSys;        // system letter, blank in files that write GPS without it
    uint8_t prn;
    double bias;      // ns
    double rms;       // ns
};

struct tagGMIHDR {
    tagCOMMONTIME firstEpoch;       // "EPOCH OF FIRST MAP"
    tagCOMMONTIME lastEpoch;        // "EPOCH OF LAST MAP"
    int interval;                   // s, "INTERVAL"
    int nMaps;                      // "# OF MAPS IN FILE"
    char mappingFunction[8];        // "MAPPING FUNCTION"
    double elevationCutoff;         // degrees, "ELEVATION CUTOFF"
    int nStations;                  // "# OF STATIONS"
    int nSatellites;                // "# OF SATELLITES", also the number of bias entries
    double baseRadius;              // km, "BASE RADIUS"
    int mapDimension;               // "MAP DIMENSION"
    double hgt[3];                  // km: HGT1, HGT2, DHGT
    double lat[3];                  // degrees: LAT1, LAT2, DLAT
    double lon[3];                  // degrees: LON1, LON2, DLON
    int exponent;                   // "EXPONENT"
    tagGMIDCB dcb[GMI_MAX_DCB];     // "DIFFERENTIAL CODE BIASES"
};
static_assert(sizeof(tagGMIHDR) <= GMI_HEADER_AREA, "the IONEX header must fit its fixed area");

// Header of one map; the rows of doubles follow it directly.
struct tagGMIMAP {
    tagCOMMONTIME epoch;    // "EPOCH OF CURRENT MAP"
    int index;              // map number in the file
    tagGPSTIME2 time;       // the same epoch as GPS week and seconds of week
};
static_assert(sizeof(tagGMIMAP) == 40, "the map header is 40 bytes");

// The whole block: header area, then the maps.
struct tagGMI {
    tagGMIHDR hdr;
};

class CGNSSIonex {
public:
    // Allocates a zeroed header block into *hdr and reads the IONEX header of
    // fp into it; the file position is restored. 1 on success, 0 on any
    // failure. The block stays attached to *hdr in both cases: the caller
    // releases it with std::free.
    int GetGMIHDR(FILE* fp, tagGMIHDR** hdr);

    // Slant delay (m, negative) at epoch t for a receiver at pos seeing a
    // satellite at azel; 0 when no map brackets the epoch.
    int GetIonoDelay(tagGPSTIME2 t, tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagGMI* gmi, double* delay);
    // Vertical TEC of one map at the pierce point pp, bilinear in the grid cell.
    double GetVTECSpot(tagGMIMAP* map, tagGMI* gmi, tagCRDGEODETIC pp);
    // Pierce point on the shell of the map file (base radius + HGT1).
    int CalCoordSpot(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagGMI* gmi, tagCRDGEODETIC* pp);
    // Pierce point on a fixed shell: radius 6371 km, height 450 km.
    int CalCoordSpot(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, tagCRDGEODETIC* pp);

    tagGMIMAP* GetGMIMAP(tagGMI* gmi, int i);
    int GetIndexNearestMap(tagGMI* gmi, tagGPSTIME2* t);
    tagGMIMAP* GetNearestMap(tagGMI* gmi, tagGPSTIME2* t);
    // GPS satellite bias as an L1 code correction (m).
    int GetP1DCB(int prn, tagGMIHDR* hdr, double* dcb);

    // Helpers for hosts that fill the maps. Grid size of the header (0 when
    // the grid is degenerate), bytes of one map, and the row of a map.
    static int GetGridSize(const tagGMIHDR* hdr, int* nLon, int* nLat);
    static size_t GetMapSize(const tagGMIHDR* hdr);
    static double* GetMapRow(tagGMIMAP* map, const tagGMIHDR* hdr, int row);
    // Grows the block of *hdr to hold its nMaps maps (zeroed); *hdr is
    // updated. Null, with *hdr untouched, when the header's grid or map count
    // is unusable or memory runs out.
    static tagGMI* AttachMaps(tagGMIHDR** hdr);

private:
    // r / (R + H) * cos E: receiver distance from the geocentre over the
    // shell radius, times the cosine of the elevation.
    double ShellRatio(tagCRDGEODETIC pos, double elevation, double shellRadius);
    int PiercePoint(tagCRDGEODETIC pos, tagCRDTOPOCENTRICPOLAR azel, double radius, double height,
                    tagCRDGEODETIC* pp);

    CGNSSCoordConvert m_coord;
    CGNSSTimeConvert m_time;
};

#endif
