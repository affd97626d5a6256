// Block structure shared by SINEX and Bias-SINEX files: "+NAME" opens a
// block, "-NAME" closes it, '*' starts a comment, data lines start with a
// blank and belong to the open block, and a footer line ("%ENDSNX",
// "%=ENDBIA") ends the file.
//
//   SinexBlocks blocks("%ENDSNX");
//   const bool complete = blocks.readData(in, warnings, [&] {
//       if (blocks.block() == "SITE/ID") ...   // a data line of the block
//   });
#ifndef PPPIO_SINEXBLOCKS_H
#define PPPIO_SINEXBLOCKS_H

#include <string>
#include <vector>

#include "io/LineReader.h"
#include "io/Truncation.h"

namespace pppio {

enum class SinexLine { Data, Structure, Footer };

class SinexBlocks {
public:
    explicit SinexBlocks(const char* footer) : m_footer(footer) {}

    // Kind of the reader's current line; throws ReadError for a block
    // opened inside another, a mismatched close, a data line outside a
    // block, a footer inside a block, or any other line.
    SinexLine classify(const LineReader& in);

    // Reads the further lines of the file and calls data() for each data
    // line; true when the footer was found. A malformed last line cut short
    // ends the reading with a warning.
    template <class Data>
    bool readData(LineReader& in, std::vector<std::string>& warnings, Data data)
    {
        bool footer = false;
        forEachLine(in, warnings, [&] {
            const SinexLine kind = classify(in);
            if (kind == SinexLine::Data)
                data();
            footer = kind == SinexLine::Footer;
            return !footer;
        });
        return footer;
    }

    // Name of the open block, empty between blocks.
    const std::string& block() const { return m_block; }

private:
    const char* m_footer;
    std::string m_block;
};

}  // namespace pppio

#endif
