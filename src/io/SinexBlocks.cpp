#include "io/SinexBlocks.h"

#include "io/FieldParse.h"

namespace pppio {

SinexLine SinexBlocks::classify(const LineReader& in)
{
    const std::string& line = in.line();
    if (line.empty() || line[0] == '*')
        return SinexLine::Structure;
    switch (line[0]) {
    case '+':
        if (!m_block.empty())
            in.fail("expected -" + m_block + " before a new block");
        m_block = trimmedField(line, 1, line.size());
        return SinexLine::Structure;
    case '-':
        if (m_block.empty() || trimmedField(line, 1, line.size()) != m_block)
            in.fail("expected -" + (m_block.empty() ? std::string("<block>") : m_block) + " to close the block");
        m_block.clear();
        return SinexLine::Structure;
    case ' ':
        if (m_block.empty())
            in.fail("expected a data line inside a block");
        return SinexLine::Data;
    case '%':
        if (hasTextAt(line, 0, m_footer)) {
            if (!m_block.empty())
                in.fail("expected -" + m_block + " before " + m_footer);
            return SinexLine::Footer;
        }
        break;
    default:
        break;
    }
    in.fail(std::string("expected a SINEX line (+block, -block, *comment, data or ") + m_footer + ")");
}

}  // namespace pppio
