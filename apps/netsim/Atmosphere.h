// The atmosphere of the simulation where the processing estimates it: the
// slant ionosphere of a single-layer model with a smooth vertical electron
// content field, and the zenith wet delay of each station.
#ifndef NETSIM_ATMOSPHERE_H
#define NETSIM_ATMOSPHERE_H

#include "Random.h"

namespace netsim {

// Slant total electron content (TECU) seen from (lat, lon) (rad) towards
// azimuth and elevation (rad) at `secondsOfDay` (GPS). The vertical content
// at the pierce point of a shell 450 km high follows the local time of the
// point (5 TECU at night to 40 at 14 h), falls off to the north and carries
// two gentle travelling waves.
double SlantTec(double lat, double lon, double azimuth, double elevation, double secondsOfDay);

// First-order ionospheric delay (m) of `tecu` on a carrier of f Hz.
inline double IonosphericDelay(double tecu, double f) { return 40.3e16 * tecu / (f * f); }

// Zenith wet delay of one station: a mean of 0.08-0.20 m and two slow
// oscillations of a few centimetres (periods of 6 to 20 hours).
class WetDelay {
public:
    explicit WetDelay(Random& random);
    double at(double seconds) const;   // m, `seconds` from any fixed origin

private:
    double m_mean;
    double m_amplitude[2], m_period[2], m_phase[2];
};

}  // namespace netsim

#endif
