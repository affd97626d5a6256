#include "models/BerneseText.h"

#include <cstdlib>
#include <cstring>

namespace bern {

TextFile::TextFile(const char* path) : m_fp(path ? std::fopen(path, "r") : nullptr) {}

TextFile::~TextFile()
{
    if (m_fp)
        std::fclose(m_fp);
}

bool TextFile::next(char* line)
{
    if (!m_fp || !std::fgets(line, LINE_SIZE, m_fp))
        return false;
    size_t length = std::strlen(line);
    if (length > 0 && line[length - 1] != '\n') {
        int c;   // cut line: skip its rest
        while ((c = std::fgetc(m_fp)) != EOF && c != '\n') {
        }
    }
    while (length > 0 && (line[length - 1] == '\n' || line[length - 1] == '\r'))
        line[--length] = '\0';
    return true;
}

void Field(const char* line, int col, int width, char* out)
{
    const size_t start = static_cast<size_t>(col - 1);
    const size_t limit = static_cast<size_t>(width) < LINE_SIZE ? static_cast<size_t>(width) : LINE_SIZE - 1;
    size_t n = 0;
    if (col >= 1 && width > 0 && start < std::strlen(line)) {
        for (; n < limit && line[start + n] != '\0'; ++n)
            out[n] = line[start + n];
    }
    out[n] = '\0';
}

double FieldDouble(const char* line, int col, int width)
{
    char text[LINE_SIZE];
    Field(line, col, width, text);
    return std::atof(text);
}

int FieldInt(const char* line, int col, int width)
{
    char text[LINE_SIZE];
    Field(line, col, width, text);
    return std::atoi(text);
}

}  // namespace bern
