#include "sandbox/engine/values/Types.h"

#include <algorithm>
#include <initializer_list>
#include <limits>

#include "sandbox/engine/values/Collation.h"

namespace sandbox::engine {
namespace {

constexpr TypeFacts kFacts[] = {
    {u"bit", 104, 104, 50, TypeId::Bit},
    {u"tinyint", 48, 48, 48, TypeId::TinyInt},
    {u"smallint", 52, 52, 52, TypeId::SmallInt},
    {u"int", 56, 56, 56, TypeId::Int},
    {u"bigint", 127, 127, 127, TypeId::BigInt},
    {u"decimal", 106, 106, 55, TypeId::Decimal},
    {u"numeric", 108, 108, 63, TypeId::Numeric},
    {u"money", 60, 60, 60, TypeId::Money},
    {u"smallmoney", 122, 122, 122, TypeId::SmallMoney},
    {u"float", 62, 62, 62, TypeId::Float},
    {u"real", 59, 59, 59, TypeId::Real},
    {u"datetime", 61, 61, 61, TypeId::DateTime},
    {u"smalldatetime", 58, 58, 58, TypeId::SmallDateTime},
    {u"date", 40, 40, 40, TypeId::Date},
    {u"time", 41, 41, 41, TypeId::Time},
    {u"datetime2", 42, 42, 42, TypeId::DateTime2},
    {u"datetimeoffset", 43, 43, 43, TypeId::DateTimeOffset},
    {u"char", 175, 175, 47, TypeId::Char},
    {u"varchar", 167, 167, 39, TypeId::VarChar},
    {u"text", 35, 35, 35, TypeId::Text},
    {u"nchar", 239, 239, 47, TypeId::NChar},
    {u"nvarchar", 231, 231, 39, TypeId::NVarChar},
    {u"ntext", 99, 99, 35, TypeId::NText},
    {u"xml", 241, 241, 0, TypeId::Xml},
    {u"binary", 173, 173, 45, TypeId::Binary},
    {u"varbinary", 165, 165, 37, TypeId::VarBinary},
    {u"image", 34, 34, 34, TypeId::Image},
    {u"timestamp", 189, 189, 45, TypeId::Timestamp},
    {u"uniqueidentifier", 36, 36, 37, TypeId::UniqueIdentifier},
    {u"sql_variant", 98, 98, 39, TypeId::SqlVariant},
};

bool OneOf(TypeId id, std::initializer_list<TypeId> ids) {
    return std::find(ids.begin(), ids.end(), id) != ids.end();
}

int TimeScale(const SqlType& t) {
    switch (t.id) {
        case TypeId::DateTime:
            return 3;
        case TypeId::Time:
        case TypeId::DateTime2:
        case TypeId::DateTimeOffset:
            return t.scale;
        default:
            return 0;
    }
}

}  // namespace

Rep RepOf(const SqlType& type) {
    switch (type.id) {
        case TypeId::Decimal:
        case TypeId::Numeric:
            return type.precision <= 18 ? Rep::Int : Rep::Blob;
        case TypeId::Float:
        case TypeId::Real:
            return Rep::Real;
        case TypeId::Char:
        case TypeId::VarChar:
        case TypeId::Text:
        case TypeId::NChar:
        case TypeId::NVarChar:
        case TypeId::NText:
        case TypeId::Xml:
        case TypeId::DateTimeOffset:
        case TypeId::SqlVariant:
            return Rep::Text;
        case TypeId::Binary:
        case TypeId::VarBinary:
        case TypeId::Image:
        case TypeId::Timestamp:
        case TypeId::UniqueIdentifier:
            return Rep::Blob;
        default:
            return Rep::Int;
    }
}

const char* CollationOf(const SqlType& type) {
    if (type.id == TypeId::DateTimeOffset) return "dto";
    if (type.id == TypeId::SqlVariant) return "var";
    if (RepOf(type) != Rep::Text) return nullptr;
    if (!IsCharacter(type.id) || type.collation == kServerCollation) return "ms";
    const CollationFacts& facts = FactsOf(type.collation);
    switch (facts.sensitivity) {
        case Sensitivity::IgnoreCase:
            return "ms";
        case Sensitivity::Case:
            return "ms_cs";
        case Sensitivity::Binary:
            break;
    }
    if (IsUnicode(type.id)) return facts.bin2 ? "ms_bin2" : "ms_bin";
    for (const auto& [page, name] : kPageCollations) {
        if (page == facts.codePage) return name;
    }
    return "ms_bin2";
}

bool IsCodePage(TypeId id) {
    return IsCharacter(id) && !IsUnicode(id);
}

const CodePage& PageOf(const SqlType& type) {
    return CodePage::Of(FactsOf(type.collation).codePage);
}

bool SamePage(const SqlType& a, const SqlType& b) {
    return a.collation == b.collation ||
           FactsOf(a.collation).codePage == FactsOf(b.collation).codePage;
}

SqlType WithCollation(SqlType type, CollationId collation) {
    type.collation = IsCharacter(type.id) ? collation : kServerCollation;
    return type;
}

bool IsCharacter(TypeId id) {
    return OneOf(id, {TypeId::Char, TypeId::VarChar, TypeId::Text, TypeId::NChar, TypeId::NVarChar,
                      TypeId::NText});
}
bool IsUnicode(TypeId id) {
    return OneOf(id, {TypeId::NChar, TypeId::NVarChar, TypeId::NText, TypeId::Xml});
}
bool IsBinary(TypeId id) {
    return OneOf(id, {TypeId::Binary, TypeId::VarBinary, TypeId::Image, TypeId::Timestamp});
}
bool IsInteger(TypeId id) {
    return id <= TypeId::BigInt;
}
bool IsDecimal(TypeId id) {
    return id == TypeId::Decimal || id == TypeId::Numeric;
}
bool IsMoney(TypeId id) {
    return id == TypeId::Money || id == TypeId::SmallMoney;
}
bool IsApproximate(TypeId id) {
    return id == TypeId::Float || id == TypeId::Real;
}
bool IsNumber(TypeId id) {
    return id <= TypeId::Real;
}
bool IsDateTime(TypeId id) {
    return id >= TypeId::DateTime && id <= TypeId::DateTimeOffset;
}
bool IsLob(TypeId id) {
    return OneOf(id, {TypeId::Text, TypeId::NText, TypeId::Image, TypeId::Xml});
}
bool IsFixed(TypeId id) {
    return OneOf(id, {TypeId::Char, TypeId::NChar, TypeId::Binary});
}

std::int64_t Pack(const SqlType& t) {
    return static_cast<std::int64_t>(t.id) | static_cast<std::int64_t>(t.precision) << 8 |
           static_cast<std::int64_t>(t.scale) << 16 |
           static_cast<std::int64_t>(static_cast<std::uint32_t>(t.length) & 0xFFFFFFU) << 24 |
           static_cast<std::int64_t>(t.collation & 0x7FFFU) << 48;
}

SqlType Unpack(std::int64_t packed) {
    SqlType t;
    t.id = static_cast<TypeId>(packed & 0xFF);
    t.precision = static_cast<std::uint8_t>((packed >> 8) & 0xFF);
    t.scale = static_cast<std::uint8_t>((packed >> 16) & 0xFF);
    t.length = static_cast<int>((packed >> 24) & 0xFFFFFF);
    if (t.length == 0xFFFFFF) t.length = -1;
    t.collation = static_cast<std::uint16_t>((packed >> 48) & 0x7FFF);
    return t;
}

const TypeFacts& Facts(TypeId id) {
    return kFacts[static_cast<std::size_t>(id)];
}

std::u16string_view TypeName(TypeId id) {
    return Facts(id).name;
}

std::optional<SqlType> TypeByName(std::u16string_view name) {
    struct Synonym {
        std::u16string_view name;
        SqlType type;
    };
    static const Synonym kSynonyms[] = {
        {u"sysname", {TypeId::NVarChar, 128, 0, 0}},
        {u"integer", {TypeId::Int, 0, 0, 0}},
        {u"dec", {TypeId::Decimal, 0, 18, 0}},
        {u"character", {TypeId::Char, 1, 0, 0}},
        {u"rowversion", {TypeId::Timestamp, 0, 0, 0}},
        {u"ncharacter", {TypeId::NChar, 1, 0, 0}},  // NATIONAL CHARACTER
    };
    for (const Synonym& s : kSynonyms) {
        if (SameName(s.name, name)) return s.type;
    }
    for (const TypeFacts& facts : kFacts) {
        if (!SameName(facts.name, name)) continue;
        SqlType t = Plain(facts.id);
        if (IsDecimal(t.id)) t.precision = 18;
        if (OneOf(t.id, {TypeId::Time, TypeId::DateTime2, TypeId::DateTimeOffset})) t.scale = 7;
        if (OneOf(t.id, {TypeId::Char, TypeId::VarChar, TypeId::NChar, TypeId::NVarChar,
                         TypeId::Binary, TypeId::VarBinary})) {
            t.length = 1;
        }
        return t;
    }
    return std::nullopt;
}

int MaxLength(const SqlType& t) {
    switch (t.id) {
        case TypeId::Bit:
        case TypeId::TinyInt:
            return 1;
        case TypeId::SmallInt:
            return 2;
        case TypeId::Int:
        case TypeId::Real:
        case TypeId::SmallMoney:
        case TypeId::SmallDateTime:
            return 4;
        case TypeId::BigInt:
        case TypeId::Money:
        case TypeId::Float:
        case TypeId::DateTime:
        case TypeId::Timestamp:
            return 8;
        case TypeId::Decimal:
        case TypeId::Numeric:
            return t.precision <= 9 ? 5 : t.precision <= 19 ? 9 : t.precision <= 28 ? 13 : 17;
        case TypeId::Date:
            return 3;
        case TypeId::Time:
            return t.scale <= 2 ? 3 : t.scale <= 4 ? 4 : 5;
        case TypeId::DateTime2:
            return t.scale <= 2 ? 6 : t.scale <= 4 ? 7 : 8;
        case TypeId::DateTimeOffset:
            return t.scale <= 2 ? 8 : t.scale <= 4 ? 9 : 10;
        case TypeId::NChar:
        case TypeId::NVarChar:
            return t.length < 0 ? -1 : t.length * 2;
        case TypeId::Text:
        case TypeId::NText:
        case TypeId::Image:
        case TypeId::UniqueIdentifier:
            return 16;
        case TypeId::Xml:
            return -1;
        case TypeId::SqlVariant:
            return 8016;
        default:
            return t.length;
    }
}

int PrecisionOf(const SqlType& t) {
    switch (t.id) {
        case TypeId::Bit:
            return 1;
        case TypeId::TinyInt:
            return 3;
        case TypeId::SmallInt:
            return 5;
        case TypeId::Int:
        case TypeId::SmallMoney:
            return 10;
        case TypeId::BigInt:
        case TypeId::Money:
            return 19;
        case TypeId::Decimal:
        case TypeId::Numeric:
            return t.precision;
        case TypeId::Float:
            return 53;
        case TypeId::Real:
            return 24;
        case TypeId::DateTime:
            return 23;
        case TypeId::SmallDateTime:
            return 16;
        case TypeId::Date:
            return 10;
        case TypeId::Time:
            return t.scale == 0 ? 8 : 9 + t.scale;
        case TypeId::DateTime2:
            return t.scale == 0 ? 19 : 20 + t.scale;
        case TypeId::DateTimeOffset:
            return t.scale == 0 ? 26 : 27 + t.scale;
        default:
            return 0;
    }
}

int ScaleOf(const SqlType& t) {
    if (IsDecimal(t.id)) return t.scale;
    if (IsMoney(t.id)) return 4;
    return TimeScale(t);
}

std::int64_t IntegerMin(TypeId id) {
    switch (id) {
        case TypeId::SmallInt:
            return -32768;
        case TypeId::Int:
            return std::numeric_limits<std::int32_t>::min();
        case TypeId::BigInt:
            return std::numeric_limits<std::int64_t>::min();
        default:
            return 0;
    }
}

std::int64_t IntegerMax(TypeId id) {
    switch (id) {
        case TypeId::Bit:
            return 1;
        case TypeId::TinyInt:
            return 255;
        case TypeId::SmallInt:
            return 32767;
        case TypeId::Int:
            return std::numeric_limits<std::int32_t>::max();
        default:
            return std::numeric_limits<std::int64_t>::max();
    }
}

SqlType DecimalType(int precision, int scale) {
    SqlType t = Plain(TypeId::Decimal);
    t.precision = static_cast<std::uint8_t>(std::clamp(precision, 1, 38));
    t.scale = static_cast<std::uint8_t>(std::clamp(scale, 0, static_cast<int>(t.precision)));
    return t;
}

SqlType VarCharType(int length) {
    return SqlType{TypeId::VarChar, length, 0, 0};
}
SqlType NVarCharType(int length) {
    return SqlType{TypeId::NVarChar, length, 0, 0};
}

}  // namespace sandbox::engine
