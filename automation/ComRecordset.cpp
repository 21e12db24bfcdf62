#include "automation/ComRecordset.h"

#include <algorithm>
#include <vector>

#include "automation/Enumerator.h"
#include "automation/ItemKey.h"
#include "automation/RowArray.h"
#include "automation/Values.h"
#include "data/Diagnostic.h"

namespace QuillonLib::Automation {

namespace {

constexpr std::int32_t OutOfRange = 3001;
// What AbsolutePosition tells where there is no current row.
constexpr LONG UnknownPosition = -1;
constexpr LONG BeforeFirst = -2;
constexpr LONG PastLast = -3;
constexpr LONG OpenState = 1;

[[noreturn]] void ThrowNoCurrentRecord() {
    throw Error(ErrorNumber::NoCurrentRecord,
                u"Either BOF or EOF is True. The operation needs a current record.");
}

[[noreturn]] void ThrowOutOfRange() {
    throw Error(OutOfRange, u"An argument is of the wrong type or out of the acceptable range.");
}

}  // namespace

Variant ComRecordset::ValueOf(std::size_t field) const {
    if (row_ < 0 || row_ >= Count()) ThrowNoCurrentRecord();
    return ToVariant(core_->ValueAt(static_cast<std::size_t>(row_), field));
}

STDMETHODIMP ComRecordset::get_Fields(IFields** value) {
    return Answer(value, [&] { return ComFields::Of(ComPtr<ComRecordset>(this), 0); });
}

STDMETHODIMP ComRecordset::get_BOF(VARIANT_BOOL* value) {
    return Answer(value, [&] { return Count() == 0 || row_ < 0; });
}

STDMETHODIMP ComRecordset::get_EOF(VARIANT_BOOL* value) {
    return Answer(value, [&] { return row_ >= Count(); });
}

void ComRecordset::MoveTo(std::int64_t row) {
    if (Count() == 0) ThrowNoCurrentRecord();
    row_ = row;
}

STDMETHODIMP ComRecordset::MoveFirst() {
    return Do([&] { MoveTo(0); });
}

STDMETHODIMP ComRecordset::MoveNext() {
    return Do([&] {
        if (row_ >= Count()) ThrowNoCurrentRecord();
        MoveTo(row_ + 1);
    });
}

STDMETHODIMP ComRecordset::MovePrevious() {
    return Do([&] {
        if (row_ < 0) ThrowNoCurrentRecord();
        MoveTo(row_ - 1);
    });
}

STDMETHODIMP ComRecordset::MoveLast() {
    return Do([&] { MoveTo(Count() - 1); });
}

STDMETHODIMP ComRecordset::get_AbsolutePosition(LONG* value) {
    return Answer(value, [&] {
        const std::int64_t count = Count();
        LONG position = static_cast<LONG>(row_ + 1);
        if (count == 0) {
            position = UnknownPosition;
        } else if (row_ < 0) {
            position = BeforeFirst;
        } else if (row_ >= count) {
            position = PastLast;
        }
        return std::int32_t{position};
    });
}

STDMETHODIMP ComRecordset::put_AbsolutePosition(LONG lPosition) {
    return Do([&] {
        if (Count() == 0) ThrowNoCurrentRecord();
        if (lPosition < 1 || lPosition > Count()) ThrowOutOfRange();
        MoveTo(lPosition - 1);
    });
}

STDMETHODIMP ComRecordset::get_RecordCount(LONG* value) {
    return Answer(value, [&] { return static_cast<std::int32_t>(Count()); });
}

STDMETHODIMP ComRecordset::GetRows(LONG Rows, VARIANT Start, VARIANT Fields, VARIANT* value) {
    return Answer(value, [&] {
        const std::int64_t first = FirstRow(Start, row_, Count());
        if (first < 0 || first >= Count()) ThrowNoCurrentRecord();
        const std::int64_t left = Count() - first;
        const std::int64_t rows = Rows < 0 ? left : std::min<std::int64_t>(Rows, left);
        Variant block =
            NewRowArray(*core_, ChosenFields(Fields, *core_), static_cast<std::size_t>(first),
                        static_cast<std::size_t>(rows));
        row_ = first + rows;
        return block;
    });
}

STDMETHODIMP ComRecordset::Close() {
    return Do([&] { core_->Close(); });
}

STDMETHODIMP ComRecordset::get_State(LONG* value) {
    return Answer(value, [&] { return core_->IsOpen() ? std::int32_t{OpenState} : 0; });
}

STDMETHODIMP ComField::get_Value(VARIANT* value) {
    return Answer(value, [&] { return recordset_->ValueOf(part_); });
}

STDMETHODIMP ComField::get_Name(BSTR* value) {
    return Answer(value, [&] { return recordset_->Rows().Info(part_).name; });
}

STDMETHODIMP ComField::get_Type(LONG* value) {
    return Answer(value, [&] { return std::int32_t{DataType(recordset_->Rows().Info(part_))}; });
}

STDMETHODIMP ComFields::get_Count(LONG* value) {
    return Answer(value,
                  [&] { return static_cast<std::int32_t>(recordset_->Rows().FieldCount()); });
}

STDMETHODIMP ComFields::get_NewEnum(IUnknown** value) {
    return Answer(value, [&] {
        return NewEnumerator(recordset_->Rows().FieldCount(),
                             [recordset = recordset_](std::size_t index) {
                                 return Variant::Object(ComField::Of(recordset, index).Get());
                             });
    });
}

STDMETHODIMP ComFields::get_Item(VARIANT Index, IField** value) {
    return Answer(value,
                  [&] { return ComField::Of(recordset_, FieldIn(Index, recordset_->Rows())); });
}

}  // namespace QuillonLib::Automation
