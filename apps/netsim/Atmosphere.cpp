#include "Atmosphere.h"

#include <algorithm>
#include <cmath>

namespace netsim {

namespace {

constexpr double kPi = 3.14159265358979323846;
constexpr double kEarthRadius = 6371000.0;
constexpr double kShellHeight = 450000.0;

double VerticalTec(double lat, double lon, double secondsOfDay)
{
    const double latDeg = lat * 180.0 / kPi, lonDeg = lon * 180.0 / kPi;
    const double localHours = secondsOfDay / 3600.0 + lonDeg / 15.0;
    const double day = 0.5 * (1.0 + std::cos(2.0 * kPi * (localHours - 14.0) / 24.0));
    const double northward = std::min(1.2, std::max(0.6, 1.0 - (latDeg - 50.0) / 40.0));
    const double waves = 1.5 * std::sin(2.0 * kPi * (latDeg / 6.0 + lonDeg / 9.0 - secondsOfDay / 10800.0)) +
                         1.0 * std::sin(2.0 * kPi * (latDeg / 11.0 - lonDeg / 14.0 + secondsOfDay / 25200.0));
    return 5.0 + 2.5 + 27.0 * day * northward + waves;
}

}  // namespace

double SlantTec(double lat, double lon, double azimuth, double elevation, double secondsOfDay)
{
    const double ratio = kEarthRadius / (kEarthRadius + kShellHeight) * std::cos(elevation);
    const double psi = kPi / 2.0 - elevation - std::asin(ratio);   // Earth angle receiver - pierce point
    const double latP = std::asin(std::sin(lat) * std::cos(psi) + std::cos(lat) * std::sin(psi) * std::cos(azimuth));
    const double lonP = lon + std::asin(std::sin(psi) * std::sin(azimuth) / std::cos(latP));
    return VerticalTec(latP, lonP, secondsOfDay) / std::sqrt(1.0 - ratio * ratio);
}

WetDelay::WetDelay(Random& random) : m_mean(random.uniform(0.08, 0.20))
{
    for (int k = 0; k < 2; ++k) {
        m_amplitude[k] = random.uniform(0.01, 0.025);
        m_period[k] = random.uniform(6.0, 20.0) * 3600.0;
        m_phase[k] = random.uniform(0.0, 2.0 * kPi);
    }
}

double WetDelay::at(double seconds) const
{
    double value = m_mean;
    for (int k = 0; k < 2; ++k)
        value += m_amplitude[k] * std::sin(2.0 * kPi * seconds / m_period[k] + m_phase[k]);
    return value;
}

}  // namespace netsim
