// The simulated RINEX 3.04 observation files: the observation types per
// system (the signals the host's SignalSelection takes first), the GLONASS
// frequency channels of 2020, and the header text.
#ifndef NETSIM_OBSFILE_H
#define NETSIM_OBSFILE_H

#include <cstdio>
#include <string>

#include "common/GNSSTimeConvert.h"
#include "io/RinexObsHeader.h"

namespace netsim {

// What an observation type carries: code or phase of the first or second frequency.
struct SignalKind {
    bool phase;
    int frequency;   // 0 or 1
};
SignalKind KindOf(const std::string& code);

// Header with the observation types of `systems` and the GLONASS channels.
pppio::RinexObsHeader SimulatedHeader(const std::string& systems);

struct HeaderFields {
    std::string marker;
    double approxPosition[3];
    double interval;
    tagCOMMONTIME first, last;
};

// Writes the header lines of a file described by `header` and `fields`.
void WriteHeader(std::FILE* out, const pppio::RinexObsHeader& header, const HeaderFields& fields);

}  // namespace netsim

#endif
