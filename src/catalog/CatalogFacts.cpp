#include "catalog/CatalogFacts.h"

#include <algorithm>

#include "core/Text.h"

namespace QuillonLib {

namespace {

template <typename Items, typename Condition>
auto FirstOf(const Items& items, Condition condition) -> decltype(items.data()) {
    const auto found = std::find_if(items.begin(), items.end(), condition);
    return found == items.end() ? nullptr : &*found;
}

}  // namespace

bool ColumnFacts::HasCodePage() const {
    return IsCodePageType(DataType);
}

bool IsCodePageType(std::u16string_view dataType) {
    return dataType == u"char" || dataType == u"varchar" || dataType == u"text";
}

const IndexFacts* ObjectFacts::PrimaryKey() const {
    return FirstOf(Indexes,
                   [](const IndexFacts& index) { return index.Has(IndexType::PrimaryKey); });
}

const IndexFacts* ObjectFacts::FindIndex(std::u16string_view name) const {
    // Under a case-sensitive collation one table may have indexes K and k.
    const IndexFacts* exact =
        FirstOf(Indexes, [name](const IndexFacts& index) { return index.Name == name; });
    if (exact != nullptr) return exact;
    return FirstOf(Indexes,
                   [name](const IndexFacts& index) { return EqualIgnoringCase(index.Name, name); });
}

const ColumnFacts* ObjectFacts::FindColumn(std::u16string_view name) const {
    return FirstOf(Columns, [name](const ColumnFacts& column) { return column.Name == name; });
}

}  // namespace QuillonLib
