// Command-line options of updnet, with their defaults and the help text.
#ifndef UPDNET_OPTIONS_H
#define UPDNET_OPTIONS_H

#include <string>
#include <vector>

#include "io/CommandLine.h"
#include "io/UpdEstimator.h"

namespace updnet {

struct Options {
    std::vector<std::string> exports;    // float-ambiguity exports, one per station
    std::string out;                     // UPD file written
    std::string truth;                   // UPD file to compare with; empty: none
    std::vector<std::string> excluded;   // station names left out
    pppio::UpdEstimatorOptions estimator;
    bool help = false;
};

// Wrong options: the message is one line for the user.
using pppio::UsageError;

// Parses argv; throws UsageError.
Options ParseOptions(int argc, char** argv);

std::string HelpText();

}  // namespace updnet

#endif
