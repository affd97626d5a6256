#include "engine/SatGeometry.h"

#include <cmath>

#include "common/GNSSConst.h"

double SagnacRange(const double* rec, const double* sat, double* d)
{
    for (int k = 0; k < 3; ++k)
        d[k] = sat[k] - rec[k];
    const double geometric = std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
    return geometric - (rec[0] * d[1] - rec[1] * d[0]) * _EARTH_ROTATE / _LIGHT_SPEED;
}

TopocentricFrame::TopocentricFrame(const tagCRDCARTESIAN& origin, const tagCRDGEODETIC& blh)
    : m_origin(origin), m_sinB(std::sin(blh.lat)), m_cosB(std::cos(blh.lat)), m_sinL(std::sin(blh.lon)),
      m_cosL(std::cos(blh.lon))
{
}

tagCRDTOPOCENTRICPOLAR TopocentricFrame::Polar(const double* point) const
{
    const double dx = point[0] - m_origin.x, dy = point[1] - m_origin.y, dz = point[2] - m_origin.z;
    tagCRDTOPOCENTRIC neu;
    neu.north = -m_sinB * m_cosL * dx - m_sinB * m_sinL * dy + m_cosB * dz;
    neu.east = -m_sinL * dx + m_cosL * dy;
    neu.up = m_cosB * m_cosL * dx + m_cosB * m_sinL * dy + m_sinB * dz;
    tagCRDTOPOCENTRICPOLAR polar;
    CGNSSCoordConvert().TopocentricToTopocentricPolar(&neu, &polar);
    return polar;
}
