#include "FacadeRun.h"

#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include <stdlib.h>

#include "engine/GNSSSPP.h"
#include "lib/Process.h"
#include "lib/ppplib.h"

namespace pppsim {

FacadeRun::FacadeRun(Simulator& sim, const RunOptions& options)
    : m_sim(sim), m_epoch(std::make_unique<tagGPSOBSONEEPO>()), m_orbits(std::make_unique<tagGMSP3REC>()),
      m_result(std::make_unique<tagSPPONERESULT>())
{
    m_conf.ppp_enable = 1;
    m_conf.mode = 2;
    m_conf.pos_mode = options.posMode;
    m_conf.pppos_value = options.processNoise;
    m_conf.elev_mask = options.elevMaskDeg;
    m_conf.interval = 30.0;
    std::strcpy(m_conf.site_name, "SIMU");
    if (options.logs) {
        char dir[] = "/tmp/ppplib_ppp_XXXXXX";
        if (!mkdtemp(dir))
            throw std::runtime_error("cannot create a temporary directory");
        m_dir = dir;
        std::strcpy(m_conf.res_dir, dir);
        m_conf.out_debug = 1;
    }
    std::strcpy(m_site.name, "SIMU");
    m_site.crd = options.apriori;
    m_lib = std::make_unique<t_ppplib>(std::vector<char>{'G', 'E'}, &m_site, &m_conf);
}

FacadeRun::~FacadeRun()
{
    m_lib.reset();
    delete m_smooth;
    if (!m_dir.empty()) {
        std::error_code ignored;
        std::filesystem::remove_all(m_dir, ignored);
    }
}

int FacadeRun::Step(double sow, const std::function<void(tagGPSOBSONEEPO&)>& edit)
{
    m_sim.Observe(sow, m_epoch.get(), m_orbits.get());
    if (edit)
        edit(*m_epoch);
    tagOBSONEEPOONESTA obs{};
    obs.epoch = m_epoch.get();
    obs.smooth = m_smooth;
    obs.result = m_result.get();
    obs.orbit = m_orbits.get();
    const int code = m_lib->pppos(&obs, nullptr, nullptr);
    m_smooth = obs.smooth;
    return code;
}

double FacadeRun::PositionError() const
{
    const tagCRDCARTESIAN& truth = m_sim.setup().site;
    const double d[3] = {m_result->dPos[0] - truth.x, m_result->dPos[1] - truth.y, m_result->dPos[2] - truth.z};
    return std::sqrt(d[0] * d[0] + d[1] * d[1] + d[2] * d[2]);
}

PROCINFOSITE& FacadeRun::state()
{
    return *m_lib->process()->site_state;
}

CGNSSSPP& FacadeRun::engine()
{
    return *m_lib->process()->spp;
}

std::string FacadeRun::ResultFile(const std::string& extension) const
{
    if (m_dir.empty())
        return "";
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_dir)) {
        const std::string path = entry.path().string();
        if (path.size() > extension.size() && path.compare(path.size() - extension.size(), extension.size(), extension) == 0) {
            std::ifstream in(path, std::ios::binary);
            std::ostringstream text;
            text << in.rdbuf();
            return text.str();
        }
    }
    return "";
}

}  // namespace pppsim
