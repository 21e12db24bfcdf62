// The name of a type with its lengths.

#include "sandbox/engine/syntax/Parser.h"
#include "sandbox/engine/values/Collation.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

namespace {

void TooLarge(std::u16string_view type, std::int64_t size, std::u16string_view most) {
    throw SqlError(131,
                   Format(u"The size (%1) given to the type '%2' exceeds the maximum allowed for "
                          u"any data type (%3).",
                          {ToText(size), type, most}),
                   15);
}

}  // namespace

TypeSpec Parser::Type() {
    TypeSpec spec;
    if (!AtName()) {
        if (!IsWord(u"NATIONAL") && !IsWord(u"DOUBLE")) Unexpected();
        if (TakeWord(u"DOUBLE")) {
            ExpectWord(u"PRECISION");
            spec.type = Plain(TypeId::Float);
            return spec;
        }
        Take();
        spec.name = u"n" + TakeName();
    } else {
        spec.name = TakeName();
        if (TakeSymbol(u".")) spec.name = TakeName();  // sys.int, dbo.mytype
    }
    const auto found = TypeByName(spec.name);
    if (!found) {
        spec.known = false;
        return spec;
    }
    spec.type = *found;
    const TypeId id = spec.type.id;
    spec.lengthGiven = SameName(spec.name, u"sysname");
    if (TakeWord(u"VARYING")) {
        spec.type.id = id == TypeId::Char    ? TypeId::VarChar
                       : id == TypeId::NChar ? TypeId::NVarChar
                                             : TypeId::VarBinary;
    }
    if (!IsSymbol(u"(")) return spec;
    Take();
    spec.lengthGiven = true;
    if (TakeWord(u"MAX")) {
        const TypeId v = spec.type.id;
        if (v != TypeId::VarChar && v != TypeId::NVarChar && v != TypeId::VarBinary)
            ThrowSyntax(u"max");
        spec.type.length = -1;
        ExpectSymbol(u")");
        return spec;
    }
    const std::int64_t first = TakeInteger();
    if (IsDecimal(id)) {
        if (first < 1 || first > 38) {
            throw SqlError(2750, Format(u"Column or parameter #1: Specified column precision %1 is "
                                        u"greater than the maximum precision of 38.",
                                        {ToText(first)}));
        }
        spec.type.precision = static_cast<std::uint8_t>(first);
        if (TakeSymbol(u",")) {
            const std::int64_t scale = TakeInteger();
            if (scale < 0 || scale > first) {
                throw SqlError(183,
                               u"The scale (" + ToText(scale) +
                                   u") for column or parameter must be within the range 0 to " +
                                   ToText(first) + u".",
                               15);
            }
            spec.type.scale = static_cast<std::uint8_t>(scale);
        }
    } else if (id == TypeId::Float) {
        if (first < 1 || first > 53) {
            throw SqlError(2716, u"Invalid precision for type float.");
        }
        if (first <= 24) spec.type.id = TypeId::Real;
    } else if (id == TypeId::Time || id == TypeId::DateTime2 || id == TypeId::DateTimeOffset) {
        if (first > 7) {
            throw SqlError(1002, Format(u"Line 1: Specified scale %1 is invalid.", {ToText(first)}),
                           15);
        }
        spec.type.scale = static_cast<std::uint8_t>(first);
    } else if (IsCharacter(id) || IsBinary(id)) {
        if (IsLob(id) || id == TypeId::Timestamp) {
            throw SqlError(2716,
                           Format(u"Column, parameter, or variable #1: Cannot specify a column "
                                  u"width on data type %1.",
                                  {TypeName(id)}));
        }
        const int most = IsUnicode(id) ? 4000 : 8000;
        if (first < 1) {
            throw SqlError(1001,
                           Format(u"Line 1: Length or precision specification %1 is invalid.",
                                  {ToText(first)}),
                           15);
        }
        if (first > most) TooLarge(TypeName(id), first, ToText(most));
        spec.type.length = static_cast<int>(first);
    } else {
        throw SqlError(2716,
                       Format(u"Column, parameter, or variable #1: Cannot specify a column width "
                              u"on data type %1.",
                              {TypeName(id)}));
    }
    ExpectSymbol(u")");
    return spec;
}

}  // namespace sandbox::engine
