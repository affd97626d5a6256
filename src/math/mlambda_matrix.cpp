// The small dense-matrix kernel of the ambiguity search: heap allocation,
// products and LU-based inversion on flat column-major arrays.
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "math/mlambda.h"

namespace {

// Heap block of n * m elements of the given size; null for a non-positive
// dimension or a size that does not fit in size_t (32-bit targets).
void* allocate(int n, int m, size_t element)
{
    if (n <= 0 || m <= 0)
        return nullptr;
    const size_t rows = static_cast<size_t>(n);
    const size_t cols = static_cast<size_t>(m);
    if (rows > SIZE_MAX / element / cols)
        return nullptr;
    return std::malloc(rows * cols * element);
}

}  // namespace

double* mat(int n, int m)
{
    return static_cast<double*>(allocate(n, m, sizeof(double)));
}

int* imat(int n, int m)
{
    return static_cast<int*>(allocate(n, m, sizeof(int)));
}

double* zeros(int n, int m)
{
    double* p = mat(n, m);
    if (p)
        std::memset(p, 0, sizeof(double) * static_cast<size_t>(n) * static_cast<size_t>(m));
    return p;
}

double* eye(int n)
{
    double* p = zeros(n, n);
    if (p) {
        for (int i = 0; i < n; i++)
            p[i + i * n] = 1.0;
    }
    return p;
}

void matcpy(double* A, const double* B, int n, int m)
{
    if (n > 0 && m > 0)
        std::memcpy(A, B, sizeof(double) * static_cast<size_t>(n) * static_cast<size_t>(m));
}

void matmul(const char* tr, int n, int k, int m, double alpha, const double* A, const double* B,
            double beta, double* C)
{
    const bool transA = tr[0] == 'T';
    const bool transB = tr[1] == 'T';
    for (int j = 0; j < k; j++) {
        for (int i = 0; i < n; i++) {
            double sum = 0.0;
            for (int l = 0; l < m; l++) {
                const double aij = transA ? A[l + i * m] : A[i + l * n];
                const double bij = transB ? B[j + l * k] : B[l + j * m];
                sum += aij * bij;
            }
            double& c = C[i + j * n];
            c = beta == 0.0 ? alpha * sum : alpha * sum + beta * c;
        }
    }
}

int ludcmp(double* A, int n, int* indx, double* d)
{
    *d = 1.0;
    for (int k = 0; k < n; k++) {
        int pivot = k;
        double largest = std::fabs(A[k + k * n]);
        for (int i = k + 1; i < n; i++) {
            const double v = std::fabs(A[i + k * n]);
            if (v > largest) {
                largest = v;
                pivot = i;
            }
        }
        // Exact zero or NaN: nothing to divide by.
        if (!(largest > 0.0))
            return -1;
        indx[k] = pivot;
        if (pivot != k) {
            for (int j = 0; j < n; j++) {
                const double t = A[k + j * n];
                A[k + j * n] = A[pivot + j * n];
                A[pivot + j * n] = t;
            }
            *d = -*d;
        }
        const double diag = A[k + k * n];
        for (int i = k + 1; i < n; i++)
            A[i + k * n] /= diag;
        for (int j = k + 1; j < n; j++) {
            const double ukj = A[k + j * n];
            if (ukj == 0.0)
                continue;
            for (int i = k + 1; i < n; i++)
                A[i + j * n] -= A[i + k * n] * ukj;
        }
    }
    return 0;
}

void lubksb(const double* A, int n, const int* indx, double* b)
{
    for (int k = 0; k < n; k++) {
        const double t = b[k];
        b[k] = b[indx[k]];
        b[indx[k]] = t;
    }
    for (int i = 1; i < n; i++) {
        double sum = b[i];
        for (int k = 0; k < i; k++)
            sum -= A[i + k * n] * b[k];
        b[i] = sum;
    }
    for (int i = n - 1; i >= 0; i--) {
        double sum = b[i];
        for (int k = i + 1; k < n; k++)
            sum -= A[i + k * n] * b[k];
        b[i] = sum / A[i + i * n];
    }
}

int matinv(double* A, int n)
{
    double* lu = mat(n, n);
    int* indx = imat(n, 1);
    double d;
    int info = -1;
    if (lu && indx) {
        matcpy(lu, A, n, n);
        info = ludcmp(lu, n, indx, &d);
        if (info == 0) {
            for (int j = 0; j < n; j++) {
                double* column = A + static_cast<size_t>(j) * n;
                for (int i = 0; i < n; i++)
                    column[i] = i == j ? 1.0 : 0.0;
                lubksb(lu, n, indx, column);
            }
        }
    }
    std::free(lu);
    std::free(indx);
    return info;
}

int solve(const char* tr, const double* A, const double* Y, int n, int m, double* X)
{
    // Factorise op(A) once and back-substitute each column of Y.
    double* lu = mat(n, n);
    int* indx = imat(n, 1);
    double d;
    int info = -1;
    if (lu && indx) {
        if (tr[0] == 'T') {
            for (int j = 0; j < n; j++) {
                for (int i = 0; i < n; i++)
                    lu[i + j * n] = A[j + i * n];
            }
        } else {
            matcpy(lu, A, n, n);
        }
        info = ludcmp(lu, n, indx, &d);
        if (info == 0) {
            matcpy(X, Y, n, m);
            for (int j = 0; j < m; j++)
                lubksb(lu, n, indx, X + static_cast<size_t>(j) * n);
        }
    }
    std::free(lu);
    std::free(indx);
    return info;
}
