#include "Ambiguities.h"

#include "common/GNSSConst.h"
#include "common/gnsscmn.h"
#include "io/PhaseBiasUpd.h"

namespace ppprun {

namespace {

constexpr double kWideLaneElevation = 15.0 * _DEG2RAD;   // the library's fixing cut-off

}  // namespace

Ambiguities::Ambiguities(const Options& o, double interval, const std::string& site)
    : m_ar(ResolvesAmbiguities(o.mode)), m_updsFromStream(o.streaming() && o.ssr && o.upd.empty() && o.bias.empty()),
      m_upds(MAXSATNUM)
{
    if (m_ar && !o.upd.empty())
        m_product = pppio::UpdProduct::read(o.upd);
    if (m_ar && !o.bias.empty())
        m_biases.reset(new pppio::BiasSinex(pppio::BiasSinex::read(o.bias)));
    if (o.mode == kModeUpdExport) {
        const std::string path = o.exportFile.empty() ? o.outDir + "/" + site + ".famb" : o.exportFile;
        m_export.reset(new pppio::AmbiguityExportWriter(path, interval));
        m_figures.exportFile = path;
    }
    m_figures.active = m_ar;
}

t_upd* Ambiguities::upds(const tagGPSTIME2& t, tagGPSOBSONEEPO& epoch)
{
    if (!m_ar)
        return nullptr;
    if (!m_biases) {
        if (m_product.fill(t, m_upds.data()) > 0)
            ++m_figures.epochsWithUpds;
        return m_upds.data();
    }
    if (pppio::fillUpdsFromOsb(*m_biases, t, m_upds.data()) > 0)
        ++m_figures.epochsWithUpds;
    // The UPDs assume codes free of satellite biases.
    for (int i = 0; i < epoch.nSatNum; ++i) {
        tagOBSONESAT& s = epoch.sat[i];
        const auto c1 = pppio::codeBiasMetres(*m_biases, s.iprn, s.obsHead.code1, t);
        const auto c2 = pppio::codeBiasMetres(*m_biases, s.iprn, s.obsHead.code2, t);
        if (c1 && c2) {
            s.dP1 -= *c1;
            s.dP2 -= *c2;
        } else {
            m_upds[s.iprn - 1].valid = 0;   // no code OSB: no UPD either
        }
    }
    return m_upds.data();
}

void Ambiguities::afterEpoch(int code, const tagSPPONERESULT& solution, const t_ppplib& library,
                             double secondsSinceStart)
{
    if (m_export && code == kResultUpdExport)
        m_export->append(solution.upds);
    if (!m_ar || code < kResultFloat)
        return;
    ArFigures& f = m_figures;
    const bool fixed = code == kResultFixed;
    if (fixed) {
        ++f.fixedEpochs;
        f.ratioSum += solution.dRatio;
        if (!f.hasFirstFix) {
            f.hasFirstFix = true;
            f.firstFixSeconds = secondsSinceStart;
        }
    }
    if (f.hasFirstFix) {
        ++f.epochsAfterFirstFix;
        if (fixed)
            ++f.fixedAfterFirstFix;
    }
    // Wide lanes: GPS satellites other than the reference, high enough to be tried.
    for (int iprn = 1; iprn <= 32; ++iprn) {
        const t_wide_lane_state w = library.wideLane(iprn);
        if (!w.inFilter || w.reference || w.elevation < kWideLaneElevation)
            continue;
        ++f.wideLaneCandidates;
        if (w.fixed)
            ++f.wideLaneFixed;
    }
}

void Ambiguities::report(RunResult& result) const
{
    result.ar = m_figures;
    if (m_biases) {
        if (m_biases->unsupported() > 0)
            result.notes.push_back(std::to_string(m_biases->unsupported()) +
                                   " Bias-SINEX lines other than OSB are not supported and were skipped");
        for (const std::string& warning : m_biases->warnings())
            result.notes.push_back(warning);
    } else if (m_ar && !m_updsFromStream && m_product.wideLane.empty() && m_product.narrowLane.empty())
        result.notes.push_back("no UPDs: no epoch can be fixed");
    for (const std::string& warning : m_product.warnings)
        result.notes.push_back(warning);
}

}  // namespace ppprun
