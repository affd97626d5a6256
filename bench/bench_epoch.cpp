// Time per epoch inside the library, the figure that matters on a small
// processor. The bundled two-hour sample of ESBC (data/sample, or the
// directory named by PPP_SAMPLE_DIR) is read and assembled once; each
// iteration feeds its 240 epochs to a fresh facade without result files, in
// single point, static and kinematic float PPP with GPS, GLONASS and Galileo
// and every PPP correction on. Timed per epoch: handing over a copy of the
// epoch and orbit records (as a host does) and pppos.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engine/GNSSSPP.h"
#include "io/AntennaTable.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/SiteSetup.h"
#include "lib/Process.h"
#include "lib/ppplib.h"

namespace {

const char* kSystems = "GRE";

std::string SampleFile(const char* name)
{
    const char* dir = std::getenv("PPP_SAMPLE_DIR");
    return std::string(dir ? dir : "data/sample") + "/" + name;
}

// The sample's epochs as the library receives them, with the site and its antenna.
struct Sample {
    std::vector<tagGPSOBSONEEPO> epochs;
    std::vector<tagGMSP3REC> orbits;
    tagSITE site{};
    pppio::AntennaTable antennas;
    const pppio::AntexAntenna* calibration = nullptr;
    std::string error;

    Sample()
    {
        try {
            Load();
        } catch (const std::exception& e) {
            error = e.what();
        }
    }

    void Load()
    {
        pppio::SatelliteSet wanted;
        for (int iprn = 1; iprn <= MAXSATNUM; ++iprn)
            wanted.add(iprn);
        pppio::PreciseOrbit orbit;
        orbit.load(SampleFile("GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"), wanted);
        orbit.load(SampleFile("GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz"), wanted);
        pppio::PreciseClock clock;
        clock.setEdgeExtrapolation(1.0);
        clock.load(SampleFile("GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz"), wanted);
        antennas.load(SampleFile("ESBC_receiver_antenna.atx"));

        pppio::RinexObsReader reader(SampleFile("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"));
        const pppio::RinexObsHeader& header = reader.header();
        pppio::SiteRequest request;
        request.antennas = &antennas;
        pppio::SiteReport report;
        const tagCOMMONTIME& t = header.firstObs;
        site = pppio::BuildSite(header, request,
                                pppio::gpsTimeFromCalendar(t.year, t.month, t.day, t.hour, t.minute, t.second),
                                report);
        calibration = report.calibration;

        pppio::ProductSources sources;
        sources.orbit = &orbit;
        sources.clock = &clock;
        sources.antennas = &antennas;
        pppio::OrbitRecordBuilder builder(sources, true);
        const pppio::CarrierFrequencies frequencies(header, nullptr);
        pppio::EpochAssembler assembler(header, frequencies, builder, kSystems);
        auto epoch = std::make_unique<tagGPSOBSONEEPO>();
        auto orbits = std::make_unique<tagGMSP3REC>();
        pppio::ObsEpoch in;
        while (reader.next(in))
            if (assembler.assemble(in, *epoch, *orbits)) {
                epochs.push_back(*epoch);
                this->orbits.push_back(*orbits);
            }
    }
};

const Sample& TheSample()
{
    static const Sample sample;
    return sample;
}

// mode 1: single point; 2: float PPP. posMode 2: static, 3: kinematic.
void Epochs(benchmark::State& state, int mode, int posMode)
{
    const Sample& sample = TheSample();
    if (!sample.error.empty() || sample.epochs.empty()) {
        state.SkipWithError(("cannot read the sample: " + sample.error).c_str());
        return;
    }
    auto epoch = std::make_unique<tagGPSOBSONEEPO>();
    auto orbit = std::make_unique<tagGMSP3REC>();
    auto result = std::make_unique<tagSPPONERESULT>();
    long solved = 0;
    for (auto _ : state) {
        t_conf conf{};
        conf.mode = mode;
        conf.ppp_enable = mode >= 2 ? 1 : 0;
        conf.pos_mode = posMode;
        conf.interval = 30.0;
        conf.elev_mask = 7.0;
        conf.product_source = 3;
        // Zenith wet delay random walk of 3 mm per square-root hour at 30 s,
        // in units of the unit-weight phase variance (1 cm squared).
        conf.pppos_value = 3e-3 * 3e-3 * 3600.0 / (1e-2 * 1e-2 * 30.0);
        const double factors[5] = {1.0, 1.0, 1.0, 1.0, 0.1}, ratios[5] = {300.0, 600.0, 600.0, 600.0, 900.0};
        for (int k = 0; k < 5; ++k) {
            conf.weight.dWeightFactor[k] = factors[k];
            conf.weight.dWeightSigma[k] = ratios[k];
        }
        tagSITE site = sample.site;
        t_ppplib library(std::vector<char>(kSystems, kSystems + 3), &site, &conf);
        CGNSSSPP& engine = *library.process()->spp;
        engine.m_set.bSolidTide = engine.m_set.bWindUp = engine.m_set.bRecAntenna = engine.m_set.bSatAntenna =
            mode >= 2 ? 1 : 0;
        if (sample.calibration && mode >= 2)
            pppio::LoadReceiverPcv(*sample.calibration, engine.m_errorCorrection);

        tagOBSONEEPOONESTA station{0, 0, epoch.get(), nullptr, result.get(), orbit.get()};
        for (size_t i = 0; i < sample.epochs.size(); ++i) {
            *epoch = sample.epochs[i];
            *orbit = sample.orbits[i];
            solved += library.pppos(&station, nullptr, nullptr) >= 1;
        }
        delete station.smooth;
    }
    const double epochs = static_cast<double>(state.iterations()) * static_cast<double>(sample.epochs.size());
    state.counters["per_epoch"] = benchmark::Counter(epochs, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["solved"] = static_cast<double>(solved) / epochs;
}

}  // namespace

BENCHMARK_CAPTURE(Epochs, single_point, 1, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Epochs, float_ppp_static, 2, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Epochs, float_ppp_kinematic, 2, 3)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
