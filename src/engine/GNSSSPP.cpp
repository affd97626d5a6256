#include "engine/GNSSSPP.h"

#include <cstdlib>
#include <cstring>
#include <new>

CGNSSSPP::CGNSSSPP(std::vector<char> systems, tagSITE* site, t_conf* conf)
    : m_conf(conf), m_sys(systems), m_prevEpo(nullptr), m_satFlag{}, m_timeGap(-999.0), m_nReserved(0),
      m_site(site), m_weight(conf->weight), m_f1{}, m_f2{}, m_satVal{}, m_nSysOther(0), m_nExtraPar(1),
      m_elevCutoff(7.0), m_singleFreq(0), m_fpWL(nullptr), m_fpAmbWL(nullptr), m_fpAmbNL(nullptr), m_tropOut{}
{
    m_nSysOther = static_cast<int32_t>(systems.size()) - 1;
    for (int i = 1; i <= m_nSysOther; ++i)
        m_sysOther.push_back(systems[i]);
    m_nExtraPar = m_set.bExtraPar ? 3 : 1;
    // The previous epoch starts empty (nSatNum 0); the engine cannot work without it.
    m_prevEpo = static_cast<tagGPSOBSONEEPO*>(std::calloc(1, sizeof(tagGPSOBSONEEPO)));
    if (!m_prevEpo)
        throw std::bad_alloc();
}

CGNSSSPP::~CGNSSSPP()
{
    std::free(m_prevEpo);
}

int CGNSSSPP::systemColumn(char sys) const
{
    // Clock columns follow the fixed order G, R, E, C over the systems present.
    int column = 0;
    for (char s : {'G', 'R', 'E', 'C'}) {
        bool present = false;
        for (char c : m_sys)
            present = present || c == s;
        if (s == sys)
            return present ? column : -1;
        if (present)
            ++column;
    }
    return -1;
}
