#include "Network.h"

#include <cmath>
#include <cstdio>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"

namespace netsim {

namespace {

struct SiteDefinition {
    const char* name;
    double latDeg, lonDeg, height;
};

constexpr SiteDefinition kStations[] = {
    {"S001", 55.70, 12.50, 40.0},  {"S002", 56.15, 10.20, 60.0},  {"S003", 53.55, 10.00, 20.0},
    {"S004", 52.50, 13.40, 50.0},  {"S005", 54.35, 18.65, 30.0},  {"S006", 52.23, 21.00, 110.0},
    {"S007", 57.70, 11.97, 40.0},  {"S008", 59.33, 18.07, 30.0},  {"S009", 59.90, 10.75, 100.0},
    {"S010", 56.66, 16.36, 20.0},  {"S011", 58.97, 5.73, 50.0},   {"S012", 56.95, 24.10, 10.0},
};
constexpr SiteDefinition kRovers[] = {{"ROV1", 55.10, 14.00, 120.0}, {"ROV2", 56.50, 13.50, 230.0}};
constexpr SiteDefinition kKinematic = {"KIN1", 55.50, 12.00, 80.0};

Site MakeSite(const SiteDefinition& d, Role role)
{
    Site site{d.name, role, {0.0, 0.0, 0.0}, d.latDeg * _PI / 180.0, d.lonDeg * _PI / 180.0, d.height};
    tagCRDGEODETIC blh{site.lon, site.lat, site.height};
    tagCRDCARTESIAN xyz;
    CGNSSCoordConvert().GeodeticToCartesian(&blh, &xyz, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    site.xyz[0] = xyz.x;
    site.xyz[1] = xyz.y;
    site.xyz[2] = xyz.z;
    return site;
}

// A user `km` kilometres east of `from` on its parallel at its height, whose
// radius is (N + h) cos(lat) with N the ellipsoid's prime vertical radius.
SiteDefinition EastOf(const SiteDefinition& from, int km, char* name)
{
    const double lat = from.latDeg * _PI / 180.0, s = std::sin(lat);
    const double parallelRadius = (_WGS84_ELLIPSE_A / std::sqrt(1.0 - _WGS84_ELLIPSE_E2 * s * s) + from.height) * std::cos(lat);
    std::snprintf(name, 5, "B%03d", km);
    return {name, from.latDeg, from.lonDeg + km * 1000.0 / parallelRadius * 180.0 / _PI, from.height};
}

}  // namespace

std::vector<Site> BuildNetwork(int stations, int rovers, bool kinematic, const std::vector<int>& baselinesKm)
{
    std::vector<Site> sites;
    for (int k = 0; k < stations && k < 12; ++k)
        sites.push_back(MakeSite(kStations[k], Role::kStation));
    for (int k = 0; k < rovers && k < 2; ++k)
        sites.push_back(MakeSite(kRovers[k], Role::kRover));
    if (kinematic)
        sites.push_back(MakeSite(kKinematic, Role::kKinematic));
    for (int km : baselinesKm) {
        char name[8];
        sites.push_back(MakeSite(EastOf(kStations[0], km, name), Role::kRover));
    }
    return sites;
}

void SitePosition(const Site& site, double seconds, double xyz[3])
{
    for (int k = 0; k < 3; ++k)
        xyz[k] = site.xyz[k];
    if (site.role != Role::kKinematic)
        return;
    const double angle = kWalkingSpeed / kCircleRadius * seconds;
    const double east = kCircleRadius * std::cos(angle), north = kCircleRadius * std::sin(angle);
    const double sl = std::sin(site.lat), cl = std::cos(site.lat), so = std::sin(site.lon), co = std::cos(site.lon);
    xyz[0] += -so * east - sl * co * north;
    xyz[1] += co * east - sl * so * north;
    xyz[2] += cl * north;
}

const char* RoleName(Role role)
{
    switch (role) {
    case Role::kStation: return "station";
    case Role::kRover: return "rover";
    case Role::kKinematic: return "kinematic";
    }
    return "";
}

}  // namespace netsim
