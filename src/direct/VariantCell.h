// The value of a sql_variant: its base type, and the bytes that the server makes of it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "core/Export.h"
#include "data/Value.h"

namespace QuillonLib {

struct RowAt;

// The bytes are those of CAST(value AS varbinary): integers, money, real and float with the highest
// byte first, text in UTF-16LE or its code page, the rest as the server keeps it.
class QUILLON_API VariantCell {
  public:
    // From the fields that TableQuery asks for, `field` being the first. Not null.
    VariantCell(const RowAt& row, std::size_t field);
    // From a cell of a DirectRow; throws Error TypeMismatch where that holds no such value.
    explicit VariantCell(const Value& value);

    // The cell of a DirectRow that the second constructor reads.
    Value ToValue() const;

    const std::u16string& BaseType() const noexcept { return baseType_; }
    std::int32_t Precision() const noexcept { return precision_; }
    std::int32_t Scale() const noexcept { return scale_; }
    // Of char, varchar, nchar and nvarchar; empty for others.
    const std::u16string& Collation() const noexcept { return collation_; }
    std::int32_t CodePage() const noexcept { return page_; }  // of char and varchar, else 0
    std::span<const std::uint8_t> Bytes() const noexcept { return bytes_; }

  private:
    std::u16string baseType_;
    std::u16string collation_;
    std::int32_t precision_ = 0;
    std::int32_t scale_ = 0;
    std::int32_t page_ = 0;
    ByteArray bytes_;
};

}  // namespace QuillonLib
