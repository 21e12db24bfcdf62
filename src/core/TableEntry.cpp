#include "core/TableEntry.h"

namespace QuillonLib {

namespace {

std::u16string WithoutEnds(std::u16string_view text) {
    return text.size() < 2 ? std::u16string() : std::u16string(text.substr(1, text.size() - 2));
}

}  // namespace

std::u16string MakeTableEntry(std::u16string_view sOwner, std::u16string_view sName) {
    std::u16string entry;
    entry.reserve(sOwner.size() + sName.size() + 5);
    return entry.append(u"[").append(sOwner).append(u"].[").append(sName).append(u"]");
}

std::u16string GetTableName(std::u16string_view sTable) {
    const std::size_t point = sTable.find(u'.');
    return WithoutEnds(point == std::u16string_view::npos ? sTable : sTable.substr(point + 1));
}

std::u16string GetTableOwner(std::u16string_view sTable) {
    const std::size_t point = sTable.find(u'.');
    return point == std::u16string_view::npos ? std::u16string()
                                              : WithoutEnds(sTable.substr(0, point));
}

}  // namespace QuillonLib
