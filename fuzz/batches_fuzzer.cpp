// Any script: its batches hold all of it, in order, but for lines of their own that say GO and for
// blank stretches.
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "cli/ScriptCutter.h"

namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

// The length of a line "GO" that begins at `at`, its end included; 0 where there is none.
std::size_t GoLine(std::u16string_view script, std::size_t at) {
    const bool begins = at == 0 || script.substr(0, at).ends_with(u"\r\n");
    if (!begins || !script.substr(at).starts_with(u"GO")) return 0;
    if (at + 2 == script.size()) return 2;
    return script.substr(at + 2).starts_with(u"\r\n") ? 4 : 0;
}

// Where the script goes on behind what may be left out before a batch that begins with `batch`.
std::size_t Skip(std::u16string_view script, std::size_t at, std::u16string_view batch) {
    while (at < script.size()) {
        // No batch begins with such a line, but one may be as short as its "G".
        if (const std::size_t line = GoLine(script, at); line > 0) {
            at += line;
        } else if (script.substr(at).starts_with(batch)) {
            break;
        } else if (IsBlank(script[at])) {
            ++at;
        } else {
            std::abort();  // something was lost
        }
    }
    return at;
}

void Check(std::u16string_view script, std::size_t lines) {
    std::size_t at = 0;
    for (const std::u16string& batch : quillon::CutIntoBatches(script, lines)) {
        at = Skip(script, at, batch);
        if (!script.substr(at).starts_with(batch)) std::abort();
        at += batch.size();
        quillon::HoldsCommit(batch);
        quillon::CountCalls(batch);
    }
    while (at < script.size()) {
        if (const std::size_t line = GoLine(script, at); line > 0) {
            at += line;
        } else if (IsBlank(script[at])) {
            ++at;
        } else {
            std::abort();
        }
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One unit from each byte, so that GO, quotes and brackets are easy to hit.
    const std::u16string script(data, data + size);
    Check(script, 1);
    Check(script, 3);
    return 0;
}
