// Command-line options of ppprun, with their defaults and the help text.
#ifndef PPPRUN_OPTIONS_H
#define PPPRUN_OPTIONS_H

#include <string>
#include <vector>

#include "common/GNSSTimeConvert.h"
#include "io/CommandLine.h"
#include "lib/ppplib.h"

namespace ppprun {

// Which satellites get their antenna offsets and variations.
enum class SatelliteAntennas {
    kAll,               // every satellite the antenna file holds
    kCompleteSystems,   // only systems whose satellites in use the file holds completely
    kNone,
};

struct Options {
    std::string obs;                  // RINEX observation file
    std::vector<std::string> sp3;     // precise orbits (several: consecutive days)
    std::vector<std::string> clk;     // precise clocks
    std::string atx;                  // ANTEX antenna file
    std::string nav;                  // RINEX navigation file
    std::string sinex;                // SINEX coordinates
    bool broadcastFallback = false;   // broadcast orbits where precise products are missing

    int mode = kModeFloat;            // library processing mode (t_conf.mode)
    int posMode = 2;                  // 1 fixed, 2 static, 3 kinematic
    std::string systems = "GRE";      // G, R, E, C in this order
    double elevMask = 7.0;            // degrees
    bool hasApriori = false;
    double apriori[3] = {0.0, 0.0, 0.0};
    bool hasRef = false;
    double ref[3] = {0.0, 0.0, 0.0};

    std::string outDir;               // result files; empty: none
    std::string site;                 // site name; empty: from the header
    std::string summaryJson;          // JSON summary file; empty: none
    std::string posFile;              // positions in the common plotting layout; empty: none
    std::string posFormat = "xyz";    // xyz, llh or enu
    std::string plotFile;             // SVG or HTML picture of the run; empty: none
    bool hasWindow = false;           // file runs: only epochs from windowStart to windowEnd (GPS time)
    tagGPSTIME2 windowStart{0, 0.0}, windowEnd{0, 0.0};
    double decimation = 0.0;          // file runs: only epochs on multiples of this many seconds; 0 all
    bool quiet = false;

    // Observation weights (t_conf.weight): relative phase weight and
    // code-to-phase sigma ratio of G, R, E, C and BeiDou GEO satellites.
    // Equal phase weights let Galileo and GLONASS count fully in the filter.
    double weightFactor[5] = {1.0, 1.0, 1.0, 1.0, 0.1};
    double codeRatio[5] = {300.0, 600.0, 600.0, 600.0, 900.0};
    double tropWalkMm = 3.0;          // zenith wet delay random walk, mm per sqrt(hour)
    bool solidTide = true;
    bool windUp = true;
    bool recAntenna = true;
    bool satAntenna = true;           // false with SatelliteAntennas::kNone
    SatelliteAntennas satAntennas = SatelliteAntennas::kCompleteSystems;
    double resetHours = 0.0;
    bool debug = false;
    bool residuals = false;

    // Ambiguity resolution (mode ar) and the float-ambiguity export (mode upd-export).
    std::string upd;                  // UPD file
    std::string bias;                 // Bias-SINEX with phase biases
    std::string exportFile;           // float-ambiguity export; default OUT/SITE.famb
    bool hold = false;                // hold fixed ambiguities between epochs
    double ratio = 3.0;               // ratio threshold of the narrow-lane search
    bool ambLogs = false;             // the library's ambiguity logs (".wl", and ".amb" in mode 5)

    // Real-time streams (RTCM 3) instead of files.
    std::string rtcm;                 // observation stream: file, tcp://, ntrip://
    std::string rtcmCorr;             // ephemerides and corrections stream; empty: the observation stream's
    std::string nmea;                 // NMEA GGA output file, "-" standard output; empty: none
    double replaySpeed = 0.0;         // recorded streams: 0 as fast as possible, else times real time
    bool ssr = true;                  // apply the SSR corrections of the stream
    long maxEpochs = 0;               // streams: stop after this many epochs; 0 never
    int date[3] = {0, 0, 0};          // year, month, day of a recording; 0: from its ephemerides
    bool streaming() const { return !rtcm.empty(); }

    // Augmentation (modes 6, 7 and 8+): a reference station's observations
    // turned into per-satellite corrections.
    std::string augObs;               // its RINEX observation file
    std::string augRtcm;              // its RTCM 3 stream
    bool hasAugRef = false;           // its antenna position; else from the stream's 1005/1006
    double augRef[3] = {0.0, 0.0, 0.0};
    bool augmented() const { return !augObs.empty() || !augRtcm.empty(); }

    bool help = false;
    bool version = false;
};

// Wrong options: the message is one line for the user.
using pppio::UsageError;

// Parses argv; throws UsageError.
Options ParseOptions(int argc, char** argv);

// The --version text: program and library version.
std::string VersionText();

// The --help text.
std::string HelpText();

// The processing mode's name ("spp", "ppp") or its number.
std::string ModeName(int mode);
// The modes that fix ambiguities with UPDs: kModeAr to kModeArAug and those above kModePppRtk.
bool ResolvesAmbiguities(int mode);
std::string DynamicsName(int posMode);

}  // namespace ppprun

#endif
