// Satellite-induced code multipath of BeiDou-2 inclined (IGSO) and medium
// (MEO) orbit satellites, as elevation-dependent corrections.
#ifndef PPPLIB_ENGINE_BDSMULTIPATH_H
#define PPPLIB_ENGINE_BDSMULTIPATH_H

#include "engine/GNSSEpoch.h"

// Corrections (m) per frequency (rows B1, B2, B3) at the elevations 0, 10, ..., 90 degrees.
extern const double IGSOCOEF[3][10];
extern const double MEOCOEF[3][10];

// Adds the correction of the first and second frequency to dP1 and dP2 of
// every BeiDou satellite above PRN 5 seen at 1 degree or more (elevation
// from dElev). Returns 1, or 0 for a null epoch.
int BDSmultipathCorr(tagGPSOBSONEEPO* epo);

#endif
