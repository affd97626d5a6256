// The observation simulation: for every site and epoch, code and phase of
// the satellites above the mask computed from the precise orbits and clocks
// with the same corrections the library's PPP model applies (solid tide,
// wind-up, hydrostatic delay with the GMF), plus the truth the processing
// must recover: wet delay, ionosphere, receiver clock, hardware biases,
// integer ambiguities with slips and gaps, and elevation-dependent noise.
//
//   netsim::Simulator simulator(options, orbit, clock, start);
//   simulator.run();           // writes OUT/NAME.rnx of every site
//   simulator.slips();         // the injected slips and gaps
#ifndef NETSIM_SIMULATOR_H
#define NETSIM_SIMULATOR_H

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "Biases.h"
#include "Network.h"
#include "Options.h"
#include "common/GNSSConst.h"
#include "engine/GNSSEpoch.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/RinexObsHeader.h"
#include "models/GNSSErrorCorrection.h"

namespace netsim {

struct Satellite {
    char system;
    int prn;
    int iprn;             // packed index of the library
    double f[2];          // carrier frequencies, Hz
    PhaseCodeBiases bias; // at the start; phases drift with --nl-drift
    std::string id() const;
};

// An event of the truth: a jump of the ambiguities inside an arc, or a gap
// of all satellites of a site (new arcs afterwards).
struct SlipRecord {
    std::string site;
    std::string satellite;   // empty for a gap
    tagGPSTIME2 time;
    int dN1, dN2;            // cycles; for a gap, its length in epochs in dN1
};

class Simulator {
public:
    Simulator(const Options& options, const pppio::PreciseOrbit& orbit, const pppio::PreciseClock& clock,
              const tagGPSTIME2& start);
    ~Simulator();
    Simulator(const Simulator&) = delete;
    Simulator& operator=(const Simulator&) = delete;

    // Simulates all epochs and writes the observation files (and the
    // trajectory of the kinematic rover). Throws std::runtime_error when a
    // file cannot be written.
    void run();

    const std::vector<Satellite>& satellites() const { return m_satellites; }
    const std::vector<Site>& sites() const { return m_sites; }
    const std::vector<SlipRecord>& slips() const { return m_slips; }
    long epochCount() const { return m_epochs; }
    const tagGPSTIME2& start() const { return m_start; }
    // Satellite biases at `t`, with the narrow-lane drift.
    PhaseCodeBiases satelliteBiases(const Satellite& s, const tagGPSTIME2& t) const;
    double nlDrift() const { return m_options.nlDriftPerHour; }   // cycles per hour
    // Satellite-epochs written over all sites.
    long observationCount() const { return m_observations; }

private:
    struct Station;
    struct EpochContext;
    struct Geometry;

    bool geometry(const Satellite& sat, const EpochContext& ctx, const Station& st, const double receiver[3],
                  Geometry& g) const;
    void simulateStation(Station& st, const EpochContext& ctx);

    Options m_options;
    const pppio::PreciseOrbit& m_orbit;
    const pppio::PreciseClock& m_clock;
    tagGPSTIME2 m_start;
    long m_epochs;
    pppio::RinexObsHeader m_header;
    std::vector<Satellite> m_satellites;
    std::vector<Site> m_sites;
    std::vector<std::unique_ptr<Station>> m_stations;
    std::vector<SlipRecord> m_slips;
    CGNSSErrorCorrection m_model;   // tide, Sun, wind-up, troposphere as the library computes them
    long m_observations = 0;
};

}  // namespace netsim

#endif
