// Helpers of the reader and program tests: committed sample data, scratch
// copies with edited lines, and checks of the errors raised for malformed input.
#ifndef PPP_TESTS_IO_TESTFILES_H
#define PPP_TESTS_IO_TESTFILES_H

#include <gtest/gtest.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "io/LineReader.h"
#include "io/ReadError.h"

namespace testfiles {

// Path of a file committed in the source tree, by default under tests/data.
inline std::string dataPath(const std::string& name, const std::string& folder = "tests/data/")
{
    return std::string(PPP_SOURCE_DIR) + "/" + folder + name;
}

inline std::string samplePath(const std::string& name)
{
    return dataPath(name, "data/sample/");
}

// Path of a scratch file in the build directory.
inline std::string scratchPath(const std::string& name)
{
    return std::string(PPP_BINARY_DIR) + "/io_scratch_" + name;
}

// The bytes of a file, empty when it cannot be read.
inline std::string readText(const std::string& path)
{
    std::string text;
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return text;
    char buffer[65536];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof buffer, f)) > 0)
        text.append(buffer, n);
    std::fclose(f);
    return text;
}

inline void writeText(const std::string& path, const std::string& text)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr) << path;
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
}

// Lines without line ends (gzip files decompressed).
inline std::vector<std::string> readLines(const std::string& path)
{
    pppio::LineReader reader(path);
    std::vector<std::string> lines;
    while (reader.next())
        lines.push_back(reader.line());
    return lines;
}

// Lines with line ends; cutLastLine leaves the last one without (a file cut short).
inline void writeLines(const std::string& path, const std::vector<std::string>& lines, bool cutLastLine = false)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    if (cutLastLine && !text.empty())
        text.pop_back();
    writeText(path, text);
}

// Index of the first line starting with the prefix (after index from); fails the test when none.
inline size_t findLine(const std::vector<std::string>& lines, const std::string& prefix, size_t from = 0)
{
    for (size_t i = from; i < lines.size(); ++i)
        if (lines[i].compare(0, prefix.size(), prefix) == 0)
            return i;
    ADD_FAILURE() << "no line starts with '" << prefix << "'";
    return lines.size();
}

// Writes the lines of a data file, edited, to a scratch file; returns its path.
inline std::string editedCopy(const std::string& dataName, const std::string& scratchName,
                              const std::function<void(std::vector<std::string>&)>& edit)
{
    std::vector<std::string> lines = readLines(dataPath(dataName));
    edit(lines);
    const std::string path = scratchPath(scratchName);
    writeLines(path, lines);
    return path;
}

// Runs load() and checks that it throws a ReadError for the file at the
// given line (1-based) whose message contains the expected text.
inline void expectReadError(const std::function<void()>& load, const std::string& path, long line,
                            const std::string& expectedText)
{
    try {
        load();
        ADD_FAILURE() << "no ReadError for " << path;
    } catch (const pppio::ReadError& e) {
        EXPECT_EQ(e.file(), path);
        EXPECT_EQ(e.line(), line) << e.what();
        EXPECT_NE(e.message().find(expectedText), std::string::npos) << e.what();
    }
}

// A malformed copy of a data file and the error it must give.
struct MalformedCopy {
    const char* name;
    std::function<void(std::vector<std::string>&)> edit;
    size_t line;            // 1-based line of the expected error
    const char* message;    // part of the expected message
};

// Reads each edited copy of the data file with read(path) and checks the error.
inline void expectMalformedCopies(const std::string& dataName, const std::vector<MalformedCopy>& copies,
                                  const std::function<void(const std::string&)>& read)
{
    for (const MalformedCopy& copy : copies) {
        const std::string path = editedCopy(dataName, std::string("bad_") + copy.name, copy.edit);
        SCOPED_TRACE(copy.name);
        expectReadError([&] { read(path); }, path, static_cast<long>(copy.line), copy.message);
    }
}

// Writes `text` with its first occurrence of `from` replaced by `to` to a
// scratch file and returns its path.
inline std::string writeVariant(const std::string& text, const std::string& from, const std::string& to,
                                const std::string& name)
{
    std::string variant = text;
    const size_t at = variant.find(from);
    EXPECT_NE(at, std::string::npos) << from;
    if (at != std::string::npos)
        variant.replace(at, from.size(), to);
    const std::string path = scratchPath(name);
    writeText(path, variant);
    return path;
}

// A damaged copy of a file, as a text replacement, and the error it must raise.
struct TextEdit {
    const char* from;
    const char* to;
    long line;
    const char* expected;
};

inline void expectEditErrors(const std::string& source, const std::vector<TextEdit>& edits,
                             const std::function<void(const std::string&)>& read)
{
    const std::string text = readText(source);
    for (size_t i = 0; i < edits.size(); ++i) {
        SCOPED_TRACE(edits[i].expected);
        const std::string path = writeVariant(text, edits[i].from, edits[i].to, "edit" + std::to_string(i));
        expectReadError([&] { read(path); }, path, edits[i].line, edits[i].expected);
    }
}

// Writes files of each head followed by pseudo-random bytes (with line
// ends) and expects read(path) to throw a ReadError for every one.
inline void expectGarbageRejected(const std::vector<std::string>& heads,
                                  const std::function<void(const std::string&)>& read)
{
    unsigned state = 1;
    for (const std::string& head : heads) {
        std::string text = head;
        for (int i = 0; i < 4000; ++i) {
            state = state * 1103515245u + 12345u;
            text += i % 70 == 69 ? '\n' : static_cast<char>((state >> 16) % 255 + 1);
        }
        const std::string path = scratchPath("garbage");
        writeText(path, text + "\n");
        EXPECT_THROW(read(path), pppio::ReadError) << head;
    }
}

}  // namespace testfiles

#endif
