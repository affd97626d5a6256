// Bookkeeping of the records an observation reader drops when it is told to
// go on past malformed data lines: the counts, and one warning per drop
// ("<file>:<line>: <what was expected>; G05 dropped from this epoch"), the
// first kMaxDetailed of them in full, the rest summed up by finish().
//
//   pppio::SkippedRecords skipped(warnings);
//   try { parse(in); } catch (const pppio::ReadError& error) { skipped.satelliteDropped(error, "G05"); }
//   ...
//   skipped.finish();  // "N more malformed records skipped"
#ifndef PPPIO_SKIPPEDRECORDS_H
#define PPPIO_SKIPPEDRECORDS_H

#include <string>
#include <vector>

#include "io/LineReader.h"

namespace pppio {

class SkippedRecords {
public:
    static constexpr long kMaxDetailed = 20;

    // Warnings are appended to `warnings`, which must outlive this object.
    explicit SkippedRecords(std::vector<std::string>& warnings) : m_warnings(warnings) {}

    // A satellite's record dropped from an epoch that is kept; `satellite`
    // names it ("G05"), `consequence` may tell what else follows.
    void satelliteDropped(const ReadError& error, const std::string& satellite,
                          const std::string& consequence = std::string());
    // A further epoch of a satellite dropped for the cause already warned of.
    void satelliteDroppedAgain() { ++m_satellites; }
    // The epoch line at the reader's current line where `missing` more
    // satellite records were announced: they are dropped.
    void satellitesMissing(const LineReader& in, int missing);
    // Epoch records dropped whole; `what` tells how far ("epoch skipped").
    void epochsSkipped(const ReadError& error, long count, const std::string& what);
    // A warning of a skip that is counted elsewhere or not at all.
    void warn(const std::string& text);
    // Adds the summary of the warnings left out; called once, at the end.
    void finish();

    long epochs() const { return m_epochs; }
    long satellites() const { return m_satellites; }

private:
    std::vector<std::string>& m_warnings;
    long m_epochs = 0;
    long m_satellites = 0;
    long m_detailed = 0;
    long m_untold = 0;
};

// Moves `in` on to the next line for which isStart(line) holds; false when
// the file ends first.
template <class IsStart>
bool SkipToLine(LineReader& in, IsStart isStart)
{
    while (in.next())
        if (isStart(in.line()))
            return true;
    return false;
}

// Rethrows the error being handled unless a SkippedRecords is given and the
// line is complete: a line cut by the end of the file is left to the
// truncation handling of the reader.
void RethrowUnlessSkipping(const SkippedRecords* skipped, const LineReader& in);

}  // namespace pppio

#endif
