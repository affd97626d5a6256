// Helpers of the reader tests: committed sample data, scratch copies with
// edited lines, and checks of the errors raised for malformed input.
#ifndef PPP_TESTS_IO_TESTFILES_H
#define PPP_TESTS_IO_TESTFILES_H

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "io/ReadError.h"

namespace testfiles {

// Path of a file committed under tests/data.
std::string dataPath(const std::string& name);
// Path of a scratch file in the build directory.
std::string scratchPath(const std::string& name);

std::vector<std::string> readLines(const std::string& path);
// Lines with line ends; cutLastLine leaves the last one without (a file cut short).
void writeLines(const std::string& path, const std::vector<std::string>& lines, bool cutLastLine = false);
void writeText(const std::string& path, const std::string& text);

// Index of the first line starting with the prefix (after index from); fails the test when none.
size_t findLine(const std::vector<std::string>& lines, const std::string& prefix, size_t from = 0);

// Writes the lines of a data file, edited, to a scratch file; returns its path.
std::string editedCopy(const std::string& dataName, const std::string& scratchName,
                       const std::function<void(std::vector<std::string>&)>& edit);

// Runs load() and checks that it throws a ReadError for the scratch file at
// the given line (1-based) whose message contains the expected text.
void expectReadError(const std::function<void()>& load, const std::string& path, long line,
                     const std::string& expectedText);

// A malformed copy of a data file and the error it must give.
struct MalformedCopy {
    const char* name;
    std::function<void(std::vector<std::string>&)> edit;
    size_t line;            // 1-based line of the expected error
    const char* message;    // part of the expected message
};

// Reads each edited copy of the data file with read(path) and checks the error.
void expectMalformedCopies(const std::string& dataName, const std::vector<MalformedCopy>& copies,
                           const std::function<void(const std::string&)>& read);

// Writes a file of the given head followed by pseudo-random bytes (with
// line ends) and returns its path.
std::string garbageFile(const std::string& name, const std::string& head, int seed);

}  // namespace testfiles

#endif
