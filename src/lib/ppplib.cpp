#include "lib/ppplib.h"

#include "common/gnsscmn.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSSPP.h"
#include "engine/ProcInfoSite.h"
#include "lib/EpochScreening.h"
#include "lib/Process.h"

t_ppplib::t_ppplib(std::vector<char> systems, tagSITE* site, t_conf* conf)
    : m_systems(systems), m_conf(conf), m_process(nullptr)
{
    const double w0 = conf->weight.dWeightFactor[0];
    for (double& w : conf->weight.dWeightFactor)
        w /= w0;
    m_process = new t_Process(systems, site, conf);
}

t_ppplib::~t_ppplib()
{
    delete m_process;
}

int t_ppplib::pppos(tagOBSONEEPOONESTA* obs, t_upd* upd, t_aug* aug)
{
    if (!obs || !obs->epoch || !obs->result)
        return kResultEmptyEpoch;
    // A non-finite override would stay in the filter's troposphere for good.
    const double epochValue = obs->epoch->epoHead.dEpochValue;
    if (m_conf->product_source == 3 && m_conf->use_epoch_value && IsFiniteNumber(epochValue))
        m_process->spp->m_conf->pppos_value = epochValue;
    if (EpochRecordIsSound(*obs->epoch))
        DropUnusableSatellites(obs->epoch, obs->orbit);

    const int check = judge(obs);
    if (check < 0)
        return check;
    if (!reopen(obs))
        return kResultFileError;

    const int mode = m_conf->mode;
    if (mode == kModePppRtk) {
        if (!m_process->AugmentCorrect(obs->epoch, aug))
            return kResultNoSolution;
        // A correction may have pushed an observation out of range.
        DropUnusableSatellites(obs->epoch, obs->orbit);
    }
    if (!m_process->cmp_spp(obs))
        return kResultNoSolution;
    if (mode < kModeFloat || m_conf->ppp_enable != 1)
        return kResultSpp;
    if (!m_process->cmp_pre(obs))
        return kResultPreprocessingFailed;
    if (mode != kModePppRtk) {
        if (!m_process->cmp_ppp(obs))
            return kResultNoSolution;
        if (mode < kModeUpdExport)
            return kResultFloat;
    }
    if (mode == kModeUpdExport)
        return m_process->cmp_input_upd(obs) ? kResultUpdExport : kResultNoSolution;
    if (mode != kModePppRtk) {
        if (!upd)
            return kResultNoSolution;
        if (!m_process->cmp_pppar(obs, upd))
            return kResultFloat;
        if (mode < kModePppRtk)
            return kResultFixed;
    }
    if (m_process->cmp_ppprtk(obs, aug))
        return mode > kModePppRtk ? mode : kResultPppRtk;
    return aug ? kResultFloat : kResultNoSolution;
}

int t_ppplib::judge(tagOBSONEEPOONESTA* obs)
{
    const tagGPSOBSONEEPO* epoch = obs->epoch;
    const int firstSystem = m_systems.empty() ? -1 : judge_sys(m_systems.front());
    if (firstSystem < 0 || epoch->epoHead.nSysSat[firstSystem] == 0)
        return kResultTooFewSatellites;

    char present[4];
    int count = 0;
    for (char sys : {'G', 'R', 'E', 'C'})
        if (epoch->epoHead.nSysSat[judge_sys(sys)] > 0)
            present[count++] = sys;
    // A rejected epoch still replaces the present-system lists.
    m_process->spp->m_sys.assign(present, present + count);
    m_process->systems.assign(present, present + count);

    // A record that is not an epoch at all (counts beyond its capacity, a
    // calendar or GPS time out of range) is refused like an empty one.
    if (epoch->tTime.year == 0 || !EpochRecordIsSound(*epoch))
        return kResultEmptyEpoch;
    if (m_conf->interval == 0.0)
        return kResultNoInterval;
    if (static_cast<size_t>(epoch->nSatNum) < m_systems.size() + 3)
        return kResultTooFewSatellites;
    return 1;
}

bool t_ppplib::reopen(tagOBSONEEPOONESTA* obs)
{
    t_Process& p = *m_process;
    const tagGPSOBSONEEPO* epoch = obs->epoch;
    p.cur_time = epoch->tGpsTime;
    tagCOMMONTIME t = epoch->tTime;
    if (p.res_on && (p.last_day == -1 || p.last_day != t.day)) {
        p.last_day = t.day;
        if (!p.ReOpen_Res_Files(&t))
            return false;
    }
    if (p.ztd_on && (p.last_hour == -1 || p.last_hour != t.hour)) {
        p.last_hour = t.hour;
        tagGPSTIME2 gt = epoch->tGpsTime;
        return p.ReOpen_IGSZTD_File(&t, &gt);
    }
    return true;
}

void t_ppplib::setModelSettings(const t_model_settings& settings)
{
    tagENGINESETTINGS& s = m_process->spp->m_set;
    s.bSolidTide = settings.solidTide ? 1 : 0;
    s.bWindUp = settings.windUp ? 1 : 0;
    s.bRecAntenna = settings.receiverAntenna ? 1 : 0;
    s.bSatAntenna = settings.satelliteAntenna ? 1 : 0;
    s.bHoldAmb = settings.holdAmbiguities ? 1 : 0;
    s.dRatioThres = settings.ratioThreshold;
}

t_model_settings t_ppplib::modelSettings() const
{
    const tagENGINESETTINGS& s = m_process->spp->m_set;
    t_model_settings settings;
    settings.solidTide = s.bSolidTide != 0;
    settings.windUp = s.bWindUp != 0;
    settings.receiverAntenna = s.bRecAntenna != 0;
    settings.satelliteAntenna = s.bSatAntenna != 0;
    settings.holdAmbiguities = s.bHoldAmb != 0;
    settings.ratioThreshold = s.dRatioThres;
    return settings;
}

CGNSSErrorCorrection& t_ppplib::errorCorrection()
{
    return m_process->spp->m_errorCorrection;
}

bool t_ppplib::positionCofactors(double q[3][3]) const
{
    // Static: the carried parameters are the troposphere, then X, Y, Z.
    // Kinematic and dynamic: the epoch parameters are X, Y, Z, then the clocks.
    const PROCINFOSITE* state = m_process->site_state;
    const int dynamics = m_conf->pos_mode;
    if (!state || dynamics < 2)
        return false;
    const math::matrix<double>& cofactors = dynamics == 2 ? state->Qxx : state->Q11;
    const unsigned first = dynamics == 2 ? 1 : 0;
    if (cofactors.RowNo() < first + 3 || cofactors.ColNo() < first + 3)
        return false;
    for (unsigned i = 0; i < 3; ++i)
        for (unsigned j = 0; j < 3; ++j)
            q[i][j] = cofactors(first + i, first + j);
    return true;
}

t_wide_lane_state t_ppplib::wideLane(int iprn) const
{
    t_wide_lane_state state;
    const int system = judge_sys(iprn);
    if (iprn < 1 || iprn > MAXSATNUM || system < 0)
        return state;
    const tagARSTATE& ar = m_process->spp->m_ar;
    const tagARSAT& a = ar.sat[iprn - 1];
    state.inFilter = a.nColumn >= 0;
    state.reference = state.inFilter && a.nColumn == ar.refColumn[system];
    state.elevation = a.dElev;
    state.fixed = a.dWLInt != _AR_WL_NOT_FIXED;
    return state;
}
