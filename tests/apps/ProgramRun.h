// Runs a built program as a user would, through the emulator when the tests
// are cross-compiled, and collects its exit code and both output streams.
#ifndef TESTS_APPS_PROGRAMRUN_H
#define TESTS_APPS_PROGRAMRUN_H

#include <sys/stat.h>
#include <sys/wait.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "io/TestFiles.h"

namespace program_test {

// A fresh path in the scratch folder of the program tests.
inline std::string Scratch(const std::string& name)
{
    const std::string dir = std::string(PPP_BINARY_DIR) + "/apps_scratch";
    mkdir(dir.c_str(), 0777);
    return dir + "/" + name;
}

struct Outcome {
    int exitCode;  // -1 when the program did not exit normally
    std::string out;
    std::string err;
};

inline Outcome RunProgram(const std::string& program, const std::string& arguments)
{
    const std::string errFile = Scratch(program + "_stderr.txt");
    const std::string command = std::string(PPP_EMULATOR) + " " + PPP_BINARY_DIR + "/bin/" + program + " " +
                                arguments + " 2> " + errFile;
    Outcome outcome{-1, "", ""};
    std::FILE* pipe = popen(command.c_str(), "r");
    if (!pipe)
        return outcome;
    char buffer[4096];
    size_t n;
    while ((n = std::fread(buffer, 1, sizeof(buffer), pipe)) > 0)
        outcome.out.append(buffer, n);
    const int status = pclose(pipe);
    outcome.exitCode = status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.err = testfiles::readText(errFile);
    return outcome;
}

inline int LineCount(const std::string& text)
{
    int lines = 0;
    for (char c : text)
        lines += c == '\n' ? 1 : 0;
    return lines;
}

// The number of a JSON value "key": v; NaN when the key is missing.
inline double JsonNumber(const std::string& json, const std::string& key)
{
    const size_t at = json.find("\"" + key + "\": ");
    return at == std::string::npos ? NAN : std::strtod(json.c_str() + at + key.size() + 4, nullptr);
}

// The numbers of a JSON array value "key": [a, b, c].
inline std::vector<double> JsonArray(const std::string& json, const std::string& key)
{
    std::vector<double> values;
    const size_t at = json.find("\"" + key + "\": [");
    if (at == std::string::npos)
        return values;
    const char* p = json.c_str() + json.find('[', at) + 1;
    for (;;) {
        char* end = nullptr;
        const double v = std::strtod(p, &end);
        if (end == p)
            break;
        values.push_back(v);
        p = end;
        while (*p == ',' || *p == ' ')
            ++p;
    }
    return values;
}

}  // namespace program_test

#endif
