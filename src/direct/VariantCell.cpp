#include "direct/VariantCell.h"

#include <cstring>

#include "core/Error.h"
#include "direct/CellValue.h"

namespace QuillonLib {

namespace {

void AppendNumber(ByteArray& out, std::int32_t number) {
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(&number);
    out.insert(out.end(), bytes, bytes + sizeof number);
}

void AppendText(ByteArray& out, std::u16string_view text) {
    AppendNumber(out, static_cast<std::int32_t>(text.size()));
    const auto* const bytes = reinterpret_cast<const std::uint8_t*>(text.data());
    out.insert(out.end(), bytes, bytes + text.size() * sizeof(char16_t));
}

class Parts {
  public:
    explicit Parts(std::span<const std::uint8_t> bytes) : bytes_(bytes) {}

    std::int32_t Number() {
        std::int32_t number = 0;
        std::memcpy(&number, Take(sizeof number).data(), sizeof number);
        return number;
    }
    std::u16string Text() {
        const std::int32_t units = Number();
        if (units < 0) Fail();
        std::u16string text(static_cast<std::size_t>(units), u'\0');
        const auto bytes = Take(text.size() * sizeof(char16_t));
        std::memcpy(text.data(), bytes.data(), bytes.size());
        return text;
    }
    std::span<const std::uint8_t> Rest() { return Take(bytes_.size()); }

  private:
    std::span<const std::uint8_t> Take(std::size_t count) {
        if (count > bytes_.size()) Fail();
        const auto taken = bytes_.first(count);
        bytes_ = bytes_.subspan(count);
        return taken;
    }
    [[noreturn]] static void Fail() {
        throw Error(ErrorNumber::TypeMismatch, u"The cell is no value of a sql_variant.");
    }

    std::span<const std::uint8_t> bytes_;
};

std::int32_t NumberAt(const RowAt& row, std::size_t field) {
    return row.IsNull(field) ? 0 : static_cast<std::int32_t>(IntegerAt(row.Column(field), row.row));
}

std::u16string TextOrNone(const RowAt& row, std::size_t field) {
    return row.IsNull(field) ? std::u16string() : std::u16string(row.Column(field).Text(row.row));
}

}  // namespace

// The order of the fields is that of TableQuery.
VariantCell::VariantCell(const RowAt& row, std::size_t field)
    : baseType_(TextOrNone(row, field)),
      collation_(TextOrNone(row, field + 3)),
      precision_(NumberAt(row, field + 1)),
      scale_(NumberAt(row, field + 2)),
      page_(baseType_.starts_with(u'n') ? 0 : NumberAt(row, field + 4)) {
    const auto bytes = row.Column(field + 5).Bytes(row.row);
    bytes_.assign(bytes.begin(), bytes.end());
}

VariantCell::VariantCell(const Value& value) {
    Parts parts(value.Get<ByteArray>());
    baseType_ = parts.Text();
    collation_ = parts.Text();
    precision_ = parts.Number();
    scale_ = parts.Number();
    page_ = parts.Number();
    const auto rest = parts.Rest();
    bytes_.assign(rest.begin(), rest.end());
}

Value VariantCell::ToValue() const {
    ByteArray out;
    AppendText(out, baseType_);
    AppendText(out, collation_);
    AppendNumber(out, precision_);
    AppendNumber(out, scale_);
    AppendNumber(out, page_);
    out.insert(out.end(), bytes_.begin(), bytes_.end());
    return Value(std::move(out));
}

}  // namespace QuillonLib
