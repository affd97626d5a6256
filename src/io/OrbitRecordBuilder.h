// The library's orbit and clock record of one epoch (tagGMSP3REC), built
// from precise products (SP3 orbits, RINEX clocks, ANTEX satellite antennas)
// with an optional fallback to broadcast ephemerides.
//
// Each entry holds the satellite at the time of transmission of the signal
// received at the epoch, t_tx = t_rx - P/c - dt_sat (two iterations):
// position and velocity Earth-fixed at t_tx, NOT rotated for the signal
// travel time (the library applies the Earth-rotation term itself); the
// clock at t_tx with the relativistic correction -2 (r.v)/c^2; the clock
// drift from the clock's rate. With a satellite antenna in the ANTEX table
// the position is moved from the centre of mass to the ionosphere-free
// phase centre (nominal yaw attitude) and `pcv` points at the antenna's
// nadir variations.
#ifndef PPPIO_ORBITRECORDBUILDER_H
#define PPPIO_ORBITRECORDBUILDER_H

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "common/GNSSTimeConvert.h"
#include "engine/GNSSEpoch.h"
#include "io/GpsTime.h"
#include "io/SatelliteId.h"
#include "models/GNSSAtx.h"
#include "models/GNSSErrorCorrection.h"

namespace pppio {

class AntennaTable;
class SatelliteStateSource;
class PreciseClock;
class PreciseOrbit;
struct AntexAntenna;
struct AntexFrequency;

// Where the orbits and clocks come from; null members are not available.
struct ProductSources {
    const PreciseOrbit* orbit = nullptr;        // SP3 orbits
    const PreciseClock* clock = nullptr;        // RINEX clocks; null: the SP3 clocks
    // Fallback where precise products are missing: broadcast ephemerides,
    // possibly corrected by a correction stream (antenna phase centre).
    const SatelliteStateSource* broadcast = nullptr;
    const AntennaTable* antennas = nullptr;     // satellite antennas
};

enum class OrbitSource { kMissing, kPrecise, kBroadcast };

class OrbitRecordBuilder {
public:
    // applySatelliteAntenna: move precise positions to the phase centre and
    // hand the nadir variations to the library when the antenna is known.
    OrbitRecordBuilder(const ProductSources& sources, bool applySatelliteAntenna);
    OrbitRecordBuilder(const OrbitRecordBuilder&) = delete;
    OrbitRecordBuilder& operator=(const OrbitRecordBuilder&) = delete;

    // Marks every entry of the record invalid and takes the Sun of the epoch
    // (calendar GPS time) for the satellite attitude.
    void beginEpoch(const tagCOMMONTIME& epoch, tagGMSP3REC& record);

    // Fills entry iprn - 1 for the signal received at `receive` with the
    // code `code` (m); f1, f2 are the satellite's carrier frequencies (Hz)
    // for the ionosphere-free antenna offset. kMissing leaves it invalid.
    OrbitSource fill(int iprn, const tagGPSTIME2& receive, double code, double f1, double f2,
                     tagGMSP3REC& record);

    const ProductSources& sources() const { return m_sources; }

    // Applies the satellite antennas only to these satellites (default: all).
    void limitAntennasTo(const SatelliteSet& satellites) { m_antennaSatellites = satellites; }

    // Precise clock of satellite iprn at t (s, without the relativistic
    // term): the clock file, else the SP3 clocks.
    bool clockAt(int iprn, const tagGPSTIME2& t, double& clock) const;

    // Offset (Earth-fixed, m) from the centre of mass to the ionosphere-free
    // phase centre of satellite iprn at time t, nominal yaw with the Sun of
    // the epoch begun last; false when the antenna is not in the table.
    bool phaseCentreOffset(int iprn, const tagGPSTIME2& t, double f1, double f2, const double centreOfMass[3],
                           double offset[3]);

    // Transmission time and satellite clock (s, without the relativistic
    // term) for a clock function bool(const tagGPSTIME2&, double&).
    template <class ClockAt>
    static bool TransmissionTime(const tagGPSTIME2& receive, double code, ClockAt clockAt, tagGPSTIME2& transmit,
                                 double& clock);

    // The relativistic clock correction -2 (r.v)/c^2 (s).
    static double RelativisticCorrection(const double position[3], const double velocity[3]);

private:
    bool fromPrecise(int iprn, const tagGPSTIME2& receive, double code, tagSP3ONESAT& out) const;
    bool fromBroadcast(int iprn, const tagGPSTIME2& receive, double code, tagSP3ONESAT& out) const;
    const AntexAntenna* antennaFrequencies(int iprn, const tagGPSTIME2& t, const AntexFrequency*& first,
                                           const AntexFrequency*& second) const;
    // Nadir variations of the satellite antenna, and for a centre-of-mass
    // orbit the phase-centre offset.
    void applyAntenna(int iprn, const tagGPSTIME2& transmit, double f1, double f2, bool moveToPhaseCentre,
                      tagSP3ONESAT& out);

    ProductSources m_sources;
    bool m_applyAntenna;
    SatelliteSet m_antennaSatellites = SatelliteSet::all();
    tagCRDCARTESIAN m_sun;
    CGNSSErrorCorrection m_model;               // Sun and satellite attitude
    t_satpcv m_pcv[MAXSATNUM];                  // nadir variations handed to the library
    const AntexAntenna* m_pcvSource[MAXSATNUM]; // antenna each m_pcv entry was filled from
};

template <class ClockAt>
bool OrbitRecordBuilder::TransmissionTime(const tagGPSTIME2& receive, double code, ClockAt clockAt,
                                          tagGPSTIME2& transmit, double& clock)
{
    const double travel = code / _LIGHT_SPEED;
    transmit = shiftedTime(receive, -travel);
    for (int iteration = 0; iteration < 2; ++iteration) {
        if (!clockAt(transmit, clock))
            return false;
        transmit = shiftedTime(receive, -travel - clock);
    }
    return clockAt(transmit, clock);
}

}  // namespace pppio

#endif
