// Tropospheric delay from surface meteorology: Saastamoinen and the two
// Hopfield variants behind GetTropDelay, and the free saastamoninen.
#include <cmath>

#include "common/GNSSConst.h"
#include "models/GNSSErrorCorrection.h"

namespace {

enum TropModel { kNoTroposphere = 0, kSaastamoinen = 1, kModifiedHopfield = 2, kSimplifiedHopfield = 3 };

// Saastamoinen's correction term B (m) at the heights 0, 1, ..., 5 km.
constexpr double kSaastamoinenB[6] = {1.156, 1.006, 0.874, 0.757, 0.654, 0.563};

// B interpolated at the site height, clamped to 0..5 km. At 5 km and above
// the fraction is taken before the index is pulled back to 4, so B is the
// 4 km value 0.654 there: kept as in the original model.
double SaastamoinenB(double heightM)
{
    double heightKm = heightM / 1000.0;
    if (heightKm <= 0.0)
        heightKm = 0.0;
    if (!(heightKm < 5.0))
        heightKm = 5.0;
    int i = static_cast<int>(heightKm);
    const double fraction = heightKm - i;
    if (i == 5)
        i = 4;
    return kSaastamoinenB[i] + (kSaastamoinenB[i + 1] - kSaastamoinenB[i]) * fraction;
}

// Partial pressure of water vapour (hPa) at temperature T (K) and relative humidity (%).
double WaterVapourPressure(double kelvin, double humidityPercent)
{
    return humidityPercent / 100.0 * std::exp(0.213166 * kelvin - 37.2465 - 0.000256908 * kelvin * kelvin);
}

// Goad and Goodman's series for one refractivity layer of the modified
// Hopfield model; returns the layer's slant delay in metres.
double HopfieldLayerDelay(double refractivity, double layerTopKm, double radiusKm, double elev)
{
    const double sinE = std::sin(elev);
    const double cosE = std::cos(elev);
    const double outer = radiusKm + layerTopKm;
    const double r = std::sqrt(outer * outer - radiusKm * cosE * radiusKm * cosE) - radiusKm * sinE;
    const double a = -sinE / layerTopKm;
    const double b = -cosE * cosE / (2.0 * layerTopKm * radiusKm);
    const double alpha[9] = {
        1.0,
        4.0 * a,
        6.0 * a * a + 4.0 * b,
        4.0 * a * (a * a + 3.0 * b),
        a * a * a * a + 12.0 * a * a * b + 6.0 * b * b,
        4.0 * a * b * (a * a + 3.0 * b),
        b * b * (6.0 * a * a + 4.0 * b),
        4.0 * a * b * b * b,
        b * b * b * b,
    };
    double series = 0.0;
    double rPower = 1.0;
    for (int n = 1; n <= 9; ++n) {
        rPower *= r;
        series += alpha[n - 1] / n * rPower;
    }
    return 1000.0 * refractivity * series;
}

double ModifiedHopfield(double pres, double kelvin, double vapour, double heightM, double zenith)
{
    const double elev = _PI / 2.0 - zenith;
    const double radiusKm = heightM / 1000.0 + 6378.0;
    const double dryRefractivity = 7.76e-5 * pres / kelvin;
    const double wetRefractivity = 0.373 * vapour / (kelvin * kelvin);
    const double dryTopKm = 40.136 + 0.14872 * (kelvin - 273.16);
    const double wetTopKm = 11.0;
    return HopfieldLayerDelay(dryRefractivity, dryTopKm, radiusKm, elev) +
           HopfieldLayerDelay(wetRefractivity, wetTopKm, radiusKm, elev);
}

double SimplifiedHopfield(double pres, double kelvin, double vapour, double heightM, double zenith)
{
    const double elevDeg = 90.0 - zenith * _RAD2DEG;
    const double dry = 1.552e-5 * (pres / kelvin) * (148.72 * kelvin - 488.3552 - heightM);
    const double wet = 0.0746512 * (vapour / (kelvin * kelvin)) * (11000.0 - heightM);
    return dry / std::sin(std::sqrt(elevDeg * elevDeg + 6.25) * _DEG2RAD) +
           wet / std::sin(std::sqrt(elevDeg * elevDeg + 2.25) * _DEG2RAD);
}

}  // namespace

int CGNSSErrorCorrection::GetTropDelay(int model, tagCRDGEODETIC* pos, double zenith, tagMETEODATA* meteo,
                                       double* trop, double* zhd, double* zwd)
{
    const double kelvin = meteo->temperature + 273.15;
    const double pres = meteo->pressure;
    const double humidity = meteo->humidity > 100.0 ? 100.0 : meteo->humidity;
    const double vapour = WaterVapourPressure(kelvin, humidity);

    switch (model) {
    case kNoTroposphere:
        *trop = 0.0;
        break;
    case kSaastamoinen: {
        const double wetTerm = (1255.0 / kelvin + 0.05) * vapour;
        const double tanZ = std::tan(zenith);
        *trop = 0.002277 * (pres + wetTerm - SaastamoinenB(pos->height) * tanZ * tanZ) / std::cos(zenith);
        // Product form of the gravity correction, with the unclamped height.
        *zhd = 0.002277 * pres * (1.0 + 0.0026 * std::cos(2.0 * pos->lat) + 0.00028 * pos->height / 1000.0);
        *zwd = 0.002277 * wetTerm;
        break;
    }
    case kModifiedHopfield:
        *trop = ModifiedHopfield(pres, kelvin, vapour, pos->height, zenith);
        break;
    case kSimplifiedHopfield:
        *trop = SimplifiedHopfield(pres, kelvin, vapour, pos->height, zenith);
        break;
    default:
        break;
    }
    return 1;
}

double saastamoninen(double lat, double h, double zenith, double pres, double temp, double humi, double* zhd,
                     double* zwd)
{
    // The zenith angle is in radians, yet its limit stays 90.0 as in the original routine.
    if (h < -100.0 || h > 10000.0 || zenith > 90.0)
        return 0.0;
    if (h < 0.0)
        h = 0.0;
    const double kelvin = temp + 273.16;
    const double vapour = 6.108 * humi * std::exp((17.15 * kelvin - 4684.0) / (kelvin - 38.45));
    *zhd = 0.0022768 * pres / (1.0 - 0.00266 * std::cos(2.0 * lat) - 0.00028 * h / 1000.0) / std::cos(zenith);
    *zwd = 0.002277 * (1255.0 / kelvin + 0.05) * vapour / std::cos(zenith);
    return *zhd + *zwd;
}
