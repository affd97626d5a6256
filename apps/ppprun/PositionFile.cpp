#include "PositionFile.h"

#include <cerrno>
#include <cmath>
#include <cstring>

#include "Run.h"
#include "common/GNSSConst.h"
#include "io/GpsTime.h"

namespace ppprun {

namespace {

constexpr double kRadToDeg = 180.0 / _PI;

// "YYYY/MM/DD HH:MM:SS.sss", rounded to the millisecond with the carry
// taken through the GPS time so that 59.9996 s never prints as 60.000.
std::string TimeText(const tagGPSTIME2& t)
{
    tagGPSTIME2 rounded = t;
    rounded.sow = std::round(t.sow * 1000.0) / 1000.0;
    rounded = pppio::shiftedTime(rounded, 0.0);
    tagCOMMONTIME c{};
    CGNSSTimeConvert().GPSTime2ToCommonTime(&rounded, &c);
    const double second = std::round(c.second * 1000.0) / 1000.0;
    char text[40];
    std::snprintf(text, sizeof(text), "%04d/%02d/%02d %02d:%02d:%06.3f", static_cast<int>(c.year),
                  static_cast<int>(c.month), static_cast<int>(c.day), static_cast<int>(c.hour),
                  static_cast<int>(c.minute), second);
    return text;
}

// Square root of a covariance with its sign: the layout's off-diagonal columns.
double SignedRoot(double covariance)
{
    return covariance < 0.0 ? -std::sqrt(-covariance) : std::sqrt(covariance);
}

// R C R^T for the 3x3 rotation R.
void Rotate(const double r[3][3], const double c[3][3], double out[3][3])
{
    double rc[3][3] = {};
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            for (int k = 0; k < 3; ++k)
                rc[i][j] += r[i][k] * c[k][j];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) {
            out[i][j] = 0.0;
            for (int k = 0; k < 3; ++k)
                out[i][j] += rc[i][k] * r[j][k];
        }
}

// ECEF to east, north, up at geodetic latitude and longitude (rad).
void LocalRotation(double lat, double lon, double r[3][3])
{
    const double sp = std::sin(lat), cp = std::cos(lat), sl = std::sin(lon), cl = std::cos(lon);
    const double rows[3][3] = {{-sl, cl, 0.0}, {-sp * cl, -sp * sl, cp}, {cp * cl, cp * sl, sp}};
    std::memcpy(r, rows, sizeof(rows));
}

const char* const kQualityLegend = "Q=1:fix,2:float,3:sbas,4:dgps,5:single,6:ppp,ns=# of satellites";

}  // namespace

bool ParsePositionFormat(const std::string& text, PositionFormat& out)
{
    if (text == "xyz")
        out = PositionFormat::kXyz;
    else if (text == "llh")
        out = PositionFormat::kLlh;
    else if (text == "enu")
        out = PositionFormat::kEnu;
    else
        return false;
    return true;
}

PositionFile::PositionFile(const std::string& path, PositionFormat format, const PositionHeader& header)
    : m_format(format)
{
    m_file = std::fopen(path.c_str(), "w");
    if (!m_file)
        throw InputError("cannot write " + path + ": " + std::strerror(errno));
    if (header.hasReference)
        setOrigin(header.reference);
    writeHeader(header);
}

PositionFile::~PositionFile()
{
    std::fclose(m_file);
}

void PositionFile::setOrigin(const double xyz[3])
{
    m_origin = {xyz[0], xyz[1], xyz[2]};
    tagCRDGEODETIC g{};
    m_convert.CartesianToGeodetic(&m_origin, &g, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    LocalRotation(g.lat, g.lon, m_rotation);
    m_hasOrigin = true;
}

void PositionFile::writeHeader(const PositionHeader& h)
{
    std::FILE* f = m_file;
    std::fprintf(f, "%% program   : %s\n", h.program.c_str());
    for (const std::string& input : h.inputs)
        std::fprintf(f, "%% inp file  : %s\n", input.c_str());
    if (h.hasStart)
        std::fprintf(f, "%% obs start : %s GPST (week%04d %8.1fs)\n", TimeText(h.start).c_str(), h.start.week,
                     h.start.sow);
    if (h.hasEnd)
        std::fprintf(f, "%% obs end   : %s GPST (week%04d %8.1fs)\n", TimeText(h.end).c_str(), h.end.week, h.end.sow);
    std::fprintf(f, "%% pos mode  : %s\n", h.posMode.c_str());
    std::fprintf(f, "%% elev mask : %.1f deg\n", h.elevMask);
    std::fprintf(f, "%% ionos opt : %s\n", h.ionosphere.c_str());
    std::fprintf(f, "%% tropo opt : %s\n", h.troposphere.c_str());
    std::fprintf(f, "%% ephemeris : %s\n", h.ephemeris.c_str());
    std::fprintf(f, "%% navi sys  : %s\n", h.systems.c_str());
    if (m_format == PositionFormat::kEnu && m_hasOrigin)
        std::fprintf(f, "%% ref pos   : %14.4f %14.4f %14.4f\n", m_origin.x, m_origin.y, m_origin.z);
    std::fprintf(f, "%%\n");
    switch (m_format) {
    case PositionFormat::kXyz:
        std::fprintf(f, "%% (x/y/z-ecef=WGS84,%s)\n", kQualityLegend);
        std::fprintf(f, "%%  GPST                      x-ecef(m)      y-ecef(m)      z-ecef(m)   Q  ns   sdx(m)   "
                        "sdy(m)   sdz(m)  sdxy(m)  sdyz(m)  sdzx(m) age(s)  ratio\n");
        break;
    case PositionFormat::kLlh:
        std::fprintf(f, "%% (lat/lon/height=WGS84/ellipsoidal,%s)\n", kQualityLegend);
        std::fprintf(f, "%%  GPST                  latitude(deg) longitude(deg)  height(m)   Q  ns   sdn(m)   "
                        "sde(m)   sdu(m)  sdne(m)  sdeu(m)  sdun(m) age(s)  ratio\n");
        break;
    case PositionFormat::kEnu:
        std::fprintf(f, "%% (e/n/u-baseline=WGS84,%s)\n", kQualityLegend);
        std::fprintf(f, "%%  GPST                  e-baseline(m)  n-baseline(m)  u-baseline(m)   Q  ns   sde(m)   "
                        "sdn(m)   sdu(m)  sden(m)  sdnu(m)  sdue(m) age(s)  ratio\n");
        break;
    }
    std::fflush(f);
}

void PositionFile::write(const EpochSolution& s)
{
    double position[3] = {s.xyz[0], s.xyz[1], s.xyz[2]};
    double cov[3][3];
    std::memcpy(cov, s.cov, sizeof(cov));
    const char* numbers = "%14.4f %14.4f %14.4f";
    if (m_format == PositionFormat::kLlh) {
        tagCRDCARTESIAN p{s.xyz[0], s.xyz[1], s.xyz[2]};
        tagCRDGEODETIC g{};
        m_convert.CartesianToGeodetic(&p, &g, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        double enu[3][3], r[3][3];
        LocalRotation(g.lat, g.lon, r);
        Rotate(r, s.cov, enu);
        // North, east, up order of the llh columns.
        const int order[3] = {1, 0, 2};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j)
                cov[i][j] = enu[order[i]][order[j]];
        position[0] = g.lat * kRadToDeg, position[1] = g.lon * kRadToDeg, position[2] = g.height;
        numbers = "%14.9f %14.9f %10.4f";
    } else if (m_format == PositionFormat::kEnu) {
        if (!m_hasOrigin)
            setOrigin(s.xyz);
        const double d[3] = {s.xyz[0] - m_origin.x, s.xyz[1] - m_origin.y, s.xyz[2] - m_origin.z};
        for (int i = 0; i < 3; ++i)
            position[i] = m_rotation[i][0] * d[0] + m_rotation[i][1] * d[1] + m_rotation[i][2] * d[2];
        Rotate(m_rotation, s.cov, cov);
    }
    std::fprintf(m_file, "%s ", TimeText(s.gpsTime).c_str());
    std::fprintf(m_file, numbers, position[0], position[1], position[2]);
    std::fprintf(m_file, " %3d %3d %8.4f %8.4f %8.4f %8.4f %8.4f %8.4f %6.2f %6.1f\n", static_cast<int>(s.quality),
                 s.satellites, std::sqrt(cov[0][0]), std::sqrt(cov[1][1]), std::sqrt(cov[2][2]),
                 SignedRoot(cov[0][1]), SignedRoot(cov[1][2]), SignedRoot(cov[2][0]), 0.0, s.ratio);
    std::fflush(m_file);
}

}  // namespace ppprun
