// A caller's choices for single tables, read out of the collections that automation callers have.
#pragma once

#include "automation/AutomationTypes.h"
#include "automation/ComPtr.h"
#include "compare/Choices.h"
#include "core/BoundedArray.h"

namespace QuillonLib::Automation {

// Of any object with Item by key, for the listed tables. A table for which Item gives no usable
// choice has none; so has every table where the collection is null. Error 13 for what has no Item.
IndexChoices ReadIndexChoices(IDispatch* collection, const TextArray& tables);
// The choice for a table is a list of names: an array, or any object that For Each can walk, or
// with Count and Item by position. Any other value is no choice. A list that cannot be read to its
// end, or with an element that has no text, fails the table when it is compared, and so does a name
// that stands in a list twice.
ColumnChoices ReadColumnChoices(IDispatch* collection, const TextArray& tables);

// Of a dictionary: any object with Keys and Items. Entries that are no choice are left out.
// Error 438 for another object, 91 for null, 94 for a key that is Null, 13 for one without a text.
IndexDictionary ReadIndexDictionary(IDispatch* dictionary);
ColumnDictionary ReadColumnDictionary(IDispatch* dictionary);

}  // namespace QuillonLib::Automation
