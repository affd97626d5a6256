// UPD and augmentation intake: per-satellite tables of the current epoch with
// their age checks, and the correction of raw observations for PPP-RTK.
#include <cmath>
#include <cstdlib>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/EpochLookup.h"
#include "engine/GNSSEpoch.h"
#include "lib/Process.h"

namespace {
double AgeSeconds(const tagGPSTIME2* t, int week, double sow)
{
    // The week difference in double: a garbage week must not wrap into a
    // small or negative (future) age.
    return (static_cast<double>(t->week) - week) * 604800.0 + (t->sow - sow);
}
}  // namespace

bool t_Process::ConvetUPD2Matrix(t_upd* upd, tagGPSTIME2* t)
{
    for (int i = 0; i < MAXSATNUM; ++i) {
        const t_upd& e = upd[i];
        // A NaN fails the comparisons and is unusable, and so is an infinite
        // value (out of range); a UPD from the future is accepted.
        const bool usable = e.valid == 1 && e.wl < 999.0 && e.nl < 999.0 && IsFiniteNumber(e.wl) &&
                            IsFiniteNumber(e.nl) && AgeSeconds(t, e.week, e.sow) < 900.0;
        upd_wl(0, i) = usable ? e.wl : 999.999;
        upd_wl(1, i) = usable ? e.wl_num : 0.0;
        upd_nl(0, i) = usable ? e.nl : 999.999;
        upd_nl(1, i) = usable ? e.nl_num : 0.0;
    }
    return true;
}

bool t_Process::ConvetAUG2Matrix(t_aug* aug, tagGPSTIME2* t)
{
    for (int i = 0; i < MAXSATNUM; ++i) {
        const t_aug& e = aug[i];
        // A correction that is not a finite number would reach the filter through
        // the observations: out of range, so the column stays empty.
        const bool finite = IsFiniteNumber(e.corr_l1) && IsFiniteNumber(e.corr_p1) && IsFiniteNumber(e.corr_l2) &&
                            IsFiniteNumber(e.corr_p2);
        const bool usable = e.valid == 1 && finite && AgeSeconds(t, e.week, e.sow) < 10.0;
        aug_mat(0, i) = usable ? 1.0 : 0.0;
        aug_mat(1, i) = usable ? e.corr_l1 : 0.0;
        aug_mat(2, i) = usable ? e.corr_p1 : 0.0;
        aug_mat(3, i) = usable ? e.corr_l2 : 0.0;
        aug_mat(4, i) = usable ? e.corr_p2 : 0.0;
    }
    return true;
}

bool t_Process::AugmentCorrect(tagGPSOBSONEEPO* epoch, t_aug* aug)
{
    if (aug)
        ConvetAUG2Matrix(aug, &epoch->tGpsTime);
    else
        aug_mat.Null();   // no record: no satellite has a correction
    const math::matrix<double> corrections = aug_mat;
    const int satellites = EpochSatCount(epoch);
    for (int i = 0; i < satellites; ++i) {
        tagOBSONESAT& s = epoch->sat[i];
        if (s.bUsed != 1)
            continue;
        const int column = s.iprn - 1;
        if (column >= 0 && column < MAXSATNUM && corrections(0, column) == 1.0) {
            const double lambda1 = _LIGHT_SPEED / s.dF1;
            const double lambda2 = _LIGHT_SPEED / s.dF2;
            s.dL1 -= corrections(1, column) / lambda1;
            s.dP1 -= corrections(2, column);
            s.dL2 -= corrections(3, column) / lambda2;
            s.dP2 -= corrections(4, column);
            // Simulated phase noise of 0.1 cycle, always added with a correction.
            s.dL1 += gaussrand() / 10.0;
            s.dL2 += gaussrand() / 10.0;
        } else {
            // The system of the packed index: one beyond the tables has no system count.
            DropSatellite(*epoch, i, judge_sys(s.iprn));
            if (static_cast<size_t>(epoch->epoHead.nUsedSat) <= systems.size() + 3)
                return false;
        }
    }
    return true;
}

double gaussrand()
{
    // Marsaglia's polar method on the C library's unseeded rand(): the
    // sequence repeats from run to run; the state is shared process-wide.
    static int phase = 0;
    static double V1, V2, S;
    double x;
    if (phase == 0) {
        do {
            const double u1 = std::rand() / 2147483647.0;
            const double u2 = std::rand() / 2147483647.0;
            V1 = 2.0 * u1 - 1.0;
            V2 = 2.0 * u2 - 1.0;
            S = V1 * V1 + V2 * V2;
        } while (S >= 1.0 || S == 0.0);
        x = V1 * std::sqrt(-2.0 * std::log(S) / S);
    } else {
        x = V2 * std::sqrt(-2.0 * std::log(S) / S);
    }
    phase = 1 - phase;
    return x;
}
