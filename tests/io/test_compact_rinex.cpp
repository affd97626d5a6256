#include <gtest/gtest.h>

#include "io/RinexObsReader.h"
#include "io/rinex_obs_test_util.h"

namespace {

using rinex_test::FileCopy;
using rinex_test::ReadAll;
using testfiles::dataPath;
using testfiles::samplePath;

TEST(CompactRinex, SampleDecodesToThePlainRinexValueForValue)
{
    const FileCopy plain = ReadAll(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.rnx.gz"));
    const FileCopy compact = ReadAll(samplePath("ESBC00DNK_R_20201770000_02H_30S_MO.crx.gz"));
    ASSERT_EQ(plain.epochs.size(), 240u);
    EXPECT_TRUE(compact.warnings.empty());
    rinex_test::ExpectSameEpochs(compact, plain);

    // A few values read off the plain file by eye, as an anchor for both.
    const rinex_test::SatCopy* c05 = compact.epochs[1].find('C', 5);
    ASSERT_NE(c05, nullptr);
    EXPECT_EQ(c05->obs[0].value, 40715964.078);  // C2I, from "3&40715949461" and "14617"
    EXPECT_EQ(c05->obs[0].ssi, 5);
    EXPECT_EQ(c05->obs[6].value, 212018742.331);  // L2I
    EXPECT_FALSE(c05->obs[1].present());  // C6I not tracked
    EXPECT_EQ(compact.epochs[239].sats.size(), 50u);
    EXPECT_EQ(compact.epochs[239].gpsTime.sow, 4 * 86400.0 + 7170.0);

    // Satellites rise and set over the two hours: the decoder restarts the
    // arcs of those that come and go.
    size_t appearing = 0;
    for (size_t e = 1; e < compact.epochs.size(); ++e)
        for (const rinex_test::SatCopy& sat : compact.epochs[e].sats)
            appearing += compact.epochs[e - 1].find(sat.system, sat.prn) == nullptr;
    EXPECT_GT(appearing, 5u);
}

TEST(CompactRinex, Versions1And3DecodeToTheirPlainFiles)
{
    // small_v211: satellites leave and come back, a list longer than 12, a
    // header event inside the data, blank fields (the first one too),
    // loss-of-lock flags set and cleared, clock offsets that stop.
    // small_v4: events with and without records, a re-initialised epoch
    // line, satellites leaving and appearing, scale factors.
    const FileCopy v1 = ReadAll(dataPath("small_v211.crx"));
    EXPECT_EQ(v1.header.compactVersion, 1);
    EXPECT_TRUE(v1.warnings.empty());
    rinex_test::ExpectSameEpochs(v1, ReadAll(dataPath("small_v211.rnx")));
    EXPECT_EQ(v1.header.antennaDeltaH, 1.2345);  // from the event records

    const FileCopy v3 = ReadAll(dataPath("small_v4.crx"));
    EXPECT_EQ(v3.header.compactVersion, 3);
    rinex_test::ExpectSameEpochs(v3, ReadAll(dataPath("small_v4.rnx")));
    EXPECT_EQ(v3.header.markerName, "TEST5");
}

TEST(CompactRinex, MalformedLinesNameFileAndLine)
{
    const auto read = [](const std::string& path) { ReadAll(path); };
    testfiles::expectEditErrors(dataPath("small_v4.crx"), {
        // A satellite that was not in the previous epoch must start its arcs.
        {"3&22281846552", "22281846552", 46, "expected 'n&' to start a new arc of G03 C1C"},
        // A difference after an empty field has no arc to continue.
        {"3&26062660463", "26062660463", 57, "expected 'n&' to start a new arc of C20 C2I"},
        {"3&22098766459", "x&22098766459", 28, "expected an integer difference"},
        {"3&22098766459", "3&2209876645x", 28, "G01 C1C"},
        {"3&22098766459", "12&22098766459", 28, "expected a difference order 0-9 before '&' for G01 C1C"},
        {"2&12345678", "2&123x5678", 27, "the receiver clock offset"},
        {"-3399 -14994 0 0 -3399 -11595   &", "-3399 -14994 0 0 -3399 -11595   &           &", 45,
         "more flag characters"},
        {"-3399 -14994 0 0 -3399 -11595   &", "-3399 -14994 0 0 -3399 -11595   x", 45,
         "flags: expected digits, blanks or '&'"},
        {"> 2020 06 25 00 00 00.0000000  0  5      G01G02E11C20R05",
         "  2020 06 25 00 00 00.0000000  0  5      G01G02E11C20R05", 26, "expected an epoch line starting with '>'"},
        {"G01G02E11C20R05", "G01G02E11C20R0", 26, "expected a satellite identifier in columns 54-56"},
        {"G01G02E11C20R05", "G01G02E11C20G01", 32, "G01 is listed twice"},
        {"                   3\n323", "                   9\n323", 33, "expected the epoch time"},
        // Compact version and RINEX version must belong together.
        {"3.0                 COMPACT", "1.0                 COMPACT", 25, "Compact RINEX 1.0 holds RINEX 2 files only"},
    }, read);
    // Version 1.0: a full epoch line starts with '&'.
    testfiles::expectEditErrors(dataPath("small_v211.crx"),
        {{"&20  6 25  0  0  0.0000000", " 20  6 25  0  0  0.0000000", 19, "expected an epoch line starting with '&'"}},
        read);
}

TEST(CompactRinex, TruncatedFileEndsCleanlyWithAWarning)
{
    // Cut inside the data line of the first epoch after the header event.
    const FileCopy cut = ReadAll(dataPath("small_v211_truncated.crx"));
    ASSERT_EQ(cut.epochs.size(), 3u);
    ASSERT_EQ(cut.warnings.size(), 1u);
    EXPECT_NE(cut.warnings[0].find("truncated after line 56"), std::string::npos) << cut.warnings[0];
    rinex_test::ExpectPrefixOf(cut, ReadAll(dataPath("small_v211.crx")));

    // Cuts in the RINEX 4 data: never an error, never as many epochs as the
    // whole file, always the same values.
    const std::string text = testfiles::readText(dataPath("small_v4.crx"));
    const FileCopy all = ReadAll(dataPath("small_v4.crx"));
    for (size_t length : rinex_test::CutLengths(text, text.find("END OF HEADER") + 14)) {
        SCOPED_TRACE("cut after " + std::to_string(length) + " bytes");
        const std::string path = testfiles::scratchPath("cut_v4.crx");
        testfiles::writeText(path, text.substr(0, length));
        const FileCopy part = ReadAll(path);
        ASSERT_LT(part.epochs.size(), all.epochs.size());
        rinex_test::ExpectPrefixOf(part, all);
    }
}

}  // namespace
