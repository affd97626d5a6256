#include "SampleEpochs.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

#include "io/AntennaTable.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/SiteSetup.h"

namespace fuzzing {
namespace {

SampleEpochs load()
{
    const std::string dir = std::string(PPP_SOURCE_DIR) + "/data/sample/";
    SampleEpochs sample;
    pppio::PreciseOrbit orbit;
    orbit.load(dir + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz");
    orbit.load(dir + "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz");
    pppio::PreciseClock clock;
    clock.setEdgeExtrapolation(1.0);
    clock.load(dir + "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz");
    pppio::ProductSources sources;
    sources.orbit = &orbit;
    sources.clock = &clock;

    pppio::RinexObsReader reader(dir + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz");
    pppio::AntennaTable antennas;
    antennas.load(dir + "ESBC_receiver_antenna.atx");
    pppio::SiteRequest request;
    request.antennas = &antennas;
    request.hasApriori = true;   // the reference coordinates of the sample's README
    request.apriori[0] = 3582104.766;
    request.apriori[1] = 532590.178;
    request.apriori[2] = 5232755.139;
    pppio::SiteReport report;
    sample.site = pppio::BuildSite(reader.header(), request, tagGPSTIME2{0, 0.0}, report);

    pppio::OrbitRecordBuilder builder(sources, false);
    const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
    pppio::EpochAssembler assembler(reader.header(), frequencies, builder, "GRE");
    sample.epochs.resize(SampleEpochs::kEpochs);
    sample.orbits.resize(SampleEpochs::kEpochs);
    pppio::ObsEpoch in;
    int count = 0;
    while (count < SampleEpochs::kEpochs && reader.next(in))
        if (assembler.assemble(in, sample.epochs[count], sample.orbits[count]))
            ++count;
    if (count < SampleEpochs::kEpochs)
        throw std::runtime_error("the sample has fewer epochs than expected");
    return sample;
}

}  // namespace

const SampleEpochs& SampleEpochs::get()
{
    static const SampleEpochs sample = [] {
        try {
            return load();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "cannot assemble the sample epochs: %s\n", e.what());
            std::abort();
        }
    }();
    return sample;
}

}  // namespace fuzzing
