#include <gtest/gtest.h>

#include <cstdio>
#include <string>

#include "TestFiles.h"
#include "io/LineReader.h"

#ifdef PPPIO_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

std::string TempPath(const std::string& name)
{
    return testfiles::scratchPath("linereader_" + name);
}

const auto& WriteFile = testfiles::writeText;
const auto& ReadAll = testfiles::readLines;

TEST(LineReader, SplitsLinesAndDropsLineEnds)
{
    const std::string path = TempPath("plain.txt");
    WriteFile(path, "first\r\nsecond\n\nlast without end");
    const auto lines = ReadAll(path);
    ASSERT_EQ(lines.size(), 4u);
    EXPECT_EQ(lines[0], "first");
    EXPECT_EQ(lines[1], "second");
    EXPECT_EQ(lines[2], "");
    EXPECT_EQ(lines[3], "last without end");
}

TEST(LineReader, ReadsLinesLongerThanItsBuffer)
{
    const std::string path = TempPath("long.txt");
    const std::string longLine(700000, 'x');
    WriteFile(path, longLine + "\nshort\n");
    const auto lines = ReadAll(path);
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], longLine);
    EXPECT_EQ(lines[1], "short");
}

TEST(LineReader, MissingFileNamesTheFile)
{
    try {
        pppio::LineReader reader(TempPath("does_not_exist"));
        FAIL() << "no error for a missing file";
    } catch (const pppio::ReadError& e) {
        EXPECT_EQ(e.line(), 0);
        EXPECT_NE(std::string(e.what()).find("does_not_exist"), std::string::npos);
    }
}

TEST(LineReader, FailNamesFileAndLine)
{
    const std::string path = TempPath("fail.txt");
    WriteFile(path, "a\nb\n");
    pppio::LineReader reader(path);
    reader.next();
    reader.next();
    try {
        reader.fail("expected a header line");
        FAIL();
    } catch (const pppio::ReadError& e) {
        EXPECT_EQ(e.line(), 2);
        EXPECT_EQ(std::string(e.what()), path + ":2: expected a header line");
    }
}

TEST(LineReader, TellsALastLineWithoutLineEnd)
{
    const std::string complete = TempPath("complete.txt");
    WriteFile(complete, "a\nb\n");
    pppio::LineReader whole(complete);
    while (whole.next())
        EXPECT_FALSE(whole.truncated());
    EXPECT_FALSE(whole.truncated());

    const std::string cut = TempPath("cut.txt");
    WriteFile(cut, "a\nb");
    pppio::LineReader reader(cut);
    ASSERT_TRUE(reader.next());
    EXPECT_FALSE(reader.truncated());
    ASSERT_TRUE(reader.next());
    EXPECT_EQ(reader.line(), "b");
    EXPECT_TRUE(reader.truncated());
    EXPECT_FALSE(reader.next());
}

#ifdef PPPIO_HAVE_ZLIB
TEST(LineReader, ReadsGzipAndTruncatedGzip)
{
    const std::string path = TempPath("text.gz");
    std::string content;
    for (int i = 0; i < 20000; ++i)
        content += "line " + std::to_string(i) + "\n";
    gzFile gz = gzopen(path.c_str(), "wb");
    ASSERT_NE(gz, nullptr);
    gzwrite(gz, content.data(), static_cast<unsigned>(content.size()));
    gzclose(gz);
    const auto lines = ReadAll(path);
    ASSERT_EQ(lines.size(), 20000u);
    EXPECT_EQ(lines[12345], "line 12345");

    // A truncated archive yields the lines decoded so far, then either ends
    // or reports a decompression error naming the file: never a crash.
    FILE* f = std::fopen(path.c_str(), "rb");
    std::string bytes(1 << 20, '\0');
    bytes.resize(std::fread(&bytes[0], 1, bytes.size(), f));
    std::fclose(f);
    const std::string cut = TempPath("truncated.gz");
    WriteFile(cut, bytes.substr(0, bytes.size() / 2));
    size_t count = 0;
    try {
        pppio::LineReader reader(cut);
        while (reader.next())
            ++count;
    } catch (const pppio::ReadError& e) {
        EXPECT_NE(std::string(e.what()).find("truncated.gz"), std::string::npos);
    }
    EXPECT_LT(count, 20000u);

    // Wherever the archive is cut, the reader reports it, also when the
    // text decoded so far happens to end with a line end.
    for (size_t length = bytes.size() / 2; length < bytes.size() / 2 + 40; ++length) {
        WriteFile(cut, bytes.substr(0, length));
        pppio::LineReader reader(cut);
        while (reader.next()) {
        }
        EXPECT_TRUE(reader.truncated()) << length;
    }
}
#endif

}  // namespace

TEST(LineReader, TellsWhetherTheLastLineHasALineEnd)
{
    const std::string path = TempPath("terminated.txt");
    WriteFile(path, "one\ntwo\n");
    pppio::LineReader complete(path);
    while (complete.next())
        EXPECT_TRUE(complete.lineTerminated());
    WriteFile(path, "one\ntw");
    pppio::LineReader cut(path);
    ASSERT_TRUE(cut.next());
    EXPECT_TRUE(cut.lineTerminated());
    ASSERT_TRUE(cut.next());
    EXPECT_FALSE(cut.lineTerminated());
    EXPECT_EQ(cut.line(), "tw");
}
