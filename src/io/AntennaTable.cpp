#include "io/AntennaTable.h"

#include <cmath>

#include "io/FieldParse.h"
#include "io/GpsTime.h"

namespace pppio {

namespace {

// Position of an angle on an evenly spaced axis: the cell index and the
// fraction within it, clamped to the axis.
void Locate(double angle, double first, double step, int count, int& index, double& fraction)
{
    double x = (angle - first) / step;
    if (x < 0.0)
        x = 0.0;
    if (x > count - 1)
        x = count - 1;
    index = static_cast<int>(std::floor(x));
    if (index > count - 2)
        index = count - 2;
    fraction = x - index;
}

double Linear(const double* row, int index, double fraction)
{
    return row[index] + fraction * (row[index + 1] - row[index]);
}

}  // namespace

void AntennaTable::load(const std::string& path)
{
    add(readAntex(path));
}

void AntennaTable::add(AntexFile file)
{
    m_warnings.insert(m_warnings.end(), file.warnings.begin(), file.warnings.end());
    for (AntexAntenna& antenna : file.antennas)
        m_antennas.push_back(std::move(antenna));
}

const AntexAntenna* AntennaTable::findReceiver(const std::string& type, const std::string& radome) const
{
    const AntexAntenna* found = nullptr;
    for (const AntexAntenna& antenna : m_antennas) {
        if (antenna.isSatellite || antenna.type != type || antenna.radome != radome)
            continue;
        if (antenna.serial.empty())
            return &antenna;
        if (!found)
            found = &antenna;
    }
    return found;
}

const AntexAntenna* AntennaTable::receiver(const std::string& type, const std::string& radome,
                                           bool* radomeReplaced) const
{
    const std::string wantedType = trimmedField(type, 0, type.size());
    std::string wantedRadome = trimmedField(radome, 0, radome.size());
    if (wantedRadome.empty())
        wantedRadome = "NONE";
    if (radomeReplaced)
        *radomeReplaced = false;
    if (const AntexAntenna* exact = findReceiver(wantedType, wantedRadome))
        return exact;
    const AntexAntenna* bare = wantedRadome == "NONE" ? nullptr : findReceiver(wantedType, "NONE");
    if (bare && radomeReplaced)
        *radomeReplaced = true;
    return bare;
}

const AntexAntenna* AntennaTable::receiver(const std::string& typeAndRadome, bool* radomeReplaced) const
{
    return receiver(trimmedField(typeAndRadome, 0, 16), trimmedField(typeAndRadome, 16, 4), radomeReplaced);
}

const AntexAntenna* AntennaTable::satellite(int iprn, const tagGPSTIME2& t) const
{
    for (const AntexAntenna& antenna : m_antennas) {
        if (!antenna.isSatellite || antenna.iprn != iprn || iprn <= 0)
            continue;
        if (antenna.hasValidFrom && secondsBetween(t, antenna.validFrom) < 0.0)
            continue;
        if (antenna.hasValidUntil && secondsBetween(t, antenna.validUntil) > 0.0)
            continue;
        return &antenna;
    }
    return nullptr;
}

bool AntennaTable::hasSatellites() const
{
    for (const AntexAntenna& antenna : m_antennas)
        if (antenna.isSatellite)
            return true;
    return false;
}

double receiverPcv(const AntexAntenna& antenna, const AntexFrequency& frequency, double azimuth, double zenith)
{
    int iz;
    double fz;
    Locate(zenith, antenna.zen1, antenna.dzen, antenna.zenithCount, iz, fz);
    if (antenna.azimuthCount < 2 || frequency.grid.empty())
        return Linear(frequency.noAzimuth.data(), iz, fz);
    double a = std::fmod(azimuth, 360.0);
    if (a < 0.0)
        a += 360.0;
    int ia;
    double fa;
    Locate(a, 0.0, antenna.dazi, antenna.azimuthCount, ia, fa);
    const size_t columns = static_cast<size_t>(antenna.zenithCount);
    const double* row0 = frequency.grid.data() + static_cast<size_t>(ia) * columns;
    const double* row1 = row0 + columns;
    return (1.0 - fa) * Linear(row0, iz, fz) + fa * Linear(row1, iz, fz);
}

double satellitePcv(const AntexAntenna& antenna, const AntexFrequency& frequency, double nadir)
{
    int index;
    double fraction;
    Locate(nadir, antenna.zen1, antenna.dzen, antenna.zenithCount, index, fraction);
    return Linear(frequency.noAzimuth.data(), index, fraction);
}

}  // namespace pppio
