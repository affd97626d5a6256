#include "HeaderCopy.h"

#include "io/HeaderLabel.h"
#include "io/LineReader.h"

namespace crx2rnx {

void CopyHeader(const std::string& path, std::FILE* out)
{
    pppio::LineReader in(path);
    while (in.next()) {
        const std::string label = pppio::headerLabel(in.line());
        if (label.compare(0, 6, "CRINEX") == 0)
            continue;
        std::fputs(in.line().c_str(), out);
        std::fputc('\n', out);
        if (label == "END OF HEADER")
            return;
    }
    in.fail("the file ends before END OF HEADER");
}

}  // namespace crx2rnx
