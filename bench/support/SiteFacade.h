// One site of a host: its configuration and site records, the facade, the
// solution record and the slip-detection store the library allocates.
//
//   benchsupport::SiteFacade s(conf, site);
//   day.SetCorrections(s.library());
//   int code = s.Run(epoch, orbits, upds);
#ifndef PPPLIB_BENCH_SUPPORT_SITEFACADE_H
#define PPPLIB_BENCH_SUPPORT_SITEFACADE_H

#include <memory>
#include <vector>

#include "engine/GNSSResult.h"
#include "lib/ppplib.h"

namespace benchsupport {

class SiteFacade {
public:
    SiteFacade(const t_conf& conf, const tagSITE& site) : m_conf(conf), m_site(site)
    {
        m_library = std::make_unique<t_ppplib>(std::vector<char>{'G', 'R', 'E'}, &m_site, &m_conf);
    }
    ~SiteFacade()
    {
        m_library.reset();
        delete m_smooth;
    }
    SiteFacade(const SiteFacade&) = delete;
    SiteFacade& operator=(const SiteFacade&) = delete;

    t_ppplib& library() { return *m_library; }
    const tagSPPONERESULT& result() const { return *m_result; }

    // What the host keeps between epochs and a filter restart does not
    // clear: the smoothing store (smoothed codes, wide-lane means, the
    // previous epoch) and the solution record. Released, the next epoch
    // starts as cold as the first one of a new facade.
    void ForgetEpochState()
    {
        delete m_smooth;
        m_smooth = nullptr;
        *m_result = tagSPPONERESULT();
    }

    int Run(tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd* upds)
    {
        tagOBSONEEPOONESTA obs{0, 0, &epoch, m_smooth, m_result.get(), &orbits};
        const int code = m_library->pppos(&obs, upds, nullptr);
        m_smooth = obs.smooth;
        return code;
    }

private:
    t_conf m_conf;
    tagSITE m_site;
    std::unique_ptr<t_ppplib> m_library;
    std::unique_ptr<tagSPPONERESULT> m_result = std::make_unique<tagSPPONERESULT>();
    tagGPSOBSSMOOTH* m_smooth = nullptr;
};

}  // namespace benchsupport

#endif
