// Geocentric Moon from the main periodic terms of the ELP-2000/82 theory as
// given by J. Meeus, Astronomical Algorithms (2nd ed., 1998), chapter 47:
// 60 terms in longitude and distance, 60 in latitude, with the additive
// terms of Venus, Jupiter and the Earth's flattening. Accuracy about 10" in
// longitude, 4" in latitude.
#include "models/CelestialMath.h"
#include "models/GNSSErrorCorrection.h"

#include <cmath>

namespace {

// Multipliers of D, M, M', F; longitude (1e-6 deg) and distance (1e-3 km).
struct LongitudeDistanceTerm {
    int d, m, mp, f;
    double sigmaL, sigmaR;
};

// Multipliers of D, M, M', F; latitude (1e-6 deg).
struct LatitudeTerm {
    int d, m, mp, f;
    double sigmaB;
};

const LongitudeDistanceTerm kLongitudeDistance[] = {
    {0, 0, 1, 0, 6288774, -20905355}, {2, 0, -1, 0, 1274027, -3699111}, {2, 0, 0, 0, 658314, -2955968},
    {0, 0, 2, 0, 213618, -569925},    {0, 1, 0, 0, -185116, 48888},     {0, 0, 0, 2, -114332, -3149},
    {2, 0, -2, 0, 58793, 246158},     {2, -1, -1, 0, 57066, -152138},   {2, 0, 1, 0, 53322, -170733},
    {2, -1, 0, 0, 45758, -204586},    {0, 1, -1, 0, -40923, -129620},   {1, 0, 0, 0, -34720, 108743},
    {0, 1, 1, 0, -30383, 104755},     {2, 0, 0, -2, 15327, 10321},      {0, 0, 1, 2, -12528, 0},
    {0, 0, 1, -2, 10980, 79661},      {4, 0, -1, 0, 10675, -34782},     {0, 0, 3, 0, 10034, -23210},
    {4, 0, -2, 0, 8548, -21636},      {2, 1, -1, 0, -7888, 24208},      {2, 1, 0, 0, -6766, 30824},
    {1, 0, -1, 0, -5163, -8379},      {1, 1, 0, 0, 4987, -16675},       {2, -1, 1, 0, 4036, -12831},
    {2, 0, 2, 0, 3994, -10445},       {4, 0, 0, 0, 3861, -11650},       {2, 0, -3, 0, 3665, 14403},
    {0, 1, -2, 0, -2689, -7003},      {2, 0, -1, 2, -2602, 0},          {2, -1, -2, 0, 2390, 10056},
    {1, 0, 1, 0, -2348, 6322},        {2, -2, 0, 0, 2236, -9884},       {0, 1, 2, 0, -2120, 5751},
    {0, 2, 0, 0, -2069, 0},           {2, -2, -1, 0, 2048, -4950},      {2, 0, 1, -2, -1773, 4130},
    {2, 0, 0, 2, -1595, 0},           {4, -1, -1, 0, 1215, -3958},      {0, 0, 2, 2, -1110, 0},
    {3, 0, -1, 0, -892, 3258},        {2, 1, 1, 0, -810, 2616},         {4, -1, -2, 0, 759, -1897},
    {0, 2, -1, 0, -713, -2117},       {2, 2, -1, 0, -700, 2354},        {2, 1, -2, 0, 691, 0},
    {2, -1, 0, -2, 596, 0},           {4, 0, 1, 0, 549, -1423},         {0, 0, 4, 0, 537, -1117},
    {4, -1, 0, 0, 520, -1571},        {1, 0, -2, 0, -487, -1739},       {2, 1, 0, -2, -399, 0},
    {0, 0, 2, -2, -381, -4421},       {1, 1, 1, 0, 351, 0},             {3, 0, -2, 0, -340, 0},
    {4, 0, -3, 0, 330, 0},            {2, -1, 2, 0, 327, 0},            {0, 2, 1, 0, -323, 1165},
    {1, 1, -1, 0, 299, 0},            {2, 0, 3, 0, 294, 0},             {2, 0, -1, -2, 0, 8752},
};

const LatitudeTerm kLatitude[] = {
    {0, 0, 0, 1, 5128122}, {0, 0, 1, 1, 280602}, {0, 0, 1, -1, 277693}, {2, 0, 0, -1, 173237},
    {2, 0, -1, 1, 55413},  {2, 0, -1, -1, 46271}, {2, 0, 0, 1, 32573},   {0, 0, 2, 1, 17198},
    {2, 0, 1, -1, 9266},   {0, 0, 2, -1, 8822},   {2, -1, 0, -1, 8216},  {2, 0, -2, -1, 4324},
    {2, 0, 1, 1, 4200},    {2, 1, 0, -1, -3359},  {2, -1, -1, 1, 2463},  {2, -1, 0, 1, 2211},
    {2, -1, -1, -1, 2065}, {0, 1, -1, -1, -1870}, {4, 0, -1, -1, 1828},  {0, 1, 0, 1, -1794},
    {0, 0, 0, 3, -1749},   {0, 1, -1, 1, -1565},  {1, 0, 0, 1, -1491},   {0, 1, 1, 1, -1475},
    {0, 1, 1, -1, -1410},  {0, 1, 0, -1, -1344},  {1, 0, 0, -1, -1335},  {0, 0, 3, 1, 1107},
    {4, 0, 0, -1, 1021},   {4, 0, -1, 1, 833},    {0, 0, 1, -3, 777},    {4, 0, -2, 1, 671},
    {2, 0, 0, -3, 607},    {2, 0, 2, -1, 596},    {2, -1, 1, -1, 491},   {2, 0, -2, 1, -451},
    {0, 0, 3, -1, 439},    {2, 0, 2, 1, 422},     {2, 0, -3, -1, 421},   {2, 1, -1, 1, -366},
    {2, 1, 0, 1, -351},    {4, 0, 0, 1, 331},     {2, -1, 1, 1, 315},    {2, -2, 0, -1, 302},
    {0, 0, 1, 3, -283},    {2, 1, 1, -1, -229},   {1, 1, 0, -1, 223},    {1, 1, 0, 1, 223},
    {0, 1, -2, -1, -220},  {2, 1, -1, -1, -220},  {1, 0, 1, 1, -185},    {2, -1, -2, -1, 181},
    {0, 1, 2, 1, -177},    {4, 0, -2, -1, 176},   {4, -1, -1, -1, 166},  {1, 0, 1, -1, -164},
    {4, 0, 1, -1, 132},    {1, 0, -1, -1, -119},  {4, -1, 0, -1, 115},   {2, -2, 0, 1, 107},
};

// Polynomial in t with coefficients in degrees, returned in radians.
double DegreePolynomial(double t, double c0, double c1, double c2, double c3, double c4)
{
    return (c0 + (c1 + (c2 + (c3 + c4 * t) * t) * t) * t) * _DEG2RAD;
}

// Factor for the decreasing eccentricity of the Earth's orbit, per power of M.
double EccentricityFactor(int m, double e)
{
    return m == 0 ? 1.0 : (m == 1 || m == -1 ? e : e * e);
}

}  // namespace

int CGNSSErrorCorrection::MONSTO(double t, double* lbr)
{
    // Mean longitude, elongation, anomalies of Sun and Moon, argument of latitude.
    const double lp = DegreePolynomial(t, 218.3164477, 481267.88123421, -0.0015786, 1.0 / 538841.0, -1.0 / 65194000.0);
    const double d = DegreePolynomial(t, 297.8501921, 445267.1114034, -0.0018819, 1.0 / 545868.0, -1.0 / 113065000.0);
    const double m = DegreePolynomial(t, 357.5291092, 35999.0502909, -0.0001536, 1.0 / 24490000.0, 0.0);
    const double mp = DegreePolynomial(t, 134.9633964, 477198.8675055, 0.0087414, 1.0 / 69699.0, -1.0 / 14712000.0);
    const double f = DegreePolynomial(t, 93.2720950, 483202.0175233, -0.0036539, -1.0 / 3526000.0, 1.0 / 863310000.0);
    const double a1 = DegreePolynomial(t, 119.75, 131.849, 0.0, 0.0, 0.0);
    const double a2 = DegreePolynomial(t, 53.09, 479264.290, 0.0, 0.0, 0.0);
    const double a3 = DegreePolynomial(t, 313.45, 481266.484, 0.0, 0.0, 0.0);
    const double e = 1.0 - (0.002516 + 0.0000074 * t) * t;

    double sumL = 0.0, sumR = 0.0, sumB = 0.0;
    for (const LongitudeDistanceTerm& term : kLongitudeDistance) {
        const double arg = term.d * d + term.m * m + term.mp * mp + term.f * f;
        const double factor = EccentricityFactor(term.m, e);
        sumL += factor * term.sigmaL * std::sin(arg);
        sumR += factor * term.sigmaR * std::cos(arg);
    }
    for (const LatitudeTerm& term : kLatitude) {
        const double arg = term.d * d + term.m * m + term.mp * mp + term.f * f;
        sumB += EccentricityFactor(term.m, e) * term.sigmaB * std::sin(arg);
    }
    // Venus (A1), Jupiter (A2) and the flattening of the Earth.
    sumL += 3958.0 * std::sin(a1) + 1962.0 * std::sin(lp - f) + 318.0 * std::sin(a2);
    sumB += -2235.0 * std::sin(lp) + 382.0 * std::sin(a3) + 175.0 * std::sin(a1 - f) + 175.0 * std::sin(a1 + f) +
            127.0 * std::sin(lp - mp) - 115.0 * std::sin(lp + mp);

    lbr[0] = ARCMOD(lp + sumL * 1.0e-6 * _DEG2RAD);
    lbr[1] = sumB * 1.0e-6 * _DEG2RAD;
    lbr[2] = (385000.56 + sumR * 1.0e-3) * 1000.0;
    return 1;
}

int CGNSSErrorCorrection::Moon(int year, int month, int day, double hour, long double* pos)
{
    return SeriesToEarthFixed(&CGNSSErrorCorrection::MONSTO, year, month, day, hour, pos);
}
