#include "catalog/ColumnObject.h"

namespace QuillonLib {

std::u16string ColumnObjects::ColumnList() const {
    std::u16string list;
    for (const auto& column : *this) {
        if (column->CannotCompare() && !column->PrimaryKey()) continue;
        if (!list.empty()) list.append(u", ");
        list.append(u"[").append(column->Name()).append(u"]");
    }
    return list;
}

std::shared_ptr<ColumnObject> ColumnObjects::AddColumn(std::u16string_view vKey) {
    return AddItem(std::make_shared<ColumnObject>(), vKey);
}

}  // namespace QuillonLib
