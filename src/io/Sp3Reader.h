// Reader of precise orbit files in SP3-c and SP3-d format (plain or gzip).
//
// Positions are converted from km to m, clocks from microseconds to
// seconds, velocities from dm/s to m/s and clock rates from 1e-4 us/s to
// s/s. Epochs are converted to GPS time from the file's time system.
// Coordinates stay in the file's Earth-fixed frame.
#ifndef PPPIO_SP3READER_H
#define PPPIO_SP3READER_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/SatelliteId.h"

namespace pppio {

struct Sp3Header {
    char version = ' ';            // 'c' or 'd'
    bool hasVelocities = false;    // 'V' flag of the first line
    tagGPSTIME2 start{0, 0.0};     // first epoch, GPS time
    int numberOfEpochs = 0;
    double interval = 0.0;         // s
    std::string coordinateSystem;  // e.g. "IGb14"
    std::string orbitType;         // e.g. "FIT"
    std::string agency;
    std::string timeSystem;        // as written, e.g. "GPS"
    std::vector<std::string> satellites;   // identifiers of the header list
};

struct Sp3Entry {
    int iprn = 0;
    double position[3] = {0.0, 0.0, 0.0};   // m
    double clock = 0.0;                      // s
    double velocity[3] = {0.0, 0.0, 0.0};   // m/s
    double clockRate = 0.0;                  // s/s
    bool hasPosition = false;    // false for the 0.000000 "bad or absent" marker
    bool hasClock = false;       // false for 999999.999999 or a blank field
    bool hasVelocity = false;
    bool hasClockRate = false;
};

struct Sp3Epoch {
    tagGPSTIME2 time{0, 0.0};    // GPS time
    std::vector<Sp3Entry> entries;
};

struct Sp3File {
    std::string path;
    Sp3Header header;
    std::vector<Sp3Epoch> epochs;
    bool complete = false;                // the EOF line was found
    std::vector<std::string> warnings;    // truncation, skipped satellites, ...
};

// Reads the whole file, keeping the records of the wanted satellites.
// Throws ReadError (file, line, what was expected) for a malformed line;
// a file that ends early keeps what was read and records a warning.
Sp3File readSp3(const std::string& path, const SatelliteSet& wanted = SatelliteSet::all());

}  // namespace pppio

#endif
