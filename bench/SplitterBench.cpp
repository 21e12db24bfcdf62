// Splits scripts of 50 and 100 MB (UTF-16) into their batches, and cuts them as sync does: twice
// the length has to take twice the time.
#include <chrono>
#include <cstdio>
#include <string>

#include "cli/ScriptRunner.h"
#include "util/StatementSplitter.h"

namespace {

std::u16string Script(std::u16string_view line, std::size_t megabytes) {
    std::u16string script;
    const std::size_t units = megabytes * 1'000'000 / sizeof(char16_t);
    script.reserve(units + 200);
    for (std::size_t i = 0; script.size() < units; ++i) {
        script += line;
        if (i % 100 == 99) script += u"GO\r\n";
    }
    return script;
}

// `action` returns a number of pieces.
template <class Action>
void Measure(const char* name, const std::u16string& script, const Action& action) {
    const auto begin = std::chrono::steady_clock::now();
    const std::size_t pieces = action(script);
    const double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    std::printf("%-32s %8zu pieces of %.0f MB in %.3f s\n", name, pieces,
                static_cast<double>(script.size() * sizeof(char16_t)) / 1e6, seconds);
}

}  // namespace

int main() {
    constexpr std::size_t LinesInBatch = 2000;
    const auto cut = [](const std::u16string& script) {
        return quillon::CutIntoBatches(script, LinesInBatch).size();
    };
    const std::u16string line =
        u"EXEC prcTmp_QVX_Insert 12345, N'GO GO Gadget', '20240115 13:45:30.123', 0x00FF, NULL\r\n";
    // The driver would not send half a pair, so that the line has to stand alone.
    const std::u16string half = u"EXEC prcTmp_QVX_Insert 12345, N'\xD83D', NULL\r\nPRINT 'x'\r\n";
    const std::u16string text = u"EXEC prcTmp_QVX_Insert 12345, N'what? {it''s}', NULL\r\n";
    for (const std::size_t megabytes : {50, 100}) {
        Measure("split", Script(line, megabytes), [](const std::u16string& script) {
            return QuillonLib::GetSQLStatementsFromScript(script).Items.size();
        });
        Measure("cut", Script(line, megabytes), cut);
        Measure("cut, markers in the text", Script(text, megabytes), cut);
        Measure("cut, every other line stands alone", Script(half, megabytes), cut);
        const std::u16string longest(megabytes * 500'000, u'x');
        Measure("cut, one long line", u"EXEC p N'" + longest + u"?'\r\nCOMMIT", cut);
        Measure("cut, blank lines", Script(u"\r\n", megabytes), cut);
    }
}
