// The built-in network: reference stations 100-1000 km apart around the
// western Baltic, static rovers inside it and a kinematic rover walking on
// a circle, and users at chosen distances east of the first station.
// Positions are the truth of the simulation (ECEF, m).
#ifndef NETSIM_NETWORK_H
#define NETSIM_NETWORK_H

#include <string>
#include <vector>

namespace netsim {

enum class Role { kStation, kRover, kKinematic };

struct Site {
    std::string name;       // four characters
    Role role;
    double xyz[3];          // ECEF truth (for the kinematic rover: the circle's centre)
    double lat, lon, height;  // geodetic of xyz, rad and m
};

// The first `stations` reference stations (1-12), `rovers` static rovers
// (0-2), when asked the kinematic rover KIN1, and for each entry of
// `baselinesKm` a static rover "B" + three digits of the kilometres (B010),
// that many kilometres east of the first station along its parallel, at its
// height (the straight distance is shorter by about d^3 / (24 r^2), 3 m at
// 100 km).
std::vector<Site> BuildNetwork(int stations, int rovers, bool kinematic, const std::vector<int>& baselinesKm);

// Position of a site `seconds` after the start: fixed, or on a circle of
// kCircleRadius metres around the centre at walking speed.
constexpr double kCircleRadius = 100.0;
constexpr double kWalkingSpeed = 1.4;   // m/s
void SitePosition(const Site& site, double seconds, double xyz[3]);

const char* RoleName(Role role);

}  // namespace netsim

#endif
