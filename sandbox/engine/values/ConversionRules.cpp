// Which types convert to which: implicitly, with CONVERT, or never.
#include "sandbox/engine/values/Conversion.h"
#include "sandbox/engine/values/SqlError.h"
#include "sandbox/engine/values/Types.h"

namespace sandbox::engine {

void CheckConvertible(const SqlType& from, const SqlType& to, bool isExplicit) {
    const auto clash = [&] {
        throw SqlError(206, Format(u"Operand type clash: %1 is incompatible with %2",
                                   {TypeName(from.id), TypeName(to.id)}));
    };
    const auto needsConvert = [&] {
        if (isExplicit) return;
        throw SqlError(257,
                       Format(u"Implicit conversion from data type %1 to %2 is not allowed. Use "
                              u"the CONVERT function to run this query.",
                              {TypeName(from.id), TypeName(to.id)}));
    };
    const auto never = [&] {
        if (!isExplicit) clash();
        throw SqlError(529, Format(u"Explicit conversion from data type %1 to %2 is not allowed.",
                                   {TypeName(from.id), TypeName(to.id)}));
    };
    if (from.id == to.id || from.id == TypeId::SqlVariant || to.id == TypeId::SqlVariant) {
        if (to.id == TypeId::SqlVariant && (IsLob(from.id) || from.id == TypeId::Timestamp))
            clash();
        if (from.id == TypeId::SqlVariant && to.id != TypeId::SqlVariant) needsConvert();
        return;
    }
    const bool newDate = to.id == TypeId::Date || to.id == TypeId::Time ||
                         to.id == TypeId::DateTime2 || to.id == TypeId::DateTimeOffset;
    const bool oldDate = to.id == TypeId::DateTime || to.id == TypeId::SmallDateTime;
    if (IsCharacter(from.id)) {
        if (IsBinary(to.id)) {
            if (IsLob(from.id) && to.id != TypeId::Image) never();
            if (to.id == TypeId::Image && IsUnicode(from.id)) never();
            if (to.id != TypeId::Image) needsConvert();
            if (from.id == TypeId::NText) never();
        }
        if (IsLob(from.id) && (IsNumber(to.id) || IsDateTime(to.id))) never();
        return;
    }
    if (IsNumber(from.id)) {
        if (newDate || to.id == TypeId::UniqueIdentifier || to.id == TypeId::Xml) never();
        if (IsLob(to.id)) never();
        return;
    }
    if (IsDateTime(from.id)) {
        if (IsNumber(to.id)) {
            if (from.id != TypeId::DateTime && from.id != TypeId::SmallDateTime) never();
            needsConvert();
        }
        if (to.id == TypeId::UniqueIdentifier || IsLob(to.id)) never();
        if (IsBinary(to.id)) needsConvert();
        return;
    }
    if (IsBinary(from.id)) {
        if (IsApproximate(to.id) || IsDecimal(to.id) || newDate) never();
        if (from.id == TypeId::Image && (IsNumber(to.id) || IsCharacter(to.id) || oldDate)) never();
        if (to.id == TypeId::NText || to.id == TypeId::Text) never();
        return;
    }
    if (from.id == TypeId::UniqueIdentifier) {
        if (IsNumber(to.id) || IsDateTime(to.id) || IsLob(to.id)) never();
        return;
    }
    if (from.id == TypeId::Xml) {
        if (!IsCharacter(to.id) && !IsBinary(to.id)) never();
        if (IsLob(to.id)) never();
        needsConvert();
    }
}

}  // namespace sandbox::engine
