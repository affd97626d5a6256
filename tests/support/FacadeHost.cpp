#include "support/FacadeHost.h"

namespace enginetest {

FacadeHost::FacadeHost()
    : epoch(std::make_unique<tagGPSOBSONEEPO>()), orbits(std::make_unique<tagGMSP3REC>()),
      result(std::make_unique<tagSPPONERESULT>())
{
    obs.epoch = epoch.get();
    obs.result = result.get();
    obs.orbit = orbits.get();
}

FacadeHost::~FacadeHost()
{
    lib.reset();
    delete smooth;
}

void FacadeHost::Start(std::vector<char> configured)
{
    lib = std::make_unique<t_ppplib>(configured, &site, &conf);
}

int FacadeHost::Run(t_upd* upd, t_aug* aug)
{
    obs.smooth = smooth;
    const int code = lib->pppos(&obs, upd, aug);
    smooth = obs.smooth;
    return code;
}

}  // namespace enginetest
