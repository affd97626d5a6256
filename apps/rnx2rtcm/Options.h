// Command-line options of rnx2rtcm, with their defaults and the help text.
#ifndef RNX2RTCM_OPTIONS_H
#define RNX2RTCM_OPTIONS_H

#include <string>
#include <vector>

#include "io/CommandLine.h"

namespace rnx2rtcm {

struct Options {
    std::string obs;                   // RINEX observation file
    std::string nav;                   // RINEX navigation file
    std::vector<std::string> sp3;      // precise orbits: SSR orbit and clock corrections
    std::vector<std::string> clk;      // precise clocks
    std::string atx;                   // satellite antennas (phase-centre offsets of the precise orbits)
    std::string upd;                   // UPD file: SSR phase biases
    std::string bias;                  // Bias-SINEX: SSR code and phase biases from its OSBs
    std::string out;                   // observation stream (and corrections without --out-corr)
    std::string outCorr;               // correction stream
    std::string systems = "GRE";
    double orbitInterval = 60.0;       // s
    double clockInterval = 5.0;        // s
    double biasInterval = 30.0;        // s
    int station = 0;                   // reference station ID of the messages
    bool help = false;
};

using pppio::UsageError;

Options ParseOptions(int argc, char** argv);
std::string HelpText();

}  // namespace rnx2rtcm

#endif
