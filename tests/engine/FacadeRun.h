// A host that feeds simulated epochs through the library facade in the float
// PPP mode, with its result files in a temporary directory that is removed
// at the end.
#ifndef PPPLIB_TESTS_ENGINE_FACADERUN_H
#define PPPLIB_TESTS_ENGINE_FACADERUN_H

#include <functional>
#include <memory>
#include <string>

#include "PPPSimulation.h"
#include "engine/GNSSResult.h"
#include "lib/PPPRecords.h"

class t_ppplib;
class CGNSSSPP;
struct PROCINFOSITE;

namespace pppsim {

struct RunOptions {
    int posMode = 2;               // static
    double processNoise = 0.0;     // troposphere process noise; 0 = piecewise constant
    double elevMaskDeg = 10.0;
    bool logs = false;             // result directory with the debug logs
    tagCRDCARTESIAN apriori{};     // the site's coordinates handed to the library
};

class FacadeRun {
public:
    FacadeRun(Simulator& sim, const RunOptions& options);
    ~FacadeRun();
    FacadeRun(const FacadeRun&) = delete;
    FacadeRun& operator=(const FacadeRun&) = delete;

    // Observes the epoch, lets the caller change the observations, and runs
    // it through the facade; returns the facade's result code.
    int Step(double sow, const std::function<void(tagGPSOBSONEEPO&)>& edit = nullptr);

    // Distance of the last solution from the simulated truth (m).
    double PositionError() const;

    const tagSPPONERESULT& result() const { return *m_result; }
    const tagGPSOBSONEEPO& epoch() const { return *m_epoch; }
    PROCINFOSITE& state();
    CGNSSSPP& engine();
    // Text of the result file with this extension (".outlier", ".tmp", ...), empty if absent.
    std::string ResultFile(const std::string& extension) const;

private:
    Simulator& m_sim;
    t_conf m_conf{};
    tagSITE m_site{};
    std::string m_dir;
    std::unique_ptr<tagGPSOBSONEEPO> m_epoch;
    std::unique_ptr<tagGMSP3REC> m_orbits;
    std::unique_ptr<tagSPPONERESULT> m_result;
    tagGPSOBSSMOOTH* m_smooth = nullptr;
    std::unique_ptr<t_ppplib> m_lib;
};

}  // namespace pppsim

#endif
