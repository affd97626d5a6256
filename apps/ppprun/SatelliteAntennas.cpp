#include "SatelliteAntennas.h"

#include "common/gnsscmn.h"

namespace ppprun {

AntennaCoverage CoverSatelliteAntennas(SatelliteAntennas policy, const std::string& systems,
                                       const pppio::PreciseOrbit& orbit, const pppio::AntennaTable& antennas,
                                       const tagGPSTIME2& t)
{
    AntennaCoverage c;
    const pppio::SatelliteSet wanted = pppio::SatelliteSet::ofSystems(systems);
    for (int iprn = 1; iprn <= pppio::kMaxPackedIndex; ++iprn) {
        if (!wanted.contains(iprn) || orbit.sampleCount(iprn) == 0 || antennas.satellite(iprn, t))
            continue;
        c.missing += (c.missing.empty() ? "" : " ") + pppio::satelliteName(iprn);
        const char system = judge_sys_char(iprn);
        if (c.incomplete.find(system) == std::string::npos)
            c.incomplete += system;
    }
    if (policy == SatelliteAntennas::kNone)
        return c;
    for (int iprn = 1; iprn <= pppio::kMaxPackedIndex; ++iprn) {
        const bool systemComplete = c.incomplete.find(judge_sys_char(iprn)) == std::string::npos;
        if (policy == SatelliteAntennas::kAll || systemComplete)
            c.applied.add(iprn);
    }
    return c;
}

}  // namespace ppprun
