// Load and query times of the product readers on full-day files. The files
// are taken from the directory named by the environment variable
// PPP_DATA_DIR (the benchmarks are skipped when it is not set):
//   GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz, GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz,
//   ESBC00DNK_R_20201770000_01D_MN.rnx.gz, igs08_1719.atx.gz, igs20P2131_wocov.snx.gz
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "common/gnsscmn.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/SinexReader.h"

namespace {

const char* kClock = "GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz";
const char* kOrbit = "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz";
const char* kNav = "ESBC00DNK_R_20201770000_01D_MN.rnx.gz";
const char* kAntex = "igs08_1719.atx.gz";
const char* kSinex = "igs20P2131_wocov.snx.gz";

// Full path of a data file, or empty (and the benchmark skipped) without PPP_DATA_DIR.
std::string DataFile(benchmark::State& state, const char* name)
{
    const char* dir = std::getenv("PPP_DATA_DIR");
    if (!dir) {
        state.SkipWithError("set PPP_DATA_DIR to the directory of the full-day data files");
        return std::string();
    }
    return std::string(dir) + "/" + name;
}

void LoadClockAllSatellites(benchmark::State& state)
{
    const std::string path = DataFile(state, kClock);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::PreciseClock clocks;
        clocks.load(path);
        benchmark::DoNotOptimize(clocks.sampleCount(1));
    }
}
BENCHMARK(LoadClockAllSatellites)->Unit(benchmark::kMillisecond);

void LoadClockGpsOnly(benchmark::State& state)
{
    const std::string path = DataFile(state, kClock);
    pppio::SatelliteSet gps;
    for (int iprn = 1; iprn <= 32; ++iprn)
        gps.add(iprn);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::PreciseClock clocks;
        clocks.load(path, gps);
        benchmark::DoNotOptimize(clocks.sampleCount(1));
    }
}
BENCHMARK(LoadClockGpsOnly)->Unit(benchmark::kMillisecond);

void LoadOrbitDay(benchmark::State& state)
{
    const std::string path = DataFile(state, kOrbit);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::PreciseOrbit orbit;
        orbit.load(path);
        benchmark::DoNotOptimize(orbit.sampleCount(1));
    }
}
BENCHMARK(LoadOrbitDay)->Unit(benchmark::kMillisecond);

void LoadNavigationDay(benchmark::State& state)
{
    const std::string path = DataFile(state, kNav);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::BroadcastOrbit nav;
        nav.load(path);
        benchmark::DoNotOptimize(nav.warnings().size());
    }
}
BENCHMARK(LoadNavigationDay)->Unit(benchmark::kMillisecond);

void LoadAntex(benchmark::State& state)
{
    const std::string path = DataFile(state, kAntex);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::AntennaTable table;
        table.load(path);
        benchmark::DoNotOptimize(table.size());
    }
}
BENCHMARK(LoadAntex)->Unit(benchmark::kMillisecond);

void LoadSinex(benchmark::State& state)
{
    const std::string path = DataFile(state, kSinex);
    for (auto _ : state) {
        if (path.empty())
            break;
        pppio::SinexSites sites;
        sites.load(path);
        benchmark::DoNotOptimize(sites.size());
    }
}
BENCHMARK(LoadSinex)->Unit(benchmark::kMillisecond);

// One epoch of a receiver: position, velocity and clock of 30 GPS satellites.
void OrbitAndClockPerEpoch(benchmark::State& state)
{
    const std::string orbitPath = DataFile(state, kOrbit);
    const std::string clockPath = DataFile(state, kClock);
    if (orbitPath.empty())
        return;
    pppio::PreciseOrbit orbit;
    orbit.load(orbitPath);
    pppio::PreciseClock clocks;
    clocks.load(clockPath);
    double sow = 345600.0 + 3 * 3600.0;
    for (auto _ : state) {
        const tagGPSTIME2 t{2111, sow};
        for (int iprn = 1; iprn <= 30; ++iprn) {
            double p[3], v[3], c = 0.0;
            benchmark::DoNotOptimize(orbit.position(iprn, t, p, v));
            benchmark::DoNotOptimize(clocks.clock(iprn, t, c));
        }
        sow += 1.0;
    }
}
BENCHMARK(OrbitAndClockPerEpoch)->Unit(benchmark::kMicrosecond);

void BroadcastStates(benchmark::State& state)
{
    const std::string path = DataFile(state, kNav);
    if (path.empty())
        return;
    pppio::BroadcastOrbit nav;
    nav.load(path);
    const int iprn = static_cast<int>(state.range(0));
    const tagGPSTIME2 t = pppio::gpsTimeFromCalendar(2020, 6, 25, 4, 7, 0.0);
    for (auto _ : state) {
        pppio::SatelliteState s;
        benchmark::DoNotOptimize(nav.state(iprn, t, s));
    }
}
BENCHMARK(BroadcastStates)->Arg(5)->Arg(33 + 2)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
