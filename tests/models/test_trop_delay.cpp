// Zenith and slant delays from surface meteorology (GetTropDelay, saastamoninen).
#include <gtest/gtest.h>

#include <cmath>

#include "common/GNSSConst.h"
#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kUntouched = -12345.0;

struct TropResult {
    int rc;
    double trop = kUntouched;
    double zhd = kUntouched;
    double zwd = kUntouched;
};

TropResult Delay(int model, double lat, double height, double zenith, tagMETEODATA meteo)
{
    CGNSSErrorCorrection models;
    tagCRDGEODETIC pos{0.3, lat, height};
    TropResult r;
    r.rc = models.GetTropDelay(model, &pos, zenith, &meteo, &r.trop, &r.zhd, &r.zwd);
    return r;
}

// Water vapour pressure of the delay models, as a saturation pressure
// exp(a T - b - c T^2) scaled by the relative humidity.
long double Vapour(long double kelvin, long double humidity)
{
    const long double saturation = expl(-0.000256908L * kelvin * kelvin + 0.213166L * kelvin - 37.2465L);
    return saturation * humidity * 0.01L;
}

// Saastamoinen's correction term B recovered from the slant delay of model 1.
double RecoveredB(double height)
{
    const tagMETEODATA meteo{950.0, 10.0, 60.0};
    const double zenith = 70.0 * _DEG2RAD;
    const TropResult r = Delay(1, 0.5, height, zenith, meteo);
    const long double kelvin = 283.15L;
    const long double noBending = 950.0L + (1255.0L / kelvin + 0.05L) * Vapour(kelvin, 60.0L);
    const long double tanZ = tanl(zenith);
    return static_cast<double>((noBending - r.trop * cosl(zenith) / 0.002277L) / (tanZ * tanZ));
}

TEST(Saastamoinen, HandComputedSlantAndZenithDelays)
{
    // T = 293.15 K, e = 0.5 * exp(0.213166 T - 37.2465 - 0.000256908 T^2) = 11.8470967055 hPa;
    // 2.5 km: B = (0.874 + 0.757) / 2 = 0.8155; z = 60 deg: tan^2 = 3, 1/cos = 2;
    // 0.002277 * (1000 + (1255/T + 0.05) e - 3 B) * 2 = 4.77652793156 m.
    const TropResult r = Delay(1, 0.7, 2500.0, 60.0 * _DEG2RAD, {1000.0, 20.0, 50.0});
    EXPECT_EQ(r.rc, 1);
    EXPECT_NEAR(r.trop, 4.776527931561201, 1e-11);
    EXPECT_NEAR(r.zwd, 0.002277 * (1255.0 / 293.15 + 0.05) * 11.847096705529713, 1e-12);
    EXPECT_NEAR(r.zhd, 0.002277 * 1000.0 * (1.0 + 0.0026 * std::cos(1.4) + 0.00028 * 2.5), 1e-12);

    // At the zenith the slant delay is the sum of the two without the gravity
    // term; the gravity term uses the unclamped height, in product form.
    const TropResult equator = Delay(1, 0.0, 0.0, 0.0, {1013.25, 18.0, 50.0});
    EXPECT_DOUBLE_EQ(equator.zhd, 0.002277 * 1013.25 * 1.0026);
    EXPECT_NEAR(equator.trop, 0.002277 * 1013.25 + equator.zwd, 1e-13);
    const TropResult high = Delay(1, 0.0, 7000.0, 0.0, {1013.25, 18.0, 50.0});
    EXPECT_NEAR(high.zhd, 0.002277 * 1013.25 * (1.0026 + 0.00028 * 7.0), 1e-13);
}

TEST(Saastamoinen, CorrectionTermFollowsTheHeightTable)
{
    EXPECT_NEAR(RecoveredB(-250.0), 1.156, 1e-9);  // below the ellipsoid: 0 km
    EXPECT_NEAR(RecoveredB(0.0), 1.156, 1e-9);
    EXPECT_NEAR(RecoveredB(1000.0), 1.006, 1e-9);
    EXPECT_NEAR(RecoveredB(3250.0), 0.757 + 0.25 * (0.654 - 0.757), 1e-9);
    EXPECT_NEAR(RecoveredB(4999.0), 0.654 + 0.999 * (0.563 - 0.654), 1e-9);
    // From 5 km on the fraction comes from index 5 (zero) and the index falls
    // back to 4: the 4 km value, not 0.563.
    EXPECT_NEAR(RecoveredB(5000.0), 0.654, 1e-9);
    EXPECT_NEAR(RecoveredB(8000.0), 0.654, 1e-9);
}

TEST(TropDelay, HumidityAboveSaturationIsCapped)
{
    for (int model = 1; model <= 3; ++model) {
        const TropResult over = Delay(model, 0.4, 300.0, 0.9, {990.0, 25.0, 120.0});
        const TropResult full = Delay(model, 0.4, 300.0, 0.9, {990.0, 25.0, 100.0});
        const TropResult less = Delay(model, 0.4, 300.0, 0.9, {990.0, 25.0, 99.0});
        EXPECT_EQ(over.trop, full.trop) << "model " << model;
        EXPECT_GT(full.trop, less.trop) << "model " << model;
    }
}

TEST(TropDelay, OnlySaastamoinenWritesZenithDelays)
{
    const tagMETEODATA meteo{1013.25, 18.0, 50.0};
    const TropResult none = Delay(0, 0.4, 100.0, 0.5, meteo);
    EXPECT_EQ(none.rc, 1);
    EXPECT_EQ(none.trop, 0.0);
    for (int model : {0, 2, 3}) {
        const TropResult r = Delay(model, 0.4, 100.0, 0.5, meteo);
        EXPECT_EQ(r.zhd, kUntouched) << "model " << model;
        EXPECT_EQ(r.zwd, kUntouched) << "model " << model;
    }
    for (int model : {-1, 4, 99}) {
        const TropResult r = Delay(model, 0.4, 100.0, 0.5, meteo);
        EXPECT_EQ(r.rc, 1);
        EXPECT_EQ(r.trop, kUntouched) << "model " << model;
        EXPECT_EQ(r.zhd, kUntouched) << "model " << model;
    }
}

// Hopfield's quartic refractivity profile integrated along the straight line
// from the site to the layer top, with the height along the path taken to
// second order in the path length (the approximation of the series).
long double HopfieldLayerByQuadrature(long double refractivity, long double topKm, long double radiusKm,
                                      long double elev)
{
    const long double outer = radiusKm + topKm;
    const long double pathKm =
        sqrtl(outer * outer - powl(radiusKm * cosl(elev), 2)) - radiusKm * sinl(elev);
    const int steps = 2000;  // Simpson's rule, exact for the degree-8 integrand up to rounding
    const long double step = pathKm / steps;
    long double sum = 0.0L;
    for (int i = 0; i <= steps; ++i) {
        const long double s = i * step;
        const long double heightKm = s * sinl(elev) + s * s * powl(cosl(elev), 2) / (2.0L * radiusKm);
        const long double profile = powl(1.0L - heightKm / topKm, 4);
        const int weight = (i == 0 || i == steps) ? 1 : (i % 2 ? 4 : 2);
        sum += weight * profile;
    }
    return 1000.0L * refractivity * sum * step / 3.0L;
}

TEST(ModifiedHopfield, MatchesIntegratedProfile)
{
    const double height = 420.0;
    const tagMETEODATA meteo{970.0, 12.0, 70.0};
    const long double kelvin = 285.15L;
    const long double e = Vapour(kelvin, 70.0L);
    const long double dryN = 77.6e-6L * 970.0L / kelvin;
    const long double wetN = 0.373L * e / (kelvin * kelvin);
    const long double dryTop = 40.136L + 0.14872L * (kelvin - 273.16L);
    const long double radius = 6378.0L + height / 1000.0L;

    // At the zenith each layer gives N h / 5, Hopfield's closed form.
    const TropResult zenith = Delay(2, 0.6, height, 0.0, meteo);
    EXPECT_NEAR(zenith.trop, static_cast<double>(1000.0L * (dryN * dryTop + wetN * 11.0L) / 5.0L), 1e-9);

    for (double elevDeg : {45.0, 15.0, 5.0}) {
        const long double elev = elevDeg * _DEG2RAD;
        const double expected = static_cast<double>(HopfieldLayerByQuadrature(dryN, dryTop, radius, elev) +
                                                    HopfieldLayerByQuadrature(wetN, 11.0L, radius, elev));
        const TropResult slant = Delay(2, 0.6, height, _PI / 2.0 - elevDeg * _DEG2RAD, meteo);
        EXPECT_NEAR(slant.trop, expected, 1e-9 * expected) << elevDeg << " deg";
    }
}

TEST(SaastamoninenFunction, HandComputedZenithDelaysAndRangeChecks)
{
    // T = 288.16 K; e = 6.108 * 0.5 * exp((17.15 T - 4684) / (T - 38.45)) = 8.5799360228 hPa;
    // at 45 deg cos(2 lat) = 0: zhd = 0.0022768 * 1013.25 = 2.3069676 m.
    double zhd = 0.0;
    double zwd = 0.0;
    const double total = saastamoninen(45.0 * _DEG2RAD, 0.0, 0.0, 1013.25, 15.0, 0.5, &zhd, &zwd);
    EXPECT_NEAR(zhd, 2.3069676, 1e-12);
    EXPECT_NEAR(zwd, 0.002277 * (1255.0 / 288.16 + 0.05) * 8.579936022839801, 1e-12);
    EXPECT_DOUBLE_EQ(total, zhd + zwd);

    // The height enters through the gravity term.
    saastamoninen(0.0, 2000.0, 0.0, 800.0, 5.0, 0.3, &zhd, &zwd);
    EXPECT_NEAR(zhd, 0.0022768 * 800.0 / (1.0 - 0.00266 - 0.00056), 1e-12);

    // Out of range: height below -100 m or above 10 km, zenith beyond 90 degrees.
    zhd = zwd = kUntouched;
    EXPECT_EQ(saastamoninen(0.5, -100.5, 0.2, 1000.0, 10.0, 0.5, &zhd, &zwd), 0.0);
    EXPECT_EQ(saastamoninen(0.5, 10000.5, 0.2, 1000.0, 10.0, 0.5, &zhd, &zwd), 0.0);
    EXPECT_EQ(saastamoninen(0.5, 100.0, 90.5, 1000.0, 10.0, 0.5, &zhd, &zwd), 0.0);
    EXPECT_EQ(zhd, kUntouched);
    EXPECT_EQ(zwd, kUntouched);

    // Negative heights down to -100 m count as 0.
    double zhdZero = 0.0;
    double zwdZero = 0.0;
    const double below = saastamoninen(0.5, -60.0, 0.2, 1000.0, 10.0, 0.5, &zhd, &zwd);
    const double atZero = saastamoninen(0.5, 0.0, 0.2, 1000.0, 10.0, 0.5, &zhdZero, &zwdZero);
    EXPECT_GT(below, 0.0);
    EXPECT_EQ(below, atZero);
    EXPECT_GT(saastamoninen(0.5, 10000.0, 0.2, 250.0, -50.0, 0.1, &zhd, &zwd), 0.0);
}

}  // namespace
