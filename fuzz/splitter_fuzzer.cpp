// Any script: the pieces, joined with the separator, are the script again, and none holds one.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

#include "util/StatementSplitter.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One unit from each byte, so that the separator is easy to hit.
    const std::u16string script(data, data + size);
    std::u16string joined;
    bool first = true;
    for (const std::u16string& piece : QuillonLib::GetSQLStatementsFromScript(script).Items) {
        if (piece.find(u"\r\nGO\r\n") != std::u16string::npos) std::abort();
        if (!first) joined += u"\r\nGO\r\n";
        first = false;
        joined += piece;
    }
    if (joined != script) std::abort();
    return 0;
}
