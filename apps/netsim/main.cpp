// netsim: simulates RINEX observation files of a network of stations with
// known coordinates, biases and integer ambiguities from real precise
// orbits and clocks, for end-to-end tests of ambiguity resolution. See --help.
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "Options.h"
#include "Simulator.h"
#include "TruthFiles.h"
#include "io/ClockReader.h"
#include "io/GpsTime.h"
#include "io/ReadError.h"

namespace {

constexpr int kDone = 0;
constexpr int kFailed = 1;
constexpr int kBadInput = 2;

tagGPSTIME2 ParseStart(const std::string& text)
{
    int year, month, day, hour, minute;
    double second;
    char tail;
    if (std::sscanf(text.c_str(), "%d-%d-%dT%d:%d:%lf%c", &year, &month, &day, &hour, &minute, &second, &tail) != 6 ||
        !pppio::validCalendar(year, month, day, hour, minute, second))
        throw netsim::UsageError("option --start expects YYYY-MM-DDTHH:MM:SS, not '" + text + "'");
    return pppio::gpsTimeFromCalendar(year, month, day, hour, minute, second);
}

// The earliest satellite clock sample of a clock file.
bool FirstClockEpoch(const pppio::ClockFile& file, tagGPSTIME2& first)
{
    bool found = false;
    double earliest = 0.0;
    for (const std::vector<pppio::ClockSample>& samples : file.satellites)
        for (const pppio::ClockSample& sample : samples)
            if (!found || sample.time < earliest) {
                earliest = sample.time;
                found = true;
            }
    if (found)
        first = pppio::shiftedTime(tagGPSTIME2{file.referenceWeek, 0.0}, earliest);
    return found;
}

int Simulate(const netsim::Options& o)
{
    if (mkdir(o.outDir.c_str(), 0777) != 0 && errno != EEXIST) {
        std::fprintf(stderr, "netsim: cannot create %s: %s\n", o.outDir.c_str(), std::strerror(errno));
        return kBadInput;
    }
    const pppio::SatelliteSet wanted = pppio::SatelliteSet::ofSystems(o.systems);
    pppio::PreciseOrbit orbit;
    for (const std::string& path : o.sp3)
        orbit.load(path, wanted);
    pppio::PreciseClock clock;
    // The first epoch of a clock day is sent just before its first sample (as ppprun allows).
    clock.setEdgeExtrapolation(1.0);
    bool hasFirst = false;
    tagGPSTIME2 start{0, 0.0};
    for (const std::string& path : o.clk) {
        const pppio::ClockFile file = pppio::readClock(path, wanted);
        tagGPSTIME2 first;
        if (FirstClockEpoch(file, first) && (!hasFirst || pppio::secondsBetween(first, start) < 0.0)) {
            start = first;
            hasFirst = true;
        }
        clock.add(file);
    }
    if (o.hasStart)
        start = ParseStart(o.start);
    else if (!hasFirst)
        throw netsim::UsageError("the clock files hold no satellite clocks");

    netsim::Simulator simulator(o, orbit, clock, start);
    if (simulator.satellites().empty())
        throw netsim::UsageError("no satellite of " + o.systems + " has both orbit and clock");
    simulator.run();
    netsim::WriteTruthFiles(o.outDir, simulator, o.nlInterval, o.interval);
    std::printf("netsim: %zu sites, %ld epochs, %zu satellites, %ld satellite-epochs written to %s\n",
                simulator.sites().size(), simulator.epochCount(), simulator.satellites().size(),
                simulator.observationCount(), o.outDir.c_str());
    return kDone;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        const netsim::Options options = netsim::ParseOptions(argc, argv);
        if (options.help) {
            std::fputs(netsim::HelpText().c_str(), stdout);
            return kDone;
        }
        return Simulate(options);
    } catch (const netsim::UsageError& e) {
        std::fprintf(stderr, "netsim: %s\n", e.what());
        return kBadInput;
    } catch (const pppio::ReadError& e) {
        std::fprintf(stderr, "netsim: %s\n", e.what());
        return kBadInput;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "netsim: %s\n", e.what());
        return kFailed;
    }
}
