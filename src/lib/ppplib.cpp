#include "lib/ppplib.h"

#include "common/gnsscmn.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSSPP.h"
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
        return -3;
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
        return -2;

    const int mode = m_conf->mode;
    if (mode == 7) {
        if (!m_process->AugmentCorrect(obs->epoch, aug))
            return 0;
        // A correction may have pushed an observation out of range.
        DropUnusableSatellites(obs->epoch, obs->orbit);
    }
    if (!m_process->cmp_spp(obs))
        return 0;
    if (mode < 2 || m_conf->ppp_enable != 1)
        return 1;
    if (!m_process->cmp_pre(obs))
        return -1;
    if (mode != 7) {
        if (!m_process->cmp_ppp(obs))
            return 0;
        if (mode < 3)
            return 2;
    }
    if (mode == 3)
        return m_process->cmp_input_upd(obs) ? 3 : 0;
    if (mode != 7) {
        if (!upd)
            return 0;
        if (!m_process->cmp_pppar(obs, upd))
            return 2;
        if (mode < 7)
            return 4;
    }
    if (m_process->cmp_ppprtk(obs, aug))
        return mode > 7 ? mode : 6;
    return aug ? 2 : 0;
}

int t_ppplib::judge(tagOBSONEEPOONESTA* obs)
{
    const tagGPSOBSONEEPO* epoch = obs->epoch;
    const int firstSystem = m_systems.empty() ? -1 : judge_sys(m_systems.front());
    if (firstSystem < 0 || epoch->epoHead.nSysSat[firstSystem] == 0)
        return -5;

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
        return -3;
    if (m_conf->interval == 0.0)
        return -4;
    if (static_cast<size_t>(epoch->nSatNum) < m_systems.size() + 3)
        return -5;
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
