#include "io/HeaderLabel.h"

#include "io/FieldParse.h"
#include "io/LineReader.h"

namespace pppio {

std::string headerLabel(const std::string& line)
{
    return trimmedField(line, 60, 20);
}

double readRinexVersion(LineReader& in)
{
    if (!in.next() || headerLabel(in.line()) != "RINEX VERSION / TYPE")
        in.fail("expected the RINEX VERSION / TYPE line");
    return requireReal(in, 0, 9, "the RINEX version");
}

}  // namespace pppio
