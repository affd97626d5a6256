#include "Summary.h"

#include "io/SatelliteId.h"

namespace ppprun {

namespace {

std::string JsonString(const std::string& text)
{
    std::string out = "\"";
    for (char c : text) {
        if (c == '"' || c == '\\') {
            out += '\\';
            out += c;
        } else if (static_cast<unsigned char>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof(escaped), "\\u%04x", static_cast<unsigned>(c));
            out += escaped;
        } else {
            out += c;
        }
    }
    return out + "\"";
}

void JsonTriple(std::FILE* f, const char* key, bool present, double a, double b, double c, const char* format)
{
    std::fprintf(f, "  \"%s\": ", key);
    if (!present) {
        std::fprintf(f, "null,\n");
        return;
    }
    std::fprintf(f, "[");
    std::fprintf(f, format, a);
    std::fprintf(f, ", ");
    std::fprintf(f, format, b);
    std::fprintf(f, ", ");
    std::fprintf(f, format, c);
    std::fprintf(f, "],\n");
}

}  // namespace

std::string SatelliteCounts(const long* perSatellite)
{
    std::string text;
    for (int iprn = 1; iprn <= MAXSATNUM; ++iprn) {
        const long n = perSatellite[iprn - 1];
        if (n == 0)
            continue;
        if (!text.empty())
            text += ", ";
        text += pppio::satelliteName(iprn) + " " + std::to_string(n);
    }
    return text;
}

// "E33 240, C46 12": satellites beyond the library's numbering, with counts.
std::string BeyondRangeCounts(const pppio::AssemblyTally& t)
{
    std::string text;
    for (int s = 0; s < 4; ++s)
        for (int prn = 1; prn <= pppio::kMaxPrn; ++prn) {
            const long n = t.beyondRange[s][prn];
            if (n == 0)
                continue;
            char id[8];
            std::snprintf(id, sizeof(id), "%c%02d", "GREC"[s], prn);
            text += (text.empty() ? "" : ", ") + std::string(id) + " " + std::to_string(n);
        }
    return text;
}

namespace {

std::string MessageCounts(const std::map<int, long>& messages)
{
    std::string text;
    for (const auto& m : messages)
        text += (text.empty() ? "" : ", ") + std::to_string(m.first) + " " + std::to_string(m.second);
    return text.empty() ? "none" : text;
}

void PrintStream(std::FILE* out, const StreamFigures& s)
{
    std::fprintf(out, "  stream messages   %s\n", MessageCounts(s.messages).c_str());
    std::fprintf(out, "  stream damage     %ld frames with a bad CRC, %ld bytes outside frames\n", s.badFrames,
                 s.skippedBytes);
    for (const auto& skipped : s.skipped)
        std::fprintf(out, "  skipped           %ld x %s\n", skipped.second, skipped.first.c_str());
    std::fprintf(out, "  ephemerides       %ld distinct\n", s.ephemerides);
    for (const auto& outcome : s.ssrOutcomes)
        std::fprintf(out, "  SSR orbit/clock   %ld satellite-epochs: %s\n", outcome.second, outcome.first.c_str());
    if (s.codeBiasesApplied > 0 || s.updsFromPhaseBiases > 0)
        std::fprintf(out, "  SSR biases        codes corrected in %ld satellite-epochs, phase-bias UPDs in %ld\n",
                     s.codeBiasesApplied, s.updsFromPhaseBiases);
    if (s.hasLatency)
        std::fprintf(out, "  latency           median %.3f ms, 99th percentile %.3f ms, max %.3f ms\n",
                     s.latencyMedianMs, s.latencyP99Ms, s.latencyMaxMs);
}

void JsonStream(std::FILE* f, const StreamFigures& s)
{
    std::fprintf(f, "  \"stream_messages\": {");
    bool first = true;
    for (const auto& m : s.messages) {
        std::fprintf(f, "%s\"%d\": %ld", first ? "" : ", ", m.first, m.second);
        first = false;
    }
    std::fprintf(f, "},\n  \"stream_skipped\": {");
    first = true;
    for (const auto& m : s.skipped) {
        std::fprintf(f, "%s%s: %ld", first ? "" : ", ", JsonString(m.first).c_str(), m.second);
        first = false;
    }
    std::fprintf(f, "},\n  \"ssr_outcomes\": {");
    first = true;
    for (const auto& m : s.ssrOutcomes) {
        std::fprintf(f, "%s%s: %ld", first ? "" : ", ", JsonString(m.first).c_str(), m.second);
        first = false;
    }
    std::fprintf(f, "},\n  \"bad_frames\": %ld,\n  \"ephemerides\": %ld,\n", s.badFrames, s.ephemerides);
    if (s.hasLatency)
        std::fprintf(f, "  \"latency_ms\": {\"median\": %.4f, \"p99\": %.4f, \"max\": %.4f},\n", s.latencyMedianMs,
                     s.latencyP99Ms, s.latencyMaxMs);
    else
        std::fprintf(f, "  \"latency_ms\": null,\n");
}

std::string AgeCounts(const AugFigures& a)
{
    std::string text;
    for (int k = 0; k < 10; ++k)
        if (a.ageCounts[k] > 0)
            text += (text.empty() ? "" : ", ") + std::to_string(k) + " s " + std::to_string(a.ageCounts[k]);
    return text.empty() ? "none" : text;
}

void PrintAug(std::FILE* out, const AugFigures& a)
{
    std::fprintf(out, "  reference         %s: %ld epochs, %ld satellite-epochs corrected, %.3f ms per epoch\n",
                 a.source.c_str(), a.referenceEpochs, a.correctionsMade,
                 a.referenceEpochs > 0 ? 1000.0 * a.generatorSeconds / static_cast<double>(a.referenceEpochs) : 0.0);
    std::fprintf(out, "  corrected         %.2f satellites per epoch; %ld satellite-epochs dropped for age "
                      "(10 s), %ld without a correction\n",
                 a.userEpochs > 0 ? static_cast<double>(a.correctedSatellites) / static_cast<double>(a.userEpochs)
                                  : 0.0,
                 a.droppedForAge, a.missing);
    std::fprintf(out, "  correction age    %s\n", AgeCounts(a).c_str());
    std::fprintf(out, "  too few corrected %ld epochs failed\n", a.tooFewEpochs);
}

void JsonAug(std::FILE* f, const AugFigures& a)
{
    std::fprintf(f, "  \"aug_reference_epochs\": %ld,\n  \"aug_user_epochs\": %ld,\n", a.referenceEpochs,
                 a.userEpochs);
    std::fprintf(f, "  \"aug_corrected_satellite_epochs\": %ld,\n  \"aug_dropped_for_age\": %ld,\n",
                 a.correctedSatellites, a.droppedForAge);
    std::fprintf(f, "  \"aug_missing\": %ld,\n  \"aug_too_few_epochs\": %ld,\n", a.missing, a.tooFewEpochs);
    std::fprintf(f, "  \"aug_age_counts\": [");
    for (int k = 0; k < 10; ++k)
        std::fprintf(f, "%s%ld", k ? ", " : "", a.ageCounts[k]);
    std::fprintf(f, "],\n  \"aug_generator_s\": %.4f,\n", a.generatorSeconds);
}

}  // namespace

void PrintSummary(std::FILE* out, const RunResult& r)
{
    std::fprintf(out, "ppprun summary\n");
    std::fprintf(out, "  observations      %s\n", r.obsFile.c_str());
    std::fprintf(out, "  site              %s  (a-priori coordinates: %s)\n", r.site.c_str(), r.coordinates.c_str());
    std::fprintf(out, "  processing        mode %s, %s, systems %s\n", r.mode.c_str(), r.dynamics.c_str(),
                 r.systems.c_str());
    std::fprintf(out, "  epochs read       %ld\n", r.epochs);
    if (r.skippedEpochs + r.skippedSatellites > 0)
        std::fprintf(out, "  malformed lines   skipped %ld epochs and %ld satellite records (see the notes)\n",
                     r.skippedEpochs, r.skippedSatellites);
    std::fprintf(out, "  result codes     ");
    for (const auto& code : r.resultCodes)
        std::fprintf(out, " %d: %ld", code.first, code.second);
    std::fprintf(out, "%s\n", r.resultCodes.empty() ? " none" : "");
    std::fprintf(out, "  satellites used   %ld satellite-epochs\n", r.tally.satellites);
    std::fprintf(out, "  left out          %ld for missing products, %ld without dual-frequency code and phase, "
                      "%ld without GLONASS channel\n",
                 r.tally.missingProducts, r.tally.incomplete, r.tally.noFrequency);
    if (r.tally.missingProducts > 0)
        std::fprintf(out, "    missing products: %s\n", SatelliteCounts(r.tally.missingPerSatellite).c_str());
    const std::string beyond = BeyondRangeCounts(r.tally);
    if (!beyond.empty())
        std::fprintf(out, "  not processed     satellites beyond the library's numbering (G01-G32, R01-R27, "
                          "E01-E30, C01-C35), satellite-epochs: %s\n",
                     beyond.c_str());
    if (r.tally.broadcast > 0)
        std::fprintf(out, "  %s %ld satellite-epochs: %s\n",
                     r.stream.ssrOutcomes.empty() ? "broadcast orbits " : "orbits of stream ", r.tally.broadcast,
                     SatelliteCounts(r.tally.broadcastPerSatellite).c_str());
    for (const auto& s : r.signals)
        std::fprintf(out, "  signals %c         %s\n", s.first, s.second.c_str());
    for (const std::string& note : r.notes)
        std::fprintf(out, "  note              %s\n", note.c_str());
    if (r.hasFinal)
        std::fprintf(out, "  final position    X %.4f  Y %.4f  Z %.4f m\n", r.finalXyz[0], r.finalXyz[1],
                     r.finalXyz[2]);
    else
        std::fprintf(out, "  final position    none (no epoch solved)\n");
    if (r.hasReference) {
        std::fprintf(out, "  final error       N %+.4f  E %+.4f  U %+.4f m\n", r.finalError.north, r.finalError.east,
                     r.finalError.up);
        if (r.hasRms)
            std::fprintf(out, "  RMS 2nd half      N %.4f  E %.4f  U %.4f m\n", r.rms.north, r.rms.east, r.rms.up);
        if (r.converged)
            std::fprintf(out, "  convergence       %.0f s (horizontal < %.2f m, vertical < %.2f m)\n",
                         r.convergenceSeconds, Accuracy::kHorizontalLimit, Accuracy::kVerticalLimit);
        else
            std::fprintf(out, "  convergence       not reached (horizontal < %.2f m, vertical < %.2f m)\n",
                         Accuracy::kHorizontalLimit, Accuracy::kVerticalLimit);
    }
    if (!r.ar.exportFile.empty())
        std::fprintf(out, "  float ambiguities %s\n", r.ar.exportFile.c_str());
    if (r.ar.active) {
        const ArFigures& a = r.ar;
        std::fprintf(out, "  fixed epochs      %ld of %ld\n", a.fixedEpochs, r.epochs);
        if (a.hasFirstFix)
            std::fprintf(out, "  first fix         after %.1f min; fixed after it %.1f %%; mean ratio %.1f\n",
                         a.firstFixSeconds / 60.0, 100.0 * a.fixedAfterFirstFix / a.epochsAfterFirstFix,
                         a.ratioSum / a.fixedEpochs);
        else
            std::fprintf(out, "  first fix         none\n");
        if (a.wideLaneCandidates > 0)
            std::fprintf(out, "  wide lanes fixed  %.1f %% of %ld GPS satellite-epochs above 15 degrees\n",
                         100.0 * a.wideLaneFixed / a.wideLaneCandidates, a.wideLaneCandidates);
    }
    if (r.stream.active)
        PrintStream(out, r.stream);
    if (r.aug.active)
        PrintAug(out, r.aug);
    std::fprintf(out, "  wall time         %.2f s\n", r.wallSeconds);
    if (r.epochs > 0)
        std::fprintf(out, "  library time      %.2f s, %.3f ms per epoch\n", r.librarySeconds,
                     1000.0 * r.librarySeconds / static_cast<double>(r.epochs));
}

bool WriteJsonSummary(const std::string& path, const RunResult& r)
{
    std::FILE* f = std::fopen(path.c_str(), "w");
    if (!f)
        return false;
    std::fprintf(f, "{\n");
    std::fprintf(f, "  \"obs_file\": %s,\n", JsonString(r.obsFile).c_str());
    std::fprintf(f, "  \"site\": %s,\n", JsonString(r.site).c_str());
    std::fprintf(f, "  \"mode\": %s,\n", JsonString(r.mode).c_str());
    std::fprintf(f, "  \"dynamics\": %s,\n", JsonString(r.dynamics).c_str());
    std::fprintf(f, "  \"systems\": %s,\n", JsonString(r.systems).c_str());
    std::fprintf(f, "  \"apriori\": %s,\n", JsonString(r.coordinates).c_str());
    std::fprintf(f, "  \"epochs\": %ld,\n", r.epochs);
    std::fprintf(f, "  \"result_codes\": {");
    bool first = true;
    for (const auto& code : r.resultCodes) {
        std::fprintf(f, "%s\"%d\": %ld", first ? "" : ", ", code.first, code.second);
        first = false;
    }
    std::fprintf(f, "},\n");
    std::fprintf(f, "  \"skipped_epochs\": %ld,\n", r.skippedEpochs);
    std::fprintf(f, "  \"skipped_satellite_records\": %ld,\n", r.skippedSatellites);
    std::fprintf(f, "  \"satellite_epochs\": %ld,\n", r.tally.satellites);
    std::fprintf(f, "  \"missing_products\": %ld,\n", r.tally.missingProducts);
    std::fprintf(f, "  \"missing_products_by_satellite\": %s,\n",
                 JsonString(SatelliteCounts(r.tally.missingPerSatellite)).c_str());
    std::fprintf(f, "  \"beyond_numbering_by_satellite\": %s,\n", JsonString(BeyondRangeCounts(r.tally)).c_str());
    std::fprintf(f, "  \"incomplete_signals\": %ld,\n", r.tally.incomplete);
    std::fprintf(f, "  \"broadcast_orbits\": %ld,\n", r.tally.broadcast);
    std::fprintf(f, "  \"signals\": {");
    first = true;
    for (const auto& s : r.signals) {
        std::fprintf(f, "%s\"%c\": %s", first ? "" : ", ", s.first, JsonString(s.second).c_str());
        first = false;
    }
    std::fprintf(f, "},\n");
    std::fprintf(f, "  \"notes\": [");
    for (size_t k = 0; k < r.notes.size(); ++k)
        std::fprintf(f, "%s%s", k ? ", " : "", JsonString(r.notes[k]).c_str());
    std::fprintf(f, "],\n");
    JsonTriple(f, "final_xyz", r.hasFinal, r.finalXyz[0], r.finalXyz[1], r.finalXyz[2], "%.4f");
    JsonTriple(f, "final_neu_error_m", r.hasReference, r.finalError.north, r.finalError.east, r.finalError.up,
               "%.4f");
    JsonTriple(f, "rms_neu_error_m", r.hasRms, r.rms.north, r.rms.east, r.rms.up, "%.4f");
    if (r.converged)
        std::fprintf(f, "  \"convergence_s\": %.1f,\n", r.convergenceSeconds);
    else
        std::fprintf(f, "  \"convergence_s\": null,\n");
    if (r.ar.active) {
        const ArFigures& a = r.ar;
        std::fprintf(f, "  \"fixed_epochs\": %ld,\n", a.fixedEpochs);
        if (a.hasFirstFix)
            std::fprintf(f, "  \"first_fix_s\": %.1f,\n  \"fixed_after_first_fix\": %.4f,\n  \"mean_ratio\": %.2f,\n",
                         a.firstFixSeconds, static_cast<double>(a.fixedAfterFirstFix) / a.epochsAfterFirstFix,
                         a.ratioSum / a.fixedEpochs);
        else
            std::fprintf(f, "  \"first_fix_s\": null,\n  \"fixed_after_first_fix\": null,\n  \"mean_ratio\": null,\n");
        if (a.wideLaneCandidates > 0)
            std::fprintf(f, "  \"wide_lane_fix_rate\": %.4f,\n", static_cast<double>(a.wideLaneFixed) / a.wideLaneCandidates);
        else
            std::fprintf(f, "  \"wide_lane_fix_rate\": null,\n");
    }
    if (r.stream.active)
        JsonStream(f, r.stream);
    if (r.aug.active)
        JsonAug(f, r.aug);
    std::fprintf(f, "  \"wall_s\": %.3f,\n", r.wallSeconds);
    std::fprintf(f, "  \"library_s\": %.3f\n", r.librarySeconds);
    std::fprintf(f, "}\n");
    return std::fclose(f) == 0;
}

}  // namespace ppprun
