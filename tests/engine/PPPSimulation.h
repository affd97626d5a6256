// Simulated dual-frequency GPS and Galileo observations of a static receiver,
// for tests of the float PPP filter against a known truth.
//
// Satellites move on circular orbits (GPS 26560 km at 55 degrees, Galileo
// 29600 km at 56 degrees) in an inertial frame; the Earth turns under them.
// Ranges are solved for the light time exactly, the orbit record holds each
// satellite's Earth-fixed position at its transmission time, as a host
// interpolating precise orbits would give it. Observations carry the receiver
// and satellite clocks, the slant troposphere (the library's Saastamoinen
// zenith delays of the standard atmosphere with the true wet delay, both
// mapped with the library's GMF), a first-order ionosphere, integer
// ambiguities and white noise from a fixed-seed generator.
#ifndef PPPLIB_TESTS_ENGINE_PPPSIMULATION_H
#define PPPLIB_TESTS_ENGINE_PPPSIMULATION_H

#include <cstdint>
#include <vector>

#include "common/GNSSCoordConvert.h"
#include "engine/GNSSEpoch.h"

namespace pppsim {

struct SimSetup {
    tagCRDCARTESIAN site{3582104.766, 532590.178, 5232755.139};   // true receiver position (m)
    double zwd = 0.1;            // true zenith wet delay (m)
    double codeSigma = 0.3;      // white noise of each code (m)
    double phaseSigma = 0.003;   // white noise of each phase (m)
    double minElevDeg = 7.0;     // satellites below are not delivered
    bool phaseBiases = false;    // satellite and receiver phase biases (fractional cycles)
    uint64_t seed = 20200625;
};

// GPS time of the first simulated epoch: 2020-06-25 00:00:00.
constexpr int kWeek = 2111;
constexpr double kStartSow = 345600.0;

class Simulator {
public:
    explicit Simulator(const SimSetup& setup);

    // Fills the epoch (every satellite above the mask, in use, codes in
    // metres and phases in cycles) and the orbit record for a GPS time.
    void Observe(double sow, tagGPSOBSONEEPO* epo, tagGMSP3REC* orb);

    // A cycle slip: the first-frequency phase of the satellite gains whole
    // cycles from the next observation on.
    void SlipL1(char sys, int prn, int cycles);

    // Library-domain UPDs of a satellite (cycles), wrapped into half a cycle
    // as a product publishes them: wide lane a1 - a2 and narrow lane
    // (f1 a1 - f2 a2)/(f1 - f2) of its phase biases a (the narrow lane
    // corrected for the wrap of the wide lane).
    void TrueUpd(char sys, int prn, double* wl, double* nl) const;
    // Ambiguity term of the ionosphere-free phase (m), biases included.
    double IonoFreeAmbiguity(char sys, int prn) const;

    // The receiver clock of a system's observations (s).
    static double ReceiverClock(char sys, double sow);

    const SimSetup& setup() const { return m_setup; }

private:
    struct Satellite {
        char sys;
        int prn;
        double radius, inclination, node, argument0;   // m, rad, rad, rad
        double clock0, clockDrift;                     // s, s/s
        double verticalIono;                           // m on the first frequency
        double n1, n2;                                 // ambiguities (cycles)
        double a1, a2;                                 // phase biases (cycles)
    };
    void Inertial(const Satellite& s, double t, double out[3]) const;
    const Satellite& Find(char sys, int prn) const;
    double Uniform();    // in [0, 1)
    double Gaussian();   // standard normal

    SimSetup m_setup;
    std::vector<Satellite> m_sats;
    uint64_t m_state;
};

}  // namespace pppsim

#endif
