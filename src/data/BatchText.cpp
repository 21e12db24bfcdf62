#include "data/BatchText.h"

#include <cstddef>

#include "core/Text.h"

namespace QuillonLib {

namespace {

// The position after the quoted text, name or comment that begins at `at`, as the driver sees it;
// `at` itself where none begins.
std::size_t SkipQuoted(std::u16string_view text, std::size_t at) {
    const auto after = [&](std::u16string_view end, std::size_t from) {
        const std::size_t found = text.find(end, from);
        return found == std::u16string_view::npos ? text.size() : found + end.size();
    };
    // A doubled quote is part of the text, as is a doubled bracket of the name.
    const auto quoted = [&](char16_t quote) {
        std::size_t end = at;
        do {
            end = after({&quote, 1}, end + 1);
        } while (end < text.size() && text[end] == quote);
        return end;
    };
    if (text[at] == u'\'' || text[at] == u'"') return quoted(text[at]);
    if (text[at] == u'[') return quoted(u']');
    if (text.substr(at).starts_with(u"--")) return after(u"\n", at + 2);
    if (text.substr(at).starts_with(u"/*")) return after(u"*/", at + 2);
    return at;
}

bool HoldsMarkers(std::u16string_view text) {
    constexpr std::u16string_view Markers = u"?{";
    if (text.find_first_of(Markers) == std::u16string_view::npos) return false;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t next = SkipQuoted(text, at);
        if (next == at) {
            if (Markers.find(text[at]) != std::u16string_view::npos) return true;
            ++at;
        } else {
            at = next;
        }
    }
    return false;
}

}  // namespace

bool DriverWouldChange(std::u16string_view batch) {
    return batch.find(u'\0') != std::u16string_view::npos || !IsUtf16(batch) || HoldsMarkers(batch);
}

}  // namespace QuillonLib
