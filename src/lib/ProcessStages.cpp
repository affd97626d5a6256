// Driver stages after the float solution: UPD export, ambiguity resolution
// and the PPP-RTK output.
#include "engine/GNSSSPP.h"
#include "lib/Process.h"

bool t_Process::cmp_input_upd(tagOBSONEEPOONESTA*)
{
    return false;   // needs the float PPP filter
}

bool t_Process::cmp_pppar(tagOBSONEEPOONESTA*, t_upd*)
{
    return false;   // needs the float PPP filter
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
