// Values of row sets as automation has them.
#pragma once

#include "automation/Variant.h"
#include "data/Recordset.h"
#include "data/Value.h"

namespace QuillonLib::Automation {

// A decimal that automation's own type cannot hold exactly (96 bits, 28 digits behind the point) is
// given as text, for nothing is rounded; an identifier is text in braces.
Variant ToVariant(const Value& value);

// The number that ADO's DataTypeEnum gives to the type of a field.
LONG DataType(const FieldInfo& field);

}  // namespace QuillonLib::Automation
