// Integer least-squares search on GNSS-like float ambiguities: dual-frequency
// double differences of n/2 + 1 satellites over a short static session, so
// the float ambiguities are tied together by the code-determined position
// (correlations above 0.99), as in the first minutes of a fix.
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

#include "math/mlambda.h"

namespace {

struct FloatAmbiguities {
    int n = 0;
    std::vector<double> a;  // cycles
    std::vector<double> Q;  // cycles^2, column-major
};

constexpr double kWavelength[2] = {0.190293672798, 0.244210213425};  // GPS L1, L2 (m)
constexpr double kSigmaCode = 0.3;     // m, undifferenced
constexpr double kSigmaPhase = 0.003;  // m, undifferenced
constexpr int kEpochs = 4;             // 30 s apart
constexpr double kTurnPerEpoch = 0.0045;  // rad of sky motion in 30 s

// Normal equations of position (3) and n = 2 m ambiguities from m double
// differences per frequency and observation type; the covariance of double
// differences sharing a reference satellite is sigma^2 (I + 1 1^T), whose
// inverse is (I - 1 1^T / (m + 1)) / sigma^2.
FloatAmbiguities make_problem(int n, unsigned seed)
{
    const int m = n / 2;
    const int np = 3 + n;
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    std::vector<double> az(m + 1), el(m + 1);
    for (int s = 0; s <= m; s++) {
        az[s] = 2.0 * M_PI * unit(rng);
        el[s] = 0.2 + 1.3 * unit(rng);
    }
    el[m] = 1.45;  // the reference satellite stands high

    std::vector<double> N(static_cast<size_t>(np) * np, 0.0);
    std::vector<double> A(static_cast<size_t>(m) * np);  // rows of one observation block
    for (int e = 0; e < kEpochs; e++) {
        double g[64][3];
        for (int s = 0; s <= m; s++) {
            const double az_e = az[s] + kTurnPerEpoch * e, el_e = el[s] + 0.5 * kTurnPerEpoch * e;
            g[s][0] = std::cos(el_e) * std::sin(az_e);
            g[s][1] = std::cos(el_e) * std::cos(az_e);
            g[s][2] = std::sin(el_e);
        }
        for (int f = 0; f < 2; f++) {
            for (int phase = 0; phase < 2; phase++) {
                const double sigma = phase ? kSigmaPhase : kSigmaCode;
                std::fill(A.begin(), A.end(), 0.0);
                for (int i = 0; i < m; i++) {
                    for (int k = 0; k < 3; k++)
                        A[i + k * m] = g[m][k] - g[i][k];
                    if (phase)
                        A[i + (3 + f * m + i) * m] = kWavelength[f];
                }
                // N += A^T P A with P = (I - 1 1^T / (m + 1)) / sigma^2.
                for (int c1 = 0; c1 < np; c1++) {
                    double sum1 = 0.0;
                    for (int i = 0; i < m; i++)
                        sum1 += A[i + c1 * m];
                    for (int c2 = 0; c2 < np; c2++) {
                        double dot = 0.0, sum2 = 0.0;
                        for (int i = 0; i < m; i++) {
                            dot += A[i + c1 * m] * A[i + c2 * m];
                            sum2 += A[i + c2 * m];
                        }
                        N[c1 + c2 * np] += (dot - sum1 * sum2 / (m + 1)) / (sigma * sigma);
                    }
                }
            }
        }
    }
    if (matinv(N.data(), np) != 0)
        std::abort();

    FloatAmbiguities p;
    p.n = n;
    p.Q.resize(static_cast<size_t>(n) * n);
    for (int j = 0; j < n; j++) {
        for (int i = 0; i < n; i++)
            p.Q[i + j * n] = N[(3 + i) + (3 + j) * np];
    }
    // Floats scattered about integers as N(0, Q): a = Z + L^T sqrt(D) w.
    std::vector<double> L(static_cast<size_t>(n) * n), D(n), w(n);
    if (LD(n, p.Q.data(), L.data(), D.data()) != 0)
        std::abort();
    std::normal_distribution<double> normal;
    for (int i = 0; i < n; i++)
        w[i] = std::sqrt(D[i]) * normal(rng);
    p.a.resize(n);
    matmul("TN", n, 1, n, 1.0, L.data(), w.data(), 0.0, p.a.data());
    for (int i = 0; i < n; i++)
        p.a[i] += std::floor(40.0 * unit(rng)) - 20.0;
    return p;
}

void BM_Lambda(benchmark::State& state)
{
    const int n = static_cast<int>(state.range(0));
    const FloatAmbiguities p = make_problem(n, 2024u + n);
    std::vector<double> F(2 * n), s(2);
    double max_corr = 0.0;
    for (int i = 0; i < n; i++) {
        for (int j = 0; j < i; j++)
            max_corr = std::max(max_corr, std::fabs(p.Q[i + j * n]) / std::sqrt(p.Q[i + i * n] * p.Q[j + j * n]));
    }
    for (auto _ : state) {
        const int info = lambda(n, 2, p.a.data(), p.Q.data(), F.data(), s.data());
        benchmark::DoNotOptimize(info);
        benchmark::DoNotOptimize(F.data());
        if (info != 0) {
            state.SkipWithError("search failed");
            break;
        }
    }
    state.counters["ratio"] = s[1] / s[0];
    state.counters["max_corr"] = max_corr;
    state.counters["sigma_a1"] = std::sqrt(p.Q[0]);
}
BENCHMARK(BM_Lambda)->Arg(10)->Arg(20)->Arg(40)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
