#include "FacadeRun.h"

#include <cmath>
#include <cstring>

#include "engine/ProcInfoSite.h"

namespace pppsim {

FacadeRun::FacadeRun(Simulator& sim, const RunOptions& options) : m_sim(sim)
{
    t_conf& conf = m_host.conf;
    conf.ppp_enable = 1;
    conf.mode = options.mode;
    conf.pos_mode = options.posMode;
    conf.pppos_value = options.processNoise;
    conf.elev_mask = options.elevMaskDeg;
    conf.interval = 30.0;
    std::strcpy(conf.site_name, "SIMU");
    if (options.logs) {
        m_dir = std::make_unique<enginetest::TempDir>();
        std::strcpy(conf.res_dir, m_dir->path().c_str());
        conf.out_debug = 1;
    }
    std::strcpy(m_host.site.name, "SIMU");
    m_host.site.crd = options.apriori;
    m_host.Start({'G', 'E'});
}

int FacadeRun::Step(double sow, const std::function<void(tagGPSOBSONEEPO&)>& edit, t_upd* upd)
{
    m_sim.Observe(sow, m_host.epoch.get(), m_host.orbits.get());
    if (edit)
        edit(*m_host.epoch);
    return m_host.Run(upd);
}

double FacadeRun::PositionError() const
{
    const tagCRDCARTESIAN& truth = m_sim.setup().site;
    const double* pos = m_host.result->dPos;
    return std::sqrt((pos[0] - truth.x) * (pos[0] - truth.x) + (pos[1] - truth.y) * (pos[1] - truth.y) +
                     (pos[2] - truth.z) * (pos[2] - truth.z));
}

std::string FacadeRun::ResultFile(const std::string& extension) const
{
    if (!m_dir)
        return "";
    // The files of the day lie in the one day directory.
    for (const std::string& day : enginetest::ListDir(m_dir->path()))
        for (const std::string& name : enginetest::ListDir(*m_dir / day))
            if (name.size() > extension.size() &&
                name.compare(name.size() - extension.size(), extension.size(), extension) == 0)
                return enginetest::ReadFile(*m_dir / (day + "/" + name));
    return "";
}

}  // namespace pppsim
