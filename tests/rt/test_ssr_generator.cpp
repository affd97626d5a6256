#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "io/CarrierFrequencies.h"
#include "io/GpsTime.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsHeader.h"
#include "io/SatelliteId.h"
#include "io/TestFiles.h"
#include "rt/SsrCorrections.h"
#include "rt/SsrGenerator.h"

namespace ppprt {
namespace {

tagGPSTIME2 At(int hour, int minute, double second = 0.0)
{
    return pppio::gpsTimeFromCalendar(2020, 6, 25, hour, minute, second);
}

// Corrections made from precise products and applied to the broadcast
// ephemerides give back the precise orbit and clock anywhere in the update
// interval: the generator and the decoder's application are inverses.
TEST(SsrGenerator, CorrectedBroadcastReproducesPreciseProducts)
{
    pppio::BroadcastOrbit broadcast;
    broadcast.load(testfiles::dataPath("ESBC00DNK_R_20201770000_MN_excerpt.rnx"));
    pppio::PreciseOrbit orbit;
    orbit.load(testfiles::dataPath("GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3"),
               pppio::SatelliteSet::all());
    pppio::ProductSources sources;   // the SP3 clocks
    sources.orbit = &orbit;
    pppio::OrbitRecordBuilder precise(sources, false);
    const pppio::RinexObsHeader header;
    const pppio::CarrierFrequencies frequencies(header, &broadcast);
    SsrGenerator generator(broadcast, precise, frequencies);

    std::unique_ptr<SsrMessage> message(new SsrMessage());
    SsrCorrections ssr;
    const tagGPSTIME2 epoch = At(1, 30);
    int satellites = 0;
    for (char system : {'G', 'E'}) {
        satellites += generator.orbit(system, epoch, 60.0, *message);
        ssr.add(*message);
        generator.clock(system, epoch, 60.0, *message);
        ssr.add(*message);
    }
    ASSERT_EQ(satellites, 3);   // G02, G05, G21 have both products at 01:30

    const SsrSatelliteStates states(broadcast, ssr);
    for (const char* name : {"G01", "G02", "G05", "G21", "E01", "E02"}) {
        const int iprn = pppio::parseSatelliteId(name);
        if (!generator.keplerInUse(iprn))
            continue;   // no ephemeris near the epoch
        for (double second : {5.0, 30.0, 55.0}) {
            const tagGPSTIME2 t = pppio::shiftedTime(epoch, second);
            pppio::SatelliteState corrected;
            double position[3], truthClock;
            if (!orbit.position(iprn, t, position) || !orbit.clock(iprn, t, truthClock))
                continue;
            ASSERT_EQ(states.evaluate(iprn, t, corrected), SsrOutcome::kCorrected) << name;
            for (int k = 0; k < 3; ++k)
                EXPECT_NEAR(corrected.position[k], position[k], 0.005) << name << " +" << second << " s";
            EXPECT_NEAR((corrected.clock - truthClock) * 299792458.0, 0.0, 0.005) << name;
        }
    }
}

}  // namespace
}  // namespace ppprt
