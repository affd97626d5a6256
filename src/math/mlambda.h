// Integer ambiguity resolution with the modified LAMBDA method (MLAMBDA:
// Chang, Yang & Zhou 2005): LDL^T factorisation, integer Gauss decorrelation
// with permutations, and a depth-first search of the best integer vectors
// with a shrinking ellipsoid; plus the bootstrapping success rate and a
// partial fixing that keeps the largest decorrelated subset passing the
// ratio test.
//
// Matrices are flat column-major arrays: element (i, j) of an n-row matrix
// is at index i + j * n. The allocators below return heap blocks that the
// caller releases with free(); they return null for a non-positive
// dimension (or when the memory is not available).
//
// Notation: float ambiguities a (n), covariance Q (n x n) factorised as
// Q = L^T diag(D) L with L unit lower triangular; Z is the unimodular
// decorrelating transformation and z = Z^T a the decorrelated ambiguities.
// Return codes: 0 success, -1 failure, unless stated otherwise.
#ifndef PPPLIB_MATH_MLAMBDA_H
#define PPPLIB_MATH_MLAMBDA_H

// ------------------------------------------------------ dense matrix kernel

double* mat(int n, int m);
int* imat(int n, int m);
double* zeros(int n, int m);
double* eye(int n);
// A = B, both n x m.
void matcpy(double* A, const double* B, int n, int m);
// C = alpha op(A) op(B) + beta C with C n x k and inner dimension m. tr holds
// two letters, 'N' or 'T', for A and for B; 'T' uses the stored matrix
// transposed (so A is stored m x n for "TN"). With beta == 0 the old content
// of C is not read.
void matmul(const char* tr, int n, int k, int m, double alpha, const double* A, const double* B,
            double beta, double* C);
// LU decomposition with partial pivoting, in place: A holds the unit lower
// factor below the diagonal and the upper factor on and above it; indx[k] is
// the row swapped with row k at step k; d becomes +1 or -1 (row swap parity).
// -1 for a singular matrix.
int ludcmp(double* A, int n, int* indx, double* d);
// Solves A x = b in place (b becomes x) with the factors from ludcmp.
void lubksb(const double* A, int n, const int* indx, double* b);
// Inverse in place; -1 (A unchanged) when singular.
int matinv(double* A, int n);
// X = op(A)^-1 Y with A n x n, Y and X n x m, tr "N" or "T"; -1 when
// op(A) is singular.
int solve(const char* tr, const double* A, const double* Y, int n, int m, double* X);

// ------------------------------------------------------------------ MLAMBDA

// Q = L^T diag(D) L (L n x n, D n); -1 when a pivot is not positive.
int LD(int n, const double* Q, double* L, double* D);
// Integer Gauss transformation: column j of L (and of Z) reduced by the
// rounded L(i, j) times column i, i > j.
void gauss(int n, double* L, double* Z, int i, int j);
// Swaps ambiguities j and j + 1 and refactorises; del = D[j] + L(j+1,j)^2 D[j+1].
void perm(int n, double* L, double* D, int j, double del, double* Z);
// Decorrelation in the MLAMBDA order: from the last index down, restarting
// at the end after each permutation. Z must hold the identity (or a prior
// transformation) on entry.
void reduction(int n, double* L, double* D, double* Z);
// The m best integer vectors zn (n x m) for the float vector zs with their
// squared distances s (m), ascending. -1 when the search does not end
// within its loop budget (with "mlambda : search loop count overflow" on
// stderr), for an empty problem and for non-finite input.
int search(int n, int m, const double* L, const double* D, const double* zs, double* zn, double* s);
// Full MLAMBDA: the m best integer vectors F (n x m) for a, with their
// residual sums s = (a - F_j)^T Q^-1 (a - F_j), ascending. F comes back
// through Z^-T in floating point: integers up to rounding noise.
int lambda(int n, int m, const double* a, const double* Q, double* F, double* s);
// The decorrelating transformation Z (n x n) of Q alone.
int lambda_reduction(int n, const double* Q, double* Z);
// The decorrelation with its factors: L (n x n), D (n) of Z^T Q Z, Z, and
// z = Z^T a (n).
int lambda_reduction(int n, const double* a, const double* Q, double* L, double* D, double* Z,
                     double* z);
// lambda() that also gives the bootstrapping success rate Ps of the
// decorrelated problem (0 when the factorisation fails).
int lambda_sr(int n, int m, const double* a, const double* Q, double* F, double* s, double* Ps);

// -------------------------------------------------- success rate, partial fix

// 2 Phi(1 / (2 sigma_k)) - 1 for sigma_k = 0.07 + k / 2000, k = 0..460.
extern const double BootSt_2Phi_sigRecip_1[461];

// Success rate of rounding one decorrelated ambiguity of standard deviation
// sigma (cycles): 1 at or below 0.07, 0 at or above 0.3, interpolated in the
// table in between.
double pBootStrapping(double sigma);

// Layout of the out argument of Lambda_par (nf fixed ambiguities out of n):
//   out[0]                     nf = n - k, the number of fixed ambiguities
//   out[1]                     ratio s1 / s0 of the fixed subset (<= 999.99)
//   out[2]                     bootstrapping success rate of the subset
//   out[3 + i + j*nf]          T(i, j), i < nf, j < n: the subset
//                              transformation, z_sub = T a, i.e. row i of T
//                              is column k + i of Z (row k + i of Z^T)
//   out[3 + nf*n + i]          the fixed integer of z_sub[i], i < nf
// The caller provides lambda_par_out_size(n) doubles; out is written only
// when a subset is fixed.
constexpr int lambda_par_out_size(int n) { return 3 + n * n + n; }

// Partial ambiguity resolution: decorrelates, then searches the subsets of
// the last n - k decorrelated ambiguities, k = 0, 1, ..., while at least 5
// remain, and keeps the first whose ratio reaches 2.0. m is kept for the
// interface (the ratio always compares the two best candidates); a limit
// above 30.0 is refused. Returns 1 when a subset was fixed, 0 otherwise.
int Lambda_par(int n, int m, const double* a, const double* Q, double limit, double* out);

#endif
