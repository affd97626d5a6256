// Driver stage of the float PPP solution with its outlier loop and writers.
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"
#include "lib/Process.h"

bool t_Process::cmp_ppp(tagOBSONEEPOONESTA* obs)
{
    tagGPSOBSONEEPO* epoch = obs->epoch;
    tagSPPONERESULT* result = obs->result;
    site_state->bFixedEpoch = 0;
    result->dRatio1 = 0.0;
    result->dRatio = 0.0;
    if (!result->bSppValid)
        return false;

    const bool debug = conf->out_debug != 0;
    bool failed = false;
    do {
        if (spp->NoOverUsedSats(epoch)) {
            failed = true;
            break;
        }
        spp->PPPOneEpoch(epoch, obs->orbit, nullptr, result, site, site_state, res_on, debug, fp_outlier);
        if (!result->bValid) {
            failed = true;
            break;
        }
    } while (spp->PPPOutlierDetection_test(epoch, result, site_state, res_on, debug, fp_outlier, fp_tmp));

    if (static_cast<size_t>(result->nSatNum) < spp->m_sys.size() + 4)
        return false;
    if (failed)
        return false;
    spp->m_set.nPPPEpochs++;
    result->dClkValue = site_state->X(0, 0) + site_state->dClkBase;
    if (!result->bValid)
        return false;

    spp->m_coordConvert.Convert_XYZ_to_NEU(result, site->crd);
    if (res_on && fp_ppp) {
        spp->WritePos(fp_ppp, result);
        spp->WritePos_rtklib(fp_ppp_pos, result, 2);
    }
    if (res_on && conf->out_res && fp_resc && fp_resp)
        spp->WritePPPResidualRT(fp_resp, fp_resc, result);
    result->dClkVar = site_state->Qxx(0, 0) * 0.0009;
    if (static_cast<int>(epoch->tGpsTime.sow) % 300 == 0 && ztd_on && fp_ztd)
        spp->WriteZTD(fp_ztd, &epoch->tTime, &epoch->tGpsTime, site_state, true);
    for (int i = 0; i < 3; ++i)
        result->dPppPos[i] = result->dPos[i];
    result->nPppSat = result->nSatNum;
    result->bPppStored = 1;
    return true;
}
