// Sun and Moon chain against published worked examples: J. Meeus, Astronomical
// Algorithms (2nd ed., 1998), and the test values of the IAU SOFA collection
// (EPV00, MOON98, NUT80, OBL80).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "models/CelestialMath.h"
#include "models/GNSSErrorCorrection.h"
#include "models/NutationTable.h"

namespace {

constexpr double kMjdToJd = 2400000.5;
constexpr double kArcsec = _ARCSEC2RAD;
constexpr double kAberration = 20.4898 * _ARCSEC2RAD;   // constant of aberration over R (au)

double Centuries(double jd)
{
    return (jd - 2451545.0) / 36525.0;
}

double Degrees(double rad)
{
    return rad * _RAD2DEG;
}

struct Equatorial {
    double ra, dec;   // radians
};

Equatorial ToEquatorial(double lambda, double beta, double obliquity)
{
    double ra = std::atan2(std::sin(lambda) * std::cos(obliquity) - std::tan(beta) * std::sin(obliquity),
                           std::cos(lambda));
    if (ra < 0.0)
        ra += 2.0 * _PI;
    const double dec =
        std::asin(std::sin(beta) * std::cos(obliquity) + std::cos(beta) * std::sin(obliquity) * std::sin(lambda));
    return {ra, dec};
}

double AngleBetween(const long double* a, const double* b)
{
    double dot = 0.0, na = 0.0, nb = 0.0;
    for (int i = 0; i < 3; ++i) {
        dot += static_cast<double>(a[i]) * b[i];
        na += static_cast<double>(a[i] * a[i]);
        nb += b[i] * b[i];
    }
    return std::acos(std::min(1.0, dot / std::sqrt(na * nb)));
}

double Length(const long double* a)
{
    return std::sqrt(static_cast<double>(a[0] * a[0] + a[1] * a[1] + a[2] * a[2]));
}

class SunMoon : public ::testing::Test {
protected:
    // Geometric ecliptic place, nutation angles and apparent place of the Sun.
    void SolarPlace(double jd)
    {
        const double t = Centuries(jd);
        model.SolarSeries(t, lbr);
        double n[3][3];
        model.Nutation(t, n, nutation);
        const double apparent = lbr[0] + nutation[0] - kAberration / (lbr[2] / _ASTRONOMICAL_UNIT);
        lambdaApparent = apparent;
        equatorial = ToEquatorial(apparent, lbr[1], nutation[2] + nutation[1]);
    }

    CGNSSErrorCorrection model;
    double lbr[3];
    double nutation[3];
    double lambdaApparent;
    Equatorial equatorial;
};

// ---------------------------------------------------------------- calendar

TEST(Calendar, FjldyMatchesPublishedJulianDates)
{
    // Meeus, ch. 7 (Julian calendar before 1582-10-15).
    struct Case { int y, m, d; double hour, jd; } cases[] = {
        {2000, 1, 1, 12.0, 2451545.0},  {1999, 1, 1, 0.0, 2451179.5},   {1987, 1, 27, 0.0, 2446822.5},
        {1987, 6, 19, 12.0, 2446966.0}, {1988, 1, 27, 0.0, 2447187.5},  {1988, 6, 19, 12.0, 2447332.0},
        {1900, 1, 1, 0.0, 2415020.5},   {1600, 1, 1, 0.0, 2305447.5},   {1600, 12, 31, 0.0, 2305812.5},
        {837, 4, 10, 7.2, 2026871.8},   {-1000, 7, 12, 12.0, 1356001.0}, {-4712, 1, 1, 12.0, 0.0},
        {1957, 10, 4, 19.44, 2436116.31},
    };
    CGNSSErrorCorrection model;
    for (const Case& c : cases) {
        double jd = 0.0;
        EXPECT_EQ(model.fjldy(c.y, c.m, c.d, c.hour, &jd), 1);
        EXPECT_NEAR(jd, c.jd, 1e-8) << c.y << "-" << c.m << "-" << c.d;
    }
}

TEST(Calendar, JulianCenturiesAndDayOfYear)
{
    CGNSSErrorCorrection model;
    EXPECT_DOUBLE_EQ(model.Julian(2000, 1, 1, 12.0), 0.0);
    EXPECT_NEAR(model.Julian(1992, 10, 13, 0.0), -0.072183436, 1e-9);   // Meeus, Example 25.a
    for (int year : {1600, 1900, 2000, 2100})
        for (int month : {1, 2, 3, 12}) {
            double jd;
            model.fjldy(year, month, 28, 6.5, &jd);
            EXPECT_NEAR(model.Julian(year, month, 28, 6.5), Centuries(jd), 1e-12) << year << "-" << month;
        }

    // Day of year, leap years included; a month out of range gives 0.
    const double cases[][4] = {{2020, 1, 1, 1}, {2019, 3, 1, 60}, {2020, 3, 1, 61}, {2000, 12, 31, 366},
                               {1900, 12, 31, 365}, {2020, 13, 1, 0}};
    for (const auto& c : cases)
        EXPECT_EQ(model.ep2doy(c), static_cast<int>(c[3])) << c[0] << "-" << c[1] << "-" << c[2];
}

// ------------------------------------------------- nutation, sidereal time

TEST(NutationSeries, TableAndValuesOfSofaAndMeeus)
{
    // The 106 terms of the series.
    ASSERT_EQ(_NUTATION_TERM_COUNT, 106);
    CGNSSErrorCorrection model;
    double n[3][3], angles[3];
    model.Nutation(Centuries(53736.0 + kMjdToJd), n, angles);
    EXPECT_NEAR(angles[0], -0.9643658353226563966e-5, 1e-13);
    EXPECT_NEAR(angles[1], 0.4060051006879713322e-4, 1e-13);
    EXPECT_NEAR(MeanObliquity(Centuries(54388.0 + kMjdToJd)), 0.4090751347643816218, 1e-14);

    // Meeus, Example 22.a (the full series, not the book's 63 terms).
    model.Nutation(Centuries(2446895.5), n, angles);
    EXPECT_NEAR(angles[0] / kArcsec, -3.7878, 1e-4);
    EXPECT_NEAR(angles[1] / kArcsec, 9.4425, 1e-4);
    EXPECT_NEAR(angles[2] / kArcsec, 23 * 3600 + 26 * 60 + 27.407, 1e-3);

    // The matrix turns the mean equinox of date into the true one: a rotation
    // by dpsi about the ecliptic pole.
    EXPECT_NEAR(n[0][1], -angles[0] * std::cos(angles[2]), 1e-9);
    EXPECT_NEAR(n[0][2], -angles[0] * std::sin(angles[2]), 1e-9);
}

TEST(SiderealTime, MeeusExamples12)
{
    CGNSSErrorCorrection model;
    const auto hms = [](double h, double m, double s) { return (h + m / 60.0 + s / 3600.0) * 15.0 * _DEG2RAD; };
    const double secondOfTime = hms(0, 0, 1);
    // 1987 April 10, 0h UT: apparent 13h10m46.1351s, mean 13h10m46.3668s.
    const double t = Centuries(2446895.5);
    const double apparent = model.S0(t);
    EXPECT_NEAR(apparent, hms(13, 10, 46.1351), 2e-4 * secondOfTime);
    double n[3][3], angles[3];
    model.Nutation(t, n, angles);
    const double mean = apparent - angles[0] * std::cos(angles[2] + angles[1]);
    EXPECT_NEAR(mean, hms(13, 10, 46.3668), 2e-4 * secondOfTime);
    // 1987 April 10, 19h21m00s UT: mean 8h34m57.0896s.
    const double later = Centuries(2446895.5 + (19.0 + 21.0 / 60.0) / 24.0);
    model.Nutation(later, n, angles);
    EXPECT_NEAR(model.S0(later) - angles[0] * std::cos(angles[2] + angles[1]), hms(8, 34, 57.0896),
                2e-4 * secondOfTime);
}

// ---------------------------------------------------------------- the Sun

TEST_F(SunMoon, SunMeeusChapter25)
{
    SolarPlace(2448908.5);   // 1992 Oct 13.0 TD
    // Example 25.b, the same truncated VSOP87 with the reduction to FK5.
    EXPECT_NEAR(Degrees(lbr[0]), 199.907347, 1e-6);
    EXPECT_NEAR(lbr[1] / kArcsec, 0.62, 0.005);
    EXPECT_NEAR(lbr[2] / _ASTRONOMICAL_UNIT, 0.99760775, 1e-8);
    EXPECT_NEAR(nutation[0] / kArcsec, 15.908, 1e-3);
    EXPECT_NEAR(Degrees(nutation[2] + nutation[1]), 23.4401442, 1e-7);
    EXPECT_NEAR(Degrees(lambdaApparent), 199.906060556, 1e-6);

    // The book's values from the complete VSOP87: within about 1".
    EXPECT_NEAR(Degrees(lbr[0]), 199.907272222, 0.5 / 3600.0);
    EXPECT_NEAR(lbr[1] / kArcsec, 0.72, 0.2);
    EXPECT_NEAR(lbr[2] / _ASTRONOMICAL_UNIT, 0.99760853, 1e-6);
    EXPECT_NEAR(Degrees(equatorial.ra), 198.378120833, 0.5 / 3600.0);
    EXPECT_NEAR(Degrees(equatorial.dec), -7.783816667, 0.5 / 3600.0);
}

TEST_F(SunMoon, SunInJ2000AgainstSofaEpv00)
{
    // Geocentric Sun = minus the heliocentric Earth (ICRS axes, TDB taken as TT).
    const double t = Centuries(53411.52501161 + kMjdToJd);
    model.SolarSeries(t, lbr);
    long double sun[3];
    ASSERT_EQ(model.EclipticToJ2000(t, lbr, sun), 1);
    const double reference[3] = {0.7757238809297706813, -0.5598052241363340596, -0.2426998466481686993};
    const double referenceDistance = std::sqrt(reference[0] * reference[0] + reference[1] * reference[1] +
                                               reference[2] * reference[2]);
    EXPECT_LT(AngleBetween(sun, reference), 0.5 * kArcsec);
    EXPECT_NEAR(Length(sun) / _ASTRONOMICAL_UNIT, referenceDistance, 1e-6);
}

// The last Sun and the last Earth rotation are kept for the next call at the
// same instant; any other instant must give what a fresh model gives.
TEST_F(SunMoon, RepeatedAndAlternatingInstantsGiveTheValuesOfAFreshModel)
{
    const double hours[] = {10.0, 10.0, 10.5, 10.0, 10.0 + 1.0 / 3600.0};
    for (double hour : hours) {
        CGNSSErrorCorrection fresh;
        long double sun[3], moon[3], freshSun[3], freshMoon[3];
        model.SUN(2020, 6, 25, hour, sun);
        model.Moon(2020, 6, 25, hour, moon);
        fresh.Moon(2020, 6, 25, hour, freshMoon);
        fresh.SUN(2020, 6, 25, hour, freshSun);
        for (int k = 0; k < 3; ++k) {
            EXPECT_EQ(sun[k], freshSun[k]) << hour;
            EXPECT_EQ(moon[k], freshMoon[k]) << hour;
        }
    }
    long double sun[3], freshSun[3];
    model.SUN(2020, 6, 26, 10.0, sun);   // another day at the same hour
    CGNSSErrorCorrection().SUN(2020, 6, 26, 10.0, freshSun);
    EXPECT_EQ(sun[0], freshSun[0]);
}

// --------------------------------------------------------------- the Moon

TEST_F(SunMoon, MoonMeeusExample47a)
{
    const double t = Centuries(2448724.5);   // 1992 April 12.0 TD
    model.MONSTO(t, lbr);
    EXPECT_NEAR(Degrees(lbr[0]), 133.162655, 2e-6);
    EXPECT_NEAR(Degrees(lbr[1]), -3.229126, 2e-6);
    EXPECT_NEAR(lbr[2] / 1000.0, 368409.7, 0.1);

    double n[3][3];
    model.Nutation(t, n, nutation);
    EXPECT_NEAR(Degrees(nutation[0]), 0.004610, 1e-6);
    EXPECT_NEAR(Degrees(nutation[2] + nutation[1]), 23.440636, 1e-6);
    const double apparent = lbr[0] + nutation[0];
    EXPECT_NEAR(Degrees(apparent), 133.167265, 2e-6);
    const Equatorial eq = ToEquatorial(apparent, lbr[1], nutation[2] + nutation[1]);
    EXPECT_NEAR(Degrees(eq.ra), 134.688470, 5e-6);
    EXPECT_NEAR(Degrees(eq.dec), 13.768368, 5e-6);
}

TEST_F(SunMoon, MoonInJ2000AgainstSofaMoon98)
{
    // Same series; the 0.7" left in longitude is the light time that the
    // book's mean longitude contains and the geometric reference does not.
    const double t = Centuries(43999.9 + kMjdToJd);
    model.MONSTO(t, lbr);
    long double moon[3];
    model.EclipticToJ2000(t, lbr, moon);
    double reference[3] = {-0.2601295959971044180e-2, 0.6139750944302742189e-3, 0.2640794528229828909e-3};
    double distance = 0.0;
    for (double& component : reference) {
        component *= _ASTRONOMICAL_UNIT;
        distance += component * component;
    }
    EXPECT_NEAR(Length(moon), std::sqrt(distance), 5.0);
    EXPECT_LT(AngleBetween(moon, reference), 1.0 * kArcsec);
}

// ------------------------------------------------------ Earth-fixed output

TEST_F(SunMoon, MoonShadowAxisHitsTheEarthAtTheGreatestEclipseOf2020June21)
{
    // Annular eclipse, greatest eclipse 06:40:04 UT at 30.5 N, 79.7 E
    // (F. Espenak, NASA eclipse predictions); GPS = UTC + 18 s. The shadow
    // follows the Sun's light-time place, 20" behind the geometric one used
    // here, which moves the point by some 40 km.
    const double hour = 6.0 + 40.0 / 60.0 + 22.0 / 3600.0;
    long double sun[3], moon[3];
    model.SUN(2020, 6, 21, hour, sun);
    model.Moon(2020, 6, 21, hour, moon);
    // The ray from the Moon away from the Sun meets the Earth (sphere) here.
    double axis[3], from[3];
    double axisLength = 0.0;
    for (int i = 0; i < 3; ++i) {
        axis[i] = static_cast<double>(moon[i] - sun[i]);
        from[i] = static_cast<double>(moon[i]);
        axisLength += axis[i] * axis[i];
    }
    axisLength = std::sqrt(axisLength);
    for (double& component : axis)
        component /= axisLength;
    const double radius = 6371000.0;
    const double b = from[0] * axis[0] + from[1] * axis[1] + from[2] * axis[2];
    const double c = from[0] * from[0] + from[1] * from[1] + from[2] * from[2] - radius * radius;
    ASSERT_GT(b * b - c, 0.0) << "the shadow axis misses the Earth";
    const double s = -b - std::sqrt(b * b - c);
    const double hit[3] = {from[0] + s * axis[0], from[1] + s * axis[1], from[2] + s * axis[2]};
    EXPECT_NEAR(Degrees(std::asin(hit[2] / radius)), 30.5, 1.0);
    EXPECT_NEAR(Degrees(std::atan2(hit[1], hit[0])), 79.7, 1.0);
}

}  // namespace
