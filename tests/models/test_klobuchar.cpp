#include <gtest/gtest.h>

#include <cmath>

#include "models/GNSSErrorCorrection.h"
#include "models/GNSSNav.h"

namespace {

// "IONOSPHERIC CORR" GPSA / GPSB lines of the ESBC00DNK navigation file of
// 2020-06-25 (day 177).
tagGMNHDR Esbc177Coefficients()
{
    return {{4.6566e-09, 1.4901e-08, -5.9605e-08, -1.1921e-07}, {8.1920e+04, 9.8304e+04, -6.5536e+04, -5.2429e+05}};
}

// Receiver on the equator at longitude 0: north = dZ, east = dY, up = dX, so
// the satellite's direction is exact.
const tagCRDCARTESIAN kReceiver = {6378137.0, 0.0, 0.0};
const tagCRDCARTESIAN kSatNorth45 = {6378137.0 + 1e7, 0.0, 1e7};   // azimuth 0, elevation pi/4
const tagCRDCARTESIAN kSatEast45 = {6378137.0 + 1e7, 1e7, 0.0};    // azimuth pi/2, elevation pi/4
constexpr double kThursday = 4 * 86400.0;

double Delay(tagCRDCARTESIAN sat, double secondsOfDay, tagGMNHDR nav)
{
    CGNSSErrorCorrection model;
    tagGPSTIME2 t = {2111, kThursday + secondsOfDay};
    return model.Klobuchar(&t, kReceiver, sat, &nav);
}

// Elevation E = pi/4 = 0.785398 and azimuth A = 0, both in radians as the
// polar record holds them; receiver latitude and longitude 0.
//   psi    = 0.0137 / (0.785398 + 0.11) - 0.022        = -0.00669954
//   phi_i  = 0 + psi cos(0)                             = -0.00669954
//   lam_i  = 0 + psi sin(0) / cos(phi_i pi)             =  0
//   phi_m  = phi_i + 0.064 cos((0 - 1.617) pi)          =  0.01629856
//   AMP    = sum alpha_n phi_m^n                        =  4.883115e-09 s
//   PER    = sum beta_n phi_m^n                         =  83502.535 s
//   F      = 1 + 16 (0.53 - 0.785398)^3                 =  0.73345331
// With A = pi/2 rad: cos(A pi) = 0.22058404, sin(A pi) = -0.97536797.
//   phi_i = 0 + psi 0.22058404                      = -0.00147781
//   lam_i = 0 + psi (-0.97536797) / cos(phi_i pi)   =  0.00653459
//   phi_m = phi_i + 0.064 cos((lam_i - 1.617) pi)   =  0.02028943
//   AMP = 4.9334001e-09, PER = 83883.175
TEST(Klobuchar, HandComputedCasesAndClamps)
{
    const double night = 0.7334533109366503 * 5e-9 * 299792458.0;   // F 5e-9 c
    // With amplitude 1e-8 s and the period raised from 50000 s to 72000 s, at
    // t = 50400 + 35000 s: x = 35000 pi / 72000 = 1.5272 keeps the day term
    // (with the unclamped period, x = 2.199 would leave only the night term).
    const double x = 35000.0 * 3.141592653589793 / 72000.0;
    const double clampedPeriod = 0.7334533109366503 * (5e-9 + 1e-8 * (1 - x * x / 2 + x * x * x * x / 24)) * 299792458.0;
    const struct {
        const char* what;
        tagCRDCARTESIAN sat;
        double secondsOfDay;
        tagGMNHDR nav;
        double delay;
    } cases[] = {
        // x = 3600 pi / 83502.535 = 0.13544180:
        // F (5e-9 + AMP (1 - x^2/2 + x^4/24)) c = 2.1633033 m.
        {"afternoon", kSatNorth45, 54000.0, Esbc177Coefficients(), 2.163303267969733},
        // x = -40400 pi / 83502.535 = -1.51995797, still inside the day term
        // (with 2 pi over the period it would be night).
        {"cosine uses pi over the period", kSatNorth45, 10000.0, Esbc177Coefficients(), 1.1716304426816355},
        // x = -1.70807 beyond 1.57: night term only.
        {"night", kSatNorth45, 5000.0, Esbc177Coefficients(), night},
        // Azimuth in radians enters as semicircles: t = 43200 lam_i + 54000
        // = 54282.294, x = 0.14539969.
        {"azimuth pi/2", kSatEast45, 54000.0, Esbc177Coefficients(), 2.1727470302990874},
        // A negative amplitude counts as 0: only the night term, by day too.
        {"negative amplitude", kSatNorth45, 50400.0, {{-1e-8, 0.0, 0.0, 0.0}, {8e4, 0.0, 0.0, 0.0}}, night},
        {"short period", kSatNorth45, 50400.0 + 35000.0, {{1e-8, 0.0, 0.0, 0.0}, {5e4, 0.0, 0.0, 0.0}}, clampedPeriod},
    };
    for (const auto& c : cases)
        EXPECT_NEAR(Delay(c.sat, c.secondsOfDay, c.nav), c.delay, 1e-9) << c.what;
}

}  // namespace
