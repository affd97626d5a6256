#include "io/RinexObsReader.h"

#include "io/RinexObsHeaderParser.h"

namespace pppio {

namespace {

bool SameTypes(const RinexObsHeader& header, const std::vector<std::vector<std::string>>& codes)
{
    for (int s = 0; s < kSystemCount; ++s)
        if (header.obsTypes(kSystemLetters[s]).codes != codes[static_cast<size_t>(s)])
            return false;
    return true;
}

}  // namespace

RinexObsReader::RinexObsReader(const std::string& path, MalformedRecords policy)
    : m_in(path), m_plain(m_header, policy == MalformedRecords::kSkip ? &m_skipped : nullptr)
{
    ReadRinexObsHeader(m_in, m_header);
    if (isCompact())
        m_compact.reset(
            new CompactRinexDecoder(m_header, policy == MalformedRecords::kSkip ? &m_skipped : nullptr));
    if (m_header.timeSystem != "GPS")
        m_warnings.push_back(path + ": epoch times are in the time system " + m_header.timeSystem +
                             ", passed on unconverted");
}

EpochStatus RinexObsReader::readRecord(ObsEpoch& epoch)
{
    try {
        return m_compact ? m_compact->read(m_in, epoch) : m_plain.read(m_in, epoch);
    } catch (const ReadError&) {
        // A line cut by the end of the file is incomplete rather than wrong.
        if (m_in.truncated())
            return EpochStatus::kTruncated;
        throw;
    }
}

bool RinexObsReader::next(ObsEpoch& epoch)
{
    if (m_finished)
        return false;
    epoch.time = m_lastTime;  // kept by an event without a time of its own
    EpochStatus status;
    try {
        status = readRecord(epoch);
    } catch (const ReadError&) {
        m_skipped.finish();
        throw;
    }
    if (status == EpochStatus::kEpoch && m_in.truncated())
        status = EpochStatus::kTruncated;
    if (status != EpochStatus::kEpoch) {
        finish();
        if (status == EpochStatus::kTruncated || m_in.truncated())
            m_warnings.push_back(m_in.path() + ": the file is truncated after line " +
                                 std::to_string(m_in.lineNumber()) + "; " + std::to_string(m_epochCount) +
                                 " complete epochs were read, the incomplete one is dropped");
        return false;
    }
    m_lastTime = epoch.time;
    if (epoch.time.year != 0) {
        CGNSSTimeConvert convert;
        convert.GetGPSTime2FromCommonTime(&epoch.gpsTime, &epoch.time);
    }
    if (epoch.flag == ObsEpoch::kNewSite || epoch.flag == ObsEpoch::kHeaderInfo)
        applyEvent(epoch);
    ++m_epochCount;
    return true;
}

void RinexObsReader::finish()
{
    m_finished = true;
    m_skipped.finish();
}

void RinexObsReader::applyEvent(ObsEpoch& epoch)
{
    std::vector<std::vector<std::string>> codesBefore;
    for (int s = 0; s < kSystemCount; ++s)
        codesBefore.push_back(m_header.obsTypes(kSystemLetters[s]).codes);

    RinexObsHeaderParser parser(m_header);
    long lineNumber = m_in.lineNumber() - static_cast<long>(epoch.eventRecords.size());
    for (const std::string& record : epoch.eventRecords)
        if (!parser.apply(record, m_in.path(), ++lineNumber))
            break;
    parser.finish(m_in.path(), m_in.lineNumber());
    if (m_compact && !SameTypes(m_header, codesBefore))
        m_compact->reset();
}

}  // namespace pppio
