#include "cli/ShownValue.h"

#include <algorithm>

#include "cli/CharacterClass.h"
#include "cli/Printable.h"
#include "cli/ValueText.h"

namespace quillon {

namespace {

using namespace QuillonLib;

bool LooksBinary(std::u16string_view text) {
    return text.starts_with(u"0x") && std::all_of(text.begin() + 2, text.end(), [](char16_t unit) {
               return (unit >= u'0' && unit <= u'9') || (unit >= u'A' && unit <= u'F');
           });
}

// Whether a text without quotes would be taken for something else: for NULL, a mark, a quoted or
// binary value, another cell, or the same text without its blanks. One that has an escape in it
// must be known by its quotes.
bool NeedsQuotes(const std::u16string& text, const std::string& printable) {
    if (text.empty() || text == u"NULL" || text.front() == u'*' || text.front() == u'\'')
        return true;
    if (IsWhiteSpace(text.front()) || IsWhiteSpace(text.back()) || LooksBinary(text)) return true;
    return text.find(u"  ") != std::u16string::npos || printable != ToUtf8(text);
}

std::string Quoted(const std::u16string& text) {
    std::u16string doubled;
    for (const char16_t unit : text) {
        if (unit == u'\'' || unit == u'\\') doubled += unit;
        doubled += unit;
    }
    return "'" + Printable(doubled) + "'";
}

std::string ShownText(const std::u16string& text) {
    std::string printable = Printable(text);
    return NeedsQuotes(text, printable) ? Quoted(text) : printable;
}

}  // namespace

std::string Shown(const QuillonLib::Value& value) {
    if (value.IsNull()) return "NULL";
    if (value.Kind() == ValueKind::Bytes) return ToUtf8(PlainText(value, {}));
    if (value.Kind() == ValueKind::String) return ShownText(value.Get<std::u16string>());
    return ToUtf8(DefaultText(value));
}

}  // namespace quillon
