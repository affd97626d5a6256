// A week of continuous operation through ONE facade, as a station server
// runs it: the ESBC day (float PPP) and the simulated rover of netsim with
// its true UPDs (ambiguity resolution) replayed as seven consecutive days
// (2020-06-25 to 2020-07-01: a GPS week, a month and every day and hour of
// re-opening the result and zenith-delay files on the way).
//
// Every hour: open descriptors, resident memory and heap in use. At every
// day boundary: the closed day's files are complete (every line ended, one
// field count per file) and hold the expected lines. Then seven one-day runs
// on new facades give the reference: the soak facade restarts at each
// midnight (t_conf.reset_hours = 24, and the host releases its smoothing
// store and solution record, which a filter restart keeps), so each of its
// days is compared with the fresh run: result codes, positions, and files
// byte for byte. The restarted filter forms its first epoch around the
// previous solution, hence tiny differences there (README).
//
// Usage (from the repository root, after `make bench`):
//   build/bench/bench_soak [--days N] [--hourly FILE.csv] [--filter-restart-only] [--keep]
// PPP_DATA_DIR: the ESBC day (default ../shared/data); PPP_SOAK_AR_DIR:
// netsim's output with ROV1.rnx and truth.upd (default build/soak-net; the
// AR case is skipped without it). README "Long runs and many sites" has the
// netsim command.
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/DayReplay.h"
#include "support/ProcessProbe.h"
#include "support/SiteFacade.h"

namespace {

namespace fs = std::filesystem;
using namespace benchsupport;

struct Case {
    const char* name;
    int mode;   // 2 float PPP, 4 ambiguity resolution
    DayFiles files;
};

struct EpochOutcome {
    int code = 0;
    bool delayRecord = false;   // a zenith-delay record is due (whole 5 minutes)
    double pos[3] = {0.0, 0.0, 0.0};
};

struct DayFigures {
    long epochs = 0;
    int descriptors = 0;
    double residentMB = 0.0;
    double heapMB = 0.0;
    std::string files;        // "ok" or the first problem
    double maxDifference = 0.0;
    long codeMismatches = 0;
    long fileMismatches = 0;
};

std::string Env(const char* name, const char* fallback)
{
    const char* value = std::getenv(name);
    return value ? value : fallback;
}

std::string DateText(const tagCOMMONTIME& t)
{
    char text[16];
    std::snprintf(text, sizeof(text), "%04d%02d%02d", t.year, t.month, t.day);
    return text;
}

// A text file whose every line is ended, and whose lines outside the '%'
// comments share one field count: the number of such lines, or -1 and why not.
long CheckedLines(const fs::path& path, std::string& problem)
{
    std::ifstream in(path, std::ios::binary);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    if (!text.empty() && text.back() != '\n') {
        problem = path.filename().string() + ": last line unfinished";
        return -1;
    }
    long lines = 0;
    int fields = -1;
    size_t start = 0;
    for (size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
        const std::string line = text.substr(start, end - start);
        if (line.empty() || line[0] == '%')
            continue;
        int n = 0;
        for (size_t i = 0; i < line.size(); ++i)
            n += !std::isspace(static_cast<unsigned char>(line[i])) &&
                 (i == 0 || std::isspace(static_cast<unsigned char>(line[i - 1])));
        if (fields >= 0 && n != fields) {
            problem = path.filename().string() + ": line of " + std::to_string(n) + " fields after lines of " +
                      std::to_string(fields);
            return -1;
        }
        fields = n;
        ++lines;
    }
    return lines;
}

// The data lines each result file of a closed day must hold, from the day's result codes.
long ExpectedLines(const std::string& extension, long spp, long ppp)
{
    if (extension == ".spp")
        return spp;
    if (extension == ".ppp" || extension == ".ppp.pos" || extension == ".pppar" || extension == ".pppar.pos")
        return ppp;
    return 0;   // .ppprtk and .ion: no writer in these modes
}

std::string Extension(const std::string& name)
{
    const size_t dot = name.find('.');
    return dot == std::string::npos ? "" : name.substr(dot);
}

// The day's 24 hourly zenith-delay files: lines ended by CR LF, the 9
// header lines, then two lines a record, at most one record for each PPP
// epoch on a whole 5 minutes (none while the delay is not yet known to 1 mm).
std::string CheckDelayFiles(const fs::path& ztd, const std::string& date, const std::vector<EpochOutcome>& day)
{
    long records = 0;
    for (const EpochOutcome& e : day)
        records += e.delayRecord && e.code >= 2;
    int hours = 0;
    long lines = 0;
    for (const fs::directory_entry& week : fs::directory_iterator(ztd))
        for (const fs::directory_entry& f : fs::directory_iterator(week.path())) {
            const std::string name = f.path().filename().string();
            if (name.compare(9, 8, date) != 0)
                continue;
            std::ifstream in(f.path(), std::ios::binary);
            const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
            const long fileLines = static_cast<long>(std::count(text.begin(), text.end(), '\n'));
            long ends = 0;
            for (size_t i = text.find('\n'); i != std::string::npos; i = text.find('\n', i + 1))
                ends += i > 0 && text[i - 1] == '\r';
            if (text.empty() || text.back() != '\n' || ends != fileLines || fileLines < 9)
                return name + ": unfinished or without CR LF";
            lines += fileLines - 9;
            ++hours;
        }
    if (hours != 24)
        return std::to_string(hours) + " zenith-delay files";
    if (lines % 2 != 0 || lines > 2 * records)
        return "zenith-delay files: " + std::to_string(lines) + " record lines for " + std::to_string(records) +
               " epochs";
    return "ok";
}

// The result files of the day and its 24 zenith-delay files: complete and as long as expected.
std::string CheckDay(const fs::path& out, const std::string& date, const std::vector<EpochOutcome>& day)
{
    long spp = 0, ppp = 0;
    for (const EpochOutcome& e : day) {
        spp += e.code >= 1;
        ppp += e.code >= 2;
    }
    std::string problem;
    int resultFiles = 0;
    for (const fs::directory_entry& f : fs::directory_iterator(out / date)) {
        const std::string name = f.path().filename().string();
        const long lines = CheckedLines(f.path(), problem);
        if (lines < 0)
            return problem;
        const long expected = ExpectedLines(Extension(name), spp, ppp);
        if (lines != expected)
            return name + ": " + std::to_string(lines) + " lines, " + std::to_string(expected) + " expected";
        ++resultFiles;
    }
    if (resultFiles == 0)
        return "no result files";
    return CheckDelayFiles(out / "ztd", date, day);
}

bool SameBytes(const fs::path& a, const fs::path& b)
{
    std::ifstream fa(a, std::ios::binary), fb(b, std::ios::binary);
    return fa && fb &&
           std::equal(std::istreambuf_iterator<char>(fa), std::istreambuf_iterator<char>(),
                      std::istreambuf_iterator<char>(fb), std::istreambuf_iterator<char>());
}

// Files of the soak run's directory tree that differ from, or are missing in, the reference's.
long DifferingFiles(const fs::path& soak, const fs::path& reference)
{
    long differing = 0;
    for (const fs::directory_entry& f : fs::recursive_directory_iterator(soak))
        if (f.is_regular_file())
            differing += !SameBytes(f.path(), reference / fs::relative(f.path(), soak));
    return differing;
}

class Soak {
public:
    Soak(const Case& c, int days, bool coldRestarts, const fs::path& out, std::FILE* hourly)
        : m_case(c), m_days(days), m_coldRestarts(coldRestarts), m_out(out), m_hourly(hourly), m_replay(c.files)
    {
    }

    void Run()
    {
        const auto start = std::chrono::steady_clock::now();
        RunWeek();
        RunReferences();
        const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        Print(seconds);
    }

private:
    t_conf Conf(const fs::path& dir) const
    {
        const std::string site = fs::path(m_case.files.obs).filename().string().substr(0, 4);
        t_conf conf = m_replay.Configure(m_case.mode, 2, dir.string(), site);
        conf.reset_hours = 24.0;
        return conf;
    }

    void RunWeek()
    {
        const fs::path dir = m_out / "soak";
        fs::create_directories(dir / "ztd");
        m_figures.assign(m_days, DayFigures{});
        m_outcomes.assign(m_days, std::vector<EpochOutcome>());
        for (auto& day : m_outcomes)
            day.reserve(2880);
        {
            SiteFacade facade(Conf(dir), m_replay.site());
            m_replay.SetCorrections(facade.library());
            int lastHour = -1;
            for (int d = 0; d < m_days; ++d) {
                m_replay.Replay(d, [&](tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd* upds) {
                    const int hour = epoch.tTime.hour;
                    const std::string date = DateText(epoch.tTime);
                    if (d > 0 && m_outcomes[d].empty() && m_coldRestarts)
                        facade.ForgetEpochState();
                    EpochOutcome o;
                    o.delayRecord = std::fmod(epoch.tGpsTime.sow, 300.0) == 0.0;
                    o.code = facade.Run(epoch, orbits, upds);
                    std::memcpy(o.pos, facade.result().dPos, sizeof(o.pos));
                    m_outcomes[d].push_back(o);
                    if (hour != lastHour) {
                        Sample(d, date, hour);
                        if (hour == 0 && d > 0)   // the library has just closed the previous day's files
                            m_figures[d - 1].files = CheckDay(dir, m_dates[d - 1], m_outcomes[d - 1]);
                        lastHour = hour;
                    }
                    if (m_dates.size() <= static_cast<size_t>(d))
                        m_dates.push_back(date);
                });
                m_figures[d].epochs = static_cast<long>(m_outcomes[d].size());
            }
        }
        // The last day's files are closed with the facade, but for the two
        // position files, which stay open until the process exits.
        m_figures[m_days - 1].files = CheckDay(dir, m_dates[m_days - 1], m_outcomes[m_days - 1]);
        m_descriptorsAfter = CountDescriptors(dir.string());
    }

    void Sample(int day, const std::string& date, int hour)
    {
        const ProcessState s = ProbeProcess();
        DayFigures& f = m_figures[day];
        f.descriptors = std::max(f.descriptors, s.descriptors);
        f.residentMB = std::max(f.residentMB, s.residentMB);
        f.heapMB = std::max(f.heapMB, s.heapMB);
        if (m_hourly)
            std::fprintf(m_hourly, "%d,%s,%02d,%d,%.2f,%.3f\n", m_case.mode, date.c_str(), hour, s.descriptors,
                         s.residentMB, s.heapMB);
    }

    // Seven new facades, one a day, in a directory of their own.
    void RunReferences()
    {
        const fs::path dir = m_out / "reference";
        fs::create_directories(dir / "ztd");
        for (int d = 0; d < m_days; ++d) {
            SiteFacade facade(Conf(dir), m_replay.site());
            m_replay.SetCorrections(facade.library());
            size_t k = 0;
            DayFigures& f = m_figures[d];
            m_replay.Replay(d, [&](tagGPSOBSONEEPO& epoch, tagGMSP3REC& orbits, t_upd* upds) {
                const int code = facade.Run(epoch, orbits, upds);
                if (k >= m_outcomes[d].size() || m_outcomes[d][k].code != code) {
                    ++f.codeMismatches;
                } else {
                    for (int i = 0; i < 3; ++i)
                        f.maxDifference =
                            std::max(f.maxDifference, std::fabs(facade.result().dPos[i] - m_outcomes[d][k].pos[i]));
                }
                ++k;
            });
        }
        // Compared after the facades are gone, when their files are closed.
        for (int d = 0; d < m_days; ++d)
            m_figures[d].fileMismatches = DifferingFiles(m_out / "soak" / m_dates[d], dir / m_dates[d]);
        m_ztdMismatches = DifferingFiles(m_out / "soak" / "ztd", dir / "ztd");
    }

    void Print(double seconds) const
    {
        std::printf("\n%s: one facade, %d days at 30 s, filter restarted at midnight; reference: a new facade a day\n",
                    m_case.name, m_days);
        std::printf("| day | epochs | fds | RSS (MB) | heap (MB) | files | max difference to the one-day run (m) |"
                    " result codes differing | files differing |\n|---|---|---|---|---|---|---|---|---|\n");
        for (int d = 0; d < m_days; ++d) {
            const DayFigures& f = m_figures[d];
            std::printf("| %s | %ld | %d | %.1f | %.2f | %s | %.3g | %ld | %ld |\n", m_dates[d].c_str(), f.epochs,
                        f.descriptors, f.residentMB, f.heapMB, f.files.c_str(), f.maxDifference, f.codeMismatches,
                        f.fileMismatches);
        }
        std::printf("zenith-delay files differing: %ld; descriptors left open on the soak's files after its facade"
                    " is gone: %d; %.1f s\n",
                    m_ztdMismatches, m_descriptorsAfter, seconds);
    }

    const Case& m_case;
    int m_days;
    bool m_coldRestarts;   // the host also releases its epoch stores at midnight
    fs::path m_out;
    std::FILE* m_hourly;
    DayReplay m_replay;
    std::vector<DayFigures> m_figures;
    std::vector<std::vector<EpochOutcome>> m_outcomes;
    std::vector<std::string> m_dates;
    long m_ztdMismatches = 0;
    int m_descriptorsAfter = 0;
};

}  // namespace

int main(int argc, char** argv)
{
    int days = 7;
    bool keep = false;
    bool coldRestarts = true;
    std::FILE* hourly = nullptr;
    for (int i = 1; i < argc; ++i) {
        const std::string arg = argv[i];
        if (arg == "--days" && i + 1 < argc) {
            days = std::max(1, std::atoi(argv[++i]));
        } else if (arg == "--hourly" && i + 1 < argc) {
            hourly = std::fopen(argv[++i], "w");
            if (!hourly) {
                std::perror(argv[i]);
                return 2;
            }
            std::fprintf(hourly, "mode,date,hour,fds,rss_mb,heap_mb\n");
        } else if (arg == "--keep") {
            keep = true;
        } else if (arg == "--filter-restart-only") {
            coldRestarts = false;
        } else {
            std::fprintf(stderr,
                         "usage: bench_soak [--days N] [--hourly FILE.csv] [--filter-restart-only] [--keep]\n");
            return 2;
        }
    }
    const std::string data = Env("PPP_DATA_DIR", "../shared/data");
    const std::string net = Env("PPP_SOAK_AR_DIR", "build/soak-net");
    const std::vector<std::string> sp3 = {data + "/GRG0MGXFIN_20201760000_01D_15M_ORB.SP3.gz",
                                          data + "/GRG0MGXFIN_20201770000_01D_15M_ORB.SP3.gz"};
    const std::string clk = data + "/GRG0MGXFIN_20201770000_01D_30S_CLK.CLK.gz";
    const Case cases[] = {
        {"float PPP, ESBC", 2,
         {data + "/ESBC00DNK_R_20201770000_01D_30S_MO.crx.gz", sp3, clk, data + "/ESBC_receiver_antenna.atx", "", true}},
        {"ambiguity resolution, netsim ROV1", 4, {net + "/ROV1.rnx", sp3, clk, "", net + "/truth.upd", false}},
    };

    char scratch[] = "/tmp/ppplib_soak_XXXXXX";
    if (!mkdtemp(scratch)) {
        std::perror("mkdtemp");
        return 1;
    }
    int status = 0;
    for (const Case& c : cases) {
        if (!fs::exists(c.files.obs)) {
            std::printf("\n%s: skipped, %s is missing\n", c.name, c.files.obs.c_str());
            continue;
        }
        try {
            Soak(c, days, coldRestarts, fs::path(scratch) / (c.mode == 2 ? "float" : "ar"), hourly).Run();
        } catch (const std::exception& e) {
            std::fprintf(stderr, "%s: %s\n", c.name, e.what());
            status = 1;
        }
    }
    if (hourly)
        std::fclose(hourly);
    if (keep)
        std::printf("files kept in %s\n", scratch);
    else
        fs::remove_all(scratch);
    return status;
}
