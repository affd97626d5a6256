#include "Options.h"

#include <cmath>
#include <cstdio>

#include "io/CommandLine.h"
#include "io/GpsTime.h"

namespace ppprun {

namespace {

void ParseTriple(const std::string& option, const std::string& text, double* xyz)
{
    pppio::parseList(option, text, xyz, 3, "X,Y,Z in metres");
}

// Five positive values for G, R, E, C and BeiDou geostationary satellites,
// within a range whose squares and ratios stay well inside double precision.
void ParseWeights(const std::string& option, const std::string& text, double* values)
{
    pppio::parseList(option, text, values, 5, "five values G,R,E,C,C-GEO");
    for (int k = 0; k < 5; ++k)
        if (!(values[k] >= 1e-6 && values[k] <= 1e6))
            throw UsageError("option " + option + " expects positive values from 1e-6 to 1e6, not '" + text + "'");
}

int ParseMode(const std::string& text)
{
    if (text == "spp")
        return kModeSpp;
    if (text == "ppp")
        return kModeFloat;
    if (text == "upd-export")
        return kModeUpdExport;
    if (text == "ar")
        return kModeAr;
    if (text == "ppprtk")
        return kModePppRtk;
    const double mode = pppio::parseNumber("--mode", text);
    if (mode != static_cast<int>(mode) || mode < 0 || mode > 99)
        throw UsageError("option --mode expects spp, ppp, upd-export, ar or a mode number, not '" + text + "'");
    return static_cast<int>(mode);
}

// YYYY-MM-DD.
void ParseDate(const std::string& option, const std::string& text, int* date)
{
    int year = 0, month = 0, day = 0;
    char dash1 = 0, dash2 = 0, rest = 0;
    if (std::sscanf(text.c_str(), "%4d%c%2d%c%2d%c", &year, &dash1, &month, &dash2, &day, &rest) != 5 ||
        dash1 != '-' || dash2 != '-' || !pppio::validCalendar(year, month, day, 0, 0, 0.0) || year < 1980)
        throw UsageError("option " + option + " expects a date YYYY-MM-DD, not '" + text + "'");
    date[0] = year, date[1] = month, date[2] = day;
}

// GPS time "YYYY-MM-DDTHH:MM:SS[.s]" (a space or '/' separators also read).
tagGPSTIME2 ParseGpsTime(const std::string& option, const std::string& text)
{
    int year = 0, month = 0, day = 0, hour = 0, minute = 0, used = 0;
    double second = 0.0;
    std::string t = text;
    for (char& c : t)
        if (c == 'T' || c == '/' || c == ':' || c == '-')
            c = ' ';
    if (std::sscanf(t.c_str(), "%d %d %d %d %d %lf%n", &year, &month, &day, &hour, &minute, &second, &used) != 6 ||
        used != static_cast<int>(t.size()) || year < 1980 || !pppio::validCalendar(year, month, day, hour, minute, second))
        throw UsageError("option " + option + " expects GPS times YYYY-MM-DDTHH:MM:SS, not '" + text + "'");
    return pppio::gpsTimeFromCalendar(year, month, day, hour, minute, second);
}

SatelliteAntennas ParseSatelliteAntennas(const std::string& text)
{
    if (text == "all")
        return SatelliteAntennas::kAll;
    if (text == "complete-systems")
        return SatelliteAntennas::kCompleteSystems;
    if (text == "none")
        return SatelliteAntennas::kNone;
    throw UsageError("option --sat-antenna expects all, complete-systems or none, not '" + text + "'");
}

// Earth-fixed coordinates in metres near the Earth's surface (from 1 km
// below to 20 km above): catches latitude/longitude and kilometres.
void RequireNearSurface(const std::string& option, const double* xyz)
{
    const double radius = std::sqrt(xyz[0] * xyz[0] + xyz[1] * xyz[1] + xyz[2] * xyz[2]);
    constexpr double kPolarRadius = 6356752.3, kEquatorialRadius = 6378137.0;
    if (radius < kPolarRadius - 1000.0 || radius > kEquatorialRadius + 20000.0) {
        char text[160];
        std::snprintf(text, sizeof(text),
                      "option %s: %.0f m from the Earth's centre is not near its surface "
                      "(expects Earth-fixed X,Y,Z in metres)",
                      option.c_str(), radius);
        throw UsageError(text);
    }
}

int ParseDynamics(const std::string& text)
{
    if (text == "fixed")
        return 1;
    if (text == "static")
        return 2;
    if (text == "kinematic")
        return 3;
    throw UsageError("option --dynamics expects static, kinematic or fixed, not '" + text + "'");
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
        else if (option == "--version")
            o.version = true;
        else if (option == "--obs")
            o.obs = value();
        else if (option == "--sp3")
            o.sp3.push_back(value());
        else if (option == "--clk")
            o.clk.push_back(value());
        else if (option == "--atx")
            o.atx = value();
        else if (option == "--nav")
            o.nav = value();
        else if (option == "--sinex")
            o.sinex = value();
        else if (option == "--broadcast-fallback")
            o.broadcastFallback = true;
        else if (option == "--mode")
            o.mode = ParseMode(value());
        else if (option == "--dynamics")
            o.posMode = ParseDynamics(value());
        else if (option == "--systems")
            o.systems = pppio::parseSystems(option, value(), "GREC");
        else if (option == "--elev-mask")
            o.elevMask = pppio::parseNumber(option, value());
        else if (option == "--apriori") {
            ParseTriple(option, value(), o.apriori);
            o.hasApriori = true;
        } else if (option == "--ref") {
            ParseTriple(option, value(), o.ref);
            o.hasRef = true;
        } else if (option == "--out")
            o.outDir = value();
        else if (option == "--site")
            o.site = value();
        else if (option == "--summary")
            o.summaryJson = value();
        else if (option == "--pos")
            o.posFile = value();
        else if (option == "--pos-format") {
            o.posFormat = value();
            if (o.posFormat != "xyz" && o.posFormat != "llh" && o.posFormat != "enu")
                throw UsageError("option --pos-format expects xyz, llh or enu, not '" + o.posFormat + "'");
        } else if (option == "--plot") {
            o.plotFile = value();
            const size_t dot = o.plotFile.rfind('.');
            const std::string ext = dot == std::string::npos ? "" : o.plotFile.substr(dot);
            if (ext != ".svg" && ext != ".html")
                throw UsageError("option --plot expects a file name ending in .svg or .html, not '" + o.plotFile + "'");
        } else if (option == "--time-window") {
            o.windowStart = ParseGpsTime(option, value());
            o.windowEnd = ParseGpsTime(option, value());
            o.hasWindow = true;
            if (pppio::secondsBetween(o.windowEnd, o.windowStart) < 0.0)
                throw UsageError("option --time-window expects START before END");
        } else if (option == "--interval")
            o.decimation = pppio::parseNumber(option, value(), 1e-3, 86400.0);
        else if (option == "--quiet")
            o.quiet = true;
        else if (option == "--weights")
            ParseWeights(option, value(), o.weightFactor);
        else if (option == "--code-ratios")
            ParseWeights(option, value(), o.codeRatio);
        else if (option == "--trop-noise")
            o.tropWalkMm = pppio::parseNumber(option, value());
        else if (option == "--no-tide")
            o.solidTide = false;
        else if (option == "--no-windup")
            o.windUp = false;
        else if (option == "--no-rec-antenna")
            o.recAntenna = false;
        else if (option == "--no-sat-antenna")
            o.satAntennas = SatelliteAntennas::kNone;
        else if (option == "--sat-antenna")
            o.satAntennas = ParseSatelliteAntennas(value());
        else if (option == "--reset-hours")
            o.resetHours = pppio::parseNumber(option, value());
        else if (option == "--debug")
            o.debug = true;
        else if (option == "--residuals")
            o.residuals = true;
        else if (option == "--upd")
            o.upd = value();
        else if (option == "--bias")
            o.bias = value();
        else if (option == "--export")
            o.exportFile = value();
        else if (option == "--hold")
            o.hold = true;
        else if (option == "--ratio")
            o.ratio = pppio::parseNumber(option, value());
        else if (option == "--amb-logs")
            o.ambLogs = true;
        else if (option == "--rtcm")
            o.rtcm = value();
        else if (option == "--rtcm-corr")
            o.rtcmCorr = value();
        else if (option == "--nmea")
            o.nmea = value();
        else if (option == "--replay-speed")
            o.replaySpeed = pppio::parseNumber(option, value());
        else if (option == "--no-ssr")
            o.ssr = false;
        else if (option == "--max-epochs")
            o.maxEpochs = static_cast<long>(pppio::parseNumber(option, value(), 1.0, 1e9));
        else if (option == "--date")
            ParseDate(option, value(), o.date);
        else if (option == "--aug-obs")
            o.augObs = value();
        else if (option == "--aug-rtcm")
            o.augRtcm = value();
        else if (option == "--aug-ref-xyz") {
            ParseTriple(option, value(), o.augRef);
            o.hasAugRef = true;
        }
        else
            throw UsageError("unknown option '" + option + "' (see --help)");
    }
    if (o.help || o.version)
        return o;
    if (o.obs.empty() && !o.streaming())
        throw UsageError("no observations given (--obs FILE, or --rtcm SOURCE)");
    if (!o.obs.empty() && o.streaming())
        throw UsageError("give either --obs FILE or --rtcm SOURCE, not both");
    if (!o.streaming() && (!o.rtcmCorr.empty() || !o.nmea.empty()))
        throw UsageError("options --rtcm-corr and --nmea need --rtcm SOURCE");
    if (!(o.replaySpeed >= 0.0))
        throw UsageError("option --replay-speed expects 0 (as fast as possible) or a positive factor");
    if (!o.streaming() && o.sp3.empty() && !(o.broadcastFallback && !o.nav.empty()))
        throw UsageError("no orbits given (--sp3 FILE, or --nav FILE with --broadcast-fallback)");
    if (o.broadcastFallback && o.nav.empty() && !o.streaming())
        throw UsageError("option --broadcast-fallback needs --nav FILE");
    if (!(o.elevMask >= 0.0 && o.elevMask < 90.0))
        throw UsageError("option --elev-mask expects degrees from 0 to 90");
    if (o.mode >= kModeFloat && !(o.tropWalkMm > 0.0))
        throw UsageError("option --trop-noise expects a positive number of mm per square-root hour");
    if (o.resetHours < 0.0)
        throw UsageError("option --reset-hours expects hours, 0 or more");
    if (ResolvesAmbiguities(o.mode) && o.upd.empty() && o.bias.empty() && !(o.streaming() && o.ssr))
        throw UsageError("mode " + ModeName(o.mode) + " resolves ambiguities: give --upd FILE or --bias FILE");
    if (!o.upd.empty() && !o.bias.empty())
        throw UsageError("give either --upd or --bias, not both");
    if (o.mode == kModeUpdExport && o.exportFile.empty() && o.outDir.empty())
        throw UsageError("mode upd-export writes the float ambiguities: give --export FILE or --out DIR");
    if (!(o.ratio >= 1.0 && o.ratio <= 999.0))
        throw UsageError("option --ratio expects a threshold from 1 to 999");
    if (!o.augObs.empty() && !o.augRtcm.empty())
        throw UsageError("give either --aug-obs FILE or --aug-rtcm SOURCE, not both");
    if (o.mode == kModePppRtk && !o.augmented())
        throw UsageError("mode ppprtk corrects with a reference station: give --aug-obs FILE or --aug-rtcm SOURCE");
    if (o.augmented() && o.mode < kModeArAug)
        throw UsageError("options --aug-obs and --aug-rtcm need mode 6, ppprtk (7) or 8 and above");
    if (!o.augObs.empty() && !o.hasAugRef)
        throw UsageError("option --aug-obs needs the reference position --aug-ref-xyz X,Y,Z");
    if (o.streaming() && (o.hasWindow || o.decimation > 0.0))
        throw UsageError("options --time-window and --interval are for files (--obs FILE)");
    o.satAntenna = o.satAntennas != SatelliteAntennas::kNone;
    if (o.hasApriori)
        RequireNearSurface("--apriori", o.apriori);
    if (o.hasRef)
        RequireNearSurface("--ref", o.ref);
    if (o.hasAugRef)
        RequireNearSurface("--aug-ref-xyz", o.augRef);
    if (o.site.size() > 60)
        throw UsageError("option --site expects a short name");
    return o;
}

std::string VersionText()
{
    return "ppprun " PPP_VERSION " (ppplib " PPP_VERSION ")\n";
}

std::string HelpText()
{
    return R"(Usage: ppprun --obs FILE --sp3 FILE [--sp3 FILE] --clk FILE [options]
       ppprun --rtcm SOURCE [--rtcm-corr SOURCE] [options]

Processes a RINEX observation file, or an RTCM 3 stream, epoch by epoch
with the positioning library and prints a summary. Input files may be
gzip-compressed; the observation file may be Compact RINEX.

Input:
  --obs FILE            RINEX 2/3/4 observation file (required, no default)
  --sp3 FILE            precise orbits, SP3; repeat for the neighbouring day
                        (give both days when the data touches midnight);
                        required unless --broadcast-fallback (no default)
  --clk FILE            precise clocks, RINEX clock; repeatable
                        (default: the SP3 clocks)
  --atx FILE            ANTEX antenna file: receiver antenna offsets and
                        variations, satellite antennas (default: none)
  --nav FILE            RINEX 3 navigation file: GLONASS channels missing
                        from the observation header (default: none)
  --broadcast-fallback  use broadcast orbits and clocks of --nav for
                        satellites without precise products (default: off)
  --sinex FILE          SINEX file with a-priori coordinates of the site
                        (default: none)

Real-time streams (RTCM 3; SOURCE is a file, plain or gzip, or
tcp://HOST:PORT, or ntrip://[USER:PASS@]HOST:PORT/MOUNT):
  --rtcm SOURCE         observations (MSM4-7); may carry ephemerides and
                        SSR corrections too (no default)
  --rtcm-corr SOURCE    broadcast ephemerides and SSR corrections (orbit,
                        clock, code and phase biases) (default: none)
  --no-ssr              broadcast orbits and clocks only, SSR ignored
                        (default: SSR applied where available)
  --replay-speed X      recorded streams: 0 as fast as possible, else X
                        times real time (default: 0)
  --nmea FILE           NMEA GGA line per solved epoch, - for standard
                        output (default: none)
  --max-epochs N        stop after N epochs (default: at the end of the
                        observation stream, or Ctrl-C for a live one)
  --date YYYY-MM-DD     the day of a recording older than April 2019, whose
                        GPS week the ephemerides cannot tell (default: from
                        the first GPS or BeiDou ephemeris, else the clock)
  Without --sp3 the orbits come from the stream: broadcast ephemerides
  with SSR corrections; in mode ar the SSR phase biases are the UPDs.

Augmentation from a reference station (modes 6, ppprtk (7) and 8+):
  --aug-obs FILE        the reference station's RINEX observation file
  --aug-rtcm SOURCE     the reference station's RTCM 3 stream (MSM)
  --aug-ref-xyz X,Y,Z   its antenna position in metres (required with
                        --aug-obs; default with --aug-rtcm: its 1005/1006)
  Mode ppprtk corrects the observations with them (corrections older than
  10 s are not used) and solves from the corrected code.

Processing:
  --mode M              spp (1), ppp float solution (2), upd-export (3:
                        float solution and the float ambiguities written
                        for UPD estimation), ar (4: ambiguity resolution
                        with --upd or --bias), ppprtk (7: observations
                        corrected from a reference station), or a library
                        mode number (default: ppp)
  --dynamics D          static, kinematic or fixed (default: static)
  --systems LETTERS     satellite systems from G, R, E, C, either case
                        (default: GRE)
  --elev-mask DEG       elevation cut-off in degrees (default: 7)
  --apriori X,Y,Z       a-priori coordinates in metres (default: the SINEX
                        file's, else the first single point solution)
  --site NAME           site name of the result files (default: the first
                        four characters of the header's MARKER NAME)
  --trop-noise MM       random walk of the zenith wet delay in the PPP
                        filter, mm per square-root hour (default: 3)
  --weights G,R,E,C,CG  relative phase weights per system, the last for
                        BeiDou geostationary satellites; normalised by
                        the first (default: 1,1,1,1,0.1)
  --code-ratios G,R,E,C,CG
                        code-to-phase sigma ratio per system
                        (default: 300,600,600,600,900)
  --no-tide             no solid earth tide correction (default: on in ppp)
  --no-windup           no phase wind-up correction (default: on in ppp)
  --no-rec-antenna      no receiver antenna offsets and variations; the
                        antenna height is still applied (default: on in ppp)
  --sat-antenna WHICH   satellite antenna offsets and variations: all
                        (every satellite the antenna file holds),
                        complete-systems (only systems whose satellites in
                        use it holds completely) or none; the satellites
                        without an antenna are named in the summary
                        (default: complete-systems)
  --no-sat-antenna      the same as --sat-antenna none (default: off)
  --reset-hours H       restart the filter every H hours, 0 never (default: 0)
  --time-window START END
                        files: process only the epochs from START to END,
                        GPS times YYYY-MM-DDTHH:MM:SS (default: all)
  --interval S          files: process only the epochs on whole multiples
                        of S seconds of the GPS week (default: all)

Ambiguity resolution (GPS wide lane and narrow lane):
  --upd FILE            satellite UPDs, ppplib UPD file (see README)
  --bias FILE           Bias-SINEX with code and phase OSBs: codes are
                        corrected, phase biases become the UPDs
  --ratio R             ratio threshold of the narrow-lane search (default: 3)
  --hold                hold fixed ambiguities from epoch to epoch (default: off)
  --export FILE         mode upd-export: the float-ambiguity file
                        (default: OUT/SITE.famb)
  --amb-logs            write the library's ambiguity logs (.wl) (default: off)

Output:
  --out DIR             write the library's result files under DIR and the
                        COST-716 delay files under DIR/ztd (default: none)
  --debug               also write outlier, slip and scratch logs (default: off)
  --residuals           also write the residual files (default: off)
  --ref X,Y,Z           reference coordinates for the error figures of the
                        summary only, never used as a-priori (default: none)
  --summary FILE        write the summary as JSON as well (default: none)
  --pos FILE            write the positions of the solved epochs in the
                        .pos layout of common plotting tools: GPS time,
                        position, Q (1 fixed, 2 float, 4 corrected code,
                        5 single), satellites, standard deviations and
                        covariances from the filter (default: none)
  --pos-format F        xyz (ECEF), llh (degrees, ellipsoidal height) or
                        enu (against --ref, else the first solution)
                        (default: xyz)
  --plot FILE           draw the run as FILE.svg or FILE.html: north, east,
                        up against --ref (else the mean position) with the
                        fixed/float state, satellites per system and the
                        zenith total delay against time (default: none)
  --quiet               no progress on standard error (default: off)
  --version             program and library version
  --help                this text

Exit codes: 0 done; 1 internal error; 2 bad options, or an input or
output file that cannot be used (checked before processing); 3 a
malformed record or a file of the wrong kind (the message names file and
line); 4 no solution: no epoch, or fewer than half of the epochs, reached
the mode's solution (or mode ar fixed no epoch), with the likely cause;
5 an input file ends early (truncated), all that was read processed.
Orbits are extrapolated up to 15 minutes beyond the SP3 records.
)";
}

std::string ModeName(int mode)
{
    switch (mode) {
    case kModeSpp: return "spp";
    case kModeFloat: return "ppp";
    case kModeUpdExport: return "upd-export";
    case kModeAr: return "ar";
    case kModePppRtk: return "ppprtk";
    default: return std::to_string(mode);
    }
}

bool ResolvesAmbiguities(int mode)
{
    return mode >= kModeAr && mode != kModePppRtk;
}

std::string DynamicsName(int posMode)
{
    switch (posMode) {
    case 1: return "fixed";
    case 2: return "static";
    case 3: return "kinematic";
    default: return std::to_string(posMode);
    }
}

}  // namespace ppprun
