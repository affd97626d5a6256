#include <gtest/gtest.h>

#include <string>

#include "ProgramRun.h"

namespace {

// The caster runs until interrupted, so only the ways it refuses to start are run here;
// its serving is tested through the library in tests/rt.
TEST(Ntripcaster, RefusesBadCommandLinesAndFiles)
{
    const std::string file = std::string(PPP_SOURCE_DIR) + "/tests/data/rt/GMSD7_20121014_head.rtcm3";
    struct Case { std::string arguments; int exitCode; const char* message; };
    const Case cases[] = {
        {"--help", 0, "usage: ntripcaster"},
        {"", 2, "no MOUNT=FILE given"},
        {"--port 70000 A=" + file, 2, "--port"},
        {"--rate 100 --realtime A=" + file, 2, "exclude each other"},
        {"--user nopassword A=" + file, 2, "USER:PASSWORD"},
        {"=" + file, 2, "expected MOUNT=FILE"},
        {"--bogus A=" + file, 2, "unknown option --bogus"},
        {"A=/nonexistent/file.rtcm3", 1, "/nonexistent/file.rtcm3: cannot open the file"},
    };
    for (const Case& c : cases) {
        const program_test::Outcome o = program_test::RunProgram("ntripcaster", c.arguments);
        EXPECT_EQ(o.exitCode, c.exitCode) << c.arguments;
        EXPECT_NE((o.out + o.err).find(c.message), std::string::npos) << c.arguments << ": " << o.out << o.err;
    }
}

}  // namespace
