// Celestial frames of the Sun and Moon chain: IAU 1976 precession, the
// ecliptic of date, FK4 to FK5, and the path from a series to Earth-fixed axes.
#include "models/CelestialMath.h"
#include "models/GNSSErrorCorrection.h"

#include <cmath>

namespace {

template <typename Element>
void RotateVector(const Element (*m)[3], const long double* v, long double* out)
{
    long double result[3];
    for (int row = 0; row < 3; ++row)
        result[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
    for (int row = 0; row < 3; ++row)
        out[row] = result[row];
}

// Position part of the B1950.0 (FK4) to J2000.0 (FK5) transformation,
// Standish (1982), Astronomy and Astrophysics 115, 20-22; E-terms and proper
// motions are not treated.
const long double kFK4ToFK5[3][3] = {
    {0.9999256782L, -0.0111820611L, -0.0048579477L},
    {0.0111820610L, 0.9999374784L, -0.0000271765L},
    {0.0048579479L, -0.0000271474L, 0.9999881997L},
};

}  // namespace

int CGNSSErrorCorrection::Precession(double t, double (*p)[3])
{
    const double zeta = ((0.017998 * t + 0.30188) * t + 2306.2181) * t * _ARCSEC2RAD;
    const double z = ((0.018203 * t + 1.09468) * t + 2306.2181) * t * _ARCSEC2RAD;
    const double theta = ((-0.041833 * t - 0.42665) * t + 2004.3109) * t * _ARCSEC2RAD;
    double r1[3][3], r2[3][3], r3[3][3], partial[3][3];
    AxisRotation(2, -z, r1);
    AxisRotation(1, theta, r2);
    AxisRotation(2, -zeta, r3);
    MatrixMulti(&r1[0][0], &r2[0][0], &partial[0][0], 3, 3, 3);
    MatrixMulti(&partial[0][0], &r3[0][0], &p[0][0], 3, 3, 3);
    return 1;
}

int CGNSSErrorCorrection::PRAE(double t, long double (*p)[3])
{
    double precession[3][3], eclipticToEquator[3][3], precessionT[3][3], product[3][3];
    Precession(t, precession);
    MatrixAT(&precession[0][0], &precessionT[0][0], 3, 3);
    AxisRotation(0, -MeanObliquity(t), eclipticToEquator);
    MatrixMulti(&precessionT[0][0], &eclipticToEquator[0][0], &product[0][0], 3, 3, 3);
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            p[row][col] = product[row][col];
    return 1;
}

int CGNSSErrorCorrection::EclipticToJ2000(double t, const double* lbr, long double* pos)
{
    long double ecliptic[3] = {lbr[2] * std::cos(lbr[1]) * std::cos(lbr[0]),
                               lbr[2] * std::cos(lbr[1]) * std::sin(lbr[0]), lbr[2] * std::sin(lbr[1])};
    long double rotation[3][3];
    PRAE(t, rotation);
    return DMLMTV(ecliptic, rotation, pos);
}

int CGNSSErrorCorrection::FK4FK5(const long double* in, long double* out, bool toFK5)
{
    if (toFK5) {
        RotateVector(kFK4ToFK5, in, out);
        return 1;
    }
    // The matrix is a rotation: its transpose takes FK5 back to FK4.
    long double back[3][3];
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            back[row][col] = kFK4ToFK5[col][row];
    RotateVector(back, in, out);
    return 1;
}

int CGNSSErrorCorrection::DMLMTV(long double* v, long double (*m)[3], long double* out)
{
    RotateVector(m, v, out);
    return 1;
}

int CGNSSErrorCorrection::MultMatrix1(double (*m)[3], long double* v, long double* out)
{
    RotateVector(m, v, out);
    return 1;
}

int CGNSSErrorCorrection::SeriesToEarthFixed(int (CGNSSErrorCorrection::*series)(double, double*), int year,
                                             int month, int day, double hour, long double* pos)
{
    const double tt = Julian(year, month, day, hour + _TT_MINUS_GPS / 3600.0);
    // GPS time stands in for UT1: the 18 s or so between them turn the axes by
    // about 0.08 degrees, of no weight for the tide and the wind-up.
    const double ut = Julian(year, month, day, hour);
    double lbr[3];
    (this->*series)(tt, lbr);
    long double inertial[3];
    EclipticToJ2000(tt, lbr, inertial);
    return J2000ToEarthFixed(tt, ut, inertial, pos);
}
