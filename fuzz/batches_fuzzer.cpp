// Any script: its batches hold all of it, in order, but for lines of their own that say GO and for
// blank stretches.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "cli/ScriptCutter.h"

namespace {

bool IsBlank(char16_t unit) {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}

bool LineBegins(std::u16string_view script, std::size_t at) {
    return at == 0 || script.substr(0, at).ends_with(u"\r\n");
}

// The length of a line "GO" that begins at `at`, its end included; 0 where there is none.
std::size_t GoLine(std::u16string_view script, std::size_t at) {
    if (!LineBegins(script, at) || !script.substr(at).starts_with(u"GO")) return 0;
    if (at + 2 == script.size()) return 2;
    return script.substr(at + 2).starts_with(u"\r\n") ? 4 : 0;
}

// Whether `batch` stands at `at` in whole lines. Less than that may stand there by chance: a batch
// as short as a line feed and a "G" also begins in the middle of the end of a line before a "GO".
bool StandsAt(std::u16string_view script, std::size_t at, std::u16string_view batch) {
    return LineBegins(script, at) && script.substr(at).starts_with(batch) &&
           (at + batch.size() == script.size() || batch.ends_with(u"\r\n"));
}

// Where the script goes on behind what may be left out: lines "GO" and blanks, as far as
// `goesOn(at)` says.
template <typename GoesOn>
std::size_t Skip(std::u16string_view script, std::size_t at, const GoesOn& goesOn) {
    while (at < script.size() && !goesOn(at)) {
        const std::size_t line = GoLine(script, at);
        if (line == 0 && !IsBlank(script[at])) std::abort();  // something was lost
        at += std::max<std::size_t>(line, 1);
    }
    return at;
}

void Check(std::u16string_view script, std::size_t lines) {
    std::size_t at = 0;
    for (const std::u16string& batch : quillon::CutIntoBatches(script, lines)) {
        at = Skip(script, at, [&](std::size_t from) { return StandsAt(script, from, batch); });
        if (at == script.size()) std::abort();  // something was made up
        at += batch.size();
        quillon::HoldsCommit(batch);
        quillon::CountCalls(batch);
    }
    Skip(script, at, [](std::size_t) { return false; });
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // One unit from each byte, so that GO, quotes and brackets are easy to hit.
    const std::u16string script(data, data + size);
    Check(script, 1);
    Check(script, 3);
    return 0;
}
