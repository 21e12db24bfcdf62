// The wrappers of a row set, its fields, and one field. They look to a caller like those of a
// client-side, read-only row set of ADO.
#pragma once

#include <cstdint>
#include <string>

#include "QuillonLib.h"
#include "QuillonLib_h.h"
#include "automation/Wrapper.h"

namespace QuillonLib::Automation {

class ComRecordset final : public Wrapper<ComRecordset, ::Recordset, IRecordset, Recordset> {
  public:
    using Wrapper::Wrapper;

    const Recordset& Rows() const { return *core_; }
    // The value of a field in the current row. Error 3021 before the first and past the last row.
    Variant ValueOf(std::size_t field) const;

    STDMETHODIMP get_Fields(IFields** value) override;
    STDMETHODIMP get_BOF(VARIANT_BOOL* value) override;
    STDMETHODIMP get_EOF(VARIANT_BOOL* value) override;
    STDMETHODIMP MoveFirst() override;
    STDMETHODIMP MoveNext() override;
    STDMETHODIMP MovePrevious() override;
    STDMETHODIMP MoveLast() override;
    STDMETHODIMP get_AbsolutePosition(LONG* value) override;
    STDMETHODIMP put_AbsolutePosition(LONG lPosition) override;
    STDMETHODIMP get_RecordCount(LONG* value) override;
    STDMETHODIMP GetRows(LONG Rows, VARIANT Start, VARIANT Fields, VARIANT* value) override;
    STDMETHODIMP Close() override;
    STDMETHODIMP get_State(LONG* value) override;

  private:
    std::int64_t Count() const { return static_cast<std::int64_t>(core_->RecordCount()); }
    // Error 3021 where there is no row at all.
    void MoveTo(std::int64_t row);

    std::int64_t row_ = 0;  // -1 before the first, Count() past the last
};

// Common to the parts of a row set, which keep it alive.
template <class Derived, class CoClass, class Interface>
class RecordsetPart : public Object<Derived, CoClass, Interface> {
  public:
    static ComPtr<Interface> Of(const ComPtr<ComRecordset>& recordset, std::size_t part) {
        if (const auto known = Identity::Find(KeyOf(*recordset.Get(), part))) {
            return ComPtr<Interface>(static_cast<Interface*>(known.Get()));
        }
        return ComPtr<Interface>(new Derived(recordset, part));
    }

  protected:
    RecordsetPart(const ComPtr<ComRecordset>& recordset, std::size_t part)
        : recordset_(recordset), part_(part) {
        Identity::Register(KeyOf(*recordset.Get(), part), static_cast<Interface*>(this));
    }
    ~RecordsetPart() { Identity::Forget(KeyOf(*recordset_.Get(), part_)); }

    const ComPtr<ComRecordset> recordset_;
    const std::size_t part_;

  private:
    static Identity::Key KeyOf(const ComRecordset& recordset, std::size_t part) {
        return {&recordset.Rows(), &Derived::ClassId(), part};
    }
};

class ComField final : public RecordsetPart<ComField, ::Field, IField> {
  public:
    ComField(const ComPtr<ComRecordset>& recordset, std::size_t index)
        : RecordsetPart(recordset, index) {}
    STDMETHODIMP get_Value(VARIANT* value) override;
    STDMETHODIMP get_Name(BSTR* value) override;
    STDMETHODIMP get_Type(LONG* value) override;
};

class ComFields final : public RecordsetPart<ComFields, ::Fields, IFields> {
  public:
    ComFields(const ComPtr<ComRecordset>& recordset, std::size_t index)
        : RecordsetPart(recordset, index) {}
    STDMETHODIMP get_Count(LONG* value) override;
    STDMETHODIMP get_NewEnum(IUnknown** value) override;
    STDMETHODIMP get_Item(VARIANT Index, IField** value) override;
};

}  // namespace QuillonLib::Automation
