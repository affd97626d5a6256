#include "io/SkippedRecords.h"

namespace pppio {

void SkippedRecords::warn(const std::string& text)
{
    if (m_detailed < kMaxDetailed) {
        m_warnings.push_back(text);
        ++m_detailed;
    } else {
        ++m_untold;
    }
}

void SkippedRecords::satelliteDropped(const ReadError& error, const std::string& satellite,
                                      const std::string& consequence)
{
    ++m_satellites;
    warn(std::string(error.what()) + "; " + satellite + " dropped from this epoch" + consequence);
}

void SkippedRecords::satellitesMissing(const LineReader& in, int missing)
{
    m_satellites += missing;
    warn(in.path() + ":" + std::to_string(in.lineNumber()) + ": an epoch line where " + std::to_string(missing) +
         " more satellite records were announced; they are missing from the epoch before");
}

void SkippedRecords::epochsSkipped(const ReadError& error, long count, const std::string& what)
{
    m_epochs += count;
    warn(std::string(error.what()) + "; " + what);
}

void SkippedRecords::finish()
{
    if (m_untold > 0)
        m_warnings.push_back(std::to_string(m_untold) + " more malformed records skipped");
    m_untold = 0;
}

void RethrowUnlessSkipping(const SkippedRecords* skipped, const LineReader& in)
{
    if (!skipped || in.truncated())
        throw;
}

}  // namespace pppio
