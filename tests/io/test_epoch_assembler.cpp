// Epoch assembly on the bundled sample (ESBC, 2020-06-25): signal choice,
// GLONASS frequencies, an epoch's satellites and values against the RINEX
// text, and the orbit and clock at the transmission time.
#include <gtest/gtest.h>

#include <cmath>
#include <memory>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/CarrierFrequencies.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "models/GNSSErrorCorrection.h"

namespace {

const std::string kObs = testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz");
const std::string kClk = testfiles::samplePath("GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz");

// The sample's products and its first epoch, assembled once for all tests.
class SampleEpoch : public ::testing::Test {
protected:
    struct Sample {
        pppio::PreciseOrbit orbit;
        pppio::PreciseClock clock;
        pppio::RinexObsReader reader{kObs};
        pppio::ObsEpoch in;
        std::unique_ptr<tagGPSOBSONEEPO> epoch{new tagGPSOBSONEEPO()};
        std::unique_ptr<tagGMSP3REC> record{new tagGMSP3REC()};
        std::unique_ptr<pppio::OrbitRecordBuilder> builder;
        std::unique_ptr<pppio::CarrierFrequencies> frequencies;
        std::unique_ptr<pppio::EpochAssembler> assembler;
        bool assembled = false;
    };
    static std::unique_ptr<Sample> sample;

    static void SetUpTestSuite()
    {
        sample.reset(new Sample());
        sample->orbit.load(testfiles::samplePath("GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz"));
        sample->orbit.load(testfiles::samplePath("GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz"));
        sample->clock.setEdgeExtrapolation(1.0);   // the first signals left before the clock file starts
        sample->clock.load(kClk);
        pppio::ProductSources sources;
        sources.orbit = &sample->orbit;
        sources.clock = &sample->clock;
        sample->builder.reset(new pppio::OrbitRecordBuilder(sources, true));
        sample->frequencies.reset(new pppio::CarrierFrequencies(sample->reader.header(), nullptr));
        sample->assembler.reset(new pppio::EpochAssembler(sample->reader.header(), *sample->frequencies, *sample->builder, "GRE"));
        sample->assembled = sample->reader.next(sample->in) && sample->assembler->assemble(sample->in, *sample->epoch, *sample->record);
    }
    static void TearDownTestSuite() { sample.reset(); }
    void SetUp() override { ASSERT_TRUE(sample->assembled); }

    static const tagOBSONESAT* Find(char sys, int prn)
    {
        for (int i = 0; i < sample->epoch->nSatNum; ++i)
            if (sample->epoch->sat[i].cSys == sys && sample->epoch->sat[i].prn == prn)
                return &sample->epoch->sat[i];
        return nullptr;
    }
};

std::unique_ptr<SampleEpoch::Sample> SampleEpoch::sample;

// GLONASS frequencies from the header's GLONASS SLOT / FRQ # (R01 channel
// +1, R02 -4, R22 not listed) or, for a header without that list, from the
// navigation records (R22, R25, R26 and R27 in neither).
TEST_F(SampleEpoch, GlonassFrequenciesFromTheHeaderOrTheNavigationFile)
{
    pppio::BroadcastOrbit nav;
    nav.load(testfiles::dataPath("ESBC00DNK_R_20201770000_MN_excerpt.rnx"));
    const pppio::RinexObsHeader noChannels;
    const pppio::CarrierFrequencies withNav(noChannels, &nav);
    double f1 = 0.0, f2 = 0.0;
    ASSERT_TRUE(sample->frequencies->frequencies('R', 1, f1, f2));
    EXPECT_DOUBLE_EQ(f1, 1602.5625e6);
    EXPECT_FALSE(sample->frequencies->frequencies('R', 22, f1, f2));
    EXPECT_FALSE(pppio::CarrierFrequencies(noChannels, nullptr).frequencies('R', 2, f1, f2));
    for (const pppio::CarrierFrequencies* source : {static_cast<const pppio::CarrierFrequencies*>(sample->frequencies.get()), &withNav}) {
        ASSERT_TRUE(source->frequencies('R', 2, f1, f2));
        EXPECT_DOUBLE_EQ(f1, 1599.75e6);
        EXPECT_DOUBLE_EQ(f2, 1244.25e6);
        ASSERT_TRUE(source->frequencies('E', 5, f1, f2));
        EXPECT_DOUBLE_EQ(f2, _GAL_F5);
        EXPECT_FALSE(source->frequencies('J', 1, f1, f2));
    }
    EXPECT_EQ(withNav.glonassSlotsWithoutChannel(), 4);
    EXPECT_FALSE(withNav.frequencies('R', 28, f1, f2));
}

TEST_F(SampleEpoch, SatellitesPerSystem)
{
    // Counted in the RINEX text of 00:00:00: G02 has only C1C, R10 lacks G2,
    // R19 lacks G1; E31 has no slot; BeiDou is not processed.
    const tagEPOHEAD& head = sample->epoch->epoHead;
    EXPECT_EQ(head.nSysSat[0], 11);
    EXPECT_EQ(head.nSysSat[1], 8);
    EXPECT_EQ(head.nSysSat[2], 7);
    EXPECT_EQ(head.nSysSat[3], 0);
    EXPECT_EQ(sample->epoch->nSatNum, 26);
    EXPECT_EQ(head.nUsedSat, 26);
    EXPECT_EQ(sample->assembler->tally().missingProducts, 0);
    // Packed order G, R, E with every satellite once.
    for (int i = 1; i < sample->epoch->nSatNum; ++i)
        EXPECT_LT(sample->epoch->sat[i - 1].iprn, sample->epoch->sat[i].iprn);
    EXPECT_EQ(sample->epoch->tGpsTime.week, 2111);
    EXPECT_DOUBLE_EQ(sample->epoch->tGpsTime.sow, 345600.0);
    // The signals of the clock products are preferred.
    const pppio::SignalSelector& selector = sample->assembler->selector();
    EXPECT_EQ(selector.preferredCodes('G'), "C1W/C2W");
    EXPECT_EQ(selector.preferredCodes('R'), "C1P/C2P");
    EXPECT_EQ(selector.preferredCodes('E'), "C1C/C5Q");
    EXPECT_EQ(selector.preferredCodes('C'), "C2I/C7I");
}

TEST_F(SampleEpoch, ValuesAsInTheRinexText)
{
    // G05  C1W 20947300.507 9, C2W 20947300.413 9, L1C 110078836.389 (ssi 8),
    // L2W 85775729.718 (ssi 9), D1C -1037.205.
    const tagOBSONESAT* g05 = Find('G', 5);
    ASSERT_NE(g05, nullptr);
    EXPECT_DOUBLE_EQ(g05->dP1, 20947300.507);
    EXPECT_DOUBLE_EQ(g05->dP2, 20947300.413);
    EXPECT_DOUBLE_EQ(g05->dL1, 110078836.389);
    EXPECT_DOUBLE_EQ(g05->dL2, 85775729.718);
    EXPECT_DOUBLE_EQ(g05->dD1, -1037.205);
    EXPECT_DOUBLE_EQ(g05->dF2, _GPS_F2);
    EXPECT_STREQ(g05->obsHead.code2, "C2W");
    EXPECT_EQ(g05->obsHead.ssi1, 8);
    EXPECT_EQ(g05->bUsed, 1);

    const tagOBSONESAT* r01 = Find('R', 1);
    ASSERT_NE(r01, nullptr);
    EXPECT_EQ(r01->iprn, 33);
    EXPECT_DOUBLE_EQ(r01->dF1, 1602.5625e6);
    EXPECT_EQ(Find('G', 2), nullptr);
    EXPECT_EQ(Find('R', 10), nullptr);
}

// The signals of 00:00:00 left the satellites on the day before: the orbit
// needs both SP3 files, the clock the edge of the clock file. Expected: the
// products at the transmission time solved here from the code and the clock.
TEST_F(SampleEpoch, OrbitAndClockAtTransmissionTimeAcrossTheDayBoundary)
{
    const auto before = [](double seconds) { return pppio::shiftedTime(sample->epoch->tGpsTime, -seconds); };
    for (int prn : {5, 13, 30}) {
        SCOPED_TRACE(prn);
        const tagOBSONESAT* sat = Find('G', prn);
        ASSERT_NE(sat, nullptr);
        double travel = sat->dP1 / _LIGHT_SPEED, clock = 0.0;
        for (int i = 0; i < 3; ++i) {
            ASSERT_TRUE(sample->clock.clock(prn, before(travel), clock));
            travel = sat->dP1 / _LIGHT_SPEED + clock;
        }
        ASSERT_GT(travel, 0.06);

        const tagSP3ONESAT& o = sample->record->sat[prn - 1];
        ASSERT_EQ(o.bValid, 1);
        EXPECT_EQ(o.pcv, nullptr);   // no satellite antennas given
        double xyz[3], early[3], late[3], clockLater;
        ASSERT_TRUE(sample->orbit.position(prn, before(travel), xyz));
        ASSERT_TRUE(sample->orbit.position(prn, before(travel + 0.5), early));
        ASSERT_TRUE(sample->orbit.position(prn, before(travel - 0.5), late));
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(o.dPos[k], xyz[k], 1e-3);
            EXPECT_NEAR(o.dVel[k], late[k] - early[k], 1e-3);
        }
        // Clock at t_tx plus the relativistic correction -2 r.v / c^2.
        ASSERT_TRUE(sample->clock.clock(prn, before(travel), clock));
        ASSERT_TRUE(sample->clock.clock(prn, before(travel - 1.0), clockLater));
        const double rv = o.dPos[0] * o.dVel[0] + o.dPos[1] * o.dVel[1] + o.dPos[2] * o.dVel[2];
        EXPECT_NEAR(o.dClk, clock - 2.0 * rv / (_LIGHT_SPEED * _LIGHT_SPEED), 1e-12);
        EXPECT_NEAR(o.dClkDrift, clockLater - clock, 1e-14);
    }
}

TEST_F(SampleEpoch, MissingClockLeavesTheSatelliteOut)
{
    // Without the edge extrapolation no clock covers the first transmission times.
    pppio::PreciseClock strict;
    strict.load(kClk);
    pppio::ProductSources sources;
    sources.orbit = &sample->orbit;
    sources.clock = &strict;
    pppio::OrbitRecordBuilder builder(sources, false);
    pppio::EpochAssembler assembler(sample->reader.header(), *sample->frequencies, builder, "G");
    std::unique_ptr<tagGPSOBSONEEPO> epoch(new tagGPSOBSONEEPO());
    std::unique_ptr<tagGMSP3REC> record(new tagGMSP3REC());
    ASSERT_TRUE(assembler.assemble(sample->in, *epoch, *record));
    EXPECT_EQ(epoch->nSatNum, 0);
    EXPECT_EQ(assembler.tally().missingProducts, 11);
    EXPECT_EQ(assembler.tally().missingPerSatellite[4], 1);
    EXPECT_EQ(record->sat[4].bValid, 0);
}

TEST_F(SampleEpoch, SatelliteAntennaOffsetWithNominalYaw)
{
    // The old ANTEX excerpt has G01 (BLOCK IIF, valid from 2011 on): body
    // offset x 0.394 m, z 1.5613 m on both frequencies, so also ionosphere-free.
    pppio::AntennaTable antennas;
    antennas.load(testfiles::dataPath("igs08_1719_excerpt.atx"));
    pppio::ProductSources plain;
    plain.orbit = &sample->orbit;
    plain.clock = &sample->clock;
    pppio::ProductSources withAntennas = plain;
    withAntennas.antennas = &antennas;
    pppio::OrbitRecordBuilder centreOfMass(plain, true);
    pppio::OrbitRecordBuilder phaseCentre(withAntennas, true);
    std::unique_ptr<tagGMSP3REC> a(new tagGMSP3REC()), b(new tagGMSP3REC());
    const tagCOMMONTIME t = sample->epoch->tTime;
    centreOfMass.beginEpoch(t, *a);
    phaseCentre.beginEpoch(t, *b);
    const double code = 21.0e6;
    ASSERT_EQ(centreOfMass.fill(1, sample->epoch->tGpsTime, code, _GPS_F1, _GPS_F2, *a), pppio::OrbitSource::kPrecise);
    ASSERT_EQ(phaseCentre.fill(1, sample->epoch->tGpsTime, code, _GPS_F1, _GPS_F2, *b), pppio::OrbitSource::kPrecise);

    // Expected offset: z towards the Earth's centre, x the part of the
    // direction to the sun normal to z.
    CGNSSErrorCorrection model;
    long double sun[3];
    model.SUN(2020, 6, 25, 0.0, sun);
    const double* r = a->sat[0].dPos;
    const double norm = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
    double ez[3], ex[3], along = 0.0, size = 0.0;
    for (int k = 0; k < 3; ++k) {
        ez[k] = -r[k] / norm;
        ex[k] = static_cast<double>(sun[k]) - r[k];
        along += ex[k] * ez[k];
    }
    for (int k = 0; k < 3; ++k)
        size += (ex[k] - along * ez[k]) * (ex[k] - along * ez[k]);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(b->sat[0].dPos[k] - r[k], 0.394 * (ex[k] - along * ez[k]) / std::sqrt(size) + 1.5613 * ez[k], 1e-4);
    EXPECT_DOUBLE_EQ(b->sat[0].dClk, a->sat[0].dClk);

    // Nadir variations in metres at one-degree steps, as in the file (mm).
    const t_satpcv* pcv = b->sat[0].pcv;
    ASSERT_NE(pcv, nullptr);
    EXPECT_DOUBLE_EQ(pcv->off[0][2], 1.5613);
    EXPECT_NEAR(pcv->var[0][0], 6.10e-3, 1e-12);
    EXPECT_NEAR(pcv->var[1][8], -4.40e-3, 1e-12);
    EXPECT_NEAR(pcv->var[0][18], 5.70e-3, 1e-12);   // beyond the table: its last value
    EXPECT_EQ(a->sat[0].pcv, nullptr);
}

TEST_F(SampleEpoch, EventEpochFillsNothing)
{
    pppio::ObsEpoch event;
    event.flag = pppio::ObsEpoch::kExternalEvent;
    std::unique_ptr<tagGPSOBSONEEPO> epoch(new tagGPSOBSONEEPO());
    std::unique_ptr<tagGMSP3REC> record(new tagGMSP3REC());
    epoch->nSatNum = 7;
    EXPECT_FALSE(sample->assembler->assemble(event, *epoch, *record));
    EXPECT_EQ(epoch->nSatNum, 7);
}

}  // namespace
