#include "models/CelestialMath.h"

#include <cmath>

void AxisRotation(int axis, double angle, double (*r)[3])
{
    const double c = std::cos(angle);
    const double s = std::sin(angle);
    const int i = (axis + 1) % 3;
    const int j = (axis + 2) % 3;
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            r[row][col] = row == col ? 1.0 : 0.0;
    r[i][i] = c;
    r[i][j] = s;
    r[j][i] = -s;
    r[j][j] = c;
}

double MeanObliquity(double t)
{
    return (84381.448 + (-46.8150 + (-0.00059 + 0.001813 * t) * t) * t) * _ARCSEC2RAD;
}
