// Ambiguity resolution, fixing: wide lanes by rounding after the UPDs,
// narrow lanes by the integer search with leave-one-out partial fixing, and
// the fixed solution from the constrained normal equations.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numeric>
#include <vector>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"
#include "math/mlambda.h"

namespace {

constexpr double kWideLaneTolerance = 0.3;       // cycles from the integer
constexpr double kMinFixElevation = 15.0 * _DEG2RAD;

// Narrow-lane factor (f1 + f2)/c that turns metres of ionosphere-free
// ambiguity into narrow-lane cycles.
double NarrowLaneFactor(const tagARSAT& a)
{
    return (a.dF1 + a.dF2) / _LIGHT_SPEED;
}

double WideLaneInNarrowLane(const tagARSAT& a)
{
    return a.dF2 / (a.dF1 - a.dF2);
}

// Work arrays of the search, kept per thread so that an epoch does not allocate.
struct SearchBuffers {
    std::vector<double> a, Q, F;
};
SearchBuffers& Buffers()
{
    static thread_local SearchBuffers b;
    return b;
}

}  // namespace

int CGNSSSPP::FixAmb(const Matrix& floats, const Matrix& Q, double* ratio, long* fixed, double* successRate)
{
    const int n = static_cast<int>(floats.RowNo());
    *ratio = 0.0;
    if (n < 1)
        return 0;
    SearchBuffers& b = Buffers();
    b.a.resize(n);
    b.Q.resize(static_cast<size_t>(n) * n);
    b.F.resize(2 * static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        b.a[i] = floats(i, 0);
        for (int j = 0; j < n; ++j)
            b.Q[i + j * n] = Q(i, j);
    }
    double s[2] = {0.0, 0.0}, ps = 0.0;
    if (lambda_sr(n, 2, b.a.data(), b.Q.data(), b.F.data(), s, &ps) != 0)
        return 0;
    if (successRate)
        *successRate = ps;
    m_ar.distance = s[0];
    if (s[0] < 0.0)
        return 0;
    *ratio = s[0] > 0.0 ? std::min(s[1] / s[0], _AR_RATIO_CEILING) : _AR_RATIO_CEILING;
    for (int i = 0; i < n; ++i)
        fixed[i] = std::lround(b.F[i]);
    return 1;
}

int CGNSSSPP::PartialFixAmb(const Matrix& floats, const Matrix& Q, double* bestRatio, Matrix& fixed, int* leftOut,
                            double* successRate)
{
    const int n = static_cast<int>(floats.RowNo());
    *bestRatio = 0.0;
    *leftOut = -1;
    fixed.SetSize(n, 1);
    if (n < 2)
        return 0;
    Matrix subFloats(n - 1, 1), subQ(n - 1, n - 1);
    long candidate[MAXSATNUM];
    double bestPassing = -1.0;
    for (int j = 0; j < n; ++j) {
        for (int r = 0, rr = 0; r < n; ++r) {
            if (r == j)
                continue;
            subFloats(rr, 0) = floats(r, 0);
            for (int c = 0, cc = 0; c < n; ++c) {
                if (c == j)
                    continue;
                subQ(rr, cc++) = Q(r, c);
            }
            ++rr;
        }
        double ratio = 0.0, ps = 0.0;
        if (!FixAmb(subFloats, subQ, &ratio, candidate, &ps))
            continue;
        *bestRatio = std::max(*bestRatio, ratio);
        if (ratio < m_set.dRatioThres || ratio <= bestPassing)
            continue;
        bestPassing = ratio;
        if (successRate)
            *successRate = ps;
        *leftOut = j;
        for (int r = 0, rr = 0; r < n; ++r)
            fixed(r, 0) = r == j ? _AR_LEFT_OUT : static_cast<double>(candidate[rr++]);
    }
    if (bestPassing > 0.0)
        *bestRatio = bestPassing;
    return *leftOut >= 0 ? 1 : 0;
}

void CGNSSSPP::RecoverOrderAmb(const std::vector<int>& order, const long* in, long* out, int n)
{
    for (int k = 0; k < n; ++k)
        out[order[k]] = in[k];
}

void CGNSSSPP::RecoverOrderAmb(const std::vector<int>& order, const Matrix& in, Matrix& out)
{
    out.SetSize(in.RowNo(), 1);
    for (unsigned k = 0; k < in.RowNo(); ++k)
        out(order[k], 0) = in(k, 0);
}

void CGNSSSPP::WriteWideLaneLine(const tagARSAT& a, const tagARSAT* ref, char sys, int prn, int refIprn,
                                 double updWl)
{
    if (!m_fpWL)
        return;
    std::fprintf(m_fpWL, "%c%02d   %10.4f %10.4f %10.4f %10.4f %5.1f %6d", sys, prn, a.dWL, updWl, a.dWLSd, a.dNL,
                 a.dElev * _RAD2DEG, a.nCount);
    if (!ref) {
        std::fputs(" *\r\n", m_fpWL);
        return;
    }
    const char wide = a.dWLInt != _AR_WL_NOT_FIXED ? 'W' : '-';
    const char narrow = a.nStatus == kArFixed ? 'N' : '-';
    std::fprintf(m_fpWL, "  %c%c  %c%02d\r\n", wide, narrow, judge_sys_char(refIprn), iprn2prn(refIprn));
}

int CGNSSSPP::PPPFixAmb(const Matrix& updWl, const Matrix& updNl, PROCINFOSITE* ps, tagGPSOBSONEEPO* epo,
                        tagSPPONERESULT* result)
{
    result->bFixed = 0;
    ps->dRatio = 0.0;
    for (int s = 0; s < 4; ++s)
        result->nSysCnt2[s] = result->nSysCnt3[s] = 0;
    if (m_fpWL) {
        const tagCOMMONTIME& t = epo->tTime;
        std::fprintf(m_fpWL, "* %04d %02d %02d %02d %02d %02d %4d %4d\r\n", t.year, t.month, t.day, t.hour, t.minute,
                     static_cast<int>(t.second), epo->nSatNum, epo->epoHead.nUsedSat);
    }
    const int minCount = m_set.nUpdMinCount;
    const double minProduct = 25.0 * _PI / m_set.dInterval;
    m_ar.fixable.clear();
    for (unsigned j = 0; j < ps->ambList.ColNo(); ++j) {
        const int iprn = Round(ps->ambList(0, j));
        const char sys = judge_sys_char(iprn);
        const int k = judge_sys(sys);
        if (sys != 'G' || k < 0 || ps->datumSat[k] < 0)
            continue;
        tagARSAT& a = m_ar.sat[iprn - 1];
        const int refIprn = ps->datumSat[k];
        if (iprn == refIprn) {
            WriteWideLaneLine(a, nullptr, sys, iprn2prn(iprn), refIprn, updWl(0, iprn - 1));
            continue;
        }
        if (updWl(1, iprn - 1) < minCount || updWl(1, refIprn - 1) < minCount || updNl(1, iprn - 1) < minCount ||
            updNl(1, refIprn - 1) < minCount) {
            a.dWLInt = _AR_WL_NOT_FIXED;
        } else {
            const double B = a.dWL - (updWl(0, iprn - 1) - updWl(0, refIprn - 1));
            const double n = Round(B);
            a.dWLSd = B;
            if (a.dElev >= kMinFixElevation && a.dElev * a.nCount >= minProduct) {
                a.dWLInt = std::fabs(B - n) < kWideLaneTolerance ? n : _AR_WL_NOT_FIXED;
                if (a.dWLInt != _AR_WL_NOT_FIXED) {
                    a.dNL = NarrowLaneFactor(a) * a.dAmb - WideLaneInNarrowLane(a) * n;
                    a.dNLFrac = a.dNL - Round(a.dNL);
                    a.dNLUpd = updNl(0, iprn - 1) - updNl(0, refIprn - 1);
                    a.nStatus = kArWideLane;
                    m_ar.fixable.push_back(iprn);
                    result->nSysCnt2[k]++;
                }
            }
        }
        WriteWideLaneLine(a, &m_ar.sat[refIprn - 1], sys, iprn2prn(iprn), refIprn, updWl(0, iprn - 1));
    }
    FixNarrowLanes(ps, result);
    return 1;
}
