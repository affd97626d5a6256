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

// Loading one file into a fresh store, optionally for some satellites only.
template <class Store, class... Wanted>
void Load(benchmark::State& state, const char* name, const Wanted&... wanted)
{
    const std::string path = DataFile(state, name);
    for (auto _ : state) {
        if (path.empty())
            break;
        Store store;
        store.load(path, wanted...);
        benchmark::DoNotOptimize(store.warnings().size());
    }
}

pppio::SatelliteSet GpsOnly()
{
    pppio::SatelliteSet gps;
    for (int iprn = 1; iprn <= 32; ++iprn)
        gps.add(iprn);
    return gps;
}

void RegisterLoads()
{
    using benchmark::RegisterBenchmark;
    RegisterBenchmark("Load/clock_day_all", Load<pppio::PreciseClock>, kClock)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("Load/clock_day_gps", Load<pppio::PreciseClock, pppio::SatelliteSet>, kClock, GpsOnly())
        ->Unit(benchmark::kMillisecond);
    RegisterBenchmark("Load/sp3_day", Load<pppio::PreciseOrbit>, kOrbit)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("Load/nav_day", Load<pppio::BroadcastOrbit>, kNav)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("Load/antex_igs08", Load<pppio::AntennaTable>, kAntex)->Unit(benchmark::kMillisecond);
    RegisterBenchmark("Load/sinex_weekly", Load<pppio::SinexSites>, kSinex)->Unit(benchmark::kMillisecond);
}

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

int main(int argc, char** argv)
{
    RegisterLoads();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
