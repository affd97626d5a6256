// Zenith path delays from SINEX-TRO solution files.
#include <gtest/gtest.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "models/GNSSErrorCorrection.h"

namespace {

constexpr double kUntouched = -1.0;

std::string WriteTempFile(const std::string& name, const std::string& content)
{
    const std::string path = std::string(PPP_BINARY_DIR) + "/trosinex_" + name;
    std::ofstream(path, std::ios::binary) << content;
    return path;
}

// One solution line: site in columns 2-5, epoch 7-18, total delay (mm) 20-25.
std::string Record(const char* site, int secondOfDay, double zpdMm)
{
    char line[96];
    std::snprintf(line, sizeof(line), " %-4s 20:177:%05d %6.1f %5.1f %7.3f %6.3f %7.3f %6.3f\n", site, secondOfDay,
                  zpdMm, 1.2, 0.123, 0.045, -0.210, 0.051);
    return line;
}

const char* const kHeader =
    "%=TRO 2.00 COD 20:178:00000 COD 20:177:00000 20:177:86100 P MIX\n"
    "+TROP/DESCRIPTION\n"
    " SAMPLING INTERVAL                    300\n"
    "-TROP/DESCRIPTION\n"
    "+TROP/STA_COORDINATES\n"
    " ALGO  A    1 P 20:177:43200 IGS14 FLAG   918129.370 -4346071.247  4561977.803\n"
    "-TROP/STA_COORDINATES\n"
    "+TROP/SOLUTION\n"
    "*SITE ____EPOCH___ TROTOT STDDEV  TGNTOT  STDDEV  TGETOT  STDDEV\n";

const char* const kTrailer = "-TROP/SOLUTION\n%=ENDTRO\n";

struct ZpdRead {
    int rc;
    double zpd[16];
};

ZpdRead Read(const std::string& path, const char* site)
{
    CGNSSErrorCorrection models;
    ZpdRead r;
    for (double& v : r.zpd)
        v = kUntouched;
    r.rc = models.GetZPDFromTroFile(r.zpd, path.c_str(), site);
    return r;
}

TEST(TropSolutionFile, ReadsTheSiteRecordsInFileOrder)
{
    const std::string path = WriteTempFile("order.tro", std::string(kHeader) + Record("ALGO", 0, 2412.3) + Record("NRC1", 0, 2399.9) +
                        Record("ALGO", 300, 2413.4) + Record("ALGO", 600, 2409.8) + kTrailer +
                        Record("ALGO", 900, 2500.0));
    const ZpdRead r = Read(path, "ALGO");
    EXPECT_EQ(r.rc, 1);
    EXPECT_DOUBLE_EQ(r.zpd[0], 2412.3);
    EXPECT_DOUBLE_EQ(r.zpd[1], 2413.4);
    EXPECT_DOUBLE_EQ(r.zpd[2], 2409.8);
    EXPECT_EQ(r.zpd[3], kUntouched);  // nothing after the end of the block

    // The first four characters of the site name are compared, case-sensitively.
    EXPECT_DOUBLE_EQ(Read(path, "NRC100CAN").zpd[0], 2399.9);
    const ZpdRead lower = Read(path, "algo");
    EXPECT_EQ(lower.rc, 1);
    EXPECT_EQ(lower.zpd[0], kUntouched);
}

TEST(TropSolutionFile, ReturnsAtMostTwelveValues)
{
    std::string content = kHeader;
    for (int i = 0; i < 14; ++i)
        content += Record("WTZR", 300 * i, 2200.0 + i);
    const ZpdRead r = Read(WriteTempFile("many.tro", content + kTrailer), "WTZR");
    for (int i = 0; i < 12; ++i)
        EXPECT_DOUBLE_EQ(r.zpd[i], 2200.0 + i);
    EXPECT_EQ(r.zpd[12], kUntouched);
    EXPECT_EQ(r.zpd[13], kUntouched);
}

TEST(TropSolutionFile, ShortCommentLongAndCrlfLines)
{
    // A record cut to 31 characters is skipped; a comment line whose columns
    // 2-5 hold the site code is read like a record; an overlong line is read
    // by its first columns; CR LF endings are accepted.
    const std::string shortRecord = Record("ALGO", 0, 1111.1).substr(0, 31) + "\n";
    std::string comment = Record("ALGO", 300, 2222.2);
    comment[0] = '*';
    const std::string longLine = " ALGO 20:177:00000 9999.9 " + std::string(2000, 'x') + "\n";
    const std::string content =
        std::string(kHeader) + shortRecord + comment + longLine + Record("ALGO", 600, 2333.3) + kTrailer;
    std::string crlf;
    for (char ch : content) {
        if (ch == '\n')
            crlf += '\r';
        crlf += ch;
    }
    for (const auto& [name, text] : {std::pair{"mixed.tro", content}, {"crlf.tro", crlf}}) {
        const ZpdRead r = Read(WriteTempFile(name, text), "ALGO");
        EXPECT_DOUBLE_EQ(r.zpd[0], 2222.2) << name;
        EXPECT_DOUBLE_EQ(r.zpd[1], 9999.9) << name;
        EXPECT_DOUBLE_EQ(r.zpd[2], 2333.3) << name;
        EXPECT_EQ(r.zpd[3], kUntouched) << name;
    }
}

TEST(TropSolutionFile, MissingFileBlockOrSite)
{
    EXPECT_EQ(Read(std::string(PPP_BINARY_DIR) + "/trosinex_does_not_exist.tro", "ALGO").rc, 0);

    const std::string noBlock = WriteTempFile("noblock.tro", std::string("%=TRO 2.00\n") + Record("ALGO", 0, 2412.3));
    const std::string noSite = WriteTempFile("nosite.tro", std::string(kHeader) + Record("ALGO", 0, 2412.3) + kTrailer);
    const std::string truncated = WriteTempFile("truncated.tro", std::string(kHeader) + " ALGO 20:177:00000 24");
    std::string garbage = "+TROP/SOLUTION\n\n";
    for (int i = 0; i < 3000; ++i)
        garbage += static_cast<char>((i * 131) % 256);
    const std::string binary = WriteTempFile("garbage.tro", garbage);

    for (const auto& [path, site] : {std::pair{noBlock, "ALGO"}, {noSite, "ZIMM"}, {truncated, "ALGO"},
                                     {binary, "ALGO"}}) {
        const ZpdRead r = Read(path, site);
        EXPECT_EQ(r.rc, 1) << path;
        EXPECT_EQ(r.zpd[0], kUntouched) << path;
    }
}

}  // namespace
