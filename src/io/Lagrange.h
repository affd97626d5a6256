// Lagrange interpolation weights, for orbit interpolation from tabulated
// positions.
#ifndef PPPIO_LAGRANGE_H
#define PPPIO_LAGRANGE_H

namespace pppio {

// Weights of the polynomial through the n distinct nodes x[0..n-1] at t:
// p(t) = sum w[i] y[i] and p'(t) = sum dw[i] y[i]. dw may be null. The nodes
// need no particular order or spacing; t may coincide with a node.
void lagrangeWeights(const double* x, int n, double t, double* w, double* dw);

}  // namespace pppio

#endif
