// The UPD estimation program on a simulated network written through the
// export writer of ppprun's mode 3: the UPD file it writes reads back and
// matches the truth; bad input ends in a clear message.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "apps/ProgramRun.h"
#include "common/GNSSConst.h"
#include "io/AmbiguityExport.h"
#include "io/UpdFile.h"
#include "support/UpdNetwork.h"

namespace {

std::string ScratchPath(const std::string& name)
{
    return program_test::Scratch("updnet_" + name);
}

// Writes a station's records as the library hands them to the writer.
std::string WriteExport(const pppio::AmbiguityExport& station)
{
    const std::string path = ScratchPath(station.site + ".amb");
    pppio::AmbiguityExportWriter writer(path, station.interval);
    t_input_upds record;
    for (const pppio::AmbiguityEpoch& epoch : station.epochs) {
        record = t_input_upds();
        record.time = epoch.time;
        std::strncpy(record.site, station.site.c_str(), sizeof(record.site) - 1);
        for (const pppio::AmbiguitySatellite& s : epoch.satellites) {
            const bool gps = s.iprn <= _MAX_PRN_GPS;
            const int prn = gps ? s.iprn : s.iprn - _MAX_PRN_GPS - _MAX_PRN_GLO;
            t_input_upd& slot = gps ? record.gps[prn - 1] : record.gal[prn - 1];
            slot.valid = 1;
            slot.sys = gps ? 'G' : 'E';
            slot.prn = prn;
            slot.iprn = s.iprn;
            slot.lock = s.lock;
            slot.param = s.elevation * _DEG2RAD;
            slot.mw = s.wl;
            slot.mw_sig = s.wlSigma;
            slot.amb = s.amb;
            slot.amb_sig = s.ambSigma;
        }
        writer.append(record);
    }
    return path;
}

double FigureAfter(const std::string& text, const std::string& label)
{
    const size_t at = text.find(label);
    return at == std::string::npos ? -1.0 : std::stod(text.substr(at + label.size()));
}

}  // namespace

TEST(Updnet, SimulatedNetworkGivesTheTrueUpdsInSingleDifferences)
{
    const updtest::UpdNetwork network(6, 360, true);   // three hours
    std::string exports;
    for (const pppio::AmbiguityExport& station : network.stations)
        exports += " " + WriteExport(station);
    const std::string truth = ScratchPath("truth.upd");
    network.truth.write(truth);
    const std::string out = ScratchPath("network.upd");
    std::remove(out.c_str());

    const program_test::Outcome run =
        program_test::RunProgram("updnet", "--out " + out + " --truth " + truth + " --exclude st5" + exports);
    ASSERT_EQ(run.exitCode, 0) << run.err;
    EXPECT_NE(run.out.find("5 used, 1 excluded"), std::string::npos) << run.out;
    const double wlError = FigureAfter(run.out, "UPD error WL ");
    const double nlError = FigureAfter(run.out, " NL ");
    EXPECT_GE(wlError, 0.0);
    EXPECT_LT(wlError, 0.02) << run.out;
    EXPECT_GE(nlError, 0.0);
    EXPECT_LT(nlError, 0.03) << run.out;

    const pppio::UpdProduct product = pppio::UpdProduct::read(out);
    EXPECT_EQ(product.wideLane.size(), network.satellites.size());
    EXPECT_EQ(product.nlInterval, 900.0);
    EXPECT_GT(product.narrowLane.size(), 8 * network.satellites.size());
}

TEST(Updnet, BadInputEndsWithAClearMessage)
{
    const std::string broken = ScratchPath("broken.amb");
    std::FILE* f = std::fopen(broken.c_str(), "w");
    ASSERT_NE(f, nullptr);
    std::fputs("% ppplib float ambiguities 1.0\n% SITE BRKN\n% INTERVAL 30\n"
               "2111 345600.0 G01   12  35.123   1234.5678 0.0500  -123.4567 0.0123\n"
               "2111 345630.0 G01   13  35.2 x\n",
               f);
    std::fclose(f);
    struct Case {
        std::string arguments;
        int exitCode;
        const char* message;
    };
    const Case cases[] = {
        {broken, 2, "no output file"},
        {"--out " + ScratchPath("x.upd") + " --nl-interval 7 " + broken, 2, "--nl-interval"},
        {"--out " + ScratchPath("x.upd") + " " + ScratchPath("missing.amb"), 2, "missing.amb"},
        {"--out " + ScratchPath("x.upd") + " " + broken, 3, "broken.amb:5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.arguments);
        const program_test::Outcome run = program_test::RunProgram("updnet", c.arguments);
        EXPECT_EQ(run.exitCode, c.exitCode);
        EXPECT_NE(run.err.find(c.message), std::string::npos) << run.err;
    }
}
