// Receiver-to-satellite geometry shared by single point positioning and slip
// detection.
#ifndef PPPLIB_ENGINE_SATGEOMETRY_H
#define PPPLIB_ENGINE_SATGEOMETRY_H

#include "common/GNSSCoordConvert.h"

// Range from receiver to satellite with the Earth-rotation (Sagnac) term of
// the signal travel time; d receives the vector satellite - receiver.
double SagnacRange(const double* rec, const double* sat, double* d);

// North/east/up frame at a receiver, set up once for the satellites of an
// epoch (the rotation of CGNSSCoordConvert::CartesianToTopocentric).
class TopocentricFrame {
public:
    TopocentricFrame(const tagCRDCARTESIAN& origin, const tagCRDGEODETIC& blh);
    // Distance, azimuth and elevation of a point seen from the origin.
    tagCRDTOPOCENTRICPOLAR Polar(const double* point) const;

private:
    tagCRDCARTESIAN m_origin;
    double m_sinB, m_cosB, m_sinL, m_cosL;
};

#endif
