#include "io/AmbiguityExport.h"

#include <algorithm>
#include <stdexcept>

#include "common/GNSSConst.h"
#include "io/LineReader.h"
#include "io/SatelliteId.h"
#include "io/TextFields.h"

namespace pppio {

namespace {

constexpr const char* kFirstLine = "% ppplib float ambiguities";

struct SlotGroup {
    const t_input_upd* slots;
    int count;
    int firstIprn;
};

class AmbiguityParser {
public:
    explicit AmbiguityParser(const std::string& path) : m_in(path) { m_file.path = path; }

    AmbiguityExport run()
    {
        readTextFile(
            m_in, kFirstLine, m_file.warnings, [this](const TextFields& f) { readHeader(f); },
            [this](const TextFields& f) { readSatellite(f); });
        return std::move(m_file);
    }

private:
    void readHeader(const TextFields& f)
    {
        if (f.size() < 2)
            return;
        if (f.text(1) == "SITE") {
            f.expectCount(3, "% SITE name");
            m_file.site = f.text(2);
        } else if (f.text(1) == "INTERVAL") {
            f.expectCount(3, "% INTERVAL seconds");
            m_file.interval = f.real(2, "the interval in seconds");
            if (m_file.interval <= 0.0)
                f.fail(2, "a positive interval");
        }
    }

    void readSatellite(const TextFields& f)
    {
        f.expectCount(9, "week sow sat lock elev wl wl_sig amb amb_sig");
        const tagGPSTIME2 t = f.time(0);
        AmbiguitySatellite s;
        s.iprn = f.satellite(2);
        if (s.iprn == 0)
            f.fail(2, "a satellite with a packed index");
        const long lock = f.integer(3, "the lock count");
        if (lock < 0 || lock > 1000000000L)
            f.fail(3, "a lock count of 0 or more");
        s.lock = static_cast<int>(lock);
        s.elevation = f.real(4, "the elevation in degrees");
        s.wl = f.real(5, "the wide-lane in cycles");
        s.wlSigma = f.real(6, "the wide-lane sigma");
        s.amb = f.real(7, "the ambiguity in metres");
        s.ambSigma = f.real(8, "the ambiguity sigma");
        std::vector<AmbiguityEpoch>& epochs = m_file.epochs;
        if (epochs.empty() || epochs.back().time.week != t.week || epochs.back().time.sow != t.sow)
            epochs.push_back(AmbiguityEpoch{t, {}});
        epochs.back().satellites.push_back(s);
    }

    LineReader m_in;
    AmbiguityExport m_file;
};

}  // namespace

AmbiguityExportWriter::AmbiguityExportWriter(const std::string& path, double interval)
    : m_path(path), m_file(std::fopen(path.c_str(), "w")), m_interval(interval)
{
    if (!m_file)
        throw std::runtime_error(path + ": cannot be opened for writing");
}

AmbiguityExportWriter::~AmbiguityExportWriter()
{
    std::fclose(m_file);
}

void AmbiguityExportWriter::append(const t_input_upds& epoch)
{
    if (!m_headerWritten) {
        const std::string site(epoch.site, std::find(epoch.site, epoch.site + sizeof epoch.site, '\0'));
        std::fprintf(m_file, "%s 1.0\n%% SITE %s\n%% INTERVAL %g\n", kFirstLine, site.empty() ? "-" : site.c_str(),
                     m_interval);
        std::fprintf(m_file, "%% columns: week sow sat lock elev(deg) wl(cycles) wl_sig(m) amb(m) amb_sig(m)\n");
        m_headerWritten = true;
    }
    const SlotGroup groups[] = {{epoch.gps, _MAX_PRN_GPS, 1},
                                {epoch.glo, _MAX_PRN_GLO, _MAX_PRN_GPS + 1},
                                {epoch.gal, _MAX_PRN_GAL, _MAX_PRN_GPS + _MAX_PRN_GLO + 1},
                                {epoch.bds, _MAX_PRN_BDS, _MAX_PRN_GPS + _MAX_PRN_GLO + _MAX_PRN_GAL + 1}};
    for (const SlotGroup& g : groups) {
        for (int k = 0; k < g.count; ++k) {
            const t_input_upd& s = g.slots[k];
            if (!s.valid)
                continue;
            const std::string sat = satelliteName(g.firstIprn + k);
            std::fprintf(m_file, "%d %.1f %s %4d %7.3f %11.4f %7.4f %11.4f %7.4f\n", static_cast<int>(epoch.time.week),
                         epoch.time.sow, sat.c_str(), static_cast<int>(s.lock), s.param * _RAD2DEG, s.mw,
                         s.mw_sig, s.amb, s.amb_sig);
        }
    }
    if (std::fflush(m_file) != 0 || std::ferror(m_file))
        throw std::runtime_error(m_path + ": write error");
}

AmbiguityExport readAmbiguityExport(const std::string& path)
{
    AmbiguityParser parser(path);
    return parser.run();
}

}  // namespace pppio
