// Arrays between the library and automation.
#pragma once

#include <vector>

#include "automation/AutomationTypes.h"
#include "automation/Variant.h"
#include "core/BoundedArray.h"
#include "util/EncryptedText.h"

namespace QuillonLib::Automation {

// The elements of an array, held in place while the object lives.
class ArrayData {
  public:
    explicit ArrayData(SAFEARRAY* array);
    ArrayData(const ArrayData&) = delete;
    ArrayData& operator=(const ArrayData&) = delete;
    ~ArrayData() { SafeArrayUnaccessData(array_); }

    template <class T>
    T* As() const {
        return static_cast<T*>(data_);
    }

  private:
    SAFEARRAY* array_;
    void* data_ = nullptr;
};

// An array of strings with the bounds of the list.
Variant ToVariant(const TextArray& texts);
// An array of bytes.
Variant ToVariant(const EncryptedText& bytes);

// The texts of a one-dimensional array of strings or of variants, with its bounds; a null array has
// none. Error 13 for any other.
TextArray ToTextArray(SAFEARRAY* array);
// The bytes of a one-dimensional array of bytes, with its bounds. Error 13 for any other.
EncryptedText ToBytes(SAFEARRAY* array);

// The values of a one-dimensional array of strings or of variants. Error 13 for any other.
std::vector<Variant> Elements(SAFEARRAY* array);

// The same one-dimensional array of strings with its strings in variants; an empty one for null.
// Error 13 for any other.
Variant ToVariantArray(SAFEARRAY* array);

// The array in a VARIANT, at whatever depth of reference; it stays the caller's. Error 13 where
// there is none.
SAFEARRAY* ArrayIn(const VARIANT& value);

}  // namespace QuillonLib::Automation
