// Block structure shared by SINEX and Bias-SINEX files: "+NAME" opens a
// block, "-NAME" closes it, '*' starts a comment, data lines start with a
// blank and belong to the open block, and a footer line ("%ENDSNX",
// "%=ENDBIA") ends the file.
//
//   SinexBlocks blocks("%ENDSNX");
//   while (in.next())
//       if (blocks.classify(in) == SinexLine::Data && blocks.block() == "SITE/ID") ...
#ifndef PPPIO_SINEXBLOCKS_H
#define PPPIO_SINEXBLOCKS_H

#include <string>

#include "io/LineReader.h"

namespace pppio {

enum class SinexLine { Data, Structure, Footer };

class SinexBlocks {
public:
    explicit SinexBlocks(const char* footer) : m_footer(footer) {}

    // Kind of the reader's current line; throws ReadError for a block
    // opened inside another, a mismatched close, a data line outside a
    // block, a footer inside a block, or any other line.
    SinexLine classify(const LineReader& in);

    // Name of the open block, empty between blocks.
    const std::string& block() const { return m_block; }

private:
    const char* m_footer;
    std::string m_block;
};

}  // namespace pppio

#endif
