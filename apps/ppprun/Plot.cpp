#include "Plot.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "common/GNSSConst.h"
#include "common/GNSSCoordConvert.h"
#include "io/GpsTime.h"

namespace ppprun {

namespace {

constexpr size_t kExpectedEpochs = 2880;   // one day at 30 s
constexpr double kWidth = 960.0, kLeft = 80.0, kRight = 140.0, kTop = 50.0, kPanel = 200.0, kGap = 70.0;
constexpr double kPlotWidth = kWidth - kLeft - kRight;

struct Range {
    double lo, hi;
};

// A step of 1, 2 or 5 times a power of ten giving about `ticks` intervals.
double TickStep(double span, int ticks)
{
    const double raw = span / ticks;
    const double power = std::pow(10.0, std::floor(std::log10(raw)));
    for (double m : {1.0, 2.0, 5.0})
        if (m * power >= raw)
            return m * power;
    return 10.0 * power;
}

// The values' range widened to whole tick steps; never empty.
Range NiceRange(double lo, double hi, int ticks, double& step)
{
    if (!(hi > lo)) {
        const double pad = std::max(std::fabs(lo) * 0.1, 1e-3);
        lo -= pad, hi += pad;
    }
    step = TickStep(hi - lo, ticks);
    return {std::floor(lo / step) * step, std::ceil(hi / step) * step};
}

std::string Escaped(const std::string& text)
{
    std::string out;
    for (char c : text) {
        if (c == '<')
            out += "&lt;";
        else if (c == '>')
            out += "&gt;";
        else if (c == '&')
            out += "&amp;";
        else
            out += c;
    }
    return out;
}

void Append(std::string& out, const char* format, ...) __attribute__((format(printf, 2, 3)));
void Append(std::string& out, const char* format, ...)
{
    char buffer[512];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    out += buffer;
}

struct Series {
    const char* name;
    const char* colour;
    std::vector<double> values;
};

// One panel: frame, grid with labelled ticks, axis titles, a polyline per
// series and the legend to the right.
void DrawPanel(std::string& out, double top, const std::vector<double>& hours, Range x, double xStep,
               const std::vector<Series>& series, const char* yTitle, const std::string& xTitle)
{
    double lo = 1e300, hi = -1e300;
    for (const Series& s : series)
        for (double v : s.values)
            lo = std::min(lo, v), hi = std::max(hi, v);
    if (lo > hi)
        lo = hi = 0.0;
    double yStep = 0.0;
    const Range y = NiceRange(lo, hi, 5, yStep);
    auto px = [&](double v) { return kLeft + (v - x.lo) / (x.hi - x.lo) * kPlotWidth; };
    auto py = [&](double v) { return top + kPanel - (v - y.lo) / (y.hi - y.lo) * kPanel; };

    Append(out, "<g class=\"panel\">\n<rect x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"%.1f\" fill=\"none\" stroke=\"#000\"/>\n",
           kLeft, top, kPlotWidth, kPanel);
    for (double v = x.lo; v <= x.hi + xStep * 1e-6; v += xStep)
        Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#ddd\"/><text x=\"%.1f\" y=\"%.1f\" "
                    "text-anchor=\"middle\">%g</text>\n",
               px(v), top, px(v), top + kPanel, px(v), top + kPanel + 16, std::round(v / xStep) * xStep);
    for (double v = y.lo; v <= y.hi + yStep * 1e-6; v += yStep)
        Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"#ddd\"/><text x=\"%.1f\" y=\"%.1f\" "
                    "text-anchor=\"end\">%g</text>\n",
               kLeft, py(v), kLeft + kPlotWidth, py(v), kLeft - 6, py(v) + 4, std::round(v / yStep) * yStep);
    Append(out, "<text class=\"axis-label\" x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\">%s</text>\n",
           kLeft + kPlotWidth / 2, top + kPanel + 36, Escaped(xTitle).c_str());
    Append(out, "<text class=\"axis-label\" transform=\"translate(%.1f,%.1f) rotate(-90)\" text-anchor=\"middle\">%s</text>\n",
           kLeft - 55, top + kPanel / 2, yTitle);
    for (size_t k = 0; k < series.size(); ++k) {
        const Series& s = series[k];
        Append(out, "<polyline class=\"series\" fill=\"none\" stroke=\"%s\" stroke-width=\"1.5\" points=\"", s.colour);
        for (size_t i = 0; i < s.values.size(); ++i)
            Append(out, "%.1f,%.1f ", px(hours[i]), py(s.values[i]));
        out += "\"/>\n";
        const double ly = top + 14 + 18 * k;
        Append(out, "<line x1=\"%.1f\" y1=\"%.1f\" x2=\"%.1f\" y2=\"%.1f\" stroke=\"%s\" stroke-width=\"3\"/>"
                    "<text x=\"%.1f\" y=\"%.1f\">%s</text>\n",
               kLeft + kPlotWidth + 12, ly, kLeft + kPlotWidth + 32, ly, s.colour, kLeft + kPlotWidth + 38, ly + 4,
               s.name);
    }
    out += "</g>\n";
}

const char* QualityColour(int quality)
{
    return quality == 1 ? "#2a2" : quality == 5 ? "#d22" : quality == 4 ? "#88f" : "#f90";
}

}  // namespace

RunPlot::RunPlot(const std::string& title, const std::string& systems, const double* reference)
    : m_title(title), m_systems(systems), m_hasReference(reference != nullptr), m_reference{0.0, 0.0, 0.0}
{
    if (reference)
        std::memcpy(m_reference, reference, sizeof(m_reference));
    m_points.reserve(kExpectedEpochs);
}

void RunPlot::add(const EpochSolution& s)
{
    if (m_points.empty())
        m_first = s.gpsTime;
    Point p{pppio::secondsBetween(s.gpsTime, m_first), {s.xyz[0], s.xyz[1], s.xyz[2]}, static_cast<float>(s.ztd),
            static_cast<unsigned char>(s.quality), {}};
    for (int k = 0; k < 4; ++k)
        p.systemSatellites[k] = static_cast<unsigned char>(std::min(255, std::max(0, s.systemSatellites[k])));
    m_points.push_back(p);
}

std::string RunPlot::svg() const
{
    const size_t n = m_points.size();
    std::vector<double> hours(n);
    tagCRDCARTESIAN origin{m_reference[0], m_reference[1], m_reference[2]};
    if (!m_hasReference && n > 0) {
        origin = {0.0, 0.0, 0.0};
        for (const Point& p : m_points)
            origin.x += p.xyz[0] / n, origin.y += p.xyz[1] / n, origin.z += p.xyz[2] / n;
    }
    std::vector<Series> neu = {{"north", "#1f77b4", {}}, {"east", "#2ca02c", {}}, {"up", "#d62728", {}}};
    const char* const systemNames[4] = {"GPS", "GLONASS", "Galileo", "BeiDou"};
    const char* const systemColours[4] = {"#1f77b4", "#d62728", "#2ca02c", "#9467bd"};
    std::vector<Series> satellites;
    for (int k = 0; k < 4; ++k)
        if (m_systems.find("GREC"[k]) != std::string::npos)
            satellites.push_back({systemNames[k], systemColours[k], {}});
    std::vector<Series> ztd = {{"ZTD", "#333", {}}};
    CGNSSCoordConvert convert;
    bool hasZtd = false;
    for (size_t i = 0; i < n; ++i) {
        const Point& p = m_points[i];
        hours[i] = p.seconds / 3600.0;
        tagCRDCARTESIAN point{p.xyz[0], p.xyz[1], p.xyz[2]};
        tagCRDTOPOCENTRIC e{};
        convert.CartesianToTopocentric(&point, &e, &origin, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
        neu[0].values.push_back(e.north), neu[1].values.push_back(e.east), neu[2].values.push_back(e.up);
        size_t s = 0;
        for (int k = 0; k < 4; ++k)
            if (m_systems.find("GREC"[k]) != std::string::npos)
                satellites[s++].values.push_back(p.systemSatellites[k]);
        ztd[0].values.push_back(p.ztd);
        hasZtd = hasZtd || p.ztd > 0.0f;
    }
    double xStep = 0.0;
    const Range x = NiceRange(0.0, n > 0 ? hours.back() : 1.0, 8, xStep);
    const std::string xTitle = "hours since the first solution (GPS time)";
    const int panels = hasZtd ? 3 : 2;
    const double height = kTop + panels * (kPanel + kGap) + 20;

    std::string out;
    out.reserve(200 * n + 4000);
    Append(out, "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" viewBox=\"0 0 %.0f %.0f\" "
                "font-family=\"sans-serif\" font-size=\"12\">\n",
           kWidth, height, kWidth, height);
    Append(out, "<rect width=\"100%%\" height=\"100%%\" fill=\"#fff\"/>\n<text class=\"title\" x=\"%.1f\" y=\"28\" "
                "text-anchor=\"middle\" font-size=\"16\" font-weight=\"bold\">%s</text>\n",
           kWidth / 2, Escaped(m_title).c_str());
    double top = kTop;
    DrawPanel(out, top, hours, x, xStep, neu,
              m_hasReference ? "error against --ref (m)" : "position against the mean (m)", xTitle);
    // Solution quality as a band along the top of the position panel.
    auto px = [&](double v) { return kLeft + (v - x.lo) / (x.hi - x.lo) * kPlotWidth; };
    for (size_t i = 0; i < n;) {
        size_t j = i;
        while (j + 1 < n && m_points[j + 1].quality == m_points[i].quality)
            ++j;
        const double x0 = px(hours[i]), x1 = std::max(px(j + 1 < n ? hours[j + 1] : hours[j]), x0 + 1.0);
        Append(out, "<rect class=\"quality\" x=\"%.1f\" y=\"%.1f\" width=\"%.1f\" height=\"6\" fill=\"%s\"/>\n", x0,
               top - 8, x1 - x0, QualityColour(m_points[i].quality));
        i = j + 1;
    }
    const struct {
        int quality;
        const char* name;
    } qualities[] = {{1, "fixed"}, {2, "float"}, {5, "single"}};
    for (size_t k = 0; k < 3; ++k)
        Append(out, "<rect x=\"%.1f\" y=\"%.1f\" width=\"20\" height=\"6\" fill=\"%s\"/><text x=\"%.1f\" y=\"%.1f\">%s</text>\n",
               kLeft + kPlotWidth + 12, top + 80 + 18 * k, QualityColour(qualities[k].quality),
               kLeft + kPlotWidth + 38, top + 87 + 18 * k, qualities[k].name);
    top += kPanel + kGap;
    DrawPanel(out, top, hours, x, xStep, satellites, "satellites used", xTitle);
    if (hasZtd) {
        top += kPanel + kGap;
        DrawPanel(out, top, hours, x, xStep, ztd, "zenith total delay (m)", xTitle);
    }
    out += "</svg>\n";
    return out;
}

bool RunPlot::write(const std::string& path) const
{
    std::FILE* f = std::fopen(path.c_str(), "w");
    if (!f)
        return false;
    const bool html = path.size() >= 5 && path.compare(path.size() - 5, 5, ".html") == 0;
    if (html)
        std::fprintf(f, "<!DOCTYPE html>\n<html><head><meta charset=\"utf-8\"><title>%s</title></head><body>\n",
                     Escaped(m_title).c_str());
    const std::string picture = svg();
    std::fwrite(picture.data(), 1, picture.size(), f);
    if (html)
        std::fputs("</body></html>\n", f);
    return std::fclose(f) == 0;
}

}  // namespace ppprun
