#include "Verdict.h"

#include <cstdio>

#include "io/GpsTime.h"

namespace ppprun {

namespace {

// Products this far beyond the observations still serve them (the orbits
// are extrapolated for a quarter of an hour).
constexpr double kProductReach = 900.0;   // s

std::string SpanText(const TimeSpan& s)
{
    return pppio::calendarText(s.first) + " to " + pppio::calendarText(s.last);
}

// Runs judged by their fixed epochs; the augmentation-output mode
// kModeArAug, which fixes too, is judged by its float ones like PPP.
bool AmbiguityResolution(const Options& o)
{
    return ResolvesAmbiguities(o.mode) && o.mode != kModeArAug;
}

// A product's span against the observations': a finding, or empty.
// `noun` names the product ("orbits").
std::string CompareSpans(const std::string& noun, const std::string& files, const TimeSpan& product,
                         const TimeSpan& obs)
{
    if (!product.known || !obs.known)
        return "";
    const std::string the = "the " + noun;
    if (pppio::secondsBetween(obs.first, product.last) > 0.0 || pppio::secondsBetween(product.first, obs.last) > 0.0)
        return the + " (" + files + ") cover " + SpanText(product) + ", the observations " + SpanText(obs) +
               ": products of another day";
    if (pppio::secondsBetween(obs.last, product.last) > kProductReach)
        return the + " end at " + pppio::calendarText(product.last) + ", the observations at " +
               pppio::calendarText(obs.last) + ": the later epochs have no " + noun;
    if (pppio::secondsBetween(product.first, obs.first) > kProductReach)
        return the + " begin at " + pppio::calendarText(product.first) + ", the observations at " +
               pppio::calendarText(obs.first) + ": the earlier epochs have no " + noun;
    return "";
}

// The readers' words for a file that ends early (a file name may hold "truncated" too).
bool IsTruncation(const std::string& note)
{
    for (const char* words : {"the file is truncated", "the file looks truncated", "(truncated?)"})
        if (note.find(words) != std::string::npos)
            return true;
    return false;
}

}  // namespace

std::string ExtrapolationNote(const RunResult& r)
{
    const TimeSpan& orbits = r.coverage.orbits;
    const TimeSpan& obs = r.coverage.observations;
    if (!orbits.known || !obs.known)
        return "";
    const bool after = pppio::secondsBetween(obs.last, orbits.last) > 0.0;
    const bool before = pppio::secondsBetween(orbits.first, obs.first) > 0.0;
    if (!after && !before)
        return "";
    return std::string("orbits extrapolated (at most 15 minutes)") +
           (before ? " before their first record at " + pppio::calendarText(orbits.first) : "") +
           (before && after ? " and" : "") +
           (after ? " after their last record at " + pppio::calendarText(orbits.last) : "");
}

long SolvedEpochs(const Options& o, const RunResult& r)
{
    long solved = 0;
    for (const auto& c : r.resultCodes)
        if (o.mode == kModeSpp ? c.first == kResultSpp : c.first >= kResultFloat)
            solved += c.second;
    return solved;
}

std::vector<std::string> CoverageFindings(const Options& o, const RunResult& r)
{
    std::vector<std::string> findings;
    const Coverage& c = r.coverage;
    for (const std::string& f : {CompareSpans("orbits", c.sp3Files, c.orbits, c.observations),
                                 CompareSpans("clocks", c.clockFiles, c.clocks, c.observations)})
        if (!f.empty())
            findings.push_back(f);
    if (!c.systemsWithoutOrbits.empty())
        findings.push_back("no precise orbits for system " + c.systemsWithoutOrbits + " in " + c.sp3Files);
    if (AmbiguityResolution(o) && !o.streaming() && r.ar.epochsWithUpds == 0 && r.epochs > 0)
        findings.push_back("no UPDs for the epochs of the run in " + (o.upd.empty() ? o.bias : o.upd));
    if (r.aug.active && r.aug.tooFewEpochs > 0)
        findings.push_back(std::to_string(r.aug.tooFewEpochs) + " epochs had too few satellites with corrections " +
                           "of the reference station younger than 10 s (" + std::to_string(r.aug.droppedForAge) +
                           " satellite-epochs too old, " + std::to_string(r.aug.missing) + " never corrected)");
    return findings;
}

Verdict JudgeRun(const Options& o, const RunResult& r)
{
    Verdict v;
    const std::vector<std::string> findings = CoverageFindings(o, r);
    const std::string cause = findings.empty() ? "" : ": " + findings.front();
    const long solved = SolvedEpochs(o, r);
    if (r.epochs == 0) {
        v.code = kExitNoSolution;
        v.reason = "no data epochs in " + r.obsFile +
                   (o.hasWindow || o.decimation > 0.0 ? " within --time-window and --interval" : "");
    } else if (solved < kRequiredSolvedShare * static_cast<double>(r.epochs)) {
        char text[160];
        std::snprintf(text, sizeof(text), "only %ld of %ld epochs (%.0f%%) reached the %s solution", solved,
                      r.epochs, 100.0 * static_cast<double>(solved) / static_cast<double>(r.epochs),
                      o.mode == kModeSpp ? "single point" : o.mode == kModePppRtk ? "PPP-RTK" : "PPP");
        v.code = kExitNoSolution;
        v.reason = text + cause;
    } else if (AmbiguityResolution(o) && r.ar.fixedEpochs == 0) {
        v.code = kExitNoSolution;
        v.reason = "no epoch fixed its ambiguities" + cause;
    } else {
        for (const std::string& note : r.notes)
            if (IsTruncation(note)) {
                v.code = kExitIncomplete;
                v.reason = note;
                break;
            }
    }
    return v;
}

}  // namespace ppprun
