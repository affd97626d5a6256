// Epoch assembly on the bundled sample (ESBC, 2020-06-25): signal choice,
// GLONASS frequencies, an epoch's satellites and values against the RINEX
// text, and the transmission-time orbit and clock against an evaluation by
// hand from the raw product records.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/CarrierFrequencies.h"
#include "io/ClockReader.h"
#include "io/EpochAssembler.h"
#include "io/GpsTime.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"
#include "io/Sp3Reader.h"
#include "models/GNSSErrorCorrection.h"

namespace {

const std::string kSample = std::string(PPP_SOURCE_DIR) + "/data/sample/";
const std::string kObs = kSample + "ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz";
const std::string kSp3Before = kSample + "GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz";
const std::string kSp3 = kSample + "GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz";
const std::string kClk = kSample + "GRG0MGXFIN_20201770000_02H_30S_CLK.CLK.gz";
constexpr int kWeek = 2111;

double Seconds(const tagGPSTIME2& t)
{
    return (t.week - kWeek) * pppio::kSecondsPerWeek + t.sow;
}

// Orbit and clock of one satellite straight from the product records:
// Lagrange through the ten samples around t, linear clock between (or
// beyond) the two nearest samples.
class HandProducts {
public:
    explicit HandProducts(int iprn) : m_iprn(iprn)
    {
        for (const std::string& path : {kSp3Before, kSp3}) {
            const pppio::Sp3File file = pppio::readSp3(path);
            for (const pppio::Sp3Epoch& epoch : file.epochs)
                for (const pppio::Sp3Entry& e : epoch.entries)
                    if (e.iprn == iprn && e.hasPosition)
                        m_orbit.push_back({Seconds(epoch.time), {e.position[0], e.position[1], e.position[2]}});
        }
        std::sort(m_orbit.begin(), m_orbit.end(), [](const Node& a, const Node& b) { return a.t < b.t; });
        m_orbit.erase(std::unique(m_orbit.begin(), m_orbit.end(), [](const Node& a, const Node& b) { return a.t == b.t; }),
                      m_orbit.end());
        const pppio::ClockFile clocks = pppio::readClock(kClk);
        const double shift = (clocks.referenceWeek - kWeek) * pppio::kSecondsPerWeek;
        for (const pppio::ClockSample& s : clocks.satellites[static_cast<size_t>(iprn - 1)])
            m_clock.push_back({s.time + shift, s.bias});
    }

    void position(double t, double xyz[3]) const
    {
        size_t first = 0;
        while (first + 10 < m_orbit.size() && m_orbit[first + 5].t < t)
            ++first;
        for (int k = 0; k < 3; ++k)
            xyz[k] = 0.0;
        for (size_t i = first; i < first + 10; ++i) {
            double w = 1.0;
            for (size_t j = first; j < first + 10; ++j)
                if (j != i)
                    w *= (t - m_orbit[j].t) / (m_orbit[i].t - m_orbit[j].t);
            for (int k = 0; k < 3; ++k)
                xyz[k] += w * m_orbit[i].xyz[k];
        }
    }

    void velocity(double t, double v[3]) const
    {
        double a[3], b[3];
        position(t - 0.5, a);
        position(t + 0.5, b);
        for (int k = 0; k < 3; ++k)
            v[k] = b[k] - a[k];
    }

    double clock(double t) const
    {
        size_t i = 0;
        while (i + 2 < m_clock.size() && m_clock[i + 1].t <= t)
            ++i;
        const double f = (t - m_clock[i].t) / (m_clock[i + 1].t - m_clock[i].t);
        return m_clock[i].bias + f * (m_clock[i + 1].bias - m_clock[i].bias);
    }

private:
    struct Node {
        double t;
        double xyz[3];
    };
    struct ClockNode {
        double t;
        double bias;
    };
    int m_iprn;
    std::vector<Node> m_orbit;
    std::vector<ClockNode> m_clock;
};

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
        sample->orbit.load(kSp3Before);
        sample->orbit.load(kSp3);
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

TEST_F(SampleEpoch, HeaderOffersTheClockProductCodes)
{
    const pppio::SignalSelector& selector = sample->assembler->selector();
    EXPECT_EQ(selector.preferredCodes('G'), "C1W/C2W");
    EXPECT_EQ(selector.preferredCodes('R'), "C1P/C2P");
    EXPECT_EQ(selector.preferredCodes('E'), "C1C/C5Q");
    EXPECT_EQ(selector.preferredCodes('C'), "C2I/C7I");
    EXPECT_EQ(selector.preferredCodes('J'), "");
}

TEST_F(SampleEpoch, GlonassFrequenciesFromTheHeaderList)
{
    double f1 = 0.0, f2 = 0.0;
    // R01 channel +1, R02 channel -4 in GLONASS SLOT / FRQ #.
    ASSERT_TRUE(sample->frequencies->frequencies('R', 1, f1, f2));
    EXPECT_DOUBLE_EQ(f1, 1602.5625e6);
    ASSERT_TRUE(sample->frequencies->frequencies('R', 2, f1, f2));
    EXPECT_DOUBLE_EQ(f1, 1599.75e6);
    EXPECT_DOUBLE_EQ(f2, 1244.25e6);
    EXPECT_FALSE(sample->frequencies->frequencies('R', 22, f1, f2));   // not in the header's list
    ASSERT_TRUE(sample->frequencies->frequencies('E', 5, f1, f2));
    EXPECT_DOUBLE_EQ(f2, _GAL_F5);
}

TEST(CarrierFrequencies, NavigationFileSuppliesMissingGlonassChannels)
{
    pppio::BroadcastOrbit nav;
    nav.load(testfiles::dataPath("ESBC00DNK_R_20201770000_MN_excerpt.rnx"));
    const pppio::RinexObsHeader noChannels;
    double f1 = 0.0, f2 = 0.0;
    EXPECT_FALSE(pppio::CarrierFrequencies(noChannels, nullptr).frequencies('R', 2, f1, f2));
    const pppio::CarrierFrequencies withNav(noChannels, &nav);
    ASSERT_TRUE(withNav.frequencies('R', 2, f1, f2));   // channel -4, as in the observation header
    EXPECT_DOUBLE_EQ(f1, 1599.75e6);
    EXPECT_DOUBLE_EQ(f2, 1244.25e6);
    EXPECT_EQ(withNav.glonassSlotsWithoutChannel(), 4);   // R22, R25, R26, R27
    EXPECT_FALSE(withNav.frequencies('R', 28, f1, f2));
    EXPECT_FALSE(withNav.frequencies('J', 1, f1, f2));
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
    EXPECT_EQ(sample->epoch->tGpsTime.week, kWeek);
    EXPECT_DOUBLE_EQ(sample->epoch->tGpsTime.sow, 345600.0);
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

TEST_F(SampleEpoch, OrbitAtTransmissionTimeAcrossTheDayBoundary)
{
    // The signals of 00:00:00 left the satellites on the day before: the
    // orbit needs both SP3 files, the clock the edge of the clock file.
    const double receive = Seconds(sample->epoch->tGpsTime);
    for (int prn : {5, 13, 30}) {
        const tagOBSONESAT* sat = Find('G', prn);
        ASSERT_NE(sat, nullptr) << prn;
        const HandProducts hand(prn);
        double transmit = receive - sat->dP1 / _LIGHT_SPEED;
        for (int i = 0; i < 3; ++i)
            transmit = receive - sat->dP1 / _LIGHT_SPEED - hand.clock(transmit);
        ASSERT_LT(transmit, 345600.0 - 0.06);

        const tagSP3ONESAT& o = sample->record->sat[prn - 1];
        ASSERT_EQ(o.bValid, 1);
        EXPECT_EQ(o.pcv, nullptr);   // no satellite antennas given
        double xyz[3], v[3];
        hand.position(transmit, xyz);
        hand.velocity(transmit, v);
        for (int k = 0; k < 3; ++k) {
            EXPECT_NEAR(o.dPos[k], xyz[k], 1e-3) << prn;
            EXPECT_NEAR(o.dVel[k], v[k], 1e-3) << prn;
        }
        // Clock at t_tx plus the relativistic correction -2 r.v / c^2.
        const double rv = o.dPos[0] * o.dVel[0] + o.dPos[1] * o.dVel[1] + o.dPos[2] * o.dVel[2];
        const double relativity = -2.0 * rv / (_LIGHT_SPEED * _LIGHT_SPEED);
        EXPECT_NEAR(o.dClk, hand.clock(transmit) + relativity, 1e-12) << prn;
        EXPECT_NEAR(o.dClkDrift, hand.clock(transmit + 1.0) - hand.clock(transmit), 1e-14) << prn;
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

    // Expected offset: z towards the Earth's centre, y = z x (sun - sat), x = y x z.
    CGNSSErrorCorrection model;
    long double sunLong[3];
    model.SUN(2020, 6, 25, 0.0, sunLong);
    const double* r = a->sat[0].dPos;
    const double norm = std::sqrt(r[0] * r[0] + r[1] * r[1] + r[2] * r[2]);
    const double ez[3] = {-r[0] / norm, -r[1] / norm, -r[2] / norm};
    const double toSun[3] = {static_cast<double>(sunLong[0]) - r[0], static_cast<double>(sunLong[1]) - r[1],
                             static_cast<double>(sunLong[2]) - r[2]};
    double ey[3] = {ez[1] * toSun[2] - ez[2] * toSun[1], ez[2] * toSun[0] - ez[0] * toSun[2],
                    ez[0] * toSun[1] - ez[1] * toSun[0]};
    const double ny = std::sqrt(ey[0] * ey[0] + ey[1] * ey[1] + ey[2] * ey[2]);
    for (double& c : ey)
        c /= ny;
    const double ex[3] = {ey[1] * ez[2] - ey[2] * ez[1], ey[2] * ez[0] - ey[0] * ez[2], ey[0] * ez[1] - ey[1] * ez[0]};
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(b->sat[0].dPos[k] - r[k], 0.394 * ex[k] + 1.5613 * ez[k], 1e-4);
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

TEST(EpochAssembler, EventEpochFillsNothing)
{
    pppio::RinexObsReader reader(kObs);
    pppio::ObsEpoch event;
    event.flag = pppio::ObsEpoch::kExternalEvent;
    pppio::PreciseOrbit orbit;
    pppio::ProductSources sources;
    sources.orbit = &orbit;
    pppio::OrbitRecordBuilder builder(sources, false);
    const pppio::CarrierFrequencies frequencies(reader.header(), nullptr);
    pppio::EpochAssembler assembler(reader.header(), frequencies, builder, "GRE");
    std::unique_ptr<tagGPSOBSONEEPO> epoch(new tagGPSOBSONEEPO());
    std::unique_ptr<tagGMSP3REC> record(new tagGMSP3REC());
    epoch->nSatNum = 7;
    EXPECT_FALSE(assembler.assemble(event, *epoch, *record));
    EXPECT_EQ(epoch->nSatNum, 7);
    EXPECT_EQ(assembler.tally().epochs, 0);
}

}  // namespace
