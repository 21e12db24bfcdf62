// Splits a script of 100 MB (UTF-16) into its batches.
#include <chrono>
#include <cstdio>
#include <string>

#include "util/StatementSplitter.h"

int main() {
    std::u16string script;
    const std::u16string line =
        u"EXEC prcTmp_QVX_Insert 12345, N'GO GO Gadget', '20240115 13:45:30.123', 0x00FF, NULL\r\n";
    const std::size_t units = 100'000'000 / sizeof(char16_t);
    for (std::size_t i = 0; script.size() < units; ++i) {
        script += line;
        if (i % 100 == 99) script += u"GO\r\n";
    }
    const auto begin = std::chrono::steady_clock::now();
    const auto pieces = QuillonLib::GetSQLStatementsFromScript(script);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("%zu pieces of %.0f MB in %.3f s\n", pieces.Items.size(),
                static_cast<double>(script.size() * sizeof(char16_t)) / 1e6, seconds);
}
