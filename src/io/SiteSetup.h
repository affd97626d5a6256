// The library's site record (tagSITE) from the observation header, the
// a-priori coordinates and the receiver antenna of the ANTEX table, and the
// receiver antenna's phase-centre variations in the engine's grid.
#ifndef PPPIO_SITESETUP_H
#define PPPIO_SITESETUP_H

#include <string>

#include "common/GNSSTimeConvert.h"
#include "engine/PPPRecords.h"
#include "io/RinexObsHeader.h"
#include "models/GNSSErrorCorrection.h"

namespace pppio {

class AntennaTable;
class SinexSites;
struct AntexAntenna;

struct SiteRequest {
    std::string name;                 // site identifier; empty: the header's MARKER NAME
    bool hasApriori = false;          // a-priori coordinates given by the user
    double apriori[3] = {0.0, 0.0, 0.0};
    const SinexSites* sinex = nullptr;        // coordinates by site name when no a-priori is given
    const AntennaTable* antennas = nullptr;   // receiver antenna offsets and variations
};

struct SiteReport {
    std::string name;                 // the four-character identifier used
    std::string coordinates;          // where the a-priori coordinates came from
    bool coordinatesKnown = false;    // false: left zero for the library to fill
    std::string antenna;              // antenna and radome of the header
    const AntexAntenna* calibration = nullptr;   // the ANTEX entry used, null when none
    bool radomeReplaced = false;      // the entry with radome NONE stands in
};

// Fills the site record. Coordinates: the request's a-priori, else the
// SINEX file's (propagated to `epoch`), else zero (the library then takes
// its first single point solution in the static mode). Antenna offsets:
// eccentricities of ANTENNA: DELTA H/E/N plus the ANTEX mean offsets of the
// first two frequencies (GPS G01/G02 for GPS, Galileo and BeiDou; GLONASS
// R01/R02, or G01/G02 when the antenna has no GLONASS values); hasPco is 1.
tagSITE BuildSite(const RinexObsHeader& header, const SiteRequest& request, const tagGPSTIME2& epoch,
                  SiteReport& report);

// Receiver phase-centre variations of the antenna in the engine's grid (mm):
// grids 0 and 1 the GPS frequencies, 2 and 3 GLONASS (GPS values when the
// antenna has none), azimuth and zenith steps of the ANTEX entry, zenith
// from 0 to at least 90 degrees (values beyond the calibration take its
// edge). False when the antenna has no GPS values.
bool LoadReceiverPcv(const AntexAntenna& antenna, CGNSSErrorCorrection& model);

}  // namespace pppio

#endif
