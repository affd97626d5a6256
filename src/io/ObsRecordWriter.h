// Writes the epoch records of a RINEX observation file, version 2.xx or
// 3.xx/4.xx, in the standard fixed format: the epoch line, then per
// satellite each observation as F14.3 followed by the loss-of-lock and
// signal-strength digits; blanks for an absent value or a zero flag, and no
// trailing blanks. The header is the caller's (copied or written).
//
//   pppio::ObsRecordWriter writer(file);
//   while (reader.next(epoch))
//       writer.write(reader.header(), epoch);
#ifndef PPPIO_OBSRECORDWRITER_H
#define PPPIO_OBSRECORDWRITER_H

#include <cstdio>
#include <string>

#include "io/ObsEpoch.h"
#include "io/RinexObsHeader.h"

namespace pppio {

class ObsRecordWriter {
public:
    explicit ObsRecordWriter(std::FILE* out) : m_out(out) {}

    // Writes one epoch record (data or event) as read with `header`, whose
    // scale factors are put back on the values. Throws std::runtime_error
    // when a value does not fit its field.
    void write(const RinexObsHeader& header, const ObsEpoch& epoch);

private:
    void writeEpochLine2(const ObsEpoch& epoch, int count);
    void writeEpochLine3(const ObsEpoch& epoch, int count);
    void appendClock(const ObsEpoch& epoch, size_t column, int width, int decimals);
    void writeSatellite(const RinexObsHeader& header, const ObsEpoch& epoch, int sat);
    void endLine();

    std::FILE* m_out;
    std::string m_line;  // the line being built, reused
};

}  // namespace pppio

#endif
