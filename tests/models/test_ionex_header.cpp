#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "models/GNSSIonex.h"

namespace {

// Header of the JPL global ionosphere maps of 2017-01-01 (jplg0010.17i).
std::vector<std::string> JplHeaderLines()
{
    std::ifstream in(std::string(PPP_SOURCE_DIR) + "/tests/data/jplg0010_header.17i");
    std::vector<std::string> lines;
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

std::string Join(const std::vector<std::string>& lines)
{
    std::string text;
    for (const auto& line : lines)
        text += line + "\n";
    return text;
}

size_t IndexOf(const std::vector<std::string>& lines, const std::string& keyword)
{
    for (size_t i = 0; i < lines.size(); ++i) {
        if (lines[i].find(keyword) != std::string::npos)
            return i;
    }
    ADD_FAILURE() << "no line with " << keyword;
    return 0;
}

// Reads text through GetGMIHDR and owns the block it allocates.
struct HeaderRead {
    explicit HeaderRead(const std::string& text)
    {
        FILE* fp = std::tmpfile();
        std::fputs(text.c_str(), fp);
        ok = CGNSSIonex().GetGMIHDR(fp, &hdr);
        std::fclose(fp);
    }
    ~HeaderRead() { std::free(hdr); }
    HeaderRead(const HeaderRead&) = delete;
    HeaderRead& operator=(const HeaderRead&) = delete;

    tagGMIHDR* hdr = nullptr;
    int ok = 0;
};

// A bias line as IONEX writes it: 3X, A1, I2.2, 2F10.3.
std::string BiasLine(char sys, int prn, double bias)
{
    char line[128];
    std::snprintf(line, sizeof(line), "   %c%02d%10.3f%10.3f%34s%-20s", sys, prn, bias, 0.01, "", "PRN / BIAS / RMS");
    return line;
}

// The JPL header with its bias block replaced by the given lines.
std::string WithBiases(const std::vector<std::string>& biases)
{
    auto lines = JplHeaderLines();
    const size_t start = IndexOf(lines, "START OF AUX DATA");
    lines.erase(lines.begin() + static_cast<long>(start) + 1, lines.end());
    lines.insert(lines.end(), biases.begin(), biases.end());
    char count[128];
    std::snprintf(count, sizeof(count), "%6zu%54s%-20s", biases.size(), "", "# OF SATELLITES");
    lines[IndexOf(lines, "# OF SATELLITES")] = count;
    return Join(lines);
}

TEST(IonexHeader, ReadsTheJplHeaderAndRestoresTheFilePosition)
{
    HeaderRead read(Join(JplHeaderLines()));
    ASSERT_EQ(read.ok, 1);
    const tagGMIHDR& h = *read.hdr;
    char summary[256];
    std::snprintf(summary, sizeof(summary),
                  "%d-%d-%d %dh to day %d %dh every %d s, %d maps, %s, cutoff %.1f, %d stations, %d satellites, "
                  "radius %.1f, dim %d, hgt %.1f %.1f %.1f, lat %.1f %.1f %.1f, lon %.1f %.1f %.1f, exponent %d",
                  h.firstEpoch.year, h.firstEpoch.month, h.firstEpoch.day, h.firstEpoch.hour, h.lastEpoch.day,
                  h.lastEpoch.hour, h.interval, h.nMaps, h.mappingFunction, h.elevationCutoff, h.nStations,
                  h.nSatellites, h.baseRadius, h.mapDimension, h.hgt[0], h.hgt[1], h.hgt[2], h.lat[0], h.lat[1],
                  h.lat[2], h.lon[0], h.lon[1], h.lon[2], h.exponent);
    EXPECT_STREQ(summary,
                 "2017-1-1 0h to day 2 0h every 7200 s, 13 maps, NONE, cutoff 10.0, 170 stations, 31 satellites, "
                 "radius 6371.0, dim 2, hgt 450.0 450.0 0.0, lat 87.5 -87.5 -2.5, lon -180.0 180.0 5.0, exponent -1");

    // "    01    -7.516     0.007": JPL leaves the system letter blank.
    EXPECT_EQ(h.dcb[0].cSys, ' ');
    EXPECT_EQ(h.dcb[0].prn, 1);
    EXPECT_DOUBLE_EQ(h.dcb[0].bias, -7.516);
    EXPECT_DOUBLE_EQ(h.dcb[0].rms, 0.007);
    EXPECT_EQ(h.dcb[30].prn, 31);
    EXPECT_DOUBLE_EQ(h.dcb[30].bias, 4.659);
    // The file lists 32 satellites but announces 31: the 32nd is not read.
    EXPECT_EQ(h.dcb[31].prn, 0);

    // The reader puts the file position back where it found it.
    FILE* fp = std::tmpfile();
    std::fputs(Join(JplHeaderLines()).c_str(), fp);
    std::fseek(fp, 1234, SEEK_SET);
    tagGMIHDR* again = nullptr;
    EXPECT_EQ(CGNSSIonex().GetGMIHDR(fp, &again), 1);
    EXPECT_EQ(std::ftell(fp), 1234);
    std::fclose(fp);
    std::free(again);
}

TEST(IonexHeader, P1BiasesOfGpsSatellitesOnly)
{
    HeaderRead read(Join(JplHeaderLines()));
    ASSERT_EQ(read.ok, 1);
    CGNSSIonex ionex;
    double dcb = 0.0;
    // PRN 02: bias 9.150 ns; P1 correction -f2^2/(f1^2 - f2^2) c bias
    // = -1.5457277801631601 * 0.299792458 m/ns * 9.150 ns = -4.24009 m.
    ASSERT_EQ(ionex.GetP1DCB(2, read.hdr, &dcb), 1);
    EXPECT_NEAR(dcb, -1.5457277801631601 * 0.299792458 * 9.150, 1e-12);
    EXPECT_NEAR(dcb, -4.24009, 1e-5);
    EXPECT_EQ(ionex.GetP1DCB(32, read.hdr, &dcb), 0);

    HeaderRead mixed(WithBiases({BiasLine('R', 5, 1.0), BiasLine('E', 5, 2.0), BiasLine('G', 5, 3.0)}));
    ASSERT_EQ(mixed.ok, 1);
    ASSERT_EQ(ionex.GetP1DCB(5, mixed.hdr, &dcb), 1);
    EXPECT_NEAR(dcb, -1.5457277801631601 * 0.299792458 * 3.0, 1e-12);

    HeaderRead glonassOnly(WithBiases({BiasLine('R', 7, 1.0)}));
    ASSERT_EQ(glonassOnly.ok, 1);
    dcb = 42.0;
    EXPECT_EQ(ionex.GetP1DCB(7, glonassOnly.hdr, &dcb), 0);
    EXPECT_EQ(dcb, 42.0);
}

TEST(IonexHeader, HoldsOneHundredBiasesAndRefusesMore)
{
    std::vector<std::string> biases;
    for (int i = 0; i < GMI_MAX_DCB; ++i)
        biases.push_back(BiasLine("GREC"[i % 4], i % 99 + 1, i * 0.5));
    HeaderRead hundred(WithBiases(biases));
    ASSERT_EQ(hundred.ok, 1);
    EXPECT_EQ(hundred.hdr->dcb[99].cSys, 'C');
    EXPECT_EQ(hundred.hdr->dcb[99].prn, 100 % 99);
    EXPECT_DOUBLE_EQ(hundred.hdr->dcb[99].bias, 49.5);

    biases.push_back(BiasLine('G', 1, 0.0));
    HeaderRead tooMany(WithBiases(biases));
    EXPECT_EQ(tooMany.ok, 0);
    EXPECT_NE(tooMany.hdr, nullptr);   // the block is the caller's to free
}

TEST(IonexHeader, ObservablesLineMustSitBetweenCutoffAndStations)
{
    auto extra = JplHeaderLines();
    extra.insert(extra.begin() + static_cast<long>(IndexOf(extra, "ELEVATION CUTOFF")) + 1,
                 "another line                                                COMMENT");
    EXPECT_EQ(HeaderRead(Join(extra)).ok, 0);

    auto missing = JplHeaderLines();
    missing.erase(missing.begin() + static_cast<long>(IndexOf(missing, "OBSERVABLES USED")));
    EXPECT_EQ(HeaderRead(Join(missing)).ok, 0);
}

TEST(IonexHeader, MissingOrUnreadableRecordsFail)
{
    const char* keywords[] = {"EPOCH OF LAST MAP", "INTERVAL", "# OF MAPS IN FILE", "MAPPING FUNCTION",
                              "BASE RADIUS", "MAP DIMENSION", "LAT1 / LAT2 / DLAT", "EXPONENT",
                              "START OF AUX DATA"};
    for (const char* keyword : keywords) {
        auto lines = JplHeaderLines();
        lines.erase(lines.begin() + static_cast<long>(IndexOf(lines, keyword)));
        EXPECT_EQ(HeaderRead(Join(lines)).ok, 0) << "without " << keyword;
    }

    auto garbled = JplHeaderLines();
    garbled[IndexOf(garbled, "INTERVAL")] = "  seven                                                   INTERVAL";
    EXPECT_EQ(HeaderRead(Join(garbled)).ok, 0);

    garbled = JplHeaderLines();
    garbled[IndexOf(garbled, "PRN / BIAS / RMS")] = "    xx    -7.516     0.007                                  PRN / BIAS / RMS";
    EXPECT_EQ(HeaderRead(Join(garbled)).ok, 0);
}

TEST(IonexHeader, TruncatedOrGarbageInputFailsCleanly)
{
    const auto lines = JplHeaderLines();
    const std::string text = Join(lines);
    // The bias block of 31 lines is the last thing the reader needs.
    const size_t needed = IndexOf(lines, "START OF AUX DATA") + 1 + 31;
    size_t lineStart = 0;
    for (size_t n = 0; n < lines.size(); ++n) {
        const size_t lineEnd = lineStart + lines[n].size() + 1;
        EXPECT_EQ(HeaderRead(text.substr(0, lineStart + 10)).ok, n >= needed ? 1 : 0) << "cut in line " << n + 1;
        EXPECT_EQ(HeaderRead(text.substr(0, lineEnd)).ok, n + 1 >= needed ? 1 : 0) << "cut after line " << n + 1;
        lineStart = lineEnd;
    }

    std::string garbage;
    for (int i = 0; i < 5000; ++i)
        garbage += static_cast<char>((i * 7919) % 251 + 1);
    EXPECT_EQ(HeaderRead(garbage).ok, 0);
    EXPECT_EQ(HeaderRead("").ok, 0);

    tagGMIHDR* hdr = nullptr;
    EXPECT_EQ(CGNSSIonex().GetGMIHDR(nullptr, &hdr), 0);
    std::free(hdr);
}

}  // namespace
