// Normal equations of the PPP filter: builders from the observation model,
// and the satellite-list and parameter-list helpers that index them.
//
// Observation model of the builders, for satellite i with common geometry row
// a_i: code  L(2i)   = a_i x          weight pc_i
//      phase L(2i+1) = a_i x - N_i    weight pl_i
// so every satellite adds one ambiguity column after the common parameters.
#ifndef PPPLIB_ENGINE_NORMALEQUATIONS_H
#define PPPLIB_ENGINE_NORMALEQUATIONS_H

#include "engine/GNSSEpoch.h"
#include "math/TMatrix.h"

using Matrix = math::matrix<double>;

// Single group: N (n+m)x(n+m), U (n+m)x1. P[0] phase weights, P[1] code
// weights (1 x m each), L 1 x 2m. flag must be -1, else 0 and nothing written.
int GetXTPY(Matrix& N, Matrix& U, const Matrix& A, int flag, const Matrix* P, const Matrix& L);
// Two groups: A1 (m x nA) is eliminated at once, A2 (m x nB) is carried with
// the ambiguities. N11 nA x nA, N12 nA x (nB+m), N22 (nB+m)^2, U1, U2.
int GetXTPY(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, const Matrix& A1, const Matrix& A2,
            int flag, const Matrix* P, const Matrix& L);
// As above with one phase-weight row; code weights are phase weights / 10000.
int GetXTPY_SingleWeight(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, const Matrix& A1,
                         const Matrix& A2, int flag, const Matrix& P, const Matrix& L);
// Two-group builder that also returns the code-only and phase-only common blocks.
int GetXTPY_Blocked(Matrix& N11, Matrix& N22, Matrix& N12, Matrix& U1, Matrix& U2, Matrix& N11Code,
                    Matrix& N11Phase, const Matrix& A1, const Matrix& A2, int flag, const Matrix* P, const Matrix& L);
// The inverse of N with 1e-15 added to its diagonal, the filter's guard
// against singular blocks.
Matrix InverseWithLoading(const Matrix& N);
// N = A^T diag(P) A for a 1 x m weight row.
int GetATPA(Matrix& N, const Matrix& A, const Matrix& P);

// Descending exchange sorts by elevation; 0 for null arrays.
int SortSatsByElev(int* prn, double* elev, double* other, int n);
int SortSatsByElev(int* prn, double* elev, int n);
int SortMatrixByElev(Matrix& list);        // 3-row satellite list, sorted by row 1
int SortMatrixByElev2(Matrix& list);       // 2-row satellite list, sorted by row 1
int SortMatrixByElev(Matrix& list, const tagGPSOBSONEEPO* epoch);   // 1-row list, elevations from the epoch

// Look-ups; -1 when absent.
int GetIndexInMatrixC(int id, const Matrix& list);     // column whose rounded row-0 value equals id
int GetIndexInMatrix(const Matrix& m, double v);       // row whose column-0 value equals v
int GetIndexInMatrixCol(const Matrix& list, double v); // column whose row-0 value equals v

// Satellites of listB (1 row) that are also in listA, in listB's order.
int GenMatrixSatsCmn(Matrix& out, const Matrix& listA, const Matrix& listB);
// Satellites of the list that are in use in the epoch (with / without value rows).
int GenMatrixSatsCmn(Matrix& out, const Matrix& list, const tagGPSOBSONEEPO* epoch);
int GenMatrixSatsCmnN(Matrix& out, const Matrix& list, const tagGPSOBSONEEPO* epoch);
// Column of each satellite of sats in list (-1 when absent), as a 1-row matrix.
int GenMatrixIndexC(Matrix& index, const Matrix& sats, const Matrix& list);

// Identifiers of the ambiguity block of the new epoch from nFirst on: a
// satellite in use that continues its arc (status 3) keeps its identifier,
// any other gets the next free one.
int GenMatrix_Para(Matrix& newList, const Matrix& oldList, int& nextId, const Matrix& ambList,
                   const tagGPSOBSONEEPO* epoch, int nFirst);
int GenMatrix_Para(Matrix& newList, const Matrix& oldList, int& nextId, const Matrix& ambList, const Matrix& sats,
                   const tagGPSOBSONEEPO* epochs[2]);

#endif
