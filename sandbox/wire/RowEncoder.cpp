#include "RowEncoder.h"

#include <algorithm>

#include "CellEncoders.h"
#include "TextForms.h"
#include "Tokens.h"

namespace sandbox::wire {

namespace {

void PutType(ResponseStream& out, WireType type) {
    out.Put(static_cast<std::uint8_t>(type));
}

void PutCollation(ResponseStream& out, const SqlType& type) {
    const auto bytes = FactsOf(type.collation).WireBytes();
    out.PutBytes(bytes.data(), bytes.size());
}

// Describes one column: chooses its encoder and writes its type. One call for each row set and
// column; everything that a row needs of the type is computed here.
class ColumnWriter {
  public:
    ColumnWriter(ResponseStream& out, TdsVersion version, WireColumn& column)
        : out_(out), version_(version), column_(column), type_(column.info.type) {
        column_.page = &PageOf(type_);
    }

    void Write() {
        PutUserTypeAndFlags();
        PutTypeInfo();
        const std::u16string_view name = std::u16string_view(column_.info.name).substr(0, 255);
        out_.Put(static_cast<std::uint8_t>(name.size()));
        out_.PutText(name);
    }

  private:
    void PutUserTypeAndFlags() {
        constexpr std::uint32_t kTimestamp = 80;
        constexpr std::uint16_t kNullable = 0x01;
        constexpr std::uint16_t kMaybeUpdatable = 0x08;
        constexpr std::uint16_t kIdentity = 0x10;
        constexpr std::uint16_t kComputed = 0x20;
        const std::uint32_t userType = type_.id == TypeId::Timestamp ? kTimestamp : 0;
        if (HasWideCounts(version_)) {
            out_.Put(userType);
        } else {
            out_.Put(static_cast<std::uint16_t>(userType));
        }
        const ColumnInfo& info = column_.info;
        std::uint16_t flags = 0;
        if (info.nullable) flags |= kNullable;
        if (info.identity) {
            flags |= kIdentity;
        } else if (info.computed) {
            if (version_ >= TdsVersion::V72) flags |= kComputed;
        } else {
            flags |= kMaybeUpdatable;
        }
        out_.Put(flags);
    }

    void PutTypeInfo() {
        switch (type_.id) {
            case TypeId::Bit:
                return Fixed(WireType::BitN, 1, encode::Integer1);
            case TypeId::TinyInt:
                return Fixed(WireType::IntN, 1, encode::Integer1);
            case TypeId::SmallInt:
                return Fixed(WireType::IntN, 2, encode::Integer2);
            case TypeId::Int:
                return Fixed(WireType::IntN, 4, encode::Integer4);
            case TypeId::BigInt:
                return Fixed(WireType::IntN, 8, encode::Integer8);
            case TypeId::Decimal:
                return Decimal(WireType::DecimalN);
            case TypeId::Numeric:
                return Decimal(WireType::NumericN);
            case TypeId::Money:
                return Fixed(WireType::MoneyN, 8, encode::Money);
            case TypeId::SmallMoney:
                return Fixed(WireType::MoneyN, 4, encode::Integer4);
            case TypeId::Float:
                return Fixed(WireType::FloatN, 8, encode::Float);
            case TypeId::Real:
                return Fixed(WireType::FloatN, 4, encode::Real);
            case TypeId::DateTime:
                return Fixed(WireType::DateTimeN, 8, encode::DateTime);
            case TypeId::SmallDateTime:
                return Fixed(WireType::DateTimeN, 4, encode::SmallDateTime);
            case TypeId::Date:
            case TypeId::Time:
            case TypeId::DateTime2:
            case TypeId::DateTimeOffset:
                return HasDateTypes(version_) ? Dates() : TextOfDates();
            case TypeId::Char:
                return Characters(WireType::Char);
            case TypeId::VarChar:
                return Characters(WireType::VarChar);
            case TypeId::NChar:
                return National(WireType::NChar);
            case TypeId::NVarChar:
                return National(WireType::NVarChar);
            case TypeId::Binary:
                return Binary(WireType::Binary);
            case TypeId::VarBinary:
                return Binary(WireType::VarBinary);
            case TypeId::Text:
                return Pointed(WireType::Text);
            case TypeId::NText:
                return Pointed(WireType::NText);
            case TypeId::Image:
                return Pointed(WireType::Image);
            case TypeId::Xml:
                return Xml();
            case TypeId::Timestamp:
                return Short(WireType::Binary, 8, encode::ShortBytes);
            case TypeId::UniqueIdentifier:
                return Fixed(WireType::UniqueIdentifier, 16, encode::UniqueIdentifier);
            case TypeId::SqlVariant:
                return Variant();
        }
    }

    void Fixed(WireType wire, std::uint8_t size, EncodeCell encode) {
        column_.encode = encode;
        column_.bound = std::size_t{1} + size;
        PutType(out_, wire);
        out_.Put(size);
    }

    void Decimal(WireType wire) {
        column_.size = DecimalSize(type_.precision);
        Fixed(wire, column_.size, encode::Decimal);
        out_.Put(type_.precision);
        out_.Put(type_.scale);
    }

    void Dates() {
        column_.timeSize = TimeSize(type_.scale);
        column_.timeUnit = TimeUnit(type_.scale);
        column_.bound = 1 + 5 + 3 + 2;
        switch (type_.id) {
            case TypeId::Date:
                column_.encode = encode::Date;
                return PutType(out_, WireType::Date);
            case TypeId::Time:
                column_.encode = encode::Time;
                PutType(out_, WireType::Time);
                break;
            case TypeId::DateTime2:
                column_.encode = encode::DateTime2;
                PutType(out_, WireType::DateTime2);
                break;
            default:
                column_.encode = encode::DateTimeOffset;
                PutType(out_, WireType::DateTimeOffset);
                break;
        }
        out_.Put(type_.scale);
    }

    void TextOfDates() {
        const auto national = [this](int length, EncodeCell encode) {
            Short(WireType::NVarChar, static_cast<std::size_t>(length) * 2, encode);
            PutCollation(out_, SqlType{TypeId::NVarChar});
        };
        const int scale = type_.scale;
        switch (type_.id) {
            case TypeId::Date:
                return national(kDateTextLength, encode::TextOfDate);
            case TypeId::Time:
                return national(TimeTextLength(scale), encode::TextOfTime);
            case TypeId::DateTime2:
                return national(DateTime2TextLength(scale), encode::TextOfDateTime2);
            default:
                return national(DateTimeOffsetTextLength(scale), encode::TextOfDateTimeOffset);
        }
    }

    // `limit` in bytes of the wire.
    void Short(WireType wire, std::size_t limit, EncodeCell encode) {
        column_.encode = encode;
        column_.limit = std::clamp<std::size_t>(limit, 1, kLongestShortValue);
        column_.bound = 2 + column_.limit;
        PutType(out_, wire);
        out_.Put(static_cast<std::uint16_t>(column_.limit));
    }

    bool IsMax() const { return type_.length < 0; }

    void Chunked(WireType wire, EncodeCell encode) {
        column_.encode = encode;
        PutType(out_, wire);
        out_.Put(kMaxTypeLength);
    }

    // To a client that has not asked for UTF-8 (none that is known here can), the server sends what
    // is kept in UTF-8 as nvarchar, with the collation of the column.
    void Utf8() {
        constexpr int kLongestNational = 4000;
        if (IsMax() && !HasMaxTypes(version_)) return Pointed(WireType::NText);
        if (IsMax() || (type_.length > kLongestNational && HasMaxTypes(version_))) {
            Chunked(WireType::NVarChar, encode::ChunkedUtf8);
        } else {
            Short(WireType::NVarChar, static_cast<std::size_t>(type_.length) * 2,
                  encode::ShortUtf8);
        }
        PutCollation(out_, type_);
    }

    void Characters(WireType wire) {
        if (FactsOf(type_.collation).utf8) return Utf8();
        if (IsMax() && !HasMaxTypes(version_)) return Pointed(WireType::Text);
        if (IsMax()) {
            Chunked(WireType::VarChar, encode::ChunkedCharacters);
        } else {
            Short(wire, static_cast<std::size_t>(type_.length), encode::ShortCharacters);
        }
        PutCollation(out_, type_);
    }

    void National(WireType wire) {
        if (IsMax() && !HasMaxTypes(version_)) return Pointed(WireType::NText);
        if (IsMax()) {
            Chunked(WireType::NVarChar, encode::ChunkedBytes);
        } else {
            // An even limit, so that no character is cut in two.
            const auto length = std::max<std::size_t>(1, static_cast<std::size_t>(type_.length));
            Short(wire, length * 2, encode::ShortBytes);
        }
        PutCollation(out_, type_);
    }

    void Binary(WireType wire) {
        if (IsMax() && !HasMaxTypes(version_)) return Pointed(WireType::Image);
        if (IsMax()) return Chunked(WireType::VarBinary, encode::ChunkedBytes);
        Short(wire, static_cast<std::size_t>(type_.length), encode::ShortBytes);
    }

    void Pointed(WireType wire) {
        constexpr std::uint32_t kLongest = 0x7FFFFFFF;
        constexpr std::uint32_t kLongestNational = 0x7FFFFFFE;
        const bool ofPage =
            type_.id == TypeId::Char || type_.id == TypeId::VarChar || type_.id == TypeId::Text;
        const bool utf8 = ofPage && FactsOf(type_.collation).utf8;
        column_.encode = wire == WireType::Text ? encode::PointedCharacters
                         : utf8                 ? encode::PointedUtf8
                                                : encode::PointedBytes;
        PutType(out_, wire);
        out_.Put(wire == WireType::NText ? kLongestNational : kLongest);
        if (wire != WireType::Image) PutCollation(out_, type_);
        // The name of the table, which nobody knows here: one part, empty.
        if (version_ >= TdsVersion::V72) out_.Put(std::uint8_t{1});
        out_.Put(std::uint16_t{0});
    }

    void Xml() {
        if (!HasMaxTypes(version_)) return Pointed(WireType::NText);
        column_.encode = encode::ChunkedBytes;
        PutType(out_, WireType::Xml);
        out_.Put(std::uint8_t{0});  // no schema collection
    }

    void Variant() {
        column_.encode = encode::Variant;
        column_.bound = 4 + kVariantLength;
        PutType(out_, WireType::Variant);
        out_.Put(std::int32_t{kVariantLength});
    }

    ResponseStream& out_;
    TdsVersion version_;
    WireColumn& column_;
    const SqlType& type_;
};

}  // namespace

void RowEncoder::Describe(const std::vector<ColumnInfo>& columns) {
    columns_.assign(columns.size(), {});
    context_.shortBound = 0;
    context_.out.Put(static_cast<std::uint8_t>(Token::ColumnMetadata));
    context_.out.Put(static_cast<std::uint16_t>(columns.size()));
    for (std::size_t n = 0; n < columns.size(); ++n) {
        columns_[n].info = columns[n];
        ColumnWriter(context_.out, context_.version, columns_[n]).Write();
        context_.shortBound += columns_[n].bound;
    }
}

const ColumnInfo* RowEncoder::Encode(const Cell* cells) {
    context_.overlong = nullptr;
    std::uint8_t* p = context_.out.Reserve(1 + context_.shortBound);
    p = Put(p, static_cast<std::uint8_t>(Token::Row));
    for (const WireColumn& column : columns_)
        p = column.encode(column, *cells++, p, context_);
    context_.out.Commit(p);
    return context_.overlong != nullptr ? &context_.overlong->info : nullptr;
}

}  // namespace sandbox::wire
