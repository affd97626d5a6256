// Fixed-column text of the Bernese-format antenna and satellite files.
#ifndef PPPLIB_MODELS_BERNESETEXT_H
#define PPPLIB_MODELS_BERNESETEXT_H

#include <cstddef>
#include <cstdio>

namespace bern {

constexpr size_t LINE_SIZE = 512;   // longer lines are cut; their rest is skipped

// Closes the file when leaving the reader, whatever the way out.
class TextFile {
public:
    explicit TextFile(const char* path);
    ~TextFile();
    TextFile(const TextFile&) = delete;
    TextFile& operator=(const TextFile&) = delete;

    bool isOpen() const { return m_fp != nullptr; }
    // Next line without its line end into line (LINE_SIZE bytes); false at
    // the end of the file.
    bool next(char* line);

private:
    FILE* m_fp;
};

// The field of width characters (at most LINE_SIZE - 1) from the 1-based
// column col into out, shorter or empty where the line ends.
void Field(const char* line, int col, int width, char* out);
double FieldDouble(const char* line, int col, int width);
int FieldInt(const char* line, int col, int width);

}  // namespace bern

#endif
