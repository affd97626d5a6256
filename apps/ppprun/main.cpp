// ppprun: processes a RINEX observation file with precise orbits and clocks,
// or RTCM 3 streams, through the positioning library and prints a summary.
// See --help.
#include <cstdio>
#include <exception>

#include "Options.h"
#include "Run.h"
#include "StreamRun.h"
#include "Summary.h"
#include "io/ReadError.h"

namespace {

constexpr int kDone = 0;
constexpr int kBadInput = 2;       // bad options or an unreadable input
constexpr int kMalformed = 3;      // a malformed record
constexpr int kInternal = 1;       // anything else (exhausted memory, ...)

}  // namespace

int main(int argc, char** argv)
{
    ppprun::Options options;
    try {
        options = ppprun::ParseOptions(argc, argv);
    } catch (const ppprun::UsageError& e) {
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return kBadInput;
    }
    if (options.version) {
        std::fputs(ppprun::VersionText().c_str(), stdout);
        return kDone;
    }
    if (options.help) {
        std::fputs(ppprun::HelpText().c_str(), stdout);
        return kDone;
    }

    try {
        const ppprun::RunResult result = options.streaming() ? ppprun::RunStream(options) : ppprun::Run(options);
        ppprun::PrintSummary(stdout, result);
        if (!options.summaryJson.empty() && !ppprun::WriteJsonSummary(options.summaryJson, result)) {
            std::fprintf(stderr, "ppprun: cannot write %s\n", options.summaryJson.c_str());
            return kBadInput;
        }
        return kDone;
    } catch (const ppprun::InputError& e) {
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return kBadInput;
    } catch (const pppio::ReadError& e) {
        // Line 0: the file could not be opened or decompressed at all.
        std::fprintf(stderr, "ppprun: %s\n", e.what());
        return e.line() == 0 ? kBadInput : kMalformed;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "ppprun: internal error: %s\n", e.what());
        return kInternal;
    }
}
