// updnet: satellite wide-lane and narrow-lane UPDs of a network of stations
// from their float-ambiguity exports (ppprun --mode 3). See --help.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <exception>

#include "Options.h"
#include "io/AmbiguityExport.h"
#include "io/ReadError.h"
#include "io/UpdComparison.h"
#include "io/UpdEstimator.h"
#include "io/UpdFile.h"

namespace {

constexpr int kDone = 0;
constexpr int kInternal = 1;       // anything else (exhausted memory, ...)
constexpr int kBadInput = 2;       // bad options, an unreadable input or nothing to estimate
constexpr int kMalformed = 3;      // a malformed line
constexpr int kLibraryMinCount = 2;   // the library's default minimum wl_num and nl_num

// Site names compare without regard to case.
bool Listed(const std::vector<std::string>& names, const std::string& site)
{
    const auto sameLetter = [](char a, char b) {
        return std::toupper(static_cast<unsigned char>(a)) == std::toupper(static_cast<unsigned char>(b));
    };
    for (const std::string& name : names)
        if (name.size() == site.size() && std::equal(name.begin(), name.end(), site.begin(), sameLetter))
            return true;
    return false;
}

void PrintWarnings(const std::vector<std::string>& warnings)
{
    for (const std::string& w : warnings)
        std::fprintf(stderr, "updnet: %s\n", w.c_str());
}

// Reads the exports of the stations not excluded; notes excluded names
// that matched no station.
std::vector<pppio::AmbiguityExport> ReadNetwork(const updnet::Options& options, int& excluded)
{
    std::vector<pppio::AmbiguityExport> network;
    std::vector<std::string> matched;
    excluded = 0;
    for (const std::string& path : options.exports) {
        pppio::AmbiguityExport station = pppio::readAmbiguityExport(path);
        PrintWarnings(station.warnings);
        if (Listed(options.excluded, station.site)) {
            ++excluded;
            matched.push_back(station.site);
            continue;
        }
        network.push_back(std::move(station));
    }
    for (const std::string& name : options.excluded)
        if (!Listed(matched, name))
            std::fprintf(stderr, "updnet: --exclude %s matches no station\n", name.c_str());
    return network;
}

void PrintSummary(const pppio::UpdStatistics& s, int excluded, const std::string& out)
{
    std::printf("stations     %d used, %d excluded\n", s.stations, excluded);
    std::printf("satellites   %d\n", s.satellites);
    std::printf("days         %d\n", s.days);
    std::printf("intervals    %d narrow-lane\n", s.intervals);
    std::printf("wide lane    %d arcs used, %d rejected, RMS of fractional residuals %.4f cycles\n", s.wlArcs,
                s.wlRejected, s.wlRms);
    std::printf("narrow lane  %d arc means used, %d rejected, RMS of fractional residuals %.4f cycles\n",
                s.nlSamples, s.nlRejected, s.nlRms);
    std::printf("written      %s\n", out.c_str());
}

int Run(const updnet::Options& options)
{
    int excluded = 0;
    const std::vector<pppio::AmbiguityExport> network = ReadNetwork(options, excluded);
    const pppio::UpdEstimate estimate = pppio::EstimateUpds(network, options.estimator);
    if (estimate.product.wideLane.empty()) {
        std::fprintf(stderr, "updnet: no usable wide-lane arc in %zu station(s); nothing written\n", network.size());
        return kBadInput;
    }
    estimate.product.write(options.out);
    PrintSummary(estimate.statistics, excluded, options.out);
    if (!options.truth.empty()) {
        const pppio::UpdProduct truth = pppio::UpdProduct::read(options.truth);
        PrintWarnings(truth.warnings);
        // The figure of the values the library uses (count 2 or more), then of all.
        const pppio::UpdErrors all = pppio::CompareUpds(estimate.product, truth);
        const pppio::UpdErrors e = pppio::CompareUpds(estimate.product, truth, kLibraryMinCount);
        std::printf("compared     %d satellite-days, %d satellite-intervals with counts >= %d (max WL %.4f NL %.4f)\n",
                    e.wlCount, e.nlCount, kLibraryMinCount, e.wlMax, e.nlMax);
        std::printf("all counts   WL %.4f NL %.4f cycles (%d satellite-intervals)\n", all.wlRms, all.nlRms,
                    all.nlCount);
        std::printf("UPD error WL %.4f NL %.4f cycles\n", e.wlRms, e.nlRms);
    }
    return kDone;
}

}  // namespace

int main(int argc, char** argv)
{
    updnet::Options options;
    try {
        options = updnet::ParseOptions(argc, argv);
    } catch (const updnet::UsageError& e) {
        std::fprintf(stderr, "updnet: %s\n", e.what());
        return kBadInput;
    }
    if (options.help) {
        std::fputs(updnet::HelpText().c_str(), stdout);
        return kDone;
    }
    try {
        return Run(options);
    } catch (const pppio::ReadError& e) {
        // Line 0: the file could not be opened at all.
        std::fprintf(stderr, "updnet: %s\n", e.what());
        return e.line() == 0 ? kBadInput : kMalformed;
    } catch (const std::runtime_error& e) {
        std::fprintf(stderr, "updnet: %s\n", e.what());
        return kBadInput;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "updnet: internal error: %s\n", e.what());
        return kInternal;
    }
}
