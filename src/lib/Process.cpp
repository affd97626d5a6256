#include "lib/Process.h"

#include <cmath>
#include <cstring>

#include "common/GNSSConst.h"
#include "engine/BDSMultipath.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"

t_Process::t_Process(std::vector<char> systems_, tagSITE* site_, t_conf* conf_)
    : systems(systems_), fp_spp(nullptr), fp_ppp(nullptr), fp_pppar(nullptr), fp_ppprtk(nullptr),
      fp_aug(nullptr), fp_augpara(nullptr), fp_ion(nullptr), fp_ppp_pos(nullptr), fp_pppar_pos(nullptr),
      fp_tmp(nullptr), fp_outlier(nullptr), fp_resc(nullptr), fp_resp(nullptr), fp_slip(nullptr),
      fp_ztd(nullptr), site(site_), cur_time{0, 0.0}, last_week(-1), last_day(-1), last_hour(-1), conf(conf_),
      res_on(false), ztd_on(false), spp(nullptr), site_state(nullptr), fp_amb(nullptr), reserved_flag(0)
{
    spp = new CGNSSSPP(systems_, site_, conf_);
    res_dir = conf->res_dir;
    name = conf->site_name;
    upd_wl.SetSize(2, MAXSATNUM);
    upd_nl.SetSize(2, MAXSATNUM);
    aug_mat.SetSize(5, MAXSATNUM);

    spp->m_set.dInterval = conf->interval;
    spp->m_elevCutoff = conf->elev_mask;
    spp->m_set.dRatioThres = 2.0;
    spp->m_set.dTropPieceHours = 24.0;
    spp->m_set.nUpdMinCount = 2;
    spp->m_timeGap = -999.0;

    site_state = new PROCINFOSITE();

    res_on = !res_dir.empty();
    ztd_dir = conf->ztd_dir;
    ztd_on = !ztd_dir.empty();
}

t_Process::~t_Process()
{
    // The RTKLIB-style position files stay open until the process exits.
    auto closeFile = [](FILE*& f) {
        if (f)
            std::fclose(f);
        f = nullptr;
    };
    const int mode = conf->mode;
    if (res_on) {
        closeFile(fp_spp);
        closeFile(fp_ppp);
        if (mode == kModeAr || mode == kModeArLog)
            closeFile(fp_pppar);
        if (mode == kModePppRtk)
            closeFile(fp_ppprtk);
        if (conf->out_debug) {
            closeFile(fp_outlier);
            closeFile(fp_slip);
            closeFile(fp_tmp);
        }
        if (conf->out_res) {
            closeFile(fp_resc);
            closeFile(fp_resp);
        }
    }
    if (ztd_on)
        closeFile(fp_ztd);
    if (mode == kModeArAug) {
        closeFile(fp_aug);
        closeFile(fp_augpara);
    }
    if (mode == kModeAr)
        closeFile(fp_ion);
    if (mode == kModeAr || mode == kModeArLog) {
        if (conf->out_amb)
            closeFile(spp->m_fpWL);
        closeFile(fp_amb);
    }
    if (mode == kModePppRtk) {
        closeFile(spp->m_fpAmbWL);
        closeFile(spp->m_fpAmbNL);
    }
    delete spp;
    delete site_state;
}

bool t_Process::cmp_spp(tagOBSONEEPOONESTA* obs)
{
    tagGPSOBSONEEPO* epoch = obs->epoch;
    if (spp->NoEnoughHealthySats(epoch))
        return false;
    if (!spp->SPPOneEpoch(epoch, nullptr, obs->orbit, &obs->result, res_on, conf->out_debug != 0, fp_outlier,
                          &site->crd))
        return false;

    tagSPPONERESULT* result = obs->result;
    const bool numbers = !std::isnan(result->dPos[0]) && !std::isnan(result->dPos[1]) && !std::isnan(result->dPos[2]);
    if (!numbers || !(result->dQ0 < 30.0)) {
        if (!numbers)
            writeSppErrorDump(obs);
        return false;
    }
    spp->m_coordConvert.Convert_XYZ_to_NEU(result, site->crd);
    if (res_on && fp_spp)
        spp->WritePos(fp_spp, result);
    for (int i = 0; i < 3; ++i)
        result->dSppPos[i] = result->dPos[i];
    result->nSppSat = result->nSatNum;
    result->bSppValid = 1;
    return true;
}

void t_Process::writeSppErrorDump(tagOBSONEEPOONESTA* obs)
{
    if (!fp_outlier)
        return;
    const tagSPPONERESULT* r = obs->result;
    const tagGPSOBSONEEPO* epoch = obs->epoch;
    std::fprintf(fp_outlier, "%04d %02d %02d %02d %02d %02d   %04d   %6.2f %s \r\n", r->tTime.year, r->tTime.month,
                 r->tTime.day, r->tTime.hour, r->tTime.minute, static_cast<int>(r->tTime.second), r->tGpsTime.week,
                 r->tGpsTime.sow, "spp error");
    for (int i = 0; i < epoch->epoHead.nUsedSat && i < MAXSATNUM; ++i) {
        const tagOBSONESAT& s = epoch->sat[i];
        std::fprintf(fp_outlier, " %c%02d  ", s.cSys, s.prn);
        const long double values[5] = {s.dP1, s.dP2, s.dL1, s.dL2, s.dPIF};
        for (long double v : values)
            std::fprintf(fp_outlier, " %15.3Lf  ", v);
        std::fprintf(fp_outlier, "\r\n");
    }
    // Each slot lists the orbit entry of the slot before it; slot 0 has none and prints zeros.
    for (int slot = 0; slot < MAXSATNUM; ++slot) {
        std::fprintf(fp_outlier, " %02d  ", slot);
        long double values[4] = {0.0L, 0.0L, 0.0L, 0.0L};
        if (slot > 0 && obs->orbit) {
            const tagSP3ONESAT& o = obs->orbit->sat[slot - 1];
            values[0] = o.dPos[0];
            values[1] = o.dPos[1];
            values[2] = o.dPos[2];
            values[3] = o.dClk;
        }
        for (long double v : values)
            std::fprintf(fp_outlier, " %15.3Lf  ", v);
    }
    std::fprintf(fp_outlier, " \r\n");
    std::fflush(fp_outlier);
}

bool t_Process::cmp_pre(tagOBSONEEPOONESTA* obs)
{
    tagGPSOBSONEEPO* epoch = obs->epoch;
    if (PeriodicRestartDue(*conf, epoch->tGpsTime.sow))
        std::memset(spp->m_prevEpo, 0, sizeof(tagGPSOBSONEEPO));
    spp->get_obs_cmb(epoch);
    for (char s : systems)
        if (s == 'C') {
            BDSmultipathCorr(epoch);
            break;
        }
    spp->update_epoch(&obs->smooth, epoch);
    const tagSPPONERESULT* r = obs->result;
    const tagCRDCARTESIAN sppPos{r->dPos[0], r->dPos[1], r->dPos[2]};
    spp->slip_detect(obs->smooth, obs->orbit, sppPos, res_on, conf->out_debug != 0, fp_slip);
    spp->UpdateGPSObsWithSmooth(epoch, obs->smooth);
    return true;
}
