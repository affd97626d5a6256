// Command-line options of netsim, with their defaults and the help text.
#ifndef NETSIM_OPTIONS_H
#define NETSIM_OPTIONS_H

#include <cstdint>
#include <string>
#include <vector>

#include "io/CommandLine.h"

namespace netsim {

struct Options {
    std::vector<std::string> sp3;     // precise orbits (several: consecutive days)
    std::vector<std::string> clk;     // precise clocks
    std::string outDir;               // output folder (created)

    int stations = 10;                // reference stations of the built-in network (1-12)
    int rovers = 2;                   // static rovers inside the network (0-2)
    bool kinematic = false;           // also a rover moving on a circle
    std::vector<int> baselinesKm;     // static rovers that far east of the first station
    bool hasStart = false;            // start given; else the first clock epoch
    std::string start;                // YYYY-MM-DDTHH:MM:SS, GPS time
    double hours = 24.0;              // time span
    double interval = 30.0;           // s
    std::string systems = "GRE";      // G, R, E in this order
    uint32_t seed = 1;
    double elevMask = 5.0;            // degrees
    double codeSigma = 0.3;           // m at the zenith, grows as 1/sin(elevation)
    double phaseSigma = 0.0025;       // m at the zenith
    double slipsPerDay = 3.0;         // cycle slips per station and day
    double gapsPerDay = 1.0;          // data gaps per station and day
    double nlDriftPerHour = 0.0;      // narrow-lane drift of the satellite phase biases, cycles/hour
    double clockWalk = 2e-9;          // receiver clock random-walk step per epoch, s
    double nlInterval = 900.0;        // s, narrow-lane UPD interval of the truth files

    bool help = false;
};

// Wrong options: the message is one line for the user.
using pppio::UsageError;

// Parses argv; throws UsageError.
Options ParseOptions(int argc, char** argv);

std::string HelpText();

}  // namespace netsim

#endif
