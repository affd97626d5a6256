// Driver stages after the float solution: UPD export, ambiguity resolution
// and the PPP-RTK output.
#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"
#include "lib/Process.h"

namespace {

// Export slot of a satellite, or null for a system (or BeiDou GEO) without one.
t_input_upd* ExportSlot(t_input_upds& record, char sys, int prn)
{
    switch (sys) {
    case 'G':
        return prn >= 1 && prn <= 32 ? &record.gps[prn - 1] : nullptr;
    case 'R':
        return prn >= 1 && prn <= 27 ? &record.glo[prn - 1] : nullptr;
    case 'E':
        return prn >= 1 && prn <= 30 ? &record.gal[prn - 1] : nullptr;
    case 'C':
        // The geostationary BeiDou satellites 1 to 5 are left out.
        return prn > 5 && prn <= 35 ? &record.bds[prn - 1] : nullptr;
    default:
        return nullptr;
    }
}

// The smoothing store's record of a satellite, or null.
const tagOBSONESAT* SmoothingRecord(const tagGPSOBSSMOOTH* store, int iprn)
{
    if (!store)
        return nullptr;
    const int n = store->cur.nSatNum < MAXSATNUM ? store->cur.nSatNum : MAXSATNUM;
    for (int k = 0; k < n; ++k)
        if (store->cur.sat[k].iprn == iprn)
            return &store->cur.sat[k];
    return nullptr;
}

}  // namespace

bool t_Process::cmp_input_upd(tagOBSONEEPOONESTA* obs)
{
    t_input_upds& record = obs->result->upds;
    record = t_input_upds();
    // The first five characters of the name; the field need not end in NUL.
    std::memcpy(record.site, name.c_str(), name.size() < 5 ? name.size() + 1 : 5);
    record.time = obs->epoch->tGpsTime;
    const int k = conf->pos_mode == 2 ? 4 : 1;
    const math::matrix<double>& list = site_state->ambList;
    for (unsigned i = 0; i < list.ColNo(); ++i) {
        const int iprn = Round(list(0, i));
        const tagOBSONESAT* s = SmoothingRecord(obs->smooth, iprn);
        if (!s)
            continue;   // no smoothing record of the state: nothing to export
        t_input_upd* slot = ExportSlot(record, s->cSys, s->prn);
        if (!slot)
            continue;
        const unsigned state = i + k;
        slot->valid = 1;
        slot->sys = s->cSys;
        slot->prn = s->prn;
        slot->iprn = iprn;
        slot->lock = s->nSmoothCount;
        slot->param = list.RowNo() > 1 ? list(1, i) : 0.0;
        slot->mw = -s->dMWMeanCyc;
        slot->mw_sig = std::sqrt(s->dMWVar);
        slot->amb = site_state->X(state, 0);
        slot->amb_sig = std::sqrt(site_state->Qxx(state, state));
    }
    return true;
}

void t_Process::WriteArLog(const tagSPPONERESULT* result)
{
    const tagCOMMONTIME& t = result->tTime;
    const int gpsRef = site_state->datumSat[0] >= 1 ? iprn2prn(site_state->datumSat[0]) : 0;
    std::fprintf(fp_amb, "<%7d> %4d %02d %02d %02d %02d %02d  G%02d  %3.3f  %2d\n", spp->m_set.nEpochNumber, t.year,
                 t.month, t.day, t.hour, t.minute, static_cast<int>(t.second), gpsRef, site_state->dArValue,
                 site_state->nArValue);
    for (int slot = 0; slot < 32; ++slot) {
        const tagARSAT& a = spp->m_ar.sat[slot];
        if (a.nCount <= 0)
            continue;
        std::fprintf(fp_amb, "G%02d %3d %8.3f %5d %5d %10.3f %10.3f %10.3f [%5d]\n", slot + 1, a.nCount,
                     a.dElev * _RAD2DEG, a.nColumn, a.nStatus, a.dWLSd, a.dNL, a.dNLFrac * _GPS_WL1,
                     spp->m_ar.holdCount[slot]);
    }
    std::fflush(fp_amb);
}

bool t_Process::cmp_pppar(tagOBSONEEPOONESTA* obs, t_upd* upd)
{
    tagSPPONERESULT* result = obs->result;
    spp->m_set.nEpochNumber++;
    site_state->dArValue = 0.0;
    site_state->nArValue = 0;
    site_state->bFixedEpoch = 0;
    result->bFixed = 0;
    spp->m_ar.ClearEpoch();
    if (spp->m_set.nPPPEpochs > 300.0 / conf->interval) {
        ConvetUPD2Matrix(upd, &result->tGpsTime);
        spp->PPPAROneEpoch(site_state, obs->epoch, result, upd_wl, upd_nl);
        for (int k = 0; k < 4; ++k)
            site_state->datumSatPrev[k] = site_state->datumSat[k];
        site_state->nConsecutiveFix = result->bFixed ? site_state->nConsecutiveFix + 1 : 0;
    }
    if (fp_amb)
        WriteArLog(result);

    spp->m_coordConvert.Convert_XYZ_to_NEU(result, site->crd);
    if (res_on && fp_pppar) {
        spp->WritePos(fp_pppar, result);
        spp->WritePos_rtklib(fp_pppar_pos, result, 2);
    }
    if (!result->bFixed)
        return false;
    for (int i = 0; i < 3; ++i)
        result->dFixPos[i] = result->dPos[i];
    result->nFixSat = result->nSatNum;
    result->bFixStored = 1;
    return true;
}

bool t_Process::cmp_ppprtk(tagOBSONEEPOONESTA* obs, t_aug*)
{
    // PPP-RTK always runs with a 7 degree cut-off from here on.
    spp->m_elevCutoff = 15.0;
    spp->m_elevCutoff = 7.0;
    if (!obs->result)
        return false;
    tagSPPONERESULT* result = obs->result;
    spp->m_coordConvert.Convert_XYZ_to_NEU(result, site->crd);
    if (res_on && fp_ppprtk)
        spp->WritePos(fp_ppprtk, result);
    if (res_on && conf->out_res && fp_resc && fp_resp)
        spp->WritePPPResidualRT(fp_resp, fp_resc, result);
    return true;
}
