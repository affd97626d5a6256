#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "TestFiles.h"
#include "common/gnsscmn.h"
#include "io/BroadcastOrbit.h"
#include "io/GpsTime.h"
#include "io/NavReader.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsReader.h"

using namespace testfiles;

namespace {

const char* kNav = "ESBC00DNK_R_20201770000_MN_excerpt.rnx";
const char* kSp3 = "GRG0MGXFIN_20201770000_0600_15M_ORB_excerpt.SP3";

tagGPSTIME2 At(int hour, int minute, double second = 0.0)
{
    return pppio::gpsTimeFromCalendar(2020, 6, 25, hour, minute, second);
}

double Norm(const double v[3])
{
    return std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
}

double Distance(const double a[3], const double b[3])
{
    const double d[3] = {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
    return Norm(d);
}

const pppio::KeplerEphemeris* FindKepler(const pppio::NavFile& nav, int iprn, const tagGPSTIME2& toc)
{
    for (const auto& e : nav.kepler)
        if (e.iprn == iprn && pppio::secondsBetween(e.toc, toc) == 0.0)
            return &e;
    return nullptr;
}

// Largest distance between broadcast and precise positions of a satellite
// over the 15-min epochs where both exist; counts the comparisons.
double WorstAgainstPrecise(const pppio::BroadcastOrbit& nav, const pppio::PreciseOrbit& precise, int iprn,
                           int& compared)
{
    double worst = 0.0;
    for (int minute = 0; minute <= 360; minute += 15) {
        const tagGPSTIME2 t = At(minute / 60, minute % 60);
        double p[3];
        pppio::SatelliteState s;
        if (!precise.position(iprn, t, p) || !nav.state(iprn, t, s))
            continue;
        worst = std::max(worst, Distance(p, s.position));
        ++compared;
    }
    return worst;
}

}  // namespace

TEST(NavReader, HeaderValuesMatchTheFileText)
{
    const pppio::NavFile nav = pppio::readNav(dataPath(kNav));
    EXPECT_DOUBLE_EQ(nav.header.version, 3.05);
    EXPECT_EQ(nav.header.system, 'M');
    EXPECT_EQ(nav.header.leapSeconds, 18);
    ASSERT_TRUE(nav.header.hasGpsIonosphere);
    EXPECT_DOUBLE_EQ(nav.header.gpsAlpha[3], -1.1921e-07);
    EXPECT_DOUBLE_EQ(nav.header.gpsBeta[1], 9.8304e+04);
    ASSERT_TRUE(nav.header.hasGalileoIonosphere);
    EXPECT_DOUBLE_EQ(nav.header.galileoAi[0], 28.25);
    EXPECT_FALSE(nav.header.hasBeidouIonosphere);

    pppio::BroadcastOrbit orbit;
    tagGMNHDR klobuchar;
    EXPECT_FALSE(orbit.klobuchar(klobuchar));
    orbit.add(nav);
    ASSERT_TRUE(orbit.klobuchar(klobuchar));
    EXPECT_DOUBLE_EQ(klobuchar.ionAlpha[1], 1.4901e-08);
    EXPECT_DOUBLE_EQ(klobuchar.ionBeta[2], -6.5536e+04);
    // QZSS, SBAS, the BeiDou-3 C36 and Galileo above E30 have no packed index.
    ASSERT_EQ(nav.warnings.size(), 1u);
    EXPECT_NE(nav.warnings[0].find("skipped: C36 J01 S23"), std::string::npos) << nav.warnings[0];
}

// Values that the orbit comparison below does not cover; BeiDou epochs
// are BDT (GPS time 14 s later, BDT week 755 is GPS week 2111), GLONASS
// epochs UTC with the header's 18 leap seconds.
TEST(NavReader, RecordsOfEachSystemInGpsTime)
{
    const pppio::NavFile nav = pppio::readNav(dataPath(kNav));
    const pppio::KeplerEphemeris* e = FindKepler(nav, 1, At(4, 0));
    ASSERT_NE(e, nullptr);
    EXPECT_DOUBLE_EQ(e->af0, 1.604342833161e-05);
    EXPECT_DOUBLE_EQ(e->idot, -5.714523747137e-11);
    EXPECT_EQ(e->week, 2111);
    EXPECT_DOUBLE_EQ(e->accuracy, 2.0);
    EXPECT_DOUBLE_EQ(e->transmissionTime, 356106.0);
    EXPECT_DOUBLE_EQ(e->fitInterval, 4.0);
    EXPECT_DOUBLE_EQ(e->toe.sow, 360000.0);

    e = FindKepler(nav, prn2iprn(5, 'C'), At(2, 0, 14.0));
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e->week, 755);
    EXPECT_EQ(e->toe.week, 2111);
    EXPECT_DOUBLE_EQ(e->toe.sow, 352814.0);
    EXPECT_DOUBLE_EQ(e->groupDelay[1], -9.3e-09);

    const pppio::GlonassEphemeris* r01 = nullptr;
    for (const auto& g : nav.glonass)
        if (g.iprn == 33 && pppio::secondsBetween(g.toe, At(0, 15, 18.0)) == 0.0)
            r01 = &g;
    ASSERT_NE(r01, nullptr);
    EXPECT_DOUBLE_EQ(r01->minusTauN, 6.356183439493e-05);
    EXPECT_DOUBLE_EQ(r01->acceleration[1], 9.313225746155e-07);
    EXPECT_EQ(r01->frequencyChannel, 1);
}

// The navigation records give the channels of GLONASS SLOT / FRQ # of the
// sample's observation header, slot for slot (R22 in neither).
TEST(BroadcastOrbit, GlonassFrequencyChannelsMatchTheObservationHeader)
{
    pppio::BroadcastOrbit nav;
    nav.load(dataPath(kNav));
    const pppio::RinexObsReader obs(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"));
    int listed = 0;
    for (int slot = 0; slot <= 28; ++slot) {
        int fromNav = 99, fromObs = 99;
        const bool inNav = nav.glonassChannel(slot, fromNav);
        ASSERT_EQ(inNav, obs.header().glonassChannel(slot, fromObs)) << "R" << slot;
        EXPECT_EQ(fromNav, fromObs) << "R" << slot;
        listed += inNav;
    }
    EXPECT_EQ(listed, 23);
}

// Broadcast orbits refer to the antenna phase centre, SP3 to the centre of
// mass: 1-2 m apart, within 5 m including the broadcast orbit errors (10 m
// for the integrated GLONASS orbits).
TEST(BroadcastOrbit, GpsGalileoAndGlonassAgreeWithPreciseOrbits)
{
    pppio::BroadcastOrbit nav;
    nav.load(dataPath(kNav));
    pppio::PreciseOrbit precise;
    precise.load(dataPath(kSp3));
    for (int iprn : {1, 2, 5, 21, prn2iprn(2, 'E'), 33, 34}) {
        int compared = 0;
        EXPECT_LT(WorstAgainstPrecise(nav, precise, iprn, compared), iprn > 32 && iprn < 60 ? 10.0 : 5.0) << iprn;
        EXPECT_GE(compared, 3) << iprn;
    }
    // Broadcast and precise clocks agree to a few nanoseconds.
    pppio::SatelliteState s;
    double clock;
    ASSERT_TRUE(nav.state(5, At(2, 0), s));
    ASSERT_TRUE(precise.clock(5, At(2, 0), clock));
    EXPECT_NEAR(s.clock, clock, 10e-9);
}

// The integrated velocity agrees with the change of position.
TEST(BroadcastOrbit, GlonassVelocityMatchesThePositionChange)
{
    const pppio::NavFile file = pppio::readNav(dataPath(kNav));
    const pppio::GlonassEphemeris& eph = file.glonass.front();
    pppio::SatelliteState forward, before, after;
    const tagGPSTIME2 later = pppio::shiftedTime(eph.toe, 900.0);
    pppio::glonassState(eph, later, forward);
    pppio::glonassState(eph, pppio::shiftedTime(later, -0.5), before);
    pppio::glonassState(eph, pppio::shiftedTime(later, 0.5), after);
    for (int k = 0; k < 3; ++k)
        EXPECT_NEAR(forward.velocity[k], after.position[k] - before.position[k], 1e-3);
}

// A circular equatorial orbit with every perturbation zero: after a quarter
// period the satellite is 90 degrees further in inertial space, and the
// Earth-fixed frame has turned by we * t (hand-computed).
TEST(BroadcastOrbit, KeplerAlgorithmOnACircularOrbit)
{
    pppio::KeplerEphemeris eph;
    eph.iprn = 7;
    eph.system = 'G';
    eph.sqrtA = 5153.7;
    eph.toe = {2111, 0.0};
    eph.toc = eph.toe;
    eph.af0 = 1e-5;
    eph.af1 = 1e-11;
    const double a = eph.sqrtA * eph.sqrtA;
    const double quarter = 0.5 * _PI * std::sqrt(a * a * a / 3.986005e14);
    pppio::SatelliteState s;
    pppio::keplerState(eph, {2111, quarter}, s);
    const double turn = 7.2921151467e-5 * quarter;
    EXPECT_NEAR(s.position[0], a * std::sin(turn), 1e-6);
    EXPECT_NEAR(s.position[1], a * std::cos(turn), 1e-6);
    EXPECT_NEAR(s.position[2], 0.0, 1e-6);
    EXPECT_DOUBLE_EQ(s.clock, 1e-5 + 1e-11 * quarter);
    // Earth-fixed speed of a prograde circular orbit: v - we * a.
    EXPECT_NEAR(Norm(s.velocity), std::sqrt(3.986005e14 / a) - 7.2921151467e-5 * a, 1e-4);
}

// No precise BeiDou orbits here: the geostationary C05 must stay over the
// equator near 58.75 E and move slowly (inclination about 1 degree: some
// 50 m/s; without the GEO rotation it would be 6 degrees and 300 m/s); IGSO
// C07 and MEO C19 at their radii.
TEST(BroadcastOrbit, BeidouGeostationaryAndOtherOrbitsArePlausible)
{
    pppio::BroadcastOrbit nav;
    nav.load(dataPath(kNav));
    pppio::SatelliteState s;
    for (int minute : {90, 120, 150, 179}) {
        ASSERT_TRUE(nav.state(prn2iprn(5, 'C'), At(minute / 60, minute % 60), s));
        const double r = Norm(s.position);
        EXPECT_NEAR(r, 42164e3, 100e3);
        EXPECT_NEAR(std::atan2(s.position[1], s.position[0]) * _RAD2DEG, 58.75, 1.0);
        EXPECT_LT(std::fabs(std::asin(s.position[2] / r)) * _RAD2DEG, 3.0);
        EXPECT_LT(Norm(s.velocity), 100.0);
    }
    ASSERT_TRUE(nav.state(prn2iprn(7, 'C'), At(2, 0), s));
    EXPECT_NEAR(Norm(s.position), 42164e3, 500e3);
    ASSERT_TRUE(nav.state(prn2iprn(19, 'C'), At(2, 0), s));
    EXPECT_NEAR(Norm(s.position), 27906e3, 300e3);
    EXPECT_FALSE(nav.state(prn2iprn(19, 'C'), At(3, 0, 15.0), s));   // one hour from toe at most
}

TEST(BroadcastOrbit, SelectsTheNearestHealthyEphemeris)
{
    pppio::BroadcastOrbit nav;
    nav.load(dataPath(kNav));
    // G05: toe 00:00, 02:00, 04:00.
    const pppio::KeplerEphemeris* e = nav.selectKepler(5, At(2, 59));
    ASSERT_NE(e, nullptr);
    EXPECT_DOUBLE_EQ(e->toe.sow, 345600.0 + 2 * 3600.0);
    e = nav.selectKepler(5, At(3, 1));
    ASSERT_NE(e, nullptr);
    EXPECT_DOUBLE_EQ(e->toe.sow, 345600.0 + 4 * 3600.0);
    EXPECT_NE(nav.selectKepler(5, At(6, 0)), nullptr);
    EXPECT_EQ(nav.selectKepler(5, At(6, 0, 1.0)), nullptr);
    EXPECT_EQ(nav.selectKepler(3, At(2, 0)), nullptr);
    EXPECT_EQ(nav.selectGlonass(125, At(2, 0)), nullptr);

    // Galileo: of the two records with toe 02:30 the E1/E5a one (data sources 258).
    e = nav.selectKepler(prn2iprn(2, 'E'), At(2, 31));
    ASSERT_NE(e, nullptr);
    EXPECT_DOUBLE_EQ(e->l2CodesOrDataSources, 258.0);
    EXPECT_DOUBLE_EQ(e->af0, 1.427886891179e-04);
    // Galileo orbits are not used more than 10 minutes before their toe.
    EXPECT_NE(nav.selectKepler(prn2iprn(2, 'E'), At(2, 10)), nullptr);
    EXPECT_EQ(nav.selectKepler(prn2iprn(2, 'E'), At(2, 9)), nullptr);

    // An unhealthy record is passed over.
    const std::string path = editedCopy(kNav, "nav_unhealthy.rnx", [](std::vector<std::string>& lines) {
        const size_t g05 = findLine(lines, "G05 2020 06 25 02");
        lines[g05 + 6].replace(23, 19, " 1.000000000000e+00");
    });
    pppio::BroadcastOrbit edited;
    edited.load(path);
    e = edited.selectKepler(5, At(2, 0));
    ASSERT_NE(e, nullptr);
    EXPECT_NE(e->toe.sow, 345600.0 + 2 * 3600.0);
}

TEST(NavReader, ImplausibleRecordsAreSkippedWithAWarning)
{
    const std::string path = editedCopy(kNav, "nav_implausible.rnx", [](std::vector<std::string>& lines) {
        const size_t g01 = findLine(lines, "G01 2020 06 25 04");
        lines[g01 + 2].replace(61, 19, " 0.000000000000e+00");   // sqrt(A) = 0
    });
    const pppio::NavFile nav = pppio::readNav(path);
    EXPECT_EQ(FindKepler(nav, 1, At(4, 0)), nullptr);
    EXPECT_NE(FindKepler(nav, 1, At(6, 0)), nullptr);
    ASSERT_EQ(nav.warnings.size(), 2u);
    EXPECT_NE(nav.warnings[0].find("record of G01 skipped"), std::string::npos);
}

TEST(NavReader, MalformedLinesNameFileAndLine)
{
    const std::vector<std::string> lines = readLines(dataPath(kNav));
    const size_t g01 = findLine(lines, "G01 2020 06 25 04");
    const size_t r01 = findLine(lines, "R01 2020 06 25 00 15");
    const size_t header = findLine(lines, std::string(60, ' ') + "END OF HEADER");
    using Lines = std::vector<std::string>;
    // Error lines are 1-based, the indexes above 0-based.
    expectMalformedCopies(kNav,
        {{"nav_version", [](Lines& l) { l[0].replace(0, 9, "     2.11"); }, 1, "RINEX 3 navigation"},
         {"nav_iono", [](Lines& l) { l[3].replace(8, 3, "abc"); }, 4, "ionosphere coefficient"},
         {"nav_id", [&](Lines& l) { l[g01][0] = 'X'; }, g01 + 1, "satellite identifier"},
         {"nav_date", [&](Lines& l) { l[g01].replace(9, 2, "14"); }, g01 + 1, "valid epoch"},
         {"nav_clock", [&](Lines& l) { l[g01].replace(30, 3, "?!?"); }, g01 + 1, "clock parameter"},
         {"nav_orbit", [&](Lines& l) { l[g01 + 3].replace(10, 2, "xx"); }, g01 + 4, "broadcast orbit value"},
         {"nav_missing", [&](Lines& l) { l.erase(l.begin() + static_cast<long>(g01) + 5); }, g01 + 8,
          "expected 7 broadcast orbit lines"},
         {"nav_extra", [&](Lines& l) { l.insert(l.begin() + static_cast<long>(r01) + 5, l[r01 + 4]); }, r01 + 6,
          "has 4 broadcast orbit lines"},
         {"nav_orphan", [&](Lines& l) { l.insert(l.begin() + static_cast<long>(header) + 1, l[g01 + 1]); },
          header + 2, "starting a navigation record"}},
        [](const std::string& path) { pppio::readNav(path); });
}
