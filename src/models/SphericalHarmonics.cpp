#include "models/SphericalHarmonics.h"

#include <cmath>

using trop_tables::kHarmonicDegree;

namespace {

constexpr int TermIndex(int n, int m)
{
    return n * (n + 1) / 2 + m;
}

}  // namespace

void EvaluateSphericalHarmonics(double lat, double lon, SphericalHarmonicTerms* terms)
{
    const double x = std::sin(lat);
    const double cosLat = std::cos(lat);
    double legendre[trop_tables::kHarmonicTerms];

    // Sectoral P(m,m) = (2m-1)!! cos^m, then upwards in n for each order m.
    legendre[TermIndex(0, 0)] = 1.0;
    for (int m = 1; m <= kHarmonicDegree; ++m)
        legendre[TermIndex(m, m)] = (2 * m - 1) * cosLat * legendre[TermIndex(m - 1, m - 1)];
    for (int m = 0; m < kHarmonicDegree; ++m) {
        legendre[TermIndex(m + 1, m)] = (2 * m + 1) * x * legendre[TermIndex(m, m)];
        for (int n = m + 2; n <= kHarmonicDegree; ++n)
            legendre[TermIndex(n, m)] = ((2 * n - 1) * x * legendre[TermIndex(n - 1, m)] -
                                         (n + m - 1) * legendre[TermIndex(n - 2, m)]) / (n - m);
    }

    for (int m = 0; m <= kHarmonicDegree; ++m) {
        const double cosMLon = std::cos(m * lon);
        const double sinMLon = std::sin(m * lon);
        for (int n = m; n <= kHarmonicDegree; ++n) {
            const int k = TermIndex(n, m);
            terms->cosTerm[k] = legendre[k] * cosMLon;
            terms->sinTerm[k] = legendre[k] * sinMLon;
        }
    }
}

double SumSphericalHarmonics(const double* a, const double* b, const SphericalHarmonicTerms& terms)
{
    double sum = 0.0;
    for (int k = 0; k < trop_tables::kHarmonicTerms; ++k)
        sum += a[k] * terms.cosTerm[k] + b[k] * terms.sinTerm[k];
    return sum;
}
