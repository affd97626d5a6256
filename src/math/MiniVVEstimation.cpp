#include "math/MiniVVEstimation.h"

#include <cmath>
#include <initializer_list>

int CMiniVVEstimation::SetXNumber(int t)
{
    if (t <= 0)
        return 0;
    nX = t;
    nObs = 0;
    delta0 = 0.0;
    for (CPowerMatrix* m : {&L, &B, &X, &V, &Qx})
        m->Initate();
    calculated = false;
    return 1;
}

int CMiniVVEstimation::AppendObservEquation(double l, const double* b)
{
    if (nX <= 0 || !b || !B.AppendNewLine(b, nX))
        return 0;
    if (!L.AppendNewLine(&l, 1)) {
        B.DeleteOneLine(B.GetRowNumber() - 1);
        return 0;
    }
    ++nObs;
    calculated = false;
    return 1;
}

int CMiniVVEstimation::SetQ0(const CPowerMatrix& Q0)
{
    CPowerMatrix weights;
    if (!Q0.GetInverseMatrix(weights))
        return 0;
    P = weights;
    calculated = false;
    return 1;
}

int CMiniVVEstimation::SetL(const CPowerMatrix& l)
{
    if (l.GetColumnNumber() != 1)
        return 0;
    L = l;
    nObs = l.GetRowNumber();
    calculated = false;
    return 1;
}

int CMiniVVEstimation::SetB(const CPowerMatrix& b)
{
    B = b;
    nObs = b.GetRowNumber();
    nX = b.GetColumnNumber();
    calculated = false;
    return 1;
}

bool CMiniVVEstimation::ShapesAgree() const
{
    const bool weightsFit = (P.GetRowNumber() == 0 && P.GetColumnNumber() == 0) ||
                            (P.GetRowNumber() == nObs && P.GetColumnNumber() == nObs);
    return nX > 0 && B.GetRowNumber() == nObs && B.GetColumnNumber() == nX &&
           L.GetRowNumber() == nObs && L.GetColumnNumber() == 1 && weightsFit;
}

int CMiniVVEstimation::Calculate()
{
    if (calculated)
        return 1;
    if (nObs < nX || !ShapesAgree())
        return 0;
    if (!(nObs == nX ? SolveDetermined() : SolveRedundant()))
        return 0;
    calculated = true;
    return 1;
}

// As many equations as unknowns: X = B^-1 L, no redundancy left.
int CMiniVVEstimation::SolveDetermined()
{
    CPowerMatrix inverse;
    if (!B.GetInverseMatrix(inverse))
        return 0;
    X = inverse * L;
    V = B * X - L;
    Qx.InitZeroMatrix(nX, nX);
    delta0 = 0.0;
    return 1;
}

int CMiniVVEstimation::SolveRedundant()
{
    const bool weighted = P.GetRowNumber() > 0;
    const CPowerMatrix Bt = B.GetTransposedMatrix();
    const CPowerMatrix BtP = weighted ? Bt * P : Bt;
    if (!(BtP * B).GetInverseMatrix(Qx))
        return 0;
    X = Qx * (BtP * L);
    V = B * X - L;
    const CPowerMatrix Vt = V.GetTransposedMatrix();
    const CPowerMatrix vtpv = weighted ? Vt * P * V : Vt * V;
    double sum = 0.0;
    vtpv.GetMember(0, 0, sum);
    delta0 = std::sqrt(sum / (nObs - nX));
    return 1;
}

int CMiniVVEstimation::GetXEstimation(CPowerMatrix& x)
{
    return Calculate() && Deliver(X, x);
}

int CMiniVVEstimation::GetQOfXEstimation(CPowerMatrix& q)
{
    return Calculate() && Deliver(Qx, q);
}

int CMiniVVEstimation::GetDOfXEstimation(CPowerMatrix& d)
{
    return Calculate() && Deliver(Qx * (delta0 * delta0), d);
}

int CMiniVVEstimation::GetDOfLEstimation(CPowerMatrix& d)
{
    return Calculate() && Deliver(B * Qx * B.GetTransposedMatrix() * (delta0 * delta0), d);
}

int CMiniVVEstimation::GetDelta0(double& d)
{
    if (!Calculate())
        return 0;
    d = delta0;
    return 1;
}
