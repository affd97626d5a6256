#include "io/Lagrange.h"

namespace pppio {

void lagrangeWeights(const double* x, int n, double t, double* w, double* dw)
{
    for (int i = 0; i < n; ++i) {
        // Basis polynomial l_i(t) = prod_{j != i} (t - x_j) / (x_i - x_j).
        double product = 1.0;
        for (int j = 0; j < n; ++j)
            if (j != i)
                product *= (t - x[j]) / (x[i] - x[j]);
        w[i] = product;
        if (!dw)
            continue;
        // Its derivative, written without dividing by (t - x_j) so that t may
        // fall on a node: sum over m of 1/(x_i - x_m) times the other factors.
        double derivative = 0.0;
        for (int m = 0; m < n; ++m) {
            if (m == i)
                continue;
            double term = 1.0 / (x[i] - x[m]);
            for (int j = 0; j < n; ++j)
                if (j != i && j != m)
                    term *= (t - x[j]) / (x[i] - x[j]);
            derivative += term;
        }
        dw[i] = derivative;
    }
}

}  // namespace pppio
