#include "io/Lagrange.h"

namespace pppio {

void lagrangeWeights(const double* x, int n, double t, double* w, double* dw)
{
    for (int i = 0; i < n; ++i) {
        // Basis polynomial l_i(t) = prod_{j != i} (t - x_j) / (x_i - x_j). The
        // numerator and its derivative are built factor by factor (product
        // rule), so t may fall on a node and no factor is divided by.
        double numerator = 1.0, slope = 0.0, denominator = 1.0;
        for (int j = 0; j < n; ++j) {
            if (j == i)
                continue;
            const double factor = t - x[j];
            slope = slope * factor + numerator;
            numerator *= factor;
            denominator *= x[i] - x[j];
        }
        w[i] = numerator / denominator;
        if (dw)
            dw[i] = slope / denominator;
    }
}

}  // namespace pppio
