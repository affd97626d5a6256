#include "Options.h"

#include <cmath>

namespace rnx2rtcm {

namespace {

// An update interval that RTCM SSR can state and that divides a day.
double ParseInterval(const std::string& option, const std::string& text)
{
    const double seconds = pppio::parseNumber(option, text, 1.0, 3600.0);
    const double allowed[] = {1, 2, 5, 10, 15, 30, 60, 120, 240, 300, 600, 900, 1800, 3600};
    for (double a : allowed)
        if (seconds == a)
            return seconds;
    throw UsageError("option " + option + " expects an SSR update interval: 1 2 5 10 15 30 60 120 240 300 600 900 "
                     "1800 or 3600 s, not '" + text + "'");
}

}  // namespace

Options ParseOptions(int argc, char** argv)
{
    Options o;
    pppio::Arguments args(argc, argv);
    while (args.next()) {
        const std::string& option = args.option();
        auto value = [&args]() { return args.value(); };
        if (option == "--help" || option == "-h")
            o.help = true;
        else if (option == "--obs")
            o.obs = value();
        else if (option == "--nav")
            o.nav = value();
        else if (option == "--sp3")
            o.sp3.push_back(value());
        else if (option == "--clk")
            o.clk.push_back(value());
        else if (option == "--atx")
            o.atx = value();
        else if (option == "--upd")
            o.upd = value();
        else if (option == "--bias")
            o.bias = value();
        else if (option == "--out")
            o.out = value();
        else if (option == "--out-corr")
            o.outCorr = value();
        else if (option == "--systems")
            o.systems = pppio::parseSystems(option, value(), "GREC");
        else if (option == "--orbit-interval")
            o.orbitInterval = ParseInterval(option, value());
        else if (option == "--clock-interval")
            o.clockInterval = ParseInterval(option, value());
        else if (option == "--bias-interval")
            o.biasInterval = ParseInterval(option, value());
        else if (option == "--station")
            o.station = static_cast<int>(pppio::parseNumber(option, value(), 0.0, 4095.0));
        else
            throw UsageError("unknown option '" + option + "' (see --help)");
    }
    if (o.help)
        return o;
    if (o.obs.empty() || o.nav.empty() || o.out.empty())
        throw UsageError("give --obs FILE, --nav FILE and --out FILE (see --help)");
    if (o.sp3.empty() && (!o.clk.empty() || !o.upd.empty() || !o.bias.empty()))
        throw UsageError("SSR corrections need the precise orbits (--sp3 FILE)");
    if (!o.upd.empty() && !o.bias.empty())
        throw UsageError("give the phase biases either as --upd FILE or as --bias FILE, not both");
    return o;
}

std::string HelpText()
{
    return R"(Usage: rnx2rtcm --obs FILE --nav FILE --out FILE [options]

Turns RINEX files into recorded RTCM 3 streams, as a receiver and a
correction service would send them: observations as MSM7 with the station
position (1005/1006) and receiver (1033); the broadcast ephemerides (1019,
1020, 1042, 1045/1046) as they come into use; and, with precise orbits, SSR
orbit and clock corrections (precise minus broadcast), zero code biases and,
with a UPD file, the phase biases that carry its UPDs; or, with a Bias-SINEX
file, its code and phase OSBs as SSR code and phase biases.

  --obs FILE             RINEX observation file (Compact RINEX and gzip too)
  --nav FILE             RINEX 3 navigation file
  --sp3 FILE             precise orbits, repeatable: SSR corrections (default: none)
  --clk FILE             precise clocks, repeatable (default: the SP3 clocks)
  --atx FILE             ANTEX with the satellite antennas: corrections refer to
                         the ionosphere-free phase centre (default: none)
  --upd FILE             UPD file: SSR phase biases (default: none)
  --bias FILE            Bias-SINEX: its code and phase OSBs become SSR code and
                         phase biases, b = -OSB * c (default: none; zero code biases)
  --out FILE             observation stream; also the corrections without --out-corr
  --out-corr FILE        correction stream (default: into --out)
  --systems LETTERS      systems from G, R, E, C (default: GRE)
  --orbit-interval S     SSR orbit update interval (default: 60)
  --clock-interval S     SSR clock update interval (default: 5)
  --bias-interval S      SSR code and phase bias interval (default: 30)
  --station ID           reference station ID, 0-4095 (default: 0)
  --help                 this text

Exit codes: 0 done; 2 bad options or an unreadable input; 3 a malformed record.
)";
}

}  // namespace rnx2rtcm
