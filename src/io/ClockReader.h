// Reader of RINEX clock files, versions 2.x, 3.00 to 3.04 (plain or gzip).
//
// Only satellite clock records (AS) are kept; receiver (AR), calibration,
// discontinuity and monitor records are skipped. Epochs are converted to
// GPS time from the header's TIME SYSTEM ID (GPS when absent), with the
// header's LEAP SECONDS for UTC and GLONASS time. Values are in seconds.
#ifndef PPPIO_CLOCKREADER_H
#define PPPIO_CLOCKREADER_H

#include <string>
#include <vector>

#include "io/SatelliteId.h"

namespace pppio {

struct ClockHeader {
    double version = 0.0;
    std::string timeSystem;   // as written; empty when the header has none
    int leapSeconds = -1;     // -1 when the header has none
};

struct ClockSample {
    double time;   // GPS seconds since the start of the file's reference week
    double bias;   // s
};

struct ClockFile {
    std::string path;
    ClockHeader header;
    int referenceWeek = 0;                               // GPS week of the first record read
    std::vector<std::vector<ClockSample>> satellites;    // slot iprn - 1, in file order
    std::vector<std::string> warnings;
};

// Reads the AS records of the wanted satellites (the others are skipped
// without being decoded). Throws ReadError for a malformed line; a file that
// ends early keeps what was read and records a warning.
ClockFile readClock(const std::string& path, const SatelliteSet& wanted = SatelliteSet::all());

}  // namespace pppio

#endif
