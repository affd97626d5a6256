// Writing small fixed-column Bernese-format files for the antenna tests.
#ifndef PPPLIB_TESTS_MODELS_BERNESE_TEST_FILES_H
#define PPPLIB_TESTS_MODELS_BERNESE_TEST_FILES_H

#include <cstdio>
#include <string>
#include <vector>

namespace berntest {

// text placed at the 1-based column col of line, blanks filling any gap.
inline void Put(std::string& line, int col, const std::string& text)
{
    const size_t start = static_cast<size_t>(col - 1);
    if (line.size() < start + text.size())
        line.resize(start + text.size(), ' ');
    line.replace(start, text.size(), text);
}

inline std::string Fixed(double value, int width, int decimals)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%*.*f", width, decimals, value);
    return text;
}

// Offset line: name, then north, east and up (m) in columns 43-49, 51-57, 59-65.
inline std::string OffsetLine(const std::string& name, double n, double e, double u)
{
    std::string line = name;
    Put(line, 22, "NONE");
    Put(line, 43, Fixed(n, 7, 4));
    Put(line, 51, Fixed(e, 7, 4));
    Put(line, 59, Fixed(u, 7, 4));
    Put(line, 67, "TEST");
    return line;
}

// Variation block header: the name again, zenith step in columns 65-67,
// azimuth step in 70-72, maximum zenith in 75-77, then two lines to skip.
inline std::vector<std::string> BlockHeader(const std::string& name, int zenithStep, int azimuthStep,
                                            int maxZenith)
{
    std::string line = name;
    Put(line, 65, Fixed(zenithStep, 3, 0));
    Put(line, 70, Fixed(azimuthStep, 3, 0));
    Put(line, 75, Fixed(maxZenith, 3, 0));
    return {line, "AZI FRQ  ZENITH ANGLES", "--- ---  ------"};
}

// Grid row: a 7-character prefix, then the values (mm) six characters wide
// every seven columns from column 8.
inline std::string GridRow(int azimuth, int frequency, const std::vector<double>& values)
{
    char prefix[16];
    std::snprintf(prefix, sizeof(prefix), "%3d L%d ", azimuth, frequency);
    std::string line = prefix;
    for (size_t k = 0; k < values.size(); ++k)
        Put(line, 8 + 7 * static_cast<int>(k), Fixed(values[k], 6, 2));
    return line;
}

inline void WriteLines(const std::string& path, const std::vector<std::string>& lines)
{
    FILE* f = std::fopen(path.c_str(), "w");
    for (const auto& line : lines)
        std::fprintf(f, "%s\n", line.c_str());
    std::fclose(f);
}

inline std::string TempPath(const std::string& name)
{
    return std::string(PPP_BINARY_DIR) + "/antenna_" + name;
}

}  // namespace berntest

#endif
