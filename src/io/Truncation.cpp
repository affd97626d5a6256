#include "io/Truncation.h"

namespace pppio {

void acceptTruncatedLastLine(LineReader& in, const ReadError& error, std::vector<std::string>& warnings)
{
    // A complete line (with its line end) is malformed, not cut short, even
    // at the end of the file.
    if (in.lineTerminated())
        throw error;
    warnings.push_back(error.file() + ":" + std::to_string(error.line()) +
                       ": incomplete last record dropped, the file looks truncated (" + error.message() + ")");
}

std::string warningAt(const LineReader& in, const std::string& message)
{
    return in.path() + ":" + std::to_string(in.lineNumber()) + ": " + message;
}

}  // namespace pppio
