#include "io/SinexReader.h"

#include <cctype>

#include "io/FieldParse.h"
#include "io/GpsTime.h"
#include "io/LineReader.h"
#include "io/SinexBlocks.h"
#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr double kSecondsPerYear = 365.25 * kSecondsPerDay;
constexpr unsigned kAllPosition = 0x7;
constexpr unsigned kAllVelocity = 0x38;

std::string UpperCase(std::string text)
{
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return text;
}

class SinexParser {
public:
    explicit SinexParser(const std::string& path) : m_in(path) { m_file.path = path; }

    SinexFile run()
    {
        if (!m_in.next() || !hasTextAt(m_in.line(), 0, "%=SNX"))
            m_in.fail("expected the SINEX header line starting with %=SNX");
        m_file.complete = m_blocks.readData(m_in, m_file.warnings, [this] { readData(); });
        if (!m_file.complete)
            m_file.warnings.push_back(m_in.path() + ": no %ENDSNX line, the file looks truncated" +
                                      (m_blocks.block().empty() ? std::string() : " (inside +" + m_blocks.block() + ")"));
        return std::move(m_file);
    }

private:
    void readData()
    {
        if (m_blocks.block() == "SITE/ID")
            readSiteId();
        else if (m_blocks.block() == "SOLUTION/ESTIMATE")
            readEstimate();
    }

    SinexSite& siteFor(const std::string& code, const std::string& point)
    {
        for (SinexSite& site : m_file.sites)
            if (site.code == code && site.point == point)
                return site;
        m_file.sites.emplace_back();
        m_file.sites.back().code = code;
        m_file.sites.back().point = point;
        return m_file.sites.back();
    }

    std::string readCode(size_t column)
    {
        const std::string code = UpperCase(trimmedField(m_in.line(), column, 4));
        if (code.empty())
            m_in.fail("expected the site code in columns " + std::to_string(column + 1) + "-" +
                      std::to_string(column + 4));
        return code;
    }

    // Degrees, minutes and seconds; the sign is that of the degrees field,
    // also when it reads "-0".
    double readAngle(size_t column, int degreeWidth, const char* what)
    {
        const long degrees = requireInteger(m_in, column, static_cast<size_t>(degreeWidth), what);
        const long minutes = requireInteger(m_in, column + degreeWidth + 1, 2, what);
        const double seconds = requireReal(m_in, column + degreeWidth + 4, 4, what);
        const bool negative = trimmedField(m_in.line(), column, static_cast<size_t>(degreeWidth))[0] == '-';
        const double magnitude = (negative ? -degrees : degrees) + minutes / 60.0 + seconds / 3600.0;
        return negative ? -magnitude : magnitude;
    }

    void readSiteId()
    {
        SinexSite& site = siteFor(readCode(1), trimmedField(m_in.line(), 6, 2));
        site.hasId = true;
        site.domes = trimmedField(m_in.line(), 9, 9);
        site.description = trimmedField(m_in.line(), 21, 22);
        site.longitude = readAngle(44, 3, "the longitude");
        site.latitude = readAngle(56, 3, "the latitude");
        site.height = requireReal(m_in, 68, 7, "the height");
        if (site.longitude < 0.0 || site.longitude > 360.0 || site.latitude < -90.0 || site.latitude > 90.0)
            m_in.fail("expected a longitude of 0-360 and a latitude of -90-90 degrees");
    }

    tagGPSTIME2 readEpoch(size_t column)
    {
        const std::string& line = m_in.line();
        if (line.size() < column + 12 || line[column + 2] != ':' || line[column + 6] != ':')
            m_in.fail("expected an epoch YY:DDD:SSSSS in columns " + std::to_string(column + 1) + "-" +
                      std::to_string(column + 12));
        const long yy = requireInteger(m_in, column, 2, "the epoch year");
        const long doy = requireInteger(m_in, column + 3, 3, "the epoch day of year");
        const long seconds = requireInteger(m_in, column + 7, 5, "the epoch seconds");
        if (doy < 1 || doy > 366 || seconds < 0 || seconds > 86400)
            m_in.fail("expected a reference epoch with day of year 1-366");
        const int year = static_cast<int>(yy < 50 ? 2000 + yy : 1900 + yy);
        tagGPSTIME2 t = gpsTimeFromCalendar(year, 1, 1, 0, 0, 0.0);
        return shiftedTime(t, (doy - 1) * kSecondsPerDay + seconds);
    }

    void readEstimate()
    {
        static const char* const kTypes[] = {"STAX", "STAY", "STAZ", "VELX", "VELY", "VELZ"};
        const std::string type = trimmedField(m_in.line(), 7, 6);
        int index = -1;
        for (int k = 0; k < 6; ++k)
            if (type == kTypes[k])
                index = k;
        if (index < 0)
            return;
        SinexSite& site = siteFor(readCode(14), trimmedField(m_in.line(), 19, 2));
        const int solution = static_cast<int>(requireInteger(m_in, 22, 4, "the solution number"));
        const tagGPSTIME2 epoch = readEpoch(27);
        const std::string unit = trimmedField(m_in.line(), 40, 4);
        if (unit != (index < 3 ? "m" : "m/y"))
            m_in.fail(std::string("expected the unit ") + (index < 3 ? "m" : "m/y") + " in columns 41-44");
        const double value = requireReal(m_in, 47, 21, "the estimated value");
        const double sigma = optionalReal(m_in, 69, 11, "the standard deviation", 0.0);
        if (site.estimated != 0 && solution < site.solution)
            return;
        if (site.estimated != 0 && solution > site.solution) {
            m_file.warnings.push_back(warningAt(m_in, "site " + site.code + " has several solutions, number " +
                                                          std::to_string(solution) + " kept"));
            site.estimated = 0;
        }
        site.solution = solution;
        site.estimated |= 1u << index;
        if (index < 3) {
            site.position[index] = value;
            site.sigma[index] = sigma;
            site.referenceEpoch = epoch;
        } else {
            site.velocity[index - 3] = value;
        }
        site.hasPosition = (site.estimated & kAllPosition) == kAllPosition;
        site.hasVelocity = (site.estimated & kAllVelocity) == kAllVelocity;
    }

    LineReader m_in;
    SinexFile m_file;
    SinexBlocks m_blocks{"%ENDSNX"};
};

}  // namespace

SinexFile readSinex(const std::string& path)
{
    SinexParser parser(path);
    return parser.run();
}

void SinexSites::load(const std::string& path)
{
    add(readSinex(path));
}

void SinexSites::add(const SinexFile& file)
{
    m_warnings.insert(m_warnings.end(), file.warnings.begin(), file.warnings.end());
    for (const SinexSite& site : file.sites) {
        bool replaced = false;
        for (SinexSite& known : m_sites) {
            if (known.code == site.code && known.point == site.point) {
                known = site;
                replaced = true;
            }
        }
        if (!replaced)
            m_sites.push_back(site);
    }
}

const SinexSite* SinexSites::site(const std::string& code) const
{
    const std::string wanted = UpperCase(trimmedField(code, 0, code.size()));
    for (const SinexSite& site : m_sites)
        if (site.code == wanted)
            return &site;
    return nullptr;
}

bool SinexSites::position(const std::string& code, const tagGPSTIME2& t, double xyz[3]) const
{
    const SinexSite* s = site(code);
    if (!s || !s->hasPosition)
        return false;
    const double years = s->hasVelocity ? secondsBetween(t, s->referenceEpoch) / kSecondsPerYear : 0.0;
    for (int k = 0; k < 3; ++k)
        xyz[k] = s->position[k] + s->velocity[k] * years;
    return true;
}

}  // namespace pppio
