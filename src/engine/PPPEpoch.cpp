// One epoch of the float PPP filter: model, screening, elimination of the
// epoch parameters, prediction and reset of the carried parameters,
// accumulation, solution and back-substitution.
#include <cmath>
#include <cstdio>
#include <cstring>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "engine/ProcInfoSite.h"
#include "math/MatrixHelpers.h"

namespace {

Matrix ZeroMatrix(int rows, int cols)
{
    Matrix m(rows, cols);
    m.Null();
    return m;
}

}  // namespace

int CGNSSSPP::CarriedNonAmbiguityCount() const
{
    return m_nExtraPar + (m_conf->pos_mode == 2 ? 3 : 0);
}

void CGNSSSPP::ResetFilter(PROCINFOSITE* ps)
{
    ps->NY.Null();
    ps->UY.Null();
    const int nFirst = CarriedNonAmbiguityCount();
    for (unsigned j = nFirst; j < ps->paraList.ColNo(); ++j)
        ps->paraList(0, j) = -999.0;
    m_set.nArCount = 0;
    if (m_set.bHoldAmb)
        m_ar.ClearHolds();
}

bool CGNSSSPP::AprioriPosition(tagSPPONERESULT* result, tagSITE* site, double pos[3])
{
    const int posMode = m_conf->pos_mode;
    const double known[3] = {site->crd.x, site->crd.y, site->crd.z};
    const bool unknown = std::fabs(known[0]) < 1000.0 && std::fabs(known[1]) < 1000.0 && std::fabs(known[2]) < 1000.0;
    const double* source = result->dPos;   // kinematic: the single point solution
    if (posMode == 1 || (posMode == 2 && !unknown)) {
        source = known;
    } else if (posMode == 2) {
        // Unknown static coordinates: the first single point position is kept for good.
        if (!m_set.bStaticPosValid) {
            for (int i = 0; i < 3; ++i)
                m_set.dStaticPos[i] = result->dPos[i];
            m_set.bStaticPosValid = 1;
        }
        source = m_set.dStaticPos;
    }
    for (int i = 0; i < 3; ++i)
        pos[i] = source[i];
    return true;
}

int CGNSSSPP::PPPOneEpoch(tagGPSOBSONEEPO* epo, tagGMSP3REC* orb, tagGMN* nav, tagSPPONERESULT* result,
                          tagSITE* site, PROCINFOSITE* ps, bool log, bool logPre, FILE* fp)
{
    if (!result)
        return 1;
    const double interval = m_conf->interval;
    int pieceEpochs = static_cast<int>(m_set.dTropPieceHours * 3600.0 / interval);
    if (pieceEpochs < 1)
        pieceEpochs = 1;
    const bool staticMode = m_conf->pos_mode == 2;
    const int nFirst = CarriedNonAmbiguityCount();
    if (ps->epochCount == 0) {
        ps->paraList.SetSize(1, nFirst);
        for (int j = 0; j < nFirst; ++j)
            ps->paraList(0, j) = j;
        ps->nextId = nFirst;
    }

    double apriori[3];
    AprioriPosition(result, site, apriori);
    for (int i = 0; i < 3; ++i) {
        ps->dAprioriPos[i] = apriori[i];
        result->dPos[i] = apriori[i];
    }
    for (int i = 0; i < 4; ++i)
        ps->dSavedClk[i] = result->dClk[i];
    result->bValid = 0;
    // Site coordinates that are not numbers cannot be linearised about; they
    // would stay in the running normal equations.
    if (!IsFiniteNumber(apriori[0]) || !IsFiniteNumber(apriori[1]) || !IsFiniteNumber(apriori[2]))
        return 1;
    if (NoEnoughUsedSats(epo))
        return 1;

    Matrix A1, A2, satList, P[2], L, byProducts;
    const int modelOk = GenPPPKinLSM_A_B_P_L_RT(A1, A2, satList, P, L, byProducts, result, epo, orb, nav,
                                                m_tropOut, site, nullptr);
    const int flagged = PrefitResiduals(epo, log, logPre, fp);
    if (flagged >= 0) {
        DropSatellite(*epo, flagged);
        return 1;
    }
    if (!modelOk)
        return 1;

    // Reduce the epoch's normal equations to the carried parameters.
    Matrix N11, N22, N12, U1, U2;
    if (!GetXTPY(N11, N22, N12, U1, U2, A1, A2, -1, P, L))
        return 1;
    const Matrix Q11 = InverseWithLoading(N11);
    const Matrix N21Q = ~N12 * Q11;
    const Matrix N = N22 - N21Q * N12;
    const Matrix U = U2 - N21Q * U1;

    ps->SaveBackup();

    const int k = static_cast<int>(N.RowNo());
    Matrix newList(1, k);
    for (int j = 0; j < nFirst && j < static_cast<int>(ps->paraList.ColNo()); ++j)
        newList(0, j) = ps->paraList(0, j);
    const double q = m_conf->pppos_value;
    if (q == 0.0 && ps->epochCount % pieceEpochs == 0)
        newList(0, 0) = ps->nextId++;
    GenMatrix_Para(newList, ps->paraList, ps->nextId, ps->ambList, epo, nFirst);
    if (q != 0.0)
        UpdateNY_UY_Pre_Tro(ps->NY, ps->UY, ps->ambList, m_timeGap);

    if (PeriodicRestartDue(*m_conf, epo->tGpsTime.sow))
        ResetFilter(ps);
    if (m_timeGap > 900.0) {
        ResetFilter(ps);
        if (log && logPre && fp) {
            const tagCOMMONTIME& t = epo->tTime;
            std::fprintf(fp, "%04d %02d %02d %02d %02d %02d %04d %6.2f   LargeBreak ,Reset!difftime = %10.3f\n",
                         t.year, t.month, t.day, t.hour, t.minute, static_cast<int>(t.second), epo->tGpsTime.week,
                         epo->tGpsTime.sow, m_timeGap);
            std::fflush(fp);
        }
    }

    Matrix NYacc = ZeroMatrix(k, k), UYacc = ZeroMatrix(k, 1), spare;
    if (ps->NY.RowNo() > 0)
        UpdateMatrix_NY_UY(NYacc, UYacc, ps->NY, ps->UY, newList, ps->paraList, spare);
    UpdateMatrix_NY_UY(NYacc, UYacc, N, U, newList, newList, spare);
    ps->NY = NYacc;
    ps->UY = UYacc;
    ps->paraList = newList;
    ps->ambList = satList;
    ps->A1 = A1;
    ps->A2 = A2;
    ps->P[0] = P[0];
    ps->P[1] = P[1];
    ps->L = L;
    ps->satList = satList;
    ps->byProducts = byProducts;
    ps->Q11 = Q11;
    ps->N12 = N12;
    ps->U1 = U1;
    ps->lastResult = *result;
    ps->lastTime = epo->tGpsTime;
    ps->epochCount++;

    ps->Qxx = InverseWithLoading(ps->NY);
    ps->X = ps->Qxx * ps->UY;
    ps->dZHD = m_tropOut[0];
    ps->dZWD0 = m_tropOut[1];
    result->dZHD = m_tropOut[0];
    result->dZWD = ps->X(0, 0);
    result->dZTD = result->dZHD + result->dZWD;

    if (NoEnoughUsedSats(epo))
        return 1;
    StorePPPSolution(epo, result, ps, staticMode);
    return 1;
}

Matrix CGNSSSPP::EpochParameters(const Matrix& X, const PROCINFOSITE* ps) const
{
    const Matrix coupled = ps->N12 * X;
    const Matrix reduced = ps->U1 - coupled;
    return ps->Q11 * reduced;
}

double CGNSSSPP::ModelledObservation(const Matrix& X, const Matrix& dX, const PROCINFOSITE* ps, int i) const
{
    double predicted = 0.0;
    for (unsigned j = 0; j < ps->A1.ColNo(); ++j)
        predicted += ps->A1(i, j) * dX(j, 0);
    for (unsigned j = 0; j < ps->A2.ColNo(); ++j)
        predicted += ps->A2(i, j) * X(j, 0);
    return predicted;
}

void CGNSSSPP::BackSubstitute(const Matrix& X, PROCINFOSITE* ps, tagSPPONERESULT* result, Matrix& dX)
{
    dX = EpochParameters(X, ps);
    const bool staticMode = m_conf->pos_mode == 2;
    const bool positionInA1 = m_conf->pos_mode != 1 && !staticMode;
    // The coordinate correction to the a-priori position: carried in the
    // static mode, an epoch parameter in the kinematic modes, none when fixed.
    double correction[3] = {0.0, 0.0, 0.0};
    for (int c = 0; c < 3; ++c) {
        if (staticMode)
            correction[c] = X(1 + c, 0);
        else if (positionInA1)
            correction[c] = dX(c, 0);
    }
    if (staticMode || positionInA1)
        for (int c = 0; c < 3; ++c)
            result->dPos[c] = ps->dAprioriPos[c] + correction[c];
    result->dDx2 = correction[0] * correction[0] + correction[1] * correction[1] + correction[2] * correction[2];
    int column = positionInA1 ? 3 : 0;
    for (char sys : {'G', 'R', 'E', 'C'}) {
        if (systemColumn(sys) < 0)
            continue;
        const int k = judge_sys(sys);
        result->dClk[k] = ps->dSavedClk[k] + dX(column++, 0) / _LIGHT_SPEED;
    }
    StoreGeodetic(result);
}

void CGNSSSPP::StorePPPSolution(tagGPSOBSONEEPO* epo, tagSPPONERESULT* result, PROCINFOSITE* ps, bool staticMode)
{
    const Matrix& X = ps->X;
    const int nFirst = CarriedNonAmbiguityCount();
    Matrix dX;
    BackSubstitute(X, ps, result, dX);
    const int m = static_cast<int>(ps->A1.RowNo());
    const int nA = static_cast<int>(ps->A1.ColNo());

    double sumPhase = 0.0, sumCode = 0.0;
    for (int i = 0; i < m; ++i) {
        const double predicted = ModelledObservation(X, dX, ps, i);
        const double vL = predicted - X(nFirst + i, 0) - ps->L(0, 2 * i + 1);
        const double vP = predicted - ps->L(0, 2 * i);
        const double pl = ps->P[0](0, i), pc = ps->P[1](0, i);
        sumPhase += pl * vL * vL;
        sumCode += pc * vP * vP;
        const int iprn = Round(ps->satList(0, i));
        tagRESONESAT& r = result->res[i];
        r.cSys = judge_sys_char(iprn);
        r.prn = iprn2prn(iprn);
        r.iprn = iprn;
        r.dRes1 = vP;
        r.dRes2 = vL;
        r.dElev = ps->satList(1, i);
        r.dStdRes = std::sqrt(pl) * vL * 100.0;
        r.dStdResCode = std::sqrt(pc) * vP * 100.0;
    }
    int dof = m - static_cast<int>(m_sys.size()) - 3;
    if (dof < 1)
        dof = 1;
    const double sigmaPhase = std::sqrt(std::fabs(sumPhase) / dof);
    const double sigmaCode = std::sqrt(std::fabs(sumCode) / dof);
    result->dSigma0 = sigmaPhase;
    result->dQ2 = sigmaCode;

    for (int j = 0; j < nA && j < 7; ++j)
        result->dStd[j] = std::sqrt(std::fabs(ps->Q11(j, j))) * sigmaPhase;
    // Carried coordinates take their precision from the filter.
    if (staticMode)
        for (int c = 0; c < 3; ++c)
            result->dStd[c] = std::sqrt(std::fabs(ps->Qxx(1 + c, 1 + c))) * sigmaPhase;

    result->nSatNum = epo->epoHead.nUsedSat;
    for (int s = 0; s < 4; ++s)
        result->nSysSat[s] = epo->epoHead.nUsedSys[s];
    result->bValid = 1;
    std::memcpy(m_prevEpo, epo, sizeof(tagGPSOBSONEEPO));
}
