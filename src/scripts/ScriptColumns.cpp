#include "scripts/ScriptColumns.h"

#include "catalog/ColumnObject.h"
#include "core/Text.h"

namespace QuillonLib {

bool IsScriptColumn(const ColumnObject& column, enShowOptions enOptions) {
    if (column.Computed()) return false;
    if (HasOption(enOptions, cpoIgnoreReplCols) &&
        ToLower(column.Name()) == u"msrepl_tran_version") {
        return false;
    }
    return column.DataType() != u"timestamp";
}

std::vector<std::shared_ptr<ColumnObject>> ScriptColumns(const ColumnObjects& columns,
                                                         enShowOptions enOptions) {
    std::vector<std::shared_ptr<ColumnObject>> chosen;
    for (const auto& column : columns) {
        if (IsScriptColumn(*column, enOptions)) chosen.push_back(column);
    }
    return chosen;
}

std::u16string KeyColumnOutsideScripts(const ColumnObjects& columns, enShowOptions enOptions) {
    for (const auto& column : columns) {
        if (column->PrimaryKey() && !IsScriptColumn(*column, enOptions)) return column->Name();
    }
    return {};
}

}  // namespace QuillonLib
