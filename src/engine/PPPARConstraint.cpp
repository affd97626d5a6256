// Ambiguity resolution, the narrow-lane search and what follows a fix: the
// fixed ambiguities as constraints on the carried normal equations, the
// fixed solution, and the ambiguities held from epoch to epoch.
#include <algorithm>
#include <cmath>
#include <numeric>
#include <vector>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "engine/ProcInfoSite.h"

namespace {

constexpr double kConstraintWeight = 10000.0;
constexpr double kMinUnitWeightSigma = 0.003;   // m, floor of the phase unit-weight error
constexpr int kMinNarrowLanes = 4;
constexpr double kSameFixTolerance = 0.02;   // m; one narrow-lane cycle is 0.107 m
constexpr double kVarianceSmoothing = 0.05;   // per epoch, of the unit-weight variance
constexpr double kMinSuccessRate = 0.999;
// Largest standard deviation of a float narrow lane that takes part (cycles).
// A moving receiver's floats carry unmodelled errors longer, hidden in the
// position that each epoch re-estimates: they must be more converged.
constexpr double kMaxNarrowLaneSigmaStatic = 0.7;
constexpr double kMaxNarrowLaneSigmaMoving = 0.25;
constexpr double kHoldRatio = 5.0;
constexpr double kHoldAgreement = 0.01;   // m
constexpr double kHoldElevation = 15.0 * _DEG2RAD;

// Adds weight * (x_s - x_r - value)^2 to the normal equations (r < 0: x_s alone).
void AddDifferenceConstraint(Matrix& N, Matrix& U, int s, int r, double value, double weight)
{
    N(s, s) += weight;
    U(s, 0) += weight * value;
    if (r < 0)
        return;
    N(r, r) += weight;
    N(s, r) -= weight;
    N(r, s) -= weight;
    U(r, 0) -= weight * value;
}

// The 99.9 % quantile of the chi-square distribution with n degrees of
// freedom (Wilson-Hilferty; within 1 % from n = 3 on).
double ChiSquareQuantile999(int n)
{
    constexpr double z = 3.090232306;   // 99.9 % quantile of the standard normal
    const double a = 2.0 / (9.0 * n);
    const double c = 1.0 - a + z * std::sqrt(a);
    return n * c * c * c;
}

// Work lists of the narrow-lane step, kept per thread so that an epoch
// does not allocate.
struct NarrowLaneWork {
    std::vector<int> sats, order, kept, previousSats;
    std::vector<double> previousValues;
};
NarrowLaneWork& Work()
{
    static thread_local NarrowLaneWork work;
    return work;
}

}  // namespace

// Single-difference narrow-lane floats of the satellites and their cofactor
// from a solution X and cofactor Q of the carried parameters.
void CGNSSSPP::NarrowLaneProblem(const Matrix& X, const Matrix& Q, const std::vector<int>& sats, Matrix& floats,
                                 Matrix& cofactor) const
{
    const int n = static_cast<int>(sats.size());
    floats.SetSize(n, 1);
    cofactor.SetSize(n, n);
    int s[MAXSATNUM], r[MAXSATNUM];
    double k[MAXSATNUM];
    for (int i = 0; i < n; ++i) {
        const tagARSAT& a = m_ar.sat[sats[i] - 1];
        s[i] = AmbiguityStateIndex(a.nColumn);
        r[i] = AmbiguityStateIndex(m_ar.refColumn[judge_sys(judge_sys_char(sats[i]))]);
        k[i] = (a.dF1 + a.dF2) / _LIGHT_SPEED;
        const double amb = X(s[i], 0) - X(r[i], 0);
        floats(i, 0) = k[i] * amb - a.dF2 / (a.dF1 - a.dF2) * a.dWLInt - a.dNLUpd;
    }
    for (int i = 0; i < n; ++i)
        for (int j = 0; j < n; ++j)
            cofactor(i, j) = k[i] * k[j] * (Q(s[i], s[j]) - Q(s[i], r[j]) - Q(r[i], s[j]) + Q(r[i], r[j]));
}

int CGNSSSPP::FixNarrowLanes(PROCINFOSITE* ps, tagSPPONERESULT* result)
{
    m_ar.partialValue = 1.0;
    m_ar.fixMode = 0;
    // The filter's cofactor in units of the phase's unit weight: the success
    // rate and the chi-square test need the covariance. One epoch's estimate
    // of the unit weight scatters too much; a smoothed one serves.
    const double sigma0 = std::max(result->dSigma0, kMinUnitWeightSigma);
    m_ar.variance0 = m_ar.variance0 > 0.0 ? m_ar.variance0 + kVarianceSmoothing * (sigma0 * sigma0 - m_ar.variance0)
                                          : sigma0 * sigma0;
    const double variance0 = m_ar.variance0;
    // Ambiguities of arcs that have not converged yet stay float.
    Matrix floats, Q;
    NarrowLaneProblem(ps->X, ps->Qxx, m_ar.fixable, floats, Q);
    const double maxSigma = m_conf->pos_mode == 2 ? kMaxNarrowLaneSigmaStatic : kMaxNarrowLaneSigmaMoving;
    NarrowLaneWork& work = Work();
    std::vector<int>& sats = work.sats;
    sats.clear();
    for (size_t i = 0; i < m_ar.fixable.size(); ++i)
        if (Q(i, i) * variance0 <= maxSigma * maxSigma)
            sats.push_back(m_ar.fixable[i]);
    const int n = static_cast<int>(sats.size());
    if (n < 1)
        return 0;
    if (sats.size() != m_ar.fixable.size())
        NarrowLaneProblem(ps->X, ps->Qxx, sats, floats, Q);
    Q = Q * variance0;

    // Smallest variance first; the partial fix drops from the end.
    std::vector<int>& order = work.order;
    order.resize(n);
    std::iota(order.begin(), order.end(), 0);
    std::stable_sort(order.begin(), order.end(), [&Q](int a, int b) { return Q(a, a) < Q(b, b); });
    Matrix sortedFloats(n, 1), sortedQ(n, n);
    for (int i = 0; i < n; ++i) {
        sortedFloats(i, 0) = floats(order[i], 0);
        for (int j = 0; j < n; ++j)
            sortedQ(i, j) = Q(order[i], order[j]);
    }

    const double threshold = m_set.dRatioThres;
    double ratio = 0.0, s0 = 0.0;   // s0: the success rate of the set that is tried
    long ints[MAXSATNUM];
    Matrix fixedSorted(n, 1);
    if (FixAmb(sortedFloats, sortedQ, &ratio, ints, &s0))
        for (int i = 0; i < n; ++i)
            fixedSorted(i, 0) = static_cast<double>(ints[i]);
    int leftOut = -1;
    if (ratio < threshold && n > 20) {
        PartialFixAmb(sortedFloats, sortedQ, &ratio, fixedSorted, &leftOut, &s0);
        m_ar.fixMode = 1;
    }
    if (ratio < threshold && n > 7) {
        // Leave out the largest variance and one more.
        Matrix subFloats(n - 1, 1), subQ(n - 1, n - 1), subFixed;
        for (int i = 0; i < n - 1; ++i) {
            subFloats(i, 0) = sortedFloats(i, 0);
            for (int j = 0; j < n - 1; ++j)
                subQ(i, j) = sortedQ(i, j);
        }
        PartialFixAmb(subFloats, subQ, &ratio, subFixed, &leftOut, &s0);
        for (int i = 0; i < n - 1; ++i)
            fixedSorted(i, 0) = subFixed(i, 0);
        fixedSorted(n - 1, 0) = _AR_LEFT_OUT;
        m_ar.fixMode = 2;
    }
    result->dRatio1 = ratio;
    ps->dArValue = ratio;
    const int fixedCount = n - (m_ar.fixMode == 2 ? 2 : m_ar.fixMode);
    // Beyond the ratio: enough ambiguities; floats precise enough that
    // rounding the decorrelated set would succeed almost surely; and
    // integers that fit the floats as their covariance says (chi-square at
    // 99.9 %). Floats biased by unmodelled effects pass a ratio test by
    // chance early in an arc.
    std::vector<int>& previousSats = work.previousSats;
    std::vector<double>& previousValues = work.previousValues;
    previousSats.swap(m_ar.candidateSats);
    previousValues.swap(m_ar.candidateValues);
    m_ar.candidateSats.clear();
    m_ar.candidateValues.clear();
    if (ratio < threshold || fixedCount < kMinNarrowLanes || s0 < kMinSuccessRate ||
        m_ar.distance > ChiSquareQuantile999(fixedCount))
        return 0;

    Matrix fixedList;
    RecoverOrderAmb(order, fixedSorted, fixedList);
    std::vector<int>& kept = work.kept;
    kept.clear();
    for (int i = 0; i < n; ++i) {
        tagARSAT& a = m_ar.sat[sats[i] - 1];
        if (fixedList(i, 0) == _AR_LEFT_OUT) {
            a.nStatus = kArLeftOut;
            continue;
        }
        a.dNLInt = fixedList(i, 0);
        kept.push_back(sats[i]);
        m_ar.candidateSats.push_back(sats[i]);
        m_ar.candidateValues.push_back(FixedAmbiguity(a));
    }
    if (!AgreesWithPrevious(previousSats, previousValues))
        return 0;
    return AcceptFixedSolution(ps, result, kept) ? 1 : 0;
}

double CGNSSSPP::FixedAmbiguity(const tagARSAT& a)
{
    // Ionosphere-free ambiguity from the narrow-lane integer plus its UPD
    // and the wide-lane integer: c/(f1+f2) (a + b + f2/(f1-f2) w).
    return _LIGHT_SPEED / (a.dF1 + a.dF2) * (a.dNLInt + a.dNLUpd + a.dF2 / (a.dF1 - a.dF2) * a.dWLInt);
}

bool CGNSSSPP::AgreesWithPrevious(const std::vector<int>& sats, const std::vector<double>& values) const
{
    int common = 0;
    for (size_t i = 0; i < m_ar.candidateSats.size(); ++i) {
        const auto previous = std::find(sats.begin(), sats.end(), m_ar.candidateSats[i]);
        if (previous == sats.end())
            continue;
        if (std::fabs(values[previous - sats.begin()] - m_ar.candidateValues[i]) > kSameFixTolerance)
            return false;
        ++common;
    }
    return common >= kMinNarrowLanes;
}

int CGNSSSPP::FixedAmb2NEQ(const std::vector<int>& sats, PROCINFOSITE* ps, Matrix& Xfixed, Matrix& Qfixed)
{
    Matrix N = m_ar.holdApplied ? ps->NY_hold : ps->NY;
    Matrix U = m_ar.holdApplied ? ps->UY_hold : ps->UY;
    for (int iprn : sats) {
        tagARSAT& a = m_ar.sat[iprn - 1];
        const double value = FixedAmbiguity(a);
        a.dFixedAmb = value;
        const int ref = m_ar.refColumn[judge_sys(judge_sys_char(iprn))];
        AddDifferenceConstraint(N, U, AmbiguityStateIndex(a.nColumn), ref >= 0 ? AmbiguityStateIndex(ref) : -1,
                                value, kConstraintWeight);
    }
    Qfixed = InverseWithLoading(N);
    Xfixed = Qfixed * U;
    return 1;
}

bool CGNSSSPP::AcceptFixedSolution(PROCINFOSITE* ps, tagSPPONERESULT* result, const std::vector<int>& sats)
{
    if (sats.empty())
        return false;
    Matrix Xc, Qc;
    FixedAmb2NEQ(sats, ps, Xc, Qc);
    // The search once more on the constrained solution: it must agree.
    Matrix floats, Q;
    NarrowLaneProblem(Xc, Qc, sats, floats, Q);
    long ints[MAXSATNUM];
    double ratio = 0.0;
    FixAmb(floats, Q, &ratio, ints, nullptr);
    if (ratio < m_set.dRatioThres)
        return false;
    ps->dRatio = ratio;
    result->dRatio = ratio;
    Matrix dX;
    BackSubstitute(Xc, ps, result, dX);
    m_ar.fixed = sats;
    for (int iprn : sats) {
        m_ar.sat[iprn - 1].nStatus = kArFixed;
        result->nSysCnt3[judge_sys(judge_sys_char(iprn))]++;
    }
    ps->nArValue = static_cast<int32_t>(sats.size());
    result->bFixed = 1;
    ps->bFixedEpoch = 1;
    return true;
}

int CGNSSSPP::GenHoldAmb(PROCINFOSITE* ps)
{
    std::vector<int> sats;
    std::vector<double> values;
    for (int iprn : m_ar.fixed)
        if (m_ar.sat[iprn - 1].nStatus > kArLeftOut) {
            sats.push_back(iprn);
            values.push_back(m_ar.sat[iprn - 1].dFixedAmb);
        }
    if (m_ar.holdSats.empty()) {
        m_ar.holdSats = sats;
        m_ar.holdValues = values;
        return 0;
    }
    bool agreed[MAXSATNUM] = {};
    for (size_t i = 0; i < sats.size(); ++i) {
        const auto held = std::find(m_ar.holdSats.begin(), m_ar.holdSats.end(), sats[i]);
        if (held == m_ar.holdSats.end())
            continue;
        const double before = m_ar.holdValues[held - m_ar.holdSats.begin()];
        if (std::fabs(values[i] - before) < kHoldAgreement && m_ar.sat[sats[i] - 1].dElev > kHoldElevation)
            agreed[sats[i] - 1] = true;
    }
    for (int ref : ps->datumSat)
        if (ref >= 1 && ref <= MAXSATNUM)
            agreed[ref - 1] = true;
    for (int i = 0; i < MAXSATNUM; ++i)
        m_ar.holdCount[i] = agreed[i] ? m_ar.holdCount[i] + 1 : 0;
    m_ar.holdSats = sats;
    m_ar.holdValues = values;
    return 1;
}

bool CGNSSSPP::HoldAmb2NEQ(PROCINFOSITE* ps)
{
    m_ar.holdApplied = false;
    if (!m_set.bHoldAmb || m_ar.holdSats.empty())
        return false;
    std::vector<int>& sats = m_ar.holdSats;
    std::vector<double>& values = m_ar.holdValues;
    // The held values are differences against the reference of their epoch:
    // bring them to the current reference.
    for (int sys = 0; sys < 4; ++sys) {
        if (ps->datumSat[sys] < 0 || ps->datumSatPrev[sys] < 0)
            continue;
        const auto ref = std::find(sats.begin(), sats.end(), ps->datumSat[sys]);
        const double shift = ref == sats.end() ? 0.0 : values[ref - sats.begin()];
        for (double& v : values)
            v -= shift;
    }
    for (size_t i = 0; i < sats.size();) {
        if (std::find(m_ar.release.begin(), m_ar.release.end(), sats[i]) != m_ar.release.end()) {
            sats[i] = sats.back();
            values[i] = values.back();
            sats.pop_back();
            values.pop_back();
            continue;
        }
        ++i;
    }

    Matrix N = ps->NY, U = ps->UY;
    int constraints = 0;
    const int n = static_cast<int>(ps->ambList.ColNo());
    for (int j = 0; j < n; ++j) {
        const int iprn = Round(ps->ambList(0, j));
        const int sys = judge_sys(judge_sys_char(iprn));
        if (sys < 0 || iprn == ps->datumSat[sys] || m_ar.refColumn[sys] < 0 || m_ar.holdCount[iprn - 1] <= 10)
            continue;
        int found = -1;
        for (size_t h = 0; h < sats.size(); ++h)
            if (sats[h] == iprn)
                found = static_cast<int>(h);
        if (found < 0)
            continue;
        AddDifferenceConstraint(N, U, AmbiguityStateIndex(j), AmbiguityStateIndex(m_ar.refColumn[sys]),
                                values[found], kConstraintWeight);
        ++constraints;
    }
    if (constraints <= 3)
        return false;
    ps->NY_hold = N;
    ps->UY_hold = U;
    ps->Qxx = InverseWithLoading(N);
    ps->X = ps->Qxx * U;
    for (int j = 0; j < n; ++j) {
        const int iprn = Round(ps->ambList(0, j));
        const int sys = judge_sys(judge_sys_char(iprn));
        const int ref = sys >= 0 ? m_ar.refColumn[sys] : -1;
        double amb = ps->X(AmbiguityStateIndex(j), 0);
        if (ref >= 0)
            amb -= ps->X(AmbiguityStateIndex(ref), 0);
        m_ar.sat[iprn - 1].dAmb = amb;
    }
    return true;
}

int CGNSSSPP::PPPAROneEpoch(PROCINFOSITE* ps, tagGPSOBSONEEPO* epo, tagSPPONERESULT* result, const Matrix& updWl,
                            const Matrix& updNl)
{
    result->bFixed = 0;
    if (!ApplyUPDsOneSite(ps, epo))
        return 1;
    AdjustDatumSat(updWl, updNl, ps);
    const bool hold = m_set.bHoldAmb != 0;
    if (hold) {
        m_ar.holdApplied = HoldAmb2NEQ(ps);
        m_ar.nHoldCount = m_ar.holdApplied ? m_ar.nHoldCount + 1 : 0;
    }
    PPPFixAmb(updWl, updNl, ps, epo, result);
    if (!hold)
        return 1;
    const int fixedSats = result->nSysCnt3[0] + result->nSysCnt3[1] + result->nSysCnt3[2] + result->nSysCnt3[3];
    const bool weakPartial = m_ar.nHoldCount < 11 && ((m_ar.fixMode == 1 && fixedSats < 7) ||
                                                      (m_ar.fixMode == 2 && fixedSats <= 8));
    if (result->bFixed && ps->dRatio > kHoldRatio && !weakPartial) {
        GenHoldAmb(ps);
    } else {
        m_ar.ClearHolds();
    }
    return 1;
}
