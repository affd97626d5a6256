#include "Options.h"

#include "io/CommandLine.h"

namespace netsim {

Options ParseOptions(int argc, char** argv)
{
    Options o;
    pppio::Arguments args(argc, argv);
    while (args.next()) {
        const std::string& option = args.option();
        auto value = [&args]() { return args.value(); };
        if (option == "--help" || option == "-h")
            o.help = true;
        else if (option == "--sp3")
            o.sp3.push_back(value());
        else if (option == "--clk")
            o.clk.push_back(value());
        else if (option == "--out")
            o.outDir = value();
        else if (option == "--stations")
            o.stations = pppio::parseCount(option, value(), 1, 12);
        else if (option == "--rovers")
            o.rovers = pppio::parseCount(option, value(), 0, 2);
        else if (option == "--kinematic")
            o.kinematic = true;
        else if (option == "--baseline") {
            const int km = pppio::parseCount(option, value(), 1, 999);
            for (int earlier : o.baselinesKm)
                if (earlier == km)
                    throw UsageError("option --baseline " + std::to_string(km) + " is given twice");
            o.baselinesKm.push_back(km);
        }
        else if (option == "--start") {
            o.start = value();
            o.hasStart = true;
        } else if (option == "--hours")
            o.hours = pppio::parseNumber(option, value(), 1.0 / 3600.0, 48.0);
        else if (option == "--interval")
            o.interval = pppio::parseNumber(option, value(), 1.0, 3600.0);
        else if (option == "--systems")
            o.systems = pppio::parseSystems(option, value(), "GRE");
        else if (option == "--seed")
            o.seed = static_cast<uint32_t>(pppio::parseNumber(option, value(), 0.0, 4294967295.0));
        else if (option == "--elev-mask")
            o.elevMask = pppio::parseNumber(option, value(), 0.0, 60.0);
        else if (option == "--code-sigma")
            o.codeSigma = pppio::parseNumber(option, value(), 0.0, 10.0);
        else if (option == "--phase-sigma")
            o.phaseSigma = pppio::parseNumber(option, value(), 0.0, 0.05);
        else if (option == "--slips")
            o.slipsPerDay = pppio::parseNumber(option, value(), 0.0, 1000.0);
        else if (option == "--gaps")
            o.gapsPerDay = pppio::parseNumber(option, value(), 0.0, 100.0);
        else if (option == "--nl-drift")
            o.nlDriftPerHour = pppio::parseNumber(option, value(), -1.0, 1.0);
        else if (option == "--clock-walk")
            o.clockWalk = pppio::parseNumber(option, value(), 0.0, 1e-6);
        else if (option == "--nl-interval")
            o.nlInterval = pppio::parseNumber(option, value(), 30.0, 86400.0);
        else
            throw UsageError("unknown option " + option + " (see --help)");
    }
    if (o.help)
        return o;
    if (o.sp3.empty() || o.clk.empty())
        throw UsageError("--sp3 and --clk are required");
    if (o.outDir.empty())
        throw UsageError("--out is required");
    return o;
}

std::string HelpText()
{
    return "usage: netsim --sp3 FILE [--sp3 FILE] --clk FILE --out DIR [options]\n"
           "Simulates RINEX 3.04 observation files of a network of stations with known truth\n"
           "(coordinates, satellite and receiver biases, ambiguities) from precise orbits and clocks.\n"
           "  --sp3 FILE            SP3 orbits, repeat for consecutive days (required)\n"
           "  --clk FILE            RINEX clocks, repeat for several files (required)\n"
           "  --out DIR             output folder, created when missing (required)\n"
           "  --stations N          reference stations of the built-in network, 1-12 (default: 10)\n"
           "  --rovers N            static rovers inside the network, 0-2 (default: 2)\n"
           "  --kinematic           also a rover KIN1 moving on a 100 m circle (default: off)\n"
           "  --baseline KM         also a static rover BKKK (B010 for 10) KM km (1-999) east of S001 at its\n"
           "                        height, for baselines of known length; repeatable (default: none)\n"
           "  --start TIME          first epoch YYYY-MM-DDTHH:MM:SS, GPS time (default: the first clock epoch)\n"
           "  --hours H             time span in hours (default: 24)\n"
           "  --interval S          observation interval in seconds (default: 30)\n"
           "  --systems LETTERS     satellite systems from G, R, E (default: GRE)\n"
           "  --seed N              random seed; equal seeds give equal files (default: 1)\n"
           "  --elev-mask DEG       elevation mask in degrees (default: 5)\n"
           "  --code-sigma M        code noise at the zenith, grows as 1/sin(elev) (default: 0.3)\n"
           "  --phase-sigma M       phase noise at the zenith, grows as 1/sin(elev) (default: 0.0025)\n"
           "  --slips N             cycle slips per station and day: N1 and N2 jump, the wide lane by 4-8\n"
           "                        cycles, no loss-of-lock flag (default: 3)\n"
           "  --gaps N              data gaps of all satellites per station and day (default: 1)\n"
           "  --nl-drift C          drift of the satellite narrow-lane biases, cycles per hour (default: 0)\n"
           "  --clock-walk S        receiver clock random-walk step per epoch, seconds (default: 2e-9)\n"
           "  --nl-interval S       narrow-lane interval of the UPD truth file, seconds (default: 900)\n"
           "Outputs in DIR: NAME.rnx per station, stations.txt, truth.upd, truth.bia, slips.txt,\n"
           "and KIN1_trajectory.txt with --kinematic.\n";
}

}  // namespace netsim
