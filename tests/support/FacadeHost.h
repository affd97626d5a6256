// A host application of the library facade with one site: the configuration
// and site records, the epoch it hands over, the orbits, the solution record
// and the smoothing store.
#ifndef PPPLIB_TESTS_SUPPORT_FACADEHOST_H
#define PPPLIB_TESTS_SUPPORT_FACADEHOST_H

#include <memory>
#include <vector>

#include "engine/GNSSSPP.h"
#include "lib/Process.h"
#include "lib/ppplib.h"
#include "support/ScratchFiles.h"

namespace enginetest {

// Configure conf and site, then Start() builds the facade; Run() hands the
// epoch over and keeps the smoothing store for the next call.
struct FacadeHost {
    FacadeHost();
    ~FacadeHost();
    FacadeHost(const FacadeHost&) = delete;
    FacadeHost& operator=(const FacadeHost&) = delete;

    void Start(std::vector<char> configured);
    int Run(t_upd* upd = nullptr, t_aug* aug = nullptr);

    t_Process& process() { return *lib->process(); }
    CGNSSSPP& engine() { return *lib->process()->spp; }

    t_conf conf{};
    tagSITE site{};
    std::unique_ptr<tagGPSOBSONEEPO> epoch;   // what the next Run hands over
    std::unique_ptr<tagGMSP3REC> orbits;
    std::unique_ptr<tagSPPONERESULT> result;
    tagGPSOBSSMOOTH* smooth = nullptr;
    tagOBSONEEPOONESTA obs{};
    std::unique_ptr<t_ppplib> lib;
};

}  // namespace enginetest

#endif
