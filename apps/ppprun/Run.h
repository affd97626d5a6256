// One run of ppprun: loads the products, reads the observation file epoch by
// epoch, hands each epoch to the library and gathers the summary.
#ifndef PPPRUN_RUN_H
#define PPPRUN_RUN_H

#include <stdexcept>
#include <string>

#include "Options.h"
#include "Summary.h"

namespace ppprun {

// An input file that cannot be read or an output directory that cannot be
// made; the message names it.
class InputError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Throws InputError, and pppio::ReadError for a file that cannot be opened
// (line 0) or holds a malformed record. The library's result files are
// closed before an exception leaves.
RunResult Run(const Options& options);

}  // namespace ppprun

#endif
