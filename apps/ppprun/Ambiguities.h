// What ppprun adds around the library for ambiguity resolution: the UPDs of
// each epoch (from a UPD file or a Bias-SINEX), the float-ambiguity export of
// the upd-export mode, and the fixing figures of the summary.
#ifndef PPPRUN_AMBIGUITIES_H
#define PPPRUN_AMBIGUITIES_H

#include <memory>
#include <vector>

#include "Options.h"
#include "Summary.h"
#include "engine/GNSSEpoch.h"
#include "engine/GNSSResult.h"
#include "io/AmbiguityExport.h"
#include "io/BiasSinexReader.h"
#include "io/UpdFile.h"
#include "lib/ppplib.h"

namespace ppprun {

class Ambiguities {
public:
    // Loads the UPD product and opens the export as the options say.
    Ambiguities(const Options& o, double interval, const std::string& site);

    // The UPD entries for an epoch, or null when the run uses none. With a
    // Bias-SINEX the epoch's code observations are corrected by their OSBs
    // first (satellites without a code OSB leave the epoch's use).
    t_upd* upds(const tagGPSTIME2& t, tagGPSOBSONEEPO& epoch);

    // After the library's call: the export of mode upd-export and the fixing figures.
    void afterEpoch(int code, const tagSPPONERESULT& solution, const t_ppplib& library, double secondsSinceStart);

    void report(RunResult& result) const;

private:
    bool m_ar;
    bool m_updsFromStream;   // the SSR phase biases of a stream give the UPDs
    pppio::UpdProduct m_product;
    std::unique_ptr<pppio::BiasSinex> m_biases;
    std::vector<t_upd> m_upds;
    std::unique_ptr<pppio::AmbiguityExportWriter> m_export;
    ArFigures m_figures;
};

}  // namespace ppprun

#endif
