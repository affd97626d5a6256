// Ambiguity resolution, first steps of an epoch: the per-satellite wide-lane
// and ambiguity values, the choice of a reference satellite per system and
// the single differences against it.
#include <cmath>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSSPP.h"
#include "engine/NormalEquations.h"
#include "engine/ProcInfoSite.h"

namespace {

// Wide-lane wavelength of a satellite (m); 0 for a system without one.
double WideLaneWavelength(char sys, double f1, double f2)
{
    switch (sys) {
    case 'G':
        return _GPS_WLWL;
    case 'E':
        return _GAL_WLWL;
    case 'C':
        return _BDS_WLWL;
    case 'R':
        return f1 > f2 ? _LIGHT_SPEED / (f1 - f2) : 0.0;
    default:
        return 0.0;
    }
}

bool HasReference(int32_t datum)
{
    return datum >= 0;
}

// Satellite index of column j of the site's ambiguity list.
int ListSatellite(const PROCINFOSITE* ps, unsigned j)
{
    return Round(ps->ambList(0, j));
}

bool UpdCountReaches(const Matrix& upd, int iprn, int minCount)
{
    return upd(1, iprn - 1) >= minCount;
}

}  // namespace

int CGNSSSPP::AmbiguityStateIndex(int column) const
{
    return CarriedNonAmbiguityCount() + column;
}

int CGNSSSPP::ApplyUPDsOneSite(PROCINFOSITE* ps, tagGPSOBSONEEPO* epo)
{
    double bestScore[4] = {-1.0, -1.0, -1.0, -1.0};
    int winner[4] = {_AR_NO_REFERENCE, _AR_NO_REFERENCE, _AR_NO_REFERENCE, _AR_NO_REFERENCE};
    int winnerColumn[4] = {-1, -1, -1, -1};
    const double minCount = 600.0 / m_set.dInterval;
    const int n = static_cast<int>(ps->ambList.ColNo());
    m_ar.release.clear();

    for (int j = 0; j < n; ++j) {
        const int iprn = ListSatellite(ps, j);
        const int k = GetSatIndexInEpo(epo, iprn);
        if (k < 0 || iprn < 1 || iprn > MAXSATNUM)
            return 0;
        const tagOBSONESAT& s = epo->sat[k];
        const double lambdaW = WideLaneWavelength(s.cSys, s.dF1, s.dF2);
        if (lambdaW <= 0.0)
            return 0;
        tagARSAT& a = m_ar.sat[iprn - 1];
        a.nCount = s.nSmoothCount;
        a.dElev = ps->ambList.RowNo() > 1 ? ps->ambList(1, j) : s.dElev;
        a.dWL = -s.dMW / lambdaW;
        a.dWLFrac = a.dWL - Round(a.dWL);
        a.dF1 = s.dF1;
        a.dF2 = s.dF2;
        a.nColumn = j;
        a.dAmb = ps->X(AmbiguityStateIndex(j), 0);
        // A new arc ends whatever was held for the satellite.
        if (s.nSmoothState != 3)
            m_ar.release.push_back(iprn);

        const int sys = judge_sys(s.cSys);
        const double score = a.dElev * a.nCount;
        if (sys >= 0 && a.dElev >= 0.0 && a.nCount >= minCount && score > bestScore[sys]) {
            bestScore[sys] = score;
            winner[sys] = iprn;
            winnerColumn[sys] = j;
        }
    }
    // Held satellites that left the list are released as well.
    for (int held : m_ar.holdSats)
        if (GetIndexInMatrixCol(ps->ambList, held) < 0)
            m_ar.release.push_back(held);

    // GPS reference continuity: a high reference that has been held long
    // enough stays, so that the held ambiguities keep their datum.
    const int previous = ps->datumSatPrev[0];
    if (HasReference(previous) && previous != winner[0]) {
        const int column = GetIndexInMatrixCol(ps->ambList, previous);
        if (column >= 0 && m_ar.sat[previous - 1].dElev >= _PI / 4.0 && m_ar.holdCount[previous - 1] >= 50) {
            winner[0] = previous;
            winnerColumn[0] = column;
        } else if (HasReference(winner[0])) {
            m_ar.holdCount[winner[0] - 1] = 0;
        }
    }

    for (int sys = 0; sys < 4; ++sys) {
        ps->datumSat[sys] = winner[sys];
        m_ar.refColumn[sys] = winnerColumn[sys];
    }
    for (int sys = 0; sys < 4; ++sys)
        if (HasReference(winner[sys]))
            DifferenceAgainst(ps, winner[sys]);
    return 1;
}

void CGNSSSPP::DifferenceAgainst(const PROCINFOSITE* ps, int refIprn)
{
    const tagARSAT ref = m_ar.sat[refIprn - 1];
    const char sys = judge_sys_char(refIprn);
    for (unsigned j = 0; j < ps->ambList.ColNo(); ++j) {
        const int iprn = ListSatellite(ps, j);
        if (iprn == refIprn || judge_sys_char(iprn) != sys)
            continue;
        tagARSAT& a = m_ar.sat[iprn - 1];
        const double frac = a.dWLFrac - ref.dWLFrac;
        a.dWLFrac = frac - Round(frac);
        a.dWL -= ref.dWL;
        a.dAmb -= ref.dAmb;
    }
    tagARSAT& r = m_ar.sat[refIprn - 1];
    r.dWL = r.dWLFrac = r.dAmb = 0.0;
}

int CGNSSSPP::GetDatumUPD(PROCINFOSITE* ps, const Matrix& updWl, const Matrix& updNl, int minCount, char sys)
{
    const int n = static_cast<int>(ps->ambList.ColNo());
    Matrix candidates(2, n);
    for (int j = 0; j < n; ++j) {
        const int iprn = ListSatellite(ps, j);
        candidates(0, j) = iprn;
        candidates(1, j) = m_ar.sat[iprn - 1].dElev * m_ar.sat[iprn - 1].nCount;
    }
    SortMatrixByElev2(candidates);
    const double minimum = 25.0 * _PI / m_set.dInterval;
    for (int j = 0; j < n; ++j) {
        const int iprn = Round(candidates(0, j));
        if (candidates(1, j) >= minimum && judge_sys_char(iprn) == sys && UpdCountReaches(updWl, iprn, minCount) &&
            UpdCountReaches(updNl, iprn, minCount))
            return GetIndexInMatrixCol(ps->ambList, iprn);
    }
    return -1;
}

int CGNSSSPP::AdjustDatumSat(const Matrix& updWl, const Matrix& updNl, PROCINFOSITE* ps)
{
    const int minCount = m_set.nUpdMinCount;
    const char systems[4] = {'G', 'R', 'E', 'C'};
    for (int sys = 0; sys < 4; ++sys) {
        const int ref = ps->datumSat[sys];
        if (!HasReference(ref))
            continue;
        if (UpdCountReaches(updWl, ref, minCount) && UpdCountReaches(updNl, ref, minCount))
            continue;
        const int column = GetDatumUPD(ps, updWl, updNl, minCount, systems[sys]);
        if (column < 0)
            continue;
        const int iprn = ListSatellite(ps, column);
        DifferenceAgainst(ps, iprn);
        m_ar.sat[iprn - 1].nStatus = kArFixed;
        ps->datumSat[sys] = iprn;
        m_ar.refColumn[sys] = column;
    }
    return 1;
}
