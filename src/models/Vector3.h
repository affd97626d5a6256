// Three-component vector arithmetic on plain arrays, for the wind-up and
// orbital-frame computations.
#ifndef PPPLIB_MODELS_VECTOR3_H
#define PPPLIB_MODELS_VECTOR3_H

#include <cmath>

#include "common/GNSSCoordConvert.h"

inline double Dot3(const double* a, const double* b)
{
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline double Norm3(const double* a)
{
    return std::sqrt(Dot3(a, a));
}

// c = a x b; c may not alias a or b.
inline void Cross3(const double* a, const double* b, double* c)
{
    c[0] = a[1] * b[2] - a[2] * b[1];
    c[1] = a[2] * b[0] - a[0] * b[2];
    c[2] = a[0] * b[1] - a[1] * b[0];
}

inline void ToArray(const tagCRDCARTESIAN& p, double* a)
{
    a[0] = p.x;
    a[1] = p.y;
    a[2] = p.z;
}

#endif
