// Observation weighting settings per satellite class G, R, E, C (PRN > 5),
// C geostationary (PRN 1-5): relative factors and code sigmas.
#ifndef PPPLIB_ENGINE_OBSWEIGHT_H
#define PPPLIB_ENGINE_OBSWEIGHT_H

struct ObsWeight {
    ObsWeight();
    ~ObsWeight() {}
    double dWeightFactor[5];
    double dWeightSigma[5];
};

// A second default table; its GLONASS and Galileo sigmas differ from the
// constructor's on purpose. Neither default is used by the engine, which
// copies its weights from the configuration.
extern const ObsWeight weight_default;

// Weight class of a satellite: 0 G, 1 R, 2 E, 3 C (PRN > 5), 4 C (PRN 1-5); -1 other.
int WeightClass(char sys, int prn);

#endif
