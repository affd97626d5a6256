// The converter program: whatever it is given, its plain RINEX output must
// read back exactly as the input reads, and bad input must end in a clear
// message without leaving a half-written file behind.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "apps/ProgramRun.h"
#include "io/rinex_obs_test_util.h"

namespace {

using rinex_test::ReadAll;
using testfiles::dataPath;
using testfiles::readText;

std::string ScratchPath(const std::string& name)
{
    return program_test::Scratch("crx2rnx_" + name);
}

program_test::Outcome Convert(const std::string& arguments)
{
    return program_test::RunProgram("crx2rnx", arguments);
}

// Converts a file into a fresh scratch file and returns the path written.
std::string ConvertToScratch(const std::string& input, const std::string& name)
{
    const std::string output = ScratchPath(name);
    std::remove(output.c_str());
    const program_test::Outcome run = Convert(input + " " + output);
    EXPECT_EQ(run.exitCode, 0) << run.err;
    return output;
}

// The header lines of a file in text form, up to END OF HEADER.
std::string HeaderText(const std::string& text)
{
    const size_t end = text.find("END OF HEADER");
    return end == std::string::npos ? text : text.substr(0, text.find('\n', end) + 1);
}

}  // namespace

TEST(Crx2rnx, BundledSampleConvertsToTheSamePlainRinex)
{
    const std::string output =
        ConvertToScratch(testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.crx.gz"), "sample.rnx");
    const rinex_test::FileCopy converted = ReadAll(output);
    ASSERT_EQ(converted.epochs.size(), 240u);
    rinex_test::ExpectSameEpochs(ReadAll(testfiles::samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz")), converted);
    EXPECT_EQ(converted.header.compactVersion, 0);
    EXPECT_EQ(converted.header.version, 3.05);
    EXPECT_TRUE(converted.warnings.empty());
}

TEST(Crx2rnx, CompactVersionsConvertToTheirRinexVersionAndPlainFilesStayTheSame)
{
    // RINEX 2.11 (12+ satellites, clock offsets, an event) and RINEX 4.01
    // (scale factors, events with and without header records).
    for (const char* name : {"small_v211", "small_v4"}) {
        SCOPED_TRACE(name);
        const std::string plainPath = dataPath(std::string(name) + ".rnx");
        const std::string output = ConvertToScratch(dataPath(std::string(name) + ".crx"), std::string(name) + ".rnx");
        rinex_test::ExpectSameEpochs(ReadAll(plainPath), ReadAll(output));
        // The header is copied as it is: the same lines as the plain file.
        EXPECT_EQ(HeaderText(readText(output)), HeaderText(readText(plainPath)));
        // Converting the program's own output changes nothing.
        EXPECT_EQ(readText(ConvertToScratch(output, "again.rnx")), readText(output));
    }
}

TEST(Crx2rnx, TruncatedInputKeepsTheCompleteEpochsAndWarns)
{
    const std::string input = dataPath("small_v211_truncated.crx");
    const std::string output = ScratchPath("truncated.rnx");
    const program_test::Outcome run = Convert(input + " " + output);
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_NE(run.err.find("warning"), std::string::npos) << run.err;
    EXPECT_NE(run.err.find("truncated"), std::string::npos) << run.err;
    const rinex_test::FileCopy converted = ReadAll(output);
    EXPECT_TRUE(converted.warnings.empty());
    rinex_test::ExpectSameEpochs(ReadAll(input), converted);
}

TEST(Crx2rnx, BadInputFailsWithAMessageAndLeavesNoOutput)
{
    const std::string output = ScratchPath("failed.rnx");
    // A decoded value of 99 922 098 km has no room in F14.3.
    const std::string huge = testfiles::writeVariant(readText(dataPath("small_v4.crx")), "3&22098766459",
                                                     "3&99922098766459", "huge.crx");
    const struct {
        std::string input;
        std::string expected;  // part of the message
    } cases[] = {
        {ScratchPath("does_not_exist.crx"), "does_not_exist.crx"},
        {dataPath("small_v4_bad_value.rnx"), "small_v4_bad_value.rnx:"},
        {huge, "C1C value of G01 at 2020-06-25 00:00:00.0000000 (9.99221e+10) does not fit the F14.3 field"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const program_test::Outcome run = Convert(c.input + " " + output);
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_NE(run.err.find(c.expected), std::string::npos) << run.err;
        struct stat info;
        EXPECT_NE(stat(output.c_str(), &info), 0) << "output left behind";
    }
}

TEST(Crx2rnx, WrongCommandLineShowsTheUsage)
{
    const std::string input = dataPath("small_v4.crx");
    for (const std::string& arguments : {std::string(), input, input + " " + input}) {
        const program_test::Outcome run = Convert(arguments);
        EXPECT_EQ(run.exitCode, 2) << arguments;
        EXPECT_FALSE(run.err.empty());
    }
    EXPECT_EQ(readText(input).substr(0, 3), "3.0");  // the input was not overwritten
}
