// Command-line options of updnet, with their defaults and the help text.
#ifndef UPDNET_OPTIONS_H
#define UPDNET_OPTIONS_H

#include <stdexcept>
#include <string>
#include <vector>

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
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Parses argv; throws UsageError.
Options ParseOptions(int argc, char** argv);

std::string HelpText();

}  // namespace updnet

#endif
