#include "TestFiles.h"

#include <cstdio>

#include "io/LineReader.h"

namespace testfiles {

std::string dataPath(const std::string& name)
{
    return std::string(PPP_SOURCE_DIR) + "/tests/data/" + name;
}

std::string scratchPath(const std::string& name)
{
    return std::string(PPP_BINARY_DIR) + "/io_scratch_" + name;
}

std::vector<std::string> readLines(const std::string& path)
{
    pppio::LineReader reader(path);
    std::vector<std::string> lines;
    while (reader.next())
        lines.push_back(reader.line());
    return lines;
}

void writeText(const std::string& path, const std::string& text)
{
    FILE* f = std::fopen(path.c_str(), "wb");
    ASSERT_NE(f, nullptr) << path;
    std::fwrite(text.data(), 1, text.size(), f);
    std::fclose(f);
}

void writeLines(const std::string& path, const std::vector<std::string>& lines, bool cutLastLine)
{
    std::string text;
    for (const std::string& line : lines)
        text += line + "\n";
    if (cutLastLine && !text.empty())
        text.pop_back();
    writeText(path, text);
}

size_t findLine(const std::vector<std::string>& lines, const std::string& prefix, size_t from)
{
    for (size_t i = from; i < lines.size(); ++i)
        if (lines[i].compare(0, prefix.size(), prefix) == 0)
            return i;
    ADD_FAILURE() << "no line starts with '" << prefix << "'";
    return lines.size();
}

std::string editedCopy(const std::string& dataName, const std::string& scratchName,
                       const std::function<void(std::vector<std::string>&)>& edit)
{
    std::vector<std::string> lines = readLines(dataPath(dataName));
    edit(lines);
    const std::string path = scratchPath(scratchName);
    writeLines(path, lines);
    return path;
}

void expectReadError(const std::function<void()>& load, const std::string& path, long line,
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

void expectMalformedCopies(const std::string& dataName, const std::vector<MalformedCopy>& copies,
                           const std::function<void(const std::string&)>& read)
{
    for (const MalformedCopy& copy : copies) {
        const std::string path = editedCopy(dataName, std::string("bad_") + copy.name, copy.edit);
        SCOPED_TRACE(copy.name);
        expectReadError([&] { read(path); }, path, static_cast<long>(copy.line), copy.message);
    }
}

std::string garbageFile(const std::string& name, const std::string& head, int seed)
{
    std::string text = head;
    unsigned state = static_cast<unsigned>(seed);
    for (int i = 0; i < 4000; ++i) {
        state = state * 1103515245u + 12345u;
        text += i % 70 == 69 ? '\n' : static_cast<char>((state >> 16) % 255 + 1);
    }
    text += '\n';
    const std::string path = scratchPath(name);
    writeText(path, text);
    return path;
}

}  // namespace testfiles
