#include <gtest/gtest.h>

#include <cmath>
#include <memory>

#include "io/GpsTime.h"
#include "io/TestFiles.h"
#include "rt/SsrCorrections.h"

namespace ppprt {
namespace {

tagGPSTIME2 At(int hour, int minute, double second = 0.0)
{
    return pppio::gpsTimeFromCalendar(2020, 6, 25, hour, minute, second);
}

double Dot(const double a[3], const double b[3])
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

class SsrStatesTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        broadcast.load(testfiles::dataPath("ESBC00DNK_R_20201770000_MN_excerpt.rnx"));
        const pppio::KeplerEphemeris* eph = broadcast.selectKepler(kIprn, At(4, 0));
        ASSERT_NE(eph, nullptr);
        iode = pppio::keplerIssue(*eph);
        ASSERT_TRUE(broadcast.state(kIprn, At(4, 0), plain));
    }

    // One orbit and one clock message for G01 at `epoch`.
    void Send(const tagGPSTIME2& epoch, int issue, const double rac[3], double c0, int iodSsr = 1)
    {
        message->header.system = 'G';
        message->header.time = epoch;
        message->header.iodSsr = iodSsr;
        message->satelliteCount = 1;
        SsrSatellite& s = message->satellites[0];
        s.prn = kIprn;
        s.iode = issue;
        s.radial = rac[0], s.along = rac[1], s.cross = rac[2];
        s.c0 = c0;
        message->type = SsrType::kOrbit;
        ssr.add(*message);
        message->type = SsrType::kClock;
        ssr.add(*message);
    }

    static constexpr int kIprn = 1;
    pppio::BroadcastOrbit broadcast;
    SsrCorrections ssr;
    std::unique_ptr<SsrMessage> message{new SsrMessage()};
    int iode = 0;
    pppio::SatelliteState plain{};
};

// A correction along one axis moves the satellite by minus that much along
// the axis of the orbit frame, and C0 adds C0/c to the clock.
TEST_F(SsrStatesTest, CorrectionsMoveAlongTheOrbitFrame)
{
    const SsrSatelliteStates states(broadcast, ssr);
    const double unit[3][3] = {{1.0, 0.0, 0.0}, {0.0, 1.0, 0.0}, {0.0, 0.0, 1.0}};
    for (int axis = 0; axis < 3; ++axis) {
        Send(At(4, 0), iode, unit[axis], 3.0);
        pppio::SatelliteState corrected{};
        ASSERT_EQ(states.evaluate(kIprn, At(4, 0), corrected), SsrOutcome::kCorrected);
        const double shift[3] = {corrected.position[0] - plain.position[0],
                                 corrected.position[1] - plain.position[1],
                                 corrected.position[2] - plain.position[2]};
        double frame[3][3];
        orbitFrame(plain.position, plain.velocity, frame[0], frame[1], frame[2]);
        EXPECT_NEAR(std::sqrt(Dot(shift, shift)), 1.0, 1e-6);
        EXPECT_NEAR(Dot(shift, frame[axis]), -1.0, 1e-6);
        EXPECT_NEAR(corrected.clock - plain.clock, 3.0 / 299792458.0, 1e-15);
    }
    // The radial axis is close to the geocentric direction for a near-circular orbit.
    double frame[3][3];
    orbitFrame(plain.position, plain.velocity, frame[0], frame[1], frame[2]);
    EXPECT_GT(Dot(frame[0], plain.position) / std::sqrt(Dot(plain.position, plain.position)), 0.999);
}

TEST_F(SsrStatesTest, UnusableCorrectionsGiveNoState)
{
    const double zero[3] = {0.0, 0.0, 0.0};
    const SsrSatelliteStates states(broadcast, ssr);
    pppio::SatelliteState s{};
    EXPECT_EQ(states.evaluate(kIprn, At(4, 0), s), SsrOutcome::kNoOrbit);
    Send(At(4, 0), (iode + 1) % 256, zero, 0.0);
    EXPECT_EQ(states.evaluate(kIprn, At(4, 0), s), SsrOutcome::kNoEphemeris);
    Send(At(4, 0), iode, zero, 0.0);
    EXPECT_EQ(states.evaluate(kIprn, At(4, 0, 59.0), s), SsrOutcome::kCorrected);
    EXPECT_EQ(states.evaluate(kIprn, At(4, 5), s), SsrOutcome::kTooOld);   // clock 300 s old
    message->type = SsrType::kClock;
    message->header.iodSsr = 2;
    ssr.add(*message);
    EXPECT_EQ(states.evaluate(kIprn, At(4, 0), s), SsrOutcome::kIssueMismatch);
}

// A service that moves to an ephemeris issue the stream has not delivered
// yet: the previous issue's corrections carry on while they are fresh.
TEST_F(SsrStatesTest, PreviousIssueBridgesAMissingEphemeris)
{
    const double shift[3] = {2.0, 0.0, 0.0};
    const double zero[3] = {0.0, 0.0, 0.0};
    Send(At(4, 0), iode, shift, 0.0);
    Send(At(4, 1), (iode + 1) % 256, zero, 0.0);
    const SsrSatelliteStates states(broadcast, ssr);
    pppio::SatelliteState s{};
    ASSERT_EQ(states.evaluate(kIprn, At(4, 1), s), SsrOutcome::kCorrected);
    const double moved[3] = {s.position[0] - plain.position[0], s.position[1] - plain.position[1],
                             s.position[2] - plain.position[2]};
    EXPECT_GT(std::sqrt(Dot(moved, moved)), 1.0);   // the 2 m radial of the previous issue
    EXPECT_NE(states.evaluate(kIprn, At(4, 4), s), SsrOutcome::kCorrected);   // beyond the maximum ages
}

// GLONASS epochs written as GPS time + 3 h without the leap seconds come out
// of the decoder 18 s late; they are put back on the other systems' epoch.
TEST_F(SsrStatesTest, GlonassEpochWithoutLeapSecondsIsRealigned)
{
    const double zero[3] = {0.0, 0.0, 0.0};
    Send(At(4, 0), iode, zero, 0.0);
    message->header.system = 'R';
    message->header.time = At(4, 0, 18.0);
    message->type = SsrType::kClock;
    ssr.add(*message);
    EXPECT_EQ(ssr.counts().glonassEpochShifted, 1);
    EXPECT_EQ(pppio::secondsBetween(ssr.satellite(33).current.clockTime, At(4, 0)), 0.0);
    message->header.time = At(4, 0, 5.0);
    ssr.add(*message);
    EXPECT_EQ(ssr.counts().glonassEpochShifted, 1);
}

}  // namespace
}  // namespace ppprt
