// Reader of antenna phase centre files in ANTEX 1.4 (1.x) format, plain or
// gzip: receiver and satellite antennas with their phase centre offsets and
// variations. Offsets and variations are converted from mm to m.
#ifndef PPPIO_ANTEXREADER_H
#define PPPIO_ANTEXREADER_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"

namespace pppio {

struct AntexFrequency {
    std::string code;                 // "G01", "G02", "R01", "E05", "C07", ...
    double offset[3] = {0.0, 0.0, 0.0};   // m; receiver: north, east, up; satellite: body X, Y, Z
    std::vector<double> noAzimuth;    // m, one value per zenith (satellite: nadir) angle
    std::vector<double> grid;         // m, azimuth rows of zenith values; empty when DAZI is 0
};

struct AntexAntenna {
    std::string type;        // antenna type, columns 1-16 (satellite: e.g. "BLOCK IIR-M")
    std::string radome;      // columns 17-20, e.g. "SCIS", "NONE"
    std::string serial;      // columns 21-40: serial number, or satellite code "G01"
    std::string svn;         // columns 41-50 (satellites), e.g. "G049"
    std::string cospar;      // columns 51-60 (satellites)
    bool isSatellite = false;
    int iprn = 0;            // satellites: packed index of the code, 0 when it has none
    double dazi = 0.0;       // degrees; 0 for no azimuth dependence
    double zen1 = 0.0, zen2 = 0.0, dzen = 0.0;   // degrees (satellites: nadir angles)
    int zenithCount = 0;
    int azimuthCount = 0;    // rows of the grid, 0..360 inclusive; 0 when DAZI is 0
    bool hasValidFrom = false, hasValidUntil = false;
    tagGPSTIME2 validFrom{0, 0.0}, validUntil{0, 0.0};
    std::string sinexCode;
    std::vector<AntexFrequency> frequencies;

    const AntexFrequency* frequency(const std::string& code) const;
};

struct AntexFile {
    std::string path;
    double version = 0.0;
    char system = ' ';       // satellite system of the file, 'M' for mixed
    char pcvType = ' ';      // 'A' absolute, 'R' relative
    std::vector<AntexAntenna> antennas;
    std::vector<std::string> warnings;
};

// Reads the whole file. Throws ReadError for a malformed line; a file that
// ends early keeps the complete antennas read and records a warning.
AntexFile readAntex(const std::string& path);

}  // namespace pppio

#endif
