#include "automation/Results.h"

namespace QuillonLib::Automation {

STDMETHODIMP ComTableDifference::get_Columns(IColumnObjects** value) {
    return Do([&] { Give(value, ComColumnObjects::Of(core_->Columns())); });
}

STDMETHODIMP ComTableDifference::get_Name(BSTR* value) {
    return Do([&] { Give(value, core_->Name()); });
}

STDMETHODIMP ComTableDifference::get_HasPrimaryKey(VARIANT_BOOL* value) {
    return Do([&] { Give(value, core_->HasPrimaryKey()); });
}

STDMETHODIMP ComTableDifference::get_HasDodgyColumns(VARIANT_BOOL* value) {
    return Do([&] { Give(value, core_->HasDodgyColumns()); });
}

STDMETHODIMP ComTableDifference::get_Identical(VARIANT_BOOL* value) {
    return Do([&] { Give(value, core_->Identical()); });
}

STDMETHODIMP ComTableDifference::get_RecordsIn1(LONG* value) {
    return Do([&] { Give(value, core_->RecordsIn1()); });
}

STDMETHODIMP ComTableDifference::get_RecordsIn2(LONG* value) {
    return Do([&] { Give(value, core_->RecordsIn2()); });
}

STDMETHODIMP ComTableDifference::get_RecordsInUnion(LONG* value) {
    return Do([&] { Give(value, core_->RecordsInUnion()); });
}

STDMETHODIMP ComTableDifference::get_RecordsDiffering(LONG* value) {
    return Do([&] { Give(value, core_->RecordsDiffering()); });
}

STDMETHODIMP ComTableDifference::get_HasIdentity(VARIANT_BOOL* value) {
    return Do([&] { Give(value, core_->HasIdentity()); });
}

STDMETHODIMP ComTableDifference::get_Error(BSTR* value) {
    return Do([&] { Give(value, core_->Error()); });
}

STDMETHODIMP ComTableDifference::get_IsView(VARIANT_BOOL* value) {
    return Do([&] { Give(value, core_->IsView()); });
}

}  // namespace QuillonLib::Automation
