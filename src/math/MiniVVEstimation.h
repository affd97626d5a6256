// Least-squares estimator (minimum of V^T P V) on CPowerMatrix: observation
// equations l = b x are appended row by row and Calculate solves them.
#ifndef PPPLIB_MATH_MINIVVESTIMATION_H
#define PPPLIB_MATH_MINIVVESTIMATION_H

#include <cstdint>

#include "math/PowerMatrix.h"

class CMiniVVEstimation {
public:
    // Starts a problem with t unknowns: equations and results are cleared,
    // the weight matrix is kept.
    int SetXNumber(int t);
    // Appends one equation: observation l with the nX coefficients b.
    int AppendObservEquation(double l, const double* b);
    // Weights from the cofactor matrix of the observations: P = Q0^-1; a
    // singular Q0 returns 0 and keeps the weights. Without it every
    // observation has unit weight.
    int SetQ0(const CPowerMatrix& Q0);
    // Whole observation vector (n x 1) and design matrix (n x t) at once.
    int SetL(const CPowerMatrix& l);
    int SetB(const CPowerMatrix& b);

    int Calculate();

    // Results; each solves first when needed and returns 0 when it cannot.
    int GetXEstimation(CPowerMatrix& x);
    int GetQOfXEstimation(CPowerMatrix& q);
    // Variance matrices delta0^2 Qx of X and delta0^2 B Qx B^T of the
    // adjusted observations B X.
    int GetDOfXEstimation(CPowerMatrix& d);
    int GetDOfLEstimation(CPowerMatrix& d);
    // A posteriori standard deviation of unit weight.
    int GetDelta0(double& d);

private:
    CPowerMatrix L;   // observations, n x 1
    CPowerMatrix B;   // design matrix, n x t
    CPowerMatrix X;   // estimates, t x 1
    CPowerMatrix V;   // residuals B X - L, n x 1
    CPowerMatrix P;   // weights, n x n; empty for unit weights
    CPowerMatrix Qx;  // cofactor matrix of X, t x t
    int32_t nX = 0;
    int32_t nObs = 0;
    double delta0 = 0.0;
    bool calculated = false;

    bool ShapesAgree() const;
    static bool Deliver(const CPowerMatrix& result, CPowerMatrix& out)
    {
        out = result;
        return true;
    }
    int SolveDetermined();
    int SolveRedundant();
};

#endif
