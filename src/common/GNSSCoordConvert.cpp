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

void CGNSSCoordConvert::CartesianToGeodetic(tagCRDCARTESIAN* in, tagCRDGEODETIC* out, double, double)
{
    const double a = _WGS84_ELLIPSE_A;
    const double e2 = _WGS84_ELLIPSE_E2;
    const double xy[2] = {in->x, in->y};
    const double r2 = dot(xy, xy, 2);
    double z = in->z, zOld = 0.0, n = a;
    while (std::fabs(z - zOld) >= 1e-4) {
        zOld = z;
        const double s = z / std::sqrt(z * z + r2);
        n = a / std::sqrt(1.0 - e2 * s * s);
        z = in->z + n * e2 * s;
    }
    if (r2 <= 1e-12) {
        out->lat = in->z > 0.0 ? _PI / 2.0 : -_PI / 2.0;
        out->lon = 0.0;
    } else {
        out->lat = std::atan(z / std::sqrt(r2));
        out->lon = std::atan2(in->y, in->x);
    }
    out->height = std::sqrt(z * z + r2) - n;
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
                                               double a, double f)
{
    tagCRDGEODETIC blh;
    CartesianToGeodetic(ref, &blh, a, f);
    const double dx = p->x - ref->x, dy = p->y - ref->y, dz = p->z - ref->z;
    const double sinB = std::sin(blh.lat), cosB = std::cos(blh.lat);
    const double sinL = std::sin(blh.lon), cosL = std::cos(blh.lon);
    out->north = -sinB * cosL * dx - sinB * sinL * dy + cosB * dz;
    out->east = -sinL * dx + cosL * dy;
    out->up = cosB * cosL * dx + cosB * sinL * dy + sinB * dz;
}

void CGNSSCoordConvert::TopocentricToCartesian2(tagCRDTOPOCENTRIC* in, tagCRDCARTESIAN* out, tagCRDCARTESIAN* ref,
                                                double a, double f)
{
    tagCRDGEODETIC blh;
    CartesianToGeodetic(ref, &blh, a, f);
    const double sinB = std::sin(blh.lat), cosB = std::cos(blh.lat);
    const double sinL = std::sin(blh.lon), cosL = std::cos(blh.lon);
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
