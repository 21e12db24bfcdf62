#include "automation/Results.h"

namespace QuillonLib::Automation {

STDMETHODIMP ComTableDifference::get_Columns(IColumnObjects** value) {
    return Answer(value, [&] { return ComColumnObjects::Of(core_->Columns()); });
}

STDMETHODIMP ComTableDifference::get_Name(BSTR* value) {
    return Answer(value, [&] { return core_->Name(); });
}

STDMETHODIMP ComTableDifference::get_HasPrimaryKey(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->HasPrimaryKey(); });
}

STDMETHODIMP ComTableDifference::get_HasDodgyColumns(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->HasDodgyColumns(); });
}

STDMETHODIMP ComTableDifference::get_Identical(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->Identical(); });
}

STDMETHODIMP ComTableDifference::get_RecordsIn1(LONG* value) {
    return Answer(value, [&] { return core_->RecordsIn1(); });
}

STDMETHODIMP ComTableDifference::get_RecordsIn2(LONG* value) {
    return Answer(value, [&] { return core_->RecordsIn2(); });
}

STDMETHODIMP ComTableDifference::get_RecordsInUnion(LONG* value) {
    return Answer(value, [&] { return core_->RecordsInUnion(); });
}

STDMETHODIMP ComTableDifference::get_RecordsDiffering(LONG* value) {
    return Answer(value, [&] { return core_->RecordsDiffering(); });
}

STDMETHODIMP ComTableDifference::get_HasIdentity(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->HasIdentity(); });
}

STDMETHODIMP ComTableDifference::get_Error(BSTR* value) {
    return Answer(value, [&] { return core_->Error(); });
}

STDMETHODIMP ComTableDifference::get_IsView(VARIANT_BOOL* value) {
    return Answer(value, [&] { return core_->IsView(); });
}

}  // namespace QuillonLib::Automation
