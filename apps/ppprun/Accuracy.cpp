#include "Accuracy.h"

#include <cmath>

#include "common/GNSSConst.h"

namespace ppprun {

namespace {
constexpr size_t kExpectedEpochs = 2880;   // one day at 30 s; more grow the store
}

Accuracy::Accuracy(const double reference[3]) : m_reference{reference[0], reference[1], reference[2]}
{
    m_samples.reserve(kExpectedEpochs);
}

void Accuracy::add(double seconds, const double xyz[3])
{
    tagCRDCARTESIAN point{xyz[0], xyz[1], xyz[2]};
    tagCRDTOPOCENTRIC neu;
    m_convert.CartesianToTopocentric(&point, &neu, &m_reference, _WGS84_ELLIPSE_A, _WGS84_ELLIPSE_FLAT);
    m_samples.push_back({seconds, {neu.north, neu.east, neu.up}});
}

Neu Accuracy::finalError() const
{
    return m_samples.empty() ? Neu{0.0, 0.0, 0.0} : m_samples.back().error;
}

bool Accuracy::rms(double from, Neu& out) const
{
    double sum[3] = {0.0, 0.0, 0.0};
    long n = 0;
    for (const Sample& s : m_samples) {
        if (s.seconds < from)
            continue;
        sum[0] += s.error.north * s.error.north;
        sum[1] += s.error.east * s.error.east;
        sum[2] += s.error.up * s.error.up;
        ++n;
    }
    if (n == 0)
        return false;
    out = {std::sqrt(sum[0] / n), std::sqrt(sum[1] / n), std::sqrt(sum[2] / n)};
    return true;
}

bool Accuracy::convergence(double& seconds) const
{
    // Walk back from the end to the last solution outside the limits.
    size_t first = m_samples.size();
    while (first > 0) {
        const Neu& e = m_samples[first - 1].error;
        if (std::hypot(e.north, e.east) >= kHorizontalLimit || std::fabs(e.up) >= kVerticalLimit)
            break;
        --first;
    }
    if (first == m_samples.size())
        return false;
    seconds = m_samples[first].seconds;
    return true;
}

}  // namespace ppprun
