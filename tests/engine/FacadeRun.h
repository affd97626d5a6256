// A host that feeds simulated epochs through the library facade in the float
// PPP mode, with its result files in a scratch directory.
#ifndef PPPLIB_TESTS_ENGINE_FACADERUN_H
#define PPPLIB_TESTS_ENGINE_FACADERUN_H

#include <functional>
#include <memory>
#include <string>

#include "PPPSimulation.h"
#include "support/FacadeHost.h"

namespace pppsim {

struct RunOptions {
    int posMode = 2;               // static
    double processNoise = 0.0;     // troposphere process noise; 0 = piecewise constant
    double elevMaskDeg = 10.0;
    bool logs = false;             // result directory with the debug logs
    tagCRDCARTESIAN apriori{};     // the site's coordinates handed to the library
    int mode = 2;                  // processing mode
};

class FacadeRun {
public:
    FacadeRun(Simulator& sim, const RunOptions& options);

    // Observes the epoch, lets the caller change the observations, and runs
    // it through the facade; returns the facade's result code.
    int Step(double sow, const std::function<void(tagGPSOBSONEEPO&)>& edit = nullptr, t_upd* upd = nullptr);

    // Distance of the last solution from the simulated truth (m).
    double PositionError() const;

    const tagSPPONERESULT& result() const { return *m_host.result; }
    PROCINFOSITE& state() { return *m_host.process().site_state; }
    CGNSSSPP& engine() { return m_host.engine(); }
    // Text of the result file with this extension (".outlier", ".tmp", ...), empty if absent.
    std::string ResultFile(const std::string& extension) const;

private:
    Simulator& m_sim;
    std::unique_ptr<enginetest::TempDir> m_dir;
    enginetest::FacadeHost m_host;
};

}  // namespace pppsim

#endif
