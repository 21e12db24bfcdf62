#include "catalog/Identifiers.h"

namespace QuillonLib {

namespace {

void AppendDoubling(std::u16string& out, std::u16string_view text, char16_t doubled) {
    for (const char16_t unit : text) {
        if (unit == doubled) out.push_back(doubled);
        out.push_back(unit);
    }
}

}  // namespace

std::u16string QuoteIdentifier(std::u16string_view name) {
    std::u16string quoted = u"[";
    AppendDoubling(quoted, name, u']');
    quoted.push_back(u']');
    return quoted;
}

std::u16string QuoteText(std::u16string_view text) {
    std::u16string quoted = u"N'";
    AppendDoubling(quoted, text, u'\'');
    quoted.push_back(u'\'');
    return quoted;
}

std::u16string ObjectIdList(std::span<const ObjectName> names) {
    std::u16string list;
    for (const ObjectName& name : names) {
        if (!list.empty()) list.append(u", ");
        const std::u16string entry =
            QuoteIdentifier(name.Owner).append(u".").append(QuoteIdentifier(name.Name));
        list.append(u"OBJECT_ID(").append(QuoteText(entry)).append(u")");
    }
    return list;
}

}  // namespace QuillonLib
