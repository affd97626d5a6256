#include <gtest/gtest.h>

#include <string>

#include "TestFiles.h"
#include "io/LineReader.h"

#ifdef PPPIO_HAVE_ZLIB
#include <zlib.h>
#endif

namespace {

using testfiles::readLines;
using testfiles::writeText;

std::string TempPath(const std::string& name)
{
    return testfiles::scratchPath("linereader_" + name);
}

TEST(LineReader, SplitsLinesOfAnyLengthAndDropsLineEnds)
{
    const std::string path = TempPath("plain.txt");
    const std::string longLine(700000, 'x');   // longer than the reader's buffer
    writeText(path, "first\r\nsecond\n\n" + longLine + "\nlast without end");
    EXPECT_EQ(readLines(path), (std::vector<std::string>{"first", "second", "", longLine, "last without end"}));
}

// Errors name the file and line; a last line without line end is told.
TEST(LineReader, FailNamesFileAndLineAndTellsACutLastLine)
{
    const std::string path = TempPath("cut.txt");
    writeText(path, "a\nb");
    pppio::LineReader reader(path);
    ASSERT_TRUE(reader.next());
    EXPECT_FALSE(reader.truncated());
    EXPECT_TRUE(reader.lineTerminated());
    ASSERT_TRUE(reader.next());
    EXPECT_TRUE(reader.truncated());
    EXPECT_FALSE(reader.lineTerminated());
    try {
        reader.fail("expected a header line");
        FAIL();
    } catch (const pppio::ReadError& e) {
        EXPECT_EQ(e.line(), 2);
        EXPECT_EQ(std::string(e.what()), path + ":2: expected a header line");
    }
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
    const auto lines = readLines(path);
    ASSERT_EQ(lines.size(), 20000u);
    EXPECT_EQ(lines[12345], "line 12345");

    const std::string bytes = testfiles::readText(path);
    const std::string cut = TempPath("truncated.gz");
    // Wherever the archive is cut, the reader reports it, also when the
    // text decoded so far happens to end with a line end.
    for (size_t length = bytes.size() / 2; length < bytes.size() / 2 + 40; ++length) {
        writeText(cut, bytes.substr(0, length));
        pppio::LineReader reader(cut);
        while (reader.next()) {
        }
        EXPECT_TRUE(reader.truncated()) << length;
    }
}
#endif

}  // namespace
