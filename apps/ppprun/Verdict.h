// The exit status of a run that got through its inputs, for scripts: did
// enough epochs reach the solution the mode asks for, and if not, the
// likely cause in one line.
//
//   0  done
//   1  internal error
//   2  bad options, or an input or output file that cannot be used
//   3  a malformed record that ends the run (named by file and line)
//   4  no solution: no epoch, or fewer than half of the epochs, reached the
//      mode's solution (single point in spp, PPP in the others), or an
//      ambiguity-resolution run fixed no epoch
//   5  an input file ends early (truncated): everything read was processed
#ifndef PPPRUN_VERDICT_H
#define PPPRUN_VERDICT_H

#include <string>
#include <vector>

#include "Options.h"
#include "Summary.h"

namespace ppprun {

enum ExitCode : int {
    kExitDone = 0,
    kExitInternal = 1,
    kExitBadInput = 2,
    kExitMalformed = 3,
    kExitNoSolution = 4,
    kExitIncomplete = 5,
};

// The share of epochs below which a run has not reached its solution.
constexpr double kRequiredSolvedShare = 0.5;

struct Verdict {
    ExitCode code = kExitDone;
    std::string reason;   // one line; empty when done
};

// Epochs that reached the solution of the run's mode.
long SolvedEpochs(const Options& o, const RunResult& r);

// What the products did not cover: notes for the summary, the likeliest
// cause of missing solutions first.
std::vector<std::string> CoverageFindings(const Options& o, const RunResult& r);

// A note when orbits were extrapolated beyond the SP3 records; else empty.
std::string ExtrapolationNote(const RunResult& r);

Verdict JudgeRun(const Options& o, const RunResult& r);

}  // namespace ppprun

#endif
