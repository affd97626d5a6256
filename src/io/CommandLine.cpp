#include "io/CommandLine.h"

#include <cctype>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace pppio {

namespace {

bool ToNumber(const std::string& text, double* value)
{
    errno = 0;
    char* end = nullptr;
    *value = std::strtod(text.c_str(), &end);
    return !text.empty() && *end == '\0' && errno != ERANGE && std::isfinite(*value);
}

}  // namespace

bool Arguments::next()
{
    if (++m_index >= m_argc)
        return false;
    m_option = m_argv[m_index];
    return true;
}

std::string Arguments::value()
{
    if (m_index + 1 >= m_argc)
        throw UsageError("option " + m_option + " needs a value");
    return m_argv[++m_index];
}

double parseNumber(const std::string& option, const std::string& text)
{
    double value = 0.0;
    if (!ToNumber(text, &value))
        throw UsageError("option " + option + " expects a number, not '" + text + "'");
    return value;
}

double parseNumber(const std::string& option, const std::string& text, double low, double high)
{
    double value = 0.0;
    if (!ToNumber(text, &value) || !(value >= low && value <= high)) {
        char range[96];
        std::snprintf(range, sizeof(range), " expects a number from %g to %g", low, high);
        throw UsageError("option " + option + range + ", not '" + text + "'");
    }
    return value;
}

int parseCount(const std::string& option, const std::string& text, int low, int high)
{
    const double value = parseNumber(option, text, low, high);
    if (value != std::floor(value))
        throw UsageError("option " + option + " expects a whole number, not '" + text + "'");
    return static_cast<int>(value);
}

void parseList(const std::string& option, const std::string& text, double* values, int n, const char* shape)
{
    size_t start = 0;
    for (int k = 0; k < n; ++k) {
        const size_t comma = text.find(',', start);
        const bool last = k == n - 1;
        if (last != (comma == std::string::npos))
            throw UsageError("option " + option + " expects " + shape + ", not '" + text + "'");
        const std::string part = text.substr(start, last ? std::string::npos : comma - start);
        values[k] = parseNumber(option, part);
        start = comma + 1;
    }
}

std::string parseSystems(const std::string& option, const std::string& given, const std::string& allowed)
{
    std::string text = given;   // "gre" reads as "GRE"
    for (char& c : text)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    std::string systems;
    for (char wanted : allowed)
        if (text.find(wanted) != std::string::npos)
            systems += wanted;
    if (text.empty() || text.find_first_not_of(allowed) != std::string::npos || systems.size() != text.size()) {
        std::string letters;
        for (size_t k = 0; k < allowed.size(); ++k)
            letters += (k ? ", " : "") + std::string(1, allowed[k]);
        throw UsageError("option " + option + " expects letters of " + letters + ", not '" + given + "'");
    }
    return systems;
}

}  // namespace pppio
