#include "io/UpdFile.h"

#include <cmath>
#include <cstdio>
#include <stdexcept>

#include "io/GpsTime.h"
#include "io/LineReader.h"
#include "io/TextFields.h"

namespace pppio {

namespace {

constexpr const char* kFirstLine = "% ppplib UPD";
constexpr double kUnusable = 999.0;

class UpdParser {
public:
    explicit UpdParser(const std::string& path) : m_in(path) {}

    UpdProduct run()
    {
        readTextFile(
            m_in, kFirstLine, m_product.warnings, [this](const TextFields& f) { readHeader(f); },
            [this](const TextFields& f) { readValue(f); });
        m_skipped.appendWarning(m_in.path(), m_product.warnings);
        return std::move(m_product);
    }

private:
    void readHeader(const TextFields& f)
    {
        if (f.size() < 2 || f.text(1) != "NL_INTERVAL")
            return;
        f.expectCount(3, "% NL_INTERVAL seconds");
        // A narrow-lane value outliving the day of the wide-lane ones is no
        // product. Checked before it is kept: a bad last line cut short ends
        // the reading with a warning, and must leave nothing of itself behind.
        const double interval = f.real(2, "the narrow-lane interval in seconds");
        if (interval <= 0.0 || interval > UpdProduct::kWideLaneValidity)
            f.fail(2, "a positive narrow-lane interval of at most 86400 seconds");
        m_product.nlInterval = interval;
        m_hasInterval = true;
    }

    void readValue(const TextFields& f)
    {
        f.expectCount(7, "kind week sow sat value sigma count");
        const std::string kind = f.text(0);
        if (kind != "WL" && kind != "NL")
            f.fail(0, "WL or NL");
        if (kind == "NL" && !m_hasInterval)
            m_in.fail("expected a % NL_INTERVAL header line before the first NL line");
        UpdValue v;
        v.start = f.time(1);
        v.iprn = f.satellite(3);
        // No UPD or sigma comes near a billion cycles; larger numbers would
        // not even be written back in a form that reads again.
        constexpr double kMostCycles = 1e9;
        v.value = f.real(4, "the UPD in cycles");
        if (std::fabs(v.value) >= kMostCycles)
            f.fail(4, "a UPD below 1e9 cycles");
        v.sigma = f.real(5, "the sigma in cycles");
        if (v.sigma < 0.0 || v.sigma >= kMostCycles)
            f.fail(5, "a sigma of 0 or more and below 1e9 cycles");
        const long count = f.integer(6, "the count");
        if (count < 0 || count > 1000000000L)
            f.fail(6, "a count of 0 or more");
        v.count = static_cast<int>(count);
        if (v.iprn == 0)
            m_skipped.add(f.text(3).c_str());
        else
            (kind == "WL" ? m_product.wideLane : m_product.narrowLane).push_back(v);
    }

    LineReader m_in;
    UpdProduct m_product;
    SkippedSatellites m_skipped;
    bool m_hasInterval = false;
};

void WriteValues(std::FILE* f, const char* kind, const std::vector<UpdValue>& values)
{
    for (const UpdValue& v : values)
        std::fprintf(f, "%s %d %.1f %s %8.4f %.4f %d\n", kind, static_cast<int>(v.start.week), v.start.sow,
                     satelliteName(v.iprn).c_str(), v.value, v.sigma, v.count);
}

// Per satellite slot, the index of the value valid at t (start inclusive,
// end exclusive) that starts last; -1 when none.
void LatestValid(const std::vector<UpdValue>& values, const tagGPSTIME2& t, double validity,
                 int best[kMaxPackedIndex])
{
    double age[kMaxPackedIndex];
    for (int k = 0; k < kMaxPackedIndex; ++k)
        best[k] = -1;
    for (size_t i = 0; i < values.size(); ++i) {
        const UpdValue& v = values[i];
        const double a = secondsBetween(t, v.start);
        if (v.iprn < 1 || v.iprn > kMaxPackedIndex || a < 0.0 || a >= validity)
            continue;
        const int slot = v.iprn - 1;
        if (best[slot] < 0 || a < age[slot]) {
            best[slot] = static_cast<int>(i);
            age[slot] = a;
        }
    }
}

}  // namespace

UpdProduct UpdProduct::read(const std::string& path)
{
    UpdParser parser(path);
    return parser.run();
}

void UpdProduct::write(const std::string& path) const
{
    std::FILE* f = std::fopen(path.c_str(), "w");
    if (!f)
        throw std::runtime_error(path + ": cannot be opened for writing");
    std::fprintf(f, "%s 1.0\n%% NL_INTERVAL %g\n", kFirstLine, nlInterval);
    std::fprintf(f, "%% columns: kind week sow sat value(cycles) sigma(cycles) count\n");
    WriteValues(f, "WL", wideLane);
    WriteValues(f, "NL", narrowLane);
    const bool failed = std::ferror(f) != 0;
    if (std::fclose(f) != 0 || failed)
        throw std::runtime_error(path + ": write error");
}

int UpdProduct::fill(const tagGPSTIME2& t, t_upd upds[kMaxPackedIndex]) const
{
    int wl[kMaxPackedIndex];
    int nl[kMaxPackedIndex];
    LatestValid(wideLane, t, kWideLaneValidity, wl);
    LatestValid(narrowLane, t, nlInterval, nl);
    int valid = 0;
    for (int k = 0; k < kMaxPackedIndex; ++k) {
        const bool both = wl[k] >= 0 && nl[k] >= 0;
        setUpdEntry(upds[k], t, both ? &wideLane[static_cast<size_t>(wl[k])] : nullptr,
                    both ? &narrowLane[static_cast<size_t>(nl[k])] : nullptr);
        valid += both ? 1 : 0;
    }
    return valid;
}

void setUpdEntry(t_upd& u, const tagGPSTIME2& t, const UpdValue* w, const UpdValue* n)
{
    if (!w || !n)
        w = n = nullptr;
    u.valid = w ? 1 : 0;
    u.week = t.week;
    u.sow = t.sow;
    u.reserved[0] = u.reserved[1] = 0.0;
    u.wl = w ? w->value : kUnusable;
    u.wlSigma = w ? w->sigma : kUnusable;
    u.wl_num = w ? w->count : 0;
    u.nl = n ? n->value : kUnusable;
    u.nlSigma = n ? n->sigma : kUnusable;
    u.nl_num = n ? n->count : 0;
}

}  // namespace pppio
