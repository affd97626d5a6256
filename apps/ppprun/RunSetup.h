// What the file and the stream runs of ppprun share: the products, the
// library's configuration and corrections from the options, and the
// per-epoch call of the library with the figures it feeds.
#ifndef PPPRUN_RUNSETUP_H
#define PPPRUN_RUNSETUP_H

#include <memory>
#include <string>

#include "Accuracy.h"
#include "Ambiguities.h"
#include "Options.h"
#include "Plot.h"
#include "SatelliteAntennas.h"
#include "PositionFile.h"
#include "Summary.h"
#include "io/AntennaTable.h"
#include "io/BroadcastOrbit.h"
#include "io/EpochAssembler.h"
#include "io/OrbitRecordBuilder.h"
#include "io/PreciseClock.h"
#include "io/PreciseOrbit.h"
#include "io/SinexReader.h"
#include "io/SiteSetup.h"
#include "lib/ppplib.h"

namespace ppprun {

// mkdir -p; throws InputError.
void MakeDirectories(const std::string& path);

// The output folders made and the summary's description of the run.
RunResult StartRun(const Options& o, const std::string& input);

// The assembly figures of a finished run: satellites used and left out, signals.
void AddAssembly(const Options& o, const pppio::EpochAssembler& assembler, RunResult& result);

t_conf MakeConfiguration(const Options& o, double interval, const std::string& site);

// The physical corrections of the PPP model (on in the PPP modes unless
// switched off) and the ambiguity-resolution settings of the options.
t_model_settings ModelSettings(const Options& o);

// Orbits are extrapolated at most this far (s) beyond the SP3 records.
constexpr double kOrbitExtrapolation = 900.0;

// The products of a run, loaded once.
struct Products {
    pppio::PreciseOrbit orbit;
    pppio::PreciseClock clock;
    pppio::AntennaTable antennas;
    pppio::BroadcastOrbit broadcast;
    pppio::SinexSites sinex;

    Products(const Options& o, RunResult& result);
    pppio::ProductSources sources(const Options& o) const;

private:
    void describeCoverage(const Options& o, Coverage& c) const;
};

// The site of a run as the options and products describe it.
pppio::SiteRequest MakeSiteRequest(const Options& o, const Products& products, const std::string& defaultName);
// A SINEX file given that does not hold the site.
void NoteSite(const Options& o, const Products& products, const pppio::SiteReport& site, const tagGPSTIME2& t,
              RunResult& result);
// Satellite antennas for the systems --sat-antenna allows, the satellites
// without one named.
void LimitSatelliteAntennas(const Options& o, const Products& products, const tagGPSTIME2& t,
                            pppio::OrbitRecordBuilder& orbits, RunResult& result);

void NoteAntenna(const Options& o, const pppio::SiteReport& site, const pppio::AntennaTable& antennas,
                 bool pcvLoaded, RunResult& result);

// The library of one site with its epoch, orbit and solution records.
class SiteRun {
public:
    SiteRun(const Options& o, tagSITE& site, const pppio::SiteReport& report, double interval,
            const Products& products, RunResult& result);
    ~SiteRun();

    tagGPSOBSONEEPO& epoch() { return *m_epoch; }
    tagGMSP3REC& orbit() { return *m_orbit; }
    const tagSPPONERESULT& solution() const { return *m_solution; }
    Ambiguities& ambiguities() { return m_ambiguities; }

    // Hands the filled epoch at time t to the library with the UPDs and the
    // augmentation corrections (null: none) and books the result; returns
    // the library's result code.
    int process(const tagGPSTIME2& t, t_upd* upds, t_aug* aug = nullptr);
    // Opens the --pos and --plot outputs before the first epoch; the span
    // of the data (null: unknown) goes into the position file's header.
    // Throws InputError when one cannot be written.
    void openOutputs(const tagGPSTIME2* start, const tagGPSTIME2* end);
    // The figures of the summary, at the end of the run.
    void finish(const tagGPSTIME2& lastTime);

private:
    const Options& m_options;
    RunResult& m_result;
    t_conf m_conf;
    std::unique_ptr<t_ppplib> m_library;
    std::unique_ptr<tagGPSOBSONEEPO> m_epoch;
    std::unique_ptr<tagGMSP3REC> m_orbit;
    std::unique_ptr<tagSPPONERESULT> m_solution;
    tagGPSOBSSMOOTH* m_smoothing = nullptr;   // allocated by the library, released here
    tagOBSONEEPOONESTA m_station;
    Ambiguities m_ambiguities;
    Accuracy m_accuracy;
    tagGPSTIME2 m_firstTime{0, 0.0};
    std::unique_ptr<PositionFile> m_positions;
    std::unique_ptr<RunPlot> m_plot;
    EpochSolution m_solved{};
};

}  // namespace ppprun

#endif
