#include "common/GNSSCoordConvert.h"

#include <cmath>

#include "common/GNSSConst.h"

double CGNSSCoordConvert::dot(const double* a, const double* b, int n)
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

namespace {

// Iterative conversion to geodetic latitude, longitude and height on WGS84.
tagCRDGEODETIC GeodeticOf(const tagCRDCARTESIAN& in)
{
    const double a = _WGS84_ELLIPSE_A;
    const double e2 = _WGS84_ELLIPSE_E2;
    const double r2 = in.x * in.x + in.y * in.y;
    double z = in.z, zOld = 0.0, n = a;
    while (std::fabs(z - zOld) >= 1e-4) {
        zOld = z;
        const double s = z / std::sqrt(z * z + r2);
        n = a / std::sqrt(1.0 - e2 * s * s);
        z = in.z + n * e2 * s;
    }
    tagCRDGEODETIC out;
    if (r2 <= 1e-12) {
        out.lat = in.z > 0.0 ? _PI / 2.0 : -_PI / 2.0;
        out.lon = 0.0;
    } else {
        out.lat = std::atan(z / std::sqrt(r2));
        out.lon = std::atan2(in.y, in.x);
    }
    out.height = std::sqrt(z * z + r2) - n;
    return out;
}

bool SamePoint(const tagCRDCARTESIAN& a, const tagCRDCARTESIAN& b)
{
    return a.x == b.x && a.y == b.y && a.z == b.z;
}

}  // namespace

const CGNSSCoordConvert::LocalFrame& CGNSSCoordConvert::GeodeticAt(const tagCRDCARTESIAN& p)
{
    if (!m_frame.valid || !SamePoint(m_frame.at, p)) {
        m_frame.at = p;
        m_frame.blh = GeodeticOf(p);
        m_frame.valid = true;
        m_frame.hasRotation = false;
    }
    return m_frame;
}

const CGNSSCoordConvert::LocalFrame& CGNSSCoordConvert::RotationAt(const tagCRDCARTESIAN& ref)
{
    GeodeticAt(ref);
    if (!m_frame.hasRotation) {
        m_frame.sinB = std::sin(m_frame.blh.lat);
        m_frame.cosB = std::cos(m_frame.blh.lat);
        m_frame.sinL = std::sin(m_frame.blh.lon);
        m_frame.cosL = std::cos(m_frame.blh.lon);
        m_frame.hasRotation = true;
    }
    return m_frame;
}

void CGNSSCoordConvert::CartesianToGeodetic(tagCRDCARTESIAN* in, tagCRDGEODETIC* out, double, double)
{
    *out = GeodeticAt(*in).blh;
}

void CGNSSCoordConvert::GeodeticToCartesian(tagCRDGEODETIC* in, tagCRDCARTESIAN* out, double a, double f)
{
    const double e2 = 1.0 - (1.0 - f) * (1.0 - f);
    const double sinB = std::sin(in->lat), cosB = std::cos(in->lat);
    const double n = a / std::sqrt(1.0 - e2 * sinB * sinB);
    out->x = (n + in->height) * cosB * std::cos(in->lon);
    out->y = (n + in->height) * cosB * std::sin(in->lon);
    out->z = ((1.0 - e2) * n + in->height) * sinB;
}

void CGNSSCoordConvert::CartesianToTopocentric(tagCRDCARTESIAN* p, tagCRDTOPOCENTRIC* out, tagCRDCARTESIAN* ref,
                                               double, double)
{
    const LocalFrame& frame = RotationAt(*ref);
    const double dx = p->x - ref->x, dy = p->y - ref->y, dz = p->z - ref->z;
    const double sinB = frame.sinB, cosB = frame.cosB, sinL = frame.sinL, cosL = frame.cosL;
    out->north = -sinB * cosL * dx - sinB * sinL * dy + cosB * dz;
    out->east = -sinL * dx + cosL * dy;
    out->up = cosB * cosL * dx + cosB * sinL * dy + sinB * dz;
}

void CGNSSCoordConvert::TopocentricToCartesian2(tagCRDTOPOCENTRIC* in, tagCRDCARTESIAN* out, tagCRDCARTESIAN* ref,
                                                double, double)
{
    const LocalFrame& frame = RotationAt(*ref);
    const double sinB = frame.sinB, cosB = frame.cosB, sinL = frame.sinL, cosL = frame.cosL;
    const double n = in->north, e = in->east, u = in->up;
    out->x = -sinB * cosL * n - sinL * e + cosB * cosL * u;
    out->y = -sinB * sinL * n + cosL * e + cosB * sinL * u;
    out->z = cosB * n + sinB * u;
}

void CGNSSCoordConvert::TopocentricToCartesian(tagCRDTOPOCENTRIC* in, tagCRDCARTESIAN* out, tagCRDCARTESIAN* ref,
                                               double a, double f)
{
    tagCRDCARTESIAN d;
    TopocentricToCartesian2(in, &d, ref, a, f);
    out->x = ref->x + d.x;
    out->y = ref->y + d.y;
    out->z = ref->z + d.z;
}

void CGNSSCoordConvert::TopocentricToTopocentricPolar(tagCRDTOPOCENTRIC* in, tagCRDTOPOCENTRICPOLAR* out)
{
    const double n = in->north, e = in->east, u = in->up;
    out->distance = std::sqrt(n * n + e * e + u * u);
    out->azimuth = Get_atan(e, n);
    out->elevation = std::atan(u / std::sqrt(n * n + e * e));
}

double CGNSSCoordConvert::Get_atan(double y, double x)
{
    double angle;
    if (std::fabs(y) < 1e-10 && x > 0.0)
        angle = 0.0;
    else if (x < 0.0 && std::fabs(y) < 1e-10)
        angle = _PI;
    else if (y > 0.0 && std::fabs(x) < 1e-10)
        angle = _PI / 2.0;
    else if (y < 0.0 && std::fabs(x) < 1e-10)
        angle = 3.0 * _PI / 2.0;
    else
        angle = std::atan(y / x);
    // The quadrant shift applies to the special cases too (so y = 0, x < 0
    // yields 2 pi): callers rely on these exact values.
    if (x > 0.0 && y < 0.0)
        angle += 2.0 * _PI;
    else if (x < 0.0)
        angle += _PI;
    return angle;
}
