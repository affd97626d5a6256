// Reader of RINEX 3 navigation files (3.00 to 3.05, mixed or single
// system, plain or gzip): GPS, Galileo and BeiDou Keplerian ephemerides,
// GLONASS ephemerides and the broadcast ionosphere coefficients of the
// header. QZSS, SBAS and NavIC records are skipped (no packed index).
//
// All times are converted to GPS time: BeiDou epochs from BDT (+14 s, week
// + 1356), GLONASS epochs from UTC with the header's LEAP SECONDS (the
// published leap seconds when the header has none). Galileo system time is
// taken as GPS time.
#ifndef PPPIO_NAVREADER_H
#define PPPIO_NAVREADER_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

struct NavHeader {
    double version = 0.0;
    char system = ' ';               // 'M' for mixed files
    int leapSeconds = -1;            // -1 when the header has none
    bool hasGpsIonosphere = false;   // both GPSA and GPSB lines present
    double gpsAlpha[4] = {0.0, 0.0, 0.0, 0.0};
    double gpsBeta[4] = {0.0, 0.0, 0.0, 0.0};
    bool hasGalileoIonosphere = false;
    double galileoAi[3] = {0.0, 0.0, 0.0};
    bool hasBeidouIonosphere = false;    // both BDSA and BDSB lines present
    double beidouAlpha[4] = {0.0, 0.0, 0.0, 0.0};
    double beidouBeta[4] = {0.0, 0.0, 0.0, 0.0};
};

// Keplerian ephemeris of GPS, Galileo or BeiDou, with every orbit parameter
// of the record; angles in radians, times in seconds, distances in metres.
struct KeplerEphemeris {
    int iprn = 0;
    char system = 'G';
    tagGPSTIME2 toc{0, 0.0};   // clock reference time, GPS time
    tagGPSTIME2 toe{0, 0.0};   // ephemeris reference time, GPS time
    double af0 = 0.0, af1 = 0.0, af2 = 0.0;   // s, s/s, s/s^2
    double iode = 0.0;         // IODE (GPS), IODnav (Galileo), AODE (BeiDou)
    double crs = 0.0, deltaN = 0.0, m0 = 0.0;
    double cuc = 0.0, eccentricity = 0.0, cus = 0.0, sqrtA = 0.0;
    double toeSeconds = 0.0;   // toe in seconds of the system's own week, as written
    double cic = 0.0, omega0 = 0.0, cis = 0.0;
    double i0 = 0.0, crc = 0.0, omega = 0.0, omegaDot = 0.0;
    double idot = 0.0;
    double l2CodesOrDataSources = 0.0;   // GPS codes on L2; Galileo data sources
    int week = 0;                        // system week as written (GPS, GAL or BDT)
    double l2pFlag = 0.0;
    double accuracy = 0.0;     // SV accuracy (GPS, BeiDou) or SISA (Galileo), m
    int health = 0;            // SV health (GPS, Galileo), SatH1 (BeiDou)
    double groupDelay[2] = {0.0, 0.0};   // TGD / IODC (GPS), BGD E5a,E5b (Galileo), TGD1,TGD2 (BeiDou)
    double iodc = 0.0;         // IODC (GPS), AODC (BeiDou)
    double transmissionTime = 0.0;
    double fitInterval = 0.0;
};

// GLONASS ephemeris in the PZ-90 Earth-fixed frame.
struct GlonassEphemeris {
    int iprn = 0;              // 33..59
    tagGPSTIME2 toe{0, 0.0};   // epoch of the ephemeris, GPS time
    double minusTauN = 0.0;    // clock bias -TauN (s)
    double gammaN = 0.0;       // relative frequency bias
    double frameTime = 0.0;    // message frame time (s of UTC week)
    double position[3] = {0.0, 0.0, 0.0};       // m
    double velocity[3] = {0.0, 0.0, 0.0};       // m/s
    double acceleration[3] = {0.0, 0.0, 0.0};   // luni-solar, m/s^2
    int health = 0;            // 0 healthy
    int frequencyChannel = 0;  // -7..+6 (older satellites up to +13)
    double age = 0.0;          // age of operational information, days
};

struct NavFile {
    std::string path;
    NavHeader header;
    std::vector<KeplerEphemeris> kepler;
    std::vector<GlonassEphemeris> glonass;
    std::vector<std::string> warnings;   // truncation, implausible records skipped, ...
};

// Reads the whole file. Throws ReadError for a malformed line; a file that
// ends early keeps the complete records read and records a warning.
NavFile readNav(const std::string& path);

}  // namespace pppio

#endif
