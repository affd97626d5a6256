// Shared test material of the engine: a real orbit excerpt, synthetic epochs
// observed from a known receiver position, and engine construction.
#ifndef PPPLIB_TESTS_SUPPORT_ENGINEFIXTURES_H
#define PPPLIB_TESTS_SUPPORT_ENGINEFIXTURES_H

#include <memory>
#include <string>
#include <vector>

#include "engine/GNSSSPP.h"
#include "support/ScratchFiles.h"

namespace enginetest {

// ESBC marker, ITRF2014 epoch 2020.48.
constexpr tagCRDCARTESIAN kEsbc{3582104.766, 532590.178, 5232755.139};

// 2020-06-25 00:15:00 GPS time, the middle epoch of the orbit excerpt.
tagCOMMONTIME EpochTime();
tagGPSTIME2 EpochGpsTime();

// Orbits and clocks of the middle epoch of tests/data/GRG0MGXFIN_20201770000_3EPOCHS.SP3
// (G, R, E); velocities by central difference of the neighbouring epochs.
const tagGMSP3REC& Orbits();

// Elevation (degrees) of a satellite seen from rec.
double ElevationDeg(const tagGMSP3REC& orb, int iprn, const tagCRDCARTESIAN& rec);

// A point `range` metres from rec at an elevation (degrees) and azimuth (radians).
tagCRDCARTESIAN PointSeenFrom(const tagCRDCARTESIAN& rec, double elevDeg, double azimuth, double range = 2e7);

// How a synthetic epoch is observed.
struct Scenario {
    tagCRDCARTESIAN rec = kEsbc;
    std::vector<char> systems{'G', 'R', 'E'};
    double minElevDeg = 10.0;
    double recClk[4] = {2.5e-4, 2.5e-4 + 1.3e-7, 2.5e-4 - 4.0e-8, 2.5e-4};   // s, per system G, R, E, C
    double recDrift = 3.0e-9;         // s/s
    double ionoL1 = 4.0;              // m, first-frequency ionospheric delay
};

// Dual-frequency codes and Doppler of every satellite of the scenario's
// systems above its elevation limit: exact ranges with the Earth-rotation
// term, satellite clocks, the receiver clocks, the slant troposphere as the
// precise stage models it and an ionosphere that the ionosphere-free
// combination removes.
void BuildEpoch(const Scenario& sc, tagGPSOBSONEEPO* epo);

// Index of a satellite (system letter and number) in the epoch, or -1.
int FindSat(const tagGPSOBSONEEPO& epo, char sys, int prn);

// An engine with its configuration and site records.
struct Engine {
    explicit Engine(std::vector<char> systems);
    t_conf conf{};
    tagSITE site{};
    std::unique_ptr<CGNSSSPP> spp;
};

}  // namespace enginetest

#endif
