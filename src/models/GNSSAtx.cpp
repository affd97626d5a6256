#include "models/GNSSAtx.h"

#include <cmath>

#include "common/GNSSConst.h"

double CGNSSAtx::dot(const double* a, const double* b, int n)
{
    double sum = 0.0;
    for (int i = 0; i < n; ++i)
        sum += a[i] * b[i];
    return sum;
}

double CGNSSAtx::norm(const double* a, int n)
{
    return std::sqrt(dot(a, a, n));
}

int CGNSSAtx::normv3(const double* a, double* b)
{
    const double length = norm(a, 3);
    if (!(length > 0.0))
        return 0;
    for (int i = 0; i < 3; ++i)
        b[i] = a[i] / length;
    return 1;
}

double CGNSSAtx::interpvar(double ang, const double* var)
{
    const double a = ang / 5.0;   // nadir angle in degrees
    const double cell = std::trunc(a);
    if (!(cell >= 0.0))
        return var[0];
    if (cell > SATPCV_NNADIR - 2)
        return var[SATPCV_NNADIR - 1];
    const int i = static_cast<int>(cell);
    return var[i] * (1.0 - a + i) + var[i + 1] * (a - i);
}

void CGNSSAtx::antmodel_s(const t_satpcv* pcv, double nadir, double* dant)
{
    for (int f = 0; f < SATPCV_NFREQ; ++f)
        dant[f] = interpvar(nadir * _RAD2DEG * 5.0, pcv->var[f]);
}

int CGNSSAtx::satantpcv(double* rs, double* rr, t_satpcv* pcv, double* dant)
{
    const double toReceiver[3] = {rr[0] - rs[0], rr[1] - rs[1], rr[2] - rs[2]};
    const double toGeocentre[3] = {-rs[0], -rs[1], -rs[2]};
    double eu[3], ez[3];
    if (!normv3(toReceiver, eu) || !normv3(toGeocentre, ez))
        return 0;
    double cosNadir = dot(eu, ez, 3);
    if (cosNadir > 1.0)
        cosNadir = 1.0;
    else if (cosNadir < -1.0)
        cosNadir = -1.0;
    antmodel_s(pcv, std::acos(cosNadir), dant);
    return 1;
}
