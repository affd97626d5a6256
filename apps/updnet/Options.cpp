#include "Options.h"

#include <cmath>

#include "io/CommandLine.h"

namespace updnet {

Options ParseOptions(int argc, char** argv)
{
    Options o;
    pppio::UpdEstimatorOptions& e = o.estimator;
    pppio::Arguments args(argc, argv);
    while (args.next()) {
        const std::string& option = args.option();
        auto value = [&args]() { return args.value(); };
        if (option == "--help" || option == "-h")
            o.help = true;
        else if (option == "--out")
            o.out = value();
        else if (option == "--truth")
            o.truth = value();
        else if (option == "--exclude")
            o.excluded.push_back(value());
        else if (option == "--nl-interval")
            e.nlIntervalSeconds = pppio::parseNumber(option, value(), 30.0, 86400.0);
        else if (option == "--min-elev")
            e.minElevationDeg = pppio::parseNumber(option, value(), 0.0, 90.0);
        else if (option == "--min-arc")
            e.minArcMinutes = pppio::parseNumber(option, value(), 0.0, 1440.0);
        else if (option == "--converge")
            e.convergenceMinutes = pppio::parseNumber(option, value(), 0.0, 1440.0);
        else if (option == "--max-fraction")
            e.maxFraction = pppio::parseNumber(option, value(), 0.05, 0.5);
        else if (option == "--max-wl-sigma")
            e.maxWlSigma = pppio::parseNumber(option, value(), 0.01, 1.0);
        else if (!option.empty() && option[0] == '-')
            throw UsageError("unknown option '" + option + "' (see --help)");
        else
            o.exports.push_back(option);
    }
    if (o.help)
        return o;
    if (o.out.empty())
        throw UsageError("no output file given (--out FILE.upd)");
    if (o.exports.empty())
        throw UsageError("no float-ambiguity exports given");
    if (std::fmod(86400.0, e.nlIntervalSeconds) != 0.0)
        throw UsageError("option --nl-interval expects a whole divisor of a day in seconds");
    return o;
}

std::string HelpText()
{
    return "usage: updnet --out FILE.upd [options] EXPORT...\n"
           "Estimates satellite wide-lane UPDs per day and narrow-lane UPDs per interval\n"
           "from the float-ambiguity exports of a network (ppprun --mode 3, one per station).\n"
           "\n"
           "  --out FILE          UPD file to write\n"
           "  --nl-interval S     narrow-lane interval in seconds (900)\n"
           "  --min-elev DEG      wide-lane arcs must reach it, narrow-lane epochs be above it (15)\n"
           "  --min-arc MIN       shortest wide-lane arc, youngest arc for the narrow lane (20)\n"
           "  --converge MIN      narrow lane skips the first minutes of each station and after a reset (45)\n"
           "  --max-fraction C    fractional residual beyond which an arc or sample is rejected (0.25)\n"
           "  --max-wl-sigma C    noisiest wide-lane arc mean used, from its running mean's steps (0.1)\n"
           "  --exclude NAME      leave out a station (repeatable)\n"
           "  --truth FILE        compare with true UPDs between satellites and print the RMS errors\n"
           "  --help              this text\n";
}

}  // namespace updnet
