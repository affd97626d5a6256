// ppprun: processes a RINEX observation file with precise orbits and clocks,
// or RTCM 3 streams, through the positioning library and prints a summary.
// See --help.
#include <cstdio>
#include <exception>

#include "Options.h"
#include "Run.h"
#include "StreamRun.h"
#include "Summary.h"
#include "Verdict.h"
#include "io/ReadError.h"

using namespace ppprun;

int main(int argc, char** argv)
{
    Options options;
    try {
        options = ParseOptions(argc, argv);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return kExitBadInput;
    }
    if (options.version) {
        std::fputs(VersionText().c_str(), stdout);
        return kExitDone;
    }
    if (options.help) {
        std::fputs(HelpText().c_str(), stdout);
        return kExitDone;
    }

    try {
        RunResult result = options.streaming() ? RunStream(options) : Run(options);
        for (const std::string& finding : CoverageFindings(options, result))
            result.notes.push_back(finding);
        const std::string extrapolated = ExtrapolationNote(result);
        if (!extrapolated.empty())
            result.notes.push_back(extrapolated);
        const Verdict verdict = JudgeRun(options, result);
        PrintSummary(stdout, result);
        if (!options.summaryJson.empty() && !WriteJsonSummary(options.summaryJson, result)) {
            std::fprintf(stderr, "ppprun: cannot write %s\n", options.summaryJson.c_str());
            return kExitBadInput;
        }
        if (verdict.code != kExitDone)
            std::fprintf(stderr, "ppprun: %s\n", verdict.reason.c_str());
        return verdict.code;
    } catch (const InputError& e) {
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return kExitBadInput;
    } catch (const pppio::ReadError& e) {
        // Line 0: the file could not be opened or decompressed at all.
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return e.line() == 0 ? kExitBadInput : kExitMalformed;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ppprun: internal error: %s\n", e.what());
        return kExitInternal;
    }
}
