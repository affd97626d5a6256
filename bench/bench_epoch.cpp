// Time per epoch inside the library, the figure that matters on a small
// processor. The bundled two-hour sample of ESBC (data/sample, or the
// directory named by PPP_SAMPLE_DIR) is read and assembled once; each
// iteration feeds its 240 epochs to a fresh facade without result files, in
// single point, static and kinematic float PPP with GPS, GLONASS and Galileo
// and every PPP correction on. Timed per epoch: handing over a copy of the
// epoch and orbit records (as a host does) and pppos.
//
// Ambiguity resolution against float PPP on the same epochs: the rover of
// the simulated network that `make demo-ar` writes from the same products
// (build/demo-ar/net, or the directory named by PPP_AR_DIR) with its true
// UPDs; skipped when it is not there.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "engine/GNSSEpoch.h"
#include "engine/GNSSResult.h"
#include "io/AntennaTable.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/UpdFile.h"
#include "io/SiteSetup.h"
#include "lib/ppplib.h"

namespace {

const char* kSystems = "GRE";

std::string SampleFile(const char* name)
{
    const char* dir = std::getenv("PPP_SAMPLE_DIR");
    return std::string(dir ? dir : "data/sample") + "/" + name;
}

std::string RoverFile(const char* name)
{
    const char* dir = std::getenv("PPP_AR_DIR");
    return std::string(dir ? dir : "build/demo-ar/net") + "/" + name;
}

// The epochs of an observation file as the library receives them, with the
// site and its antenna (when the antenna file holds it), and the UPDs of the
// epochs when a UPD file is given.
struct Sample {
    std::vector<tagGPSOBSONEEPO> epochs;
    std::vector<tagGMSP3REC> orbits;
    std::vector<std::vector<t_upd>> upds;
    tagSITE site{};
    pppio::AntennaTable antennas;
    const pppio::AntexAntenna* calibration = nullptr;
    bool satelliteAntennas = true;
    std::string error;

    Sample(const std::string& obs, const std::string& upd, bool satelliteAntennas_)
        : satelliteAntennas(satelliteAntennas_)
    {
        try {
            Load(obs, upd);
        } catch (const std::exception& e) {
            error = e.what();
        }
    }

    void Load(const std::string& obs, const std::string& upd)
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

        pppio::UpdProduct product;
        if (!upd.empty())
            product = pppio::UpdProduct::read(upd);
        pppio::RinexObsReader reader(obs);
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
        pppio::OrbitRecordBuilder builder(sources, satelliteAntennas);
        const pppio::CarrierFrequencies frequencies(header, nullptr);
        pppio::EpochAssembler assembler(header, frequencies, builder, kSystems);
        auto epoch = std::make_unique<tagGPSOBSONEEPO>();
        auto orbits = std::make_unique<tagGMSP3REC>();
        pppio::ObsEpoch in;
        while (reader.next(in))
            if (assembler.assemble(in, *epoch, *orbits)) {
                epochs.push_back(*epoch);
                this->orbits.push_back(*orbits);
                if (!upd.empty()) {
                    upds.emplace_back(MAXSATNUM);
                    product.fill(in.gpsTime, upds.back().data());
                }
            }
    }
};

const Sample& TheSample()
{
    static const Sample sample(SampleFile("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"), "", true);
    return sample;
}

const Sample& TheRover()
{
    static const Sample rover(RoverFile("ROV1.rnx"), RoverFile("truth.upd"), false);
    return rover;
}

// mode 1: single point; 2: float PPP; 4: ambiguity resolution. posMode 2: static, 3: kinematic.
void Run(benchmark::State& state, const Sample& sample, int mode, int posMode)
{
    if (!sample.error.empty() || sample.epochs.empty()) {
        state.SkipWithError(("cannot read the epochs (make demo-ar writes the rover's): " + sample.error).c_str());
        return;
    }
    auto epoch = std::make_unique<tagGPSOBSONEEPO>();
    auto orbit = std::make_unique<tagGMSP3REC>();
    auto result = std::make_unique<tagSPPONERESULT>();
    long solved = 0;
    for (auto _ : state) {
        t_conf conf{};
        conf.mode = mode;
        conf.ppp_enable = mode >= kModeFloat ? 1 : 0;
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
        const bool ppp = mode >= kModeFloat;
        t_model_settings model;
        model.solidTide = model.windUp = model.receiverAntenna = ppp;
        model.satelliteAntenna = ppp && sample.satelliteAntennas;
        library.setModelSettings(model);
        if (sample.calibration && ppp)
            pppio::LoadReceiverPcv(*sample.calibration, library.errorCorrection());

        tagOBSONEEPOONESTA station{0, 0, epoch.get(), nullptr, result.get(), orbit.get()};
        for (size_t i = 0; i < sample.epochs.size(); ++i) {
            *epoch = sample.epochs[i];
            *orbit = sample.orbits[i];
            t_upd* upd = mode == kModeAr ? const_cast<t_upd*>(sample.upds[i].data()) : nullptr;
            solved += library.pppos(&station, upd, nullptr) >= (mode == kModeAr ? kResultFixed : kResultSpp);
        }
        delete station.smooth;
    }
    const double epochs = static_cast<double>(state.iterations()) * static_cast<double>(sample.epochs.size());
    state.counters["per_epoch"] = benchmark::Counter(epochs, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
    state.counters["solved"] = static_cast<double>(solved) / epochs;   // fixed, in mode 4
}

void Epochs(benchmark::State& state, int mode, int posMode)
{
    Run(state, TheSample(), mode, posMode);
}

void RoverEpochs(benchmark::State& state, int mode, int posMode)
{
    Run(state, TheRover(), mode, posMode);
}

}  // namespace

BENCHMARK_CAPTURE(Epochs, single_point, 1, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Epochs, float_ppp_static, 2, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(Epochs, float_ppp_kinematic, 2, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RoverEpochs, rover_float_static, 2, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RoverEpochs, rover_ar_static, 4, 2)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RoverEpochs, rover_float_kinematic, 2, 3)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(RoverEpochs, rover_ar_kinematic, 4, 3)->Unit(benchmark::kMillisecond);

BENCHMARK_MAIN();
