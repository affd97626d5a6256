#include "io/CompactRinexDecoder.h"

#include <cstring>

#include "io/Truncation.h"

namespace pppio {

namespace {

constexpr double kObservationUnit = 1000.0;  // three implied decimals of F14.3

std::string Describe(const ObsSatellite& satellite, const std::string& what)
{
    return SatelliteName(satellite) + " " + what;
}

const char kArcsRestart[] = "; its values come back when its arcs start anew";

}  // namespace

void CompactRinexDecoder::Arc::start(int n, int64_t value)
{
    active = true;
    order = n;
    filled = 0;
    difference[0] = static_cast<uint64_t>(value);
}

void CompactRinexDecoder::Arc::add(int64_t next)
{
    // The arc's order grows by one per epoch up to n: the m-th difference
    // given here updates the lower ones down to the value.
    const int m = filled < order ? filled + 1 : order;
    difference[m] = static_cast<uint64_t>(next);
    for (int j = m - 1; j >= 0; --j)
        difference[j] += difference[j + 1];
    filled = m;
}

CompactRinexDecoder::CompactRinexDecoder(const RinexObsHeader& header, SkippedRecords* skipped)
    : m_header(header), m_skipped(skipped)
{
    m_slot.fill(-1);
}

void CompactRinexDecoder::reset()
{
    for (SatelliteState& state : m_states)
        state.lastEpoch = -1;
    m_clock.active = false;
}

CompactRinexDecoder::FieldResult CompactRinexDecoder::decodeField(const char* begin, const char* end, Arc& arc)
{
    if (begin == end) {
        arc.active = false;
        return FieldResult::kEmpty;
    }
    int64_t number = 0;
    const char* mark = static_cast<const char*>(std::memchr(begin, '&', static_cast<size_t>(end - begin)));
    if (mark) {
        int64_t order = 0;
        if (!ParseInteger(begin, mark, order))
            return FieldResult::kBadNumber;
        if (order < 0 || order > kMaxOrder)
            return FieldResult::kBadOrder;
        if (!ParseInteger(mark + 1, end, number))
            return FieldResult::kBadNumber;
        arc.start(static_cast<int>(order), number);
        return FieldResult::kValue;
    }
    if (!ParseInteger(begin, end, number))
        return FieldResult::kBadNumber;
    if (!arc.active)
        return FieldResult::kNoArc;
    arc.add(number);
    return FieldResult::kValue;
}

std::string CompactRinexDecoder::fieldProblem(FieldResult result, const std::string& what)
{
    if (result == FieldResult::kBadOrder)
        return "expected a difference order 0-" + std::to_string(kMaxOrder) + " before '&' for " + what;
    if (result == FieldResult::kNoArc)
        return "expected 'n&' to start a new arc of " + what + ": it has no value to continue";
    return "expected an integer difference, 'n&' and an integer, or an empty field for " + what;
}

bool CompactRinexDecoder::isFullEpochLine(const std::string& line) const
{
    return CharAt(line, 0) == (EpochLineLayout::of(m_header).rinex2 ? '&' : '>');
}

void CompactRinexDecoder::applyTextDifference(std::string& text, const char* begin, const char* end)
{
    const size_t size = static_cast<size_t>(end - begin);
    if (text.size() < size)
        text.resize(size, ' ');
    for (size_t i = 0; i < size; ++i) {
        const char c = begin[i];
        if (c != ' ')
            text[i] = c == '&' ? ' ' : c;
    }
}

bool CompactRinexDecoder::decodeEpochLine(const LineReader& in)
{
    const bool rinex2 = EpochLineLayout::of(m_header).rinex2;
    const std::string& line = in.line();
    if (isFullEpochLine(line)) {
        m_decoded.assign(line);
        if (rinex2)
            m_decoded[0] = ' ';
        return false;
    }
    if (m_epochLine.empty())
        in.fail(rinex2 ? "expected an epoch line starting with '&'" : "expected an epoch line starting with '>'");
    m_decoded.assign(m_epochLine);
    applyTextDifference(m_decoded, line.data(), line.data() + line.size());
    return true;
}

void CompactRinexDecoder::decodeClock(const LineReader& in, ObsEpoch& epoch)
{
    const std::string& line = in.line();
    const FieldResult result = decodeField(line.data(), line.data() + line.size(), m_clock);
    if (result == FieldResult::kEmpty)
        return;
    if (result != FieldResult::kValue) {
        const std::string problem = fieldProblem(result, "the receiver clock offset");
        if (!m_skipped || in.truncated())
            in.fail(problem);
        // The epoch is kept without its clock offset; the arc has ended.
        m_clock.active = false;
        if (!m_clockLossTold)
            m_skipped->warn(warningAt(in, problem + "; epochs go without a clock offset until its arc starts anew"));
        m_clockLossTold = true;
        return;
    }
    m_clockLossTold = false;
    double unit = 1.0;
    for (int i = 0; i < EpochLineLayout::of(m_header).clockDecimals; ++i)
        unit *= 10.0;
    epoch.hasClockOffset = true;
    epoch.clockOffset = static_cast<double>(m_clock.value()) / unit;
}

CompactRinexDecoder::SatelliteState& CompactRinexDecoder::stateOf(const ObsSatellite& satellite, int typeCount,
                                                                  const LineReader& in)
{
    const size_t slot = static_cast<size_t>(SystemIndex(satellite.system) * (kMaxPrn + 1) + satellite.prn);
    if (m_slot[slot] < 0) {
        m_slot[slot] = static_cast<int16_t>(m_states.size());
        m_states.emplace_back();
    }
    SatelliteState& state = m_states[static_cast<size_t>(m_slot[slot])];
    if (state.lastEpoch == m_epochSerial)
        in.fail(Describe(satellite, "is listed twice in the epoch line"));
    const size_t count = static_cast<size_t>(typeCount);
    if (state.lastEpoch != m_epochSerial - 1 || state.arcs.size() != count) {
        state.arcs.assign(count, Arc());
        state.flags.assign(2 * count, ' ');
        state.lossTold = false;
    }
    state.lastEpoch = m_epochSerial;
    return state;
}

bool CompactRinexDecoder::decodeSatellite(const LineReader& in, int sat, ObsEpoch& epoch)
{
    const ObsSatellite& satellite = epoch.satellite(sat);
    const SystemObsTypes& types = TypesOfSatellite(m_header, satellite.system, in);
    const int n = types.count();
    SatelliteState& state = stateOf(satellite, n, in);
    ObsValue* row = epoch.row(sat);

    const std::string& line = in.line();
    const char* p = line.data();
    const char* const end = p + line.size();
    bool flagsFollow = false;
    int endedArc = -1;  // first field continuing an ended arc, when skipping
    for (int k = 0; k < n; ++k) {
        const char* fieldEnd = p;
        while (fieldEnd < end && *fieldEnd != ' ')
            ++fieldEnd;
        Arc& arc = state.arcs[static_cast<size_t>(k)];
        const FieldResult result = decodeField(p, fieldEnd, arc);
        if (result == FieldResult::kValue) {
            const double value = static_cast<double>(arc.value()) / kObservationUnit;
            const double scale = types.scale[static_cast<size_t>(k)];
            row[k].value = scale == 1.0 ? value : value / scale;
        } else if (result == FieldResult::kNoArc && m_skipped) {
            // The other fields are decoded on, to keep their arcs in step.
            endedArc = endedArc < 0 ? k : endedArc;
        } else if (result != FieldResult::kEmpty) {
            in.fail(fieldProblem(result, Describe(satellite, types.codes[static_cast<size_t>(k)])));
        }
        if (fieldEnd == end) {  // the fields left out at the end are missing
            for (size_t j = static_cast<size_t>(k) + 1; j < state.arcs.size(); ++j)
                state.arcs[j].active = false;
            break;
        }
        p = fieldEnd + 1;
        flagsFollow = k == n - 1;
    }

    if (flagsFollow) {
        if (end - p > 2 * n)
            in.fail(Describe(satellite, "has more flag characters than two per observation type"));
        for (const char* c = p; c < end; ++c)
            if (*c != '&' && FlagValue(*c) < 0)
                in.fail(Describe(satellite, "flags: expected digits, blanks or '&'"));
        applyTextDifference(state.flags, p, end);
    }
    if (endedArc >= 0) {
        if (state.lossTold) {
            m_skipped->satelliteDroppedAgain();
        } else {
            const std::string& code = types.codes[static_cast<size_t>(endedArc)];
            m_skipped->satelliteDropped(
                ReadError(in.path(), in.lineNumber(), fieldProblem(FieldResult::kNoArc, Describe(satellite, code))),
                SatelliteName(satellite), kArcsRestart);
            state.lossTold = true;
        }
        return false;
    }
    state.lossTold = false;
    for (size_t k = 0; k < static_cast<size_t>(n); ++k) {
        if (row[k].value == 0.0)
            continue;  // flags of an absent observation stay 0
        row[k].lli = static_cast<uint8_t>(FlagValue(state.flags[2 * k]));
        row[k].ssi = static_cast<uint8_t>(FlagValue(state.flags[2 * k + 1]));
    }
    return true;
}

bool CompactRinexDecoder::keepSatellite(const LineReader& in, int sat, ObsEpoch& epoch)
{
    try {
        return decodeSatellite(in, sat, epoch);
    } catch (const ReadError& error) {
        RethrowUnlessSkipping(m_skipped, in);
        endArcs(epoch.satellite(sat));
        m_skipped->satelliteDropped(error, SatelliteName(epoch.satellite(sat)), kArcsRestart);
        return false;
    }
}

void CompactRinexDecoder::endArcs(const ObsSatellite& satellite)
{
    // Arcs touched by a malformed line may hold garbage: none goes on.
    const int16_t slot = m_slot[static_cast<size_t>(SystemIndex(satellite.system) * (kMaxPrn + 1) + satellite.prn)];
    if (slot < 0)
        return;
    SatelliteState& state = m_states[static_cast<size_t>(slot)];
    for (Arc& arc : state.arcs)
        arc.active = false;
    state.lossTold = true;
}

EpochStatus CompactRinexDecoder::read(LineReader& in, ObsEpoch& epoch)
{
    const auto fullLine = [this](const std::string& line) { return isFullEpochLine(line); };
    for (;;) {
        if (m_lineHeld)
            m_lineHeld = false;
        else if (!NextNonBlankLine(in))
            return EpochStatus::kEnd;
        // Differenced epoch lines have nothing to apply to until a full one.
        if (m_referenceLost && !isFullEpochLine(in.line()) && !SkipToLine(in, fullLine))
            return EpochStatus::kEnd;
        const long first = in.lineNumber();
        try {
            return readEpoch(in, epoch);
        } catch (const ReadError& error) {
            RethrowUnlessSkipping(m_skipped, in);
            m_epochLine.clear();
            reset();
            m_referenceLost = true;
            m_lineHeld = SkipToLine(in, fullLine);
            m_skipped->epochsSkipped(
                error, 1,
                m_lineHeld ? "epochs skipped from line " + std::to_string(first) + " up to line " +
                                 std::to_string(in.lineNumber()) + ", the next full epoch line"
                           : "rest of the file skipped from line " + std::to_string(first) +
                                 ": no full epoch line follows");
        }
    }
}

EpochStatus CompactRinexDecoder::readEpoch(LineReader& in, ObsEpoch& epoch)
{
    const EpochLineLayout& layout = EpochLineLayout::of(m_header);
    const bool differenced = decodeEpochLine(in);
    epoch.clear(m_header.maxTypeCount());
    EpochLineFields fields;
    ParseEpochLine(m_decoded, layout, in, fields, epoch);
    // A full event line is not a reference for the next epoch line.
    if (!epoch.isEvent() || differenced)
        m_epochLine.swap(m_decoded);
    if (!epoch.isEvent())
        m_referenceLost = false;
    if (epoch.isEvent())
        return ReadEventRecords(in, fields.count, epoch) ? EpochStatus::kEpoch : EpochStatus::kTruncated;

    ++m_epochSerial;
    AddListedSatellites(m_epochLine, layout.satellites, fields.count, in, epoch);
    if (!in.next())
        return EpochStatus::kTruncated;
    decodeClock(in, epoch);
    for (int i = 0, sat = 0; i < fields.count; ++i) {
        if (!in.next())
            return EpochStatus::kTruncated;
        if (m_skipped && isFullEpochLine(in.line())) {  // satellite lines missing
            m_skipped->satellitesMissing(in, fields.count - i);
            while (epoch.satelliteCount() > sat)
                epoch.removeSatellite(epoch.satelliteCount() - 1);
            m_lineHeld = true;
            break;
        }
        if (keepSatellite(in, sat, epoch))
            ++sat;
        else
            epoch.removeSatellite(sat);
    }
    return EpochStatus::kEpoch;
}

}  // namespace pppio
