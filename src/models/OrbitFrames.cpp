// Radial / along-track / cross-track frame of a satellite and the small
// row-major matrix routines of the error models.
#include "models/GNSSErrorCorrection.h"
#include "models/Vector3.h"

#include <cmath>

int CGNSSErrorCorrection::RtnRows(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, double* rows)
{
    tagCRDCARTESIAN axes[3];
    ECEF2RTN(pos, vel, axes);
    for (int i = 0; i < 3; ++i)
        ToArray(axes[i], rows + 3 * i);
    return 1;
}

int CGNSSErrorCorrection::ECEF2RTN(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN* out)
{
    double r[3], v[3], n[3];
    ToArray(pos, r);
    ToArray(vel, v);
    const double rNorm = Norm3(r);
    const double vNorm = Norm3(v);
    const double theta = std::acos(Dot3(r, v) / (rNorm * vNorm));
    Cross3(r, v, n);
    const double nScale = rNorm * vNorm * std::sin(theta);

    tagCRDCARTESIAN& R = out[0];
    tagCRDCARTESIAN& T = out[1];
    tagCRDCARTESIAN& N = out[2];
    R = {r[0] / rNorm, r[1] / rNorm, r[2] / rNorm};
    N = {n[0] / nScale, n[1] / nScale, n[2] / nScale};
    T.x = N.y * R.z - N.z * R.y;
    T.y = N.z * R.x - N.x * R.z;
    T.z = N.x * R.y - N.y * R.x;
    return 1;
}

int CGNSSErrorCorrection::ECEF2RTN(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN v,
                                   tagCRDCARTESIAN* out)
{
    double rows[9], in[3], result[3];
    RtnRows(pos, vel, rows);
    ToArray(v, in);
    MatrixMulti(rows, in, result, 3, 3, 1);
    *out = {result[0], result[1], result[2]};
    return 1;
}

int CGNSSErrorCorrection::RTN2ECEF(tagCRDCARTESIAN pos, tagCRDCARTESIAN vel, tagCRDCARTESIAN v,
                                   tagCRDCARTESIAN* out)
{
    double rows[9], columns[9], in[3], result[3];
    RtnRows(pos, vel, rows);
    MatrixAT(rows, columns, 3, 3);
    ToArray(v, in);
    MatrixMulti(columns, in, result, 3, 3, 1);
    *out = {result[0], result[1], result[2]};
    return 1;
}

int CGNSSErrorCorrection::MatrixMinus(const double* a, const double* b, double* out, int rows, int cols)
{
    for (int i = 0; i < rows * cols; ++i)
        out[i] = a[i] - b[i];
    return 1;
}

int CGNSSErrorCorrection::MatrixAdd(const double* a, const double* b, double* out, int rows, int cols)
{
    for (int i = 0; i < rows * cols; ++i)
        out[i] = a[i] + b[i];
    return 1;
}

// out (cols x rows) must not alias a.
int CGNSSErrorCorrection::MatrixAT(const double* a, double* out, int rows, int cols)
{
    for (int i = 0; i < rows; ++i)
        for (int j = 0; j < cols; ++j)
            out[j * rows + i] = a[i * cols + j];
    return 1;
}

// out (rowsA x colsB) = a (rowsA x colsA) * b (colsA x colsB); out must not alias a or b.
int CGNSSErrorCorrection::MatrixMulti(const double* a, const double* b, double* out, int rowsA, int colsA,
                                      int colsB)
{
    for (int i = 0; i < rowsA; ++i)
        for (int j = 0; j < colsB; ++j) {
            double sum = 0.0;
            for (int k = 0; k < colsA; ++k)
                sum += a[i * colsA + k] * b[k * colsB + j];
            out[i * colsB + j] = sum;
        }
    return 1;
}
