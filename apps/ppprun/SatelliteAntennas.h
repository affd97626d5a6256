// Which satellites get antenna offsets: an antenna file that holds only
// some of the satellites in use mixes centre-of-mass and phase-centre
// positions within a system, which costs more than leaving the offsets out
// for that system (1.6-1.9 cm horizontally measured on one-hour sessions).
#ifndef PPPRUN_SATELLITEANTENNAS_H
#define PPPRUN_SATELLITEANTENNAS_H

#include <string>

#include "Options.h"
#include "io/AntennaTable.h"
#include "io/PreciseOrbit.h"
#include "io/SatelliteId.h"

namespace ppprun {

struct AntennaCoverage {
    pppio::SatelliteSet applied;   // satellites whose antenna is applied
    std::string missing;           // satellites in use without an antenna: "G04 E27"
    std::string incomplete;        // systems with such satellites: "GE"
};

// Satellites in use are those of `systems` with precise orbits; their
// antennas are looked up at time t.
AntennaCoverage CoverSatelliteAntennas(SatelliteAntennas policy, const std::string& systems,
                                       const pppio::PreciseOrbit& orbit, const pppio::AntennaTable& antennas,
                                       const tagGPSTIME2& t);

}  // namespace ppprun

#endif
