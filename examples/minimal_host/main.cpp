// The smallest host of the library: float PPP, static, GPS + GLONASS +
// Galileo, for the site of a RINEX observation file, with the epochs and
// satellite orbits and clocks made by the toolkit's readers (ppplib::io).
// Prints the number of epochs per result code and the last position.
//
//   minimal_host <sample directory> [result directory]
//
// The sample directory holds the bundled ESBC files (data/sample of the
// source tree). Exit code 0 when at least one epoch reached float PPP.
#include <cstdio>
#include <cstring>
#include <exception>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/GNSSEpoch.h"
#include "engine/GNSSResult.h"
#include "io/AntennaTable.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/SiteSetup.h"
#include "lib/ppplib.h"

int main(int argc, char** argv)
{
    if (argc < 2) {
        std::fprintf(stderr, "usage: %s <sample directory> [result directory]\n", argv[0]);
        return 2;
    }
    const std::string sample = std::string(argv[1]) + "/";
    const std::string results = argc > 2 ? argv[2] : "minimal_host_out";
    const std::string systems = "GRE";
    try {
        // Products: two days of orbits around the session, its 30 s clocks.
        pppio::PreciseOrbit orbit;
        orbit.load(sample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz");
        orbit.load(sample + "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz");
        pppio::PreciseClock clock;
        clock.setEdgeExtrapolation(1.0);   // the day's first epoch is sent just before its first sample
        clock.load(sample + "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz");
        pppio::ProductSources sources;
        sources.orbit = &orbit;
        sources.clock = &clock;

        pppio::RinexObsReader reader(sample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz");
        pppio::AntennaTable antennas;   // the receiver antenna's calibration
        antennas.load(sample + "ESBC_receiver_antenna.atx");
        pppio::SiteRequest request;     // name and antenna from the header, no a-priori position
        request.antennas = &antennas;
        pppio::SiteReport report;
        tagSITE site = pppio::BuildSite(reader.header(), request, tagGPSTIME2{0, 0.0}, report);

        t_conf conf{};                 // must outlive the library object
        conf.mode = kModeFloat;
        conf.ppp_enable = 1;
        conf.pos_mode = 2;             // static
        conf.interval = 30.0;
        conf.elev_mask = 7.0;
        conf.pppos_value = 10.8;       // zenith wet delay random walk of 3 mm/sqrt(h) at 30 s
        conf.product_source = 3;       // precise orbits and clocks
        std::filesystem::create_directories(results);   // the library writes into it, it does not make it
        std::snprintf(conf.res_dir, sizeof(conf.res_dir), "%s", results.c_str());
        std::snprintf(conf.site_name, sizeof(conf.site_name), "%s", report.name.c_str());
        t_ppplib library(std::vector<char>(systems.begin(), systems.end()), &site, &conf);
        t_model_settings model;        // the PPP model's corrections are off by default
        model.solidTide = model.windUp = true;
        model.receiverAntenna =
            report.calibration && pppio::LoadReceiverPcv(*report.calibration, library.errorCorrection());
        library.setModelSettings(model);

        // The records handed to the library each epoch, allocated once.
        auto epoch = std::make_unique<tagGPSOBSONEEPO>();
        auto orbits = std::make_unique<tagGMSP3REC>();
        auto result = std::make_unique<tagSPPONERESULT>();
        tagOBSONEEPOONESTA station{0, 0, epoch.get(), nullptr, result.get(), orbits.get()};

        pppio::OrbitRecordBuilder orbitBuilder(sources, false);   // no satellite antenna file here
        const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
        pppio::EpochAssembler assembler(reader.header(), frequencies, orbitBuilder, systems);
        std::map<int, int> codes;
        pppio::ObsEpoch in;
        while (reader.next(in)) {
            if (!assembler.assemble(in, *epoch, *orbits))
                continue;   // an event record
            ++station.epochIndex;
            ++codes[library.pppos(&station, nullptr, nullptr)];
        }
        delete station.smooth;   // the slip-detection store the library allocated

        std::printf("%s: %d epochs, result codes", report.name.c_str(), station.epochIndex);
        for (const auto& code : codes)
            std::printf("  %d: %d", code.first, code.second);
        std::printf("\nlast position  X %.4f  Y %.4f  Z %.4f m\n", result->dPos[0], result->dPos[1], result->dPos[2]);
        return codes.count(kResultFloat) ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "minimal_host: %s\n", e.what());
        return 1;
    }
}
