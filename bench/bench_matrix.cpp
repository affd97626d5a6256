// Inversion of normal matrices and matrix products at the sizes of a PPP
// filter (a few coordinates and clocks plus one ambiguity per satellite).
#include <benchmark/benchmark.h>

#include <random>

#include "math/TMatrix.h"

namespace {

using Matrix = math::matrix<double>;

Matrix RandomMatrix(unsigned rows, unsigned cols, unsigned seed)
{
    std::mt19937 rng(seed);
    std::uniform_real_distribution<double> u(-1.0, 1.0);
    Matrix m(rows, cols);
    for (unsigned i = 0; i < rows; ++i)
        for (unsigned j = 0; j < cols; ++j)
            m(i, j) = u(rng);
    return m;
}

// B^T P B + small prior: symmetric positive definite like a filter's normal matrix.
Matrix NormalMatrix(unsigned n)
{
    const Matrix design = RandomMatrix(2 * n, n, n);
    Matrix prior;
    prior.Unit(n);
    return ~design * design + 1e-3 * prior;
}

void BM_InverseOfNormalMatrix(benchmark::State& state)
{
    const Matrix normal = NormalMatrix(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        Matrix inverse = !normal;
        benchmark::DoNotOptimize(inverse.RowData(0));
    }
}
BENCHMARK(BM_InverseOfNormalMatrix)->Arg(10)->Arg(30)->Arg(60);

void BM_Product(benchmark::State& state)
{
    const unsigned n = static_cast<unsigned>(state.range(0));
    const Matrix a = RandomMatrix(n, n, 1);
    const Matrix b = RandomMatrix(n, n, 2);
    for (auto _ : state) {
        Matrix product = a * b;
        benchmark::DoNotOptimize(product.RowData(0));
    }
}
BENCHMARK(BM_Product)->Arg(60);

}  // namespace

BENCHMARK_MAIN();
