// What a run did, printed at its end on standard output and, on request,
// written as JSON.
#ifndef PPPRUN_SUMMARY_H
#define PPPRUN_SUMMARY_H

#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Accuracy.h"
#include "io/EpochAssembler.h"

namespace ppprun {

// Fixing figures of the ambiguity-resolution modes.
struct ArFigures {
    bool active = false;
    long fixedEpochs = 0;
    bool hasFirstFix = false;
    double firstFixSeconds = 0.0;      // from the first epoch
    long epochsAfterFirstFix = 0;      // solved epochs from the first fix on
    long fixedAfterFirstFix = 0;
    double ratioSum = 0.0;             // of the fixed epochs
    long wideLaneCandidates = 0;       // satellite-epochs of GPS satellites above 15 degrees
    long wideLaneFixed = 0;
    long epochsWithUpds = 0;           // epochs with at least one UPD for the library
    std::string exportFile;            // float-ambiguity export of mode upd-export
};

// What a stream run received, skipped and how fast it answered.
struct StreamFigures {
    bool active = false;
    std::map<int, long> messages;              // frames by message number
    std::map<std::string, long> skipped;       // reason -> count
    long badFrames = 0;                        // frames rejected by their CRC
    long skippedBytes = 0;                     // bytes outside good frames
    long ephemerides = 0;                      // distinct ephemerides received
    std::map<std::string, long> ssrOutcomes;   // per satellite-epoch: corrected, or why not
    long codeBiasesApplied = 0;                // satellite-epochs with SSR code biases
    long updsFromPhaseBiases = 0;              // satellite-epochs with a UPD from SSR phase biases
    bool hasLatency = false;
    double latencyMedianMs = 0.0, latencyP99Ms = 0.0, latencyMaxMs = 0.0;
};

// The reference station of the augmented modes and its corrections.
struct AugFigures {
    bool active = false;
    std::string source;
    long referenceEpochs = 0;          // reference epochs read up to the user's last epoch
    long withoutPosition = 0;          // of them, before the stream gave its position
    long correctionsMade = 0;          // satellite-epochs corrected at the reference
    long userEpochs = 0;
    long correctedSatellites = 0;      // user satellite-epochs with a correction younger than 10 s
    long droppedForAge = 0;            // user satellite-epochs whose correction was 10 s old or older
    long missing = 0;                  // user satellite-epochs the reference never corrected
    long tooFewEpochs = 0;             // epochs given up for too few corrected satellites
    long ageCounts[10] = {};           // corrections used by whole seconds of age
    double generatorSeconds = 0.0;
};

// First and last time of something: the observations, the orbits, the clocks.
struct TimeSpan {
    bool known = false;
    tagGPSTIME2 first{0, 0.0}, last{0, 0.0};
};

// What the inputs covered, for the verdict on a run that solved too little.
struct Coverage {
    TimeSpan observations;             // data epochs handed to the library
    TimeSpan orbits;                   // precise orbits; unknown: none given
    TimeSpan clocks;                   // clock files; unknown: none given
    std::string systemsWithoutOrbits;  // processed systems without any precise orbit
    std::string sp3Files, clockFiles;  // their names, for the messages
};

struct RunResult {
    std::string obsFile;
    std::string site;
    std::string mode;                  // "spp", "ppp" or the mode number
    std::string dynamics;              // "static", "kinematic", "fixed"
    std::string systems;               // "GRE"
    std::string coordinates;           // origin of the a-priori coordinates
    long epochs = 0;                   // data epochs read and handed to the library
    long skippedEpochs = 0;            // epoch records dropped for malformed lines
    long skippedSatellites = 0;        // satellite records dropped for malformed lines
    std::map<int, long> resultCodes;   // result code of pppos -> epochs
    pppio::AssemblyTally tally;
    std::vector<std::pair<char, std::string>> signals;   // per system: code pairs used
    std::vector<std::string> notes;    // antenna fall-backs, truncated files, ...

    bool hasFinal = false;             // at least one epoch solved
    double finalXyz[3] = {0.0, 0.0, 0.0};
    bool hasReference = false;         // --ref given and at least one epoch solved
    Neu finalError{0.0, 0.0, 0.0};
    bool hasRms = false;
    Neu rms{0.0, 0.0, 0.0};            // over the second half of the data
    bool converged = false;
    double convergenceSeconds = 0.0;
    double wallSeconds = 0.0;
    double librarySeconds = 0.0;   // inside the library's per-epoch call
    ArFigures ar;
    StreamFigures stream;
    AugFigures aug;
    Coverage coverage;
};

// "G04 240, R10 12": satellites with a count, in packed order.
std::string SatelliteCounts(const long* perSatellite);
// "E33 240, C46 12": satellites the library's numbering cannot hold, with counts.
std::string BeyondRangeCounts(const pppio::AssemblyTally& t);

void PrintSummary(std::FILE* out, const RunResult& r);
// False when the file cannot be written.
bool WriteJsonSummary(const std::string& path, const RunResult& r);

}  // namespace ppprun

#endif
