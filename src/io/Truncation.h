// Handling of files cut short in transfer: a malformed last line without a
// line end is the sign, and the records read before it are kept.
#ifndef PPPIO_TRUNCATION_H
#define PPPIO_TRUNCATION_H

#include <string>
#include <vector>

#include "io/LineReader.h"

namespace pppio {

// Called with the error raised for the reader's current line. When that
// line is the last of the file and has no line end, the file is taken as
// truncated: a warning naming the file and line is recorded and the
// function returns (the caller stops reading). Otherwise the error is
// rethrown.
void acceptTruncatedLastLine(LineReader& in, const ReadError& error, std::vector<std::string>& warnings);

// Runs handle() on each further line (first on the current one when
// fromCurrentLine) until it returns false or the file ends. A malformed last
// line cut short stops the reading with a warning: the result is then false.
template <class Handle>
bool forEachLine(LineReader& in, std::vector<std::string>& warnings, Handle handle, bool fromCurrentLine = false)
{
    for (bool more = fromCurrentLine || in.next(); more; more = in.next()) {
        try {
            if (!handle())
                return true;
        } catch (const ReadError& error) {
            acceptTruncatedLastLine(in, error, warnings);
            return false;
        }
    }
    return true;
}

// Warning "<file>:<line>: <message>" for the reader's current line.
std::string warningAt(const LineReader& in, const std::string& message);

}  // namespace pppio

#endif
