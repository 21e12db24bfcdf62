#include "automation/RowArray.h"

#include <array>
#include <new>
#include <numeric>
#include <utility>

#include "automation/Arrays.h"
#include "automation/Failure.h"
#include "automation/ItemKey.h"
#include "automation/Values.h"
#include "core/Error.h"

namespace QuillonLib::Automation {

namespace {

constexpr std::int32_t OutOfRange = 3001;

enum Bookmark : std::int32_t { CurrentRow = 0, FirstOfAll = 1, LastOfAll = 2 };

std::size_t FieldNumber(std::int64_t number, const Recordset& rows) {
    // A number below 0 becomes one that no row set has fields for.
    const auto index = static_cast<std::size_t>(number);
    rows.Info(index);
    return index;
}

}  // namespace

std::size_t FieldIn(const VARIANT& index, const Recordset& rows) {
    const ItemKey key = ToItemKey(index);
    if (const auto* name = std::get_if<std::u16string>(&key)) return rows.FieldIndex(*name);
    return FieldNumber(std::get<std::int64_t>(key), rows);
}

std::vector<std::size_t> ChosenFields(const VARIANT& fields, const Recordset& rows) {
    if (IsMissing(fields)) {
        std::vector<std::size_t> all(rows.FieldCount());
        std::iota(all.begin(), all.end(), std::size_t{0});
        return all;
    }
    const Variant given(fields);
    if ((given.Type() & VT_ARRAY) == 0) return {FieldIn(fields, rows)};
    std::vector<std::size_t> chosen;
    for (const Variant& field : Elements(ArrayIn(given.Get()))) {
        chosen.push_back(FieldIn(field.Get(), rows));
    }
    return chosen;
}

std::int64_t FirstRow(const VARIANT& start, std::int64_t current, std::int64_t count) {
    if (IsMissing(start)) return current;
    switch (PlainValue(start).As(VT_I4).Get().lVal) {
        case CurrentRow:
            return current;
        case FirstOfAll:
            return 0;
        case LastOfAll:
            return count - 1;
        default:
            throw Error(OutOfRange, u"A row set without bookmarks begins at 0, 1 or 2.");
    }
}

Variant NewRowArray(const Recordset& rows, const std::vector<std::size_t>& fields,
                    std::size_t first, std::size_t count) {
    std::array<SAFEARRAYBOUND, 2> bounds{};
    bounds[0].cElements = static_cast<ULONG>(fields.size());
    bounds[1].cElements = static_cast<ULONG>(count);
    SAFEARRAY* array = SafeArrayCreate(VT_VARIANT, 2, bounds.data());
    if (array == nullptr) throw std::bad_alloc();
    Variant result;
    result.InPlace()->vt = VT_ARRAY | VT_VARIANT;
    result.InPlace()->parray = array;
    const ArrayData data(array);
    auto* cell = data.As<VARIANT>();
    for (std::size_t row = 0; row < count; ++row) {
        for (const std::size_t field : fields) {
            *cell++ = ToVariant(rows.ValueAt(first + row, field)).Detach();
        }
    }
    return result;
}

}  // namespace QuillonLib::Automation
