// Values of rows in JSON, exactly; docs/results.md tells the forms.
#pragma once

#include <string_view>

#include "QuillonLib.h"
#include "cli/JsonWriter.h"

namespace quillon {

// What a column's type says of the form of its values.
enum class ValueForm {
    Plain,
    Binary,       // bytes are what the column holds; elsewhere they stand for a text that is none
    Moment,       // datetime2: "yyyy-mm-dd hh:mm:ss.fffffff" as text
    OffsetMoment  // datetimeoffset: the same, with " +hh:mm" behind it
};

// Of a type by the server's name ("varbinary").
ValueForm FormOf(std::u16string_view dataType);

void WriteValue(JsonWriter& json, const QuillonLib::Value& value, ValueForm form);

// A text of datetime2 or datetimeoffset as ISO 8601 has it; all others as they stand.
std::u16string IsoText(std::u16string_view text, ValueForm form);

}  // namespace quillon
