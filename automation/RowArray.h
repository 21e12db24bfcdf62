// What the arguments of a row set's members mean, and many rows as one array.
#pragma once

#include <cstdint>
#include <vector>

#include "automation/AutomationTypes.h"
#include "automation/Variant.h"
#include "data/Recordset.h"

namespace QuillonLib::Automation {

// The number of a field that is given by name or by number from 0. Error 3265 when absent.
std::size_t FieldIn(const VARIANT& index, const Recordset& rows);

// One field or an array of fields; all where it is missing.
std::vector<std::size_t> ChosenFields(const VARIANT& fields, const Recordset& rows);

// The row at which reading begins: the current one (0, or missing), the first (1) or the last (2).
// Error 3001 for other bookmarks, which these row sets do not have.
std::int64_t FirstRow(const VARIANT& start, std::int64_t current, std::int64_t count);

// An array of variants, from 0: fields in its first dimension, rows in its second.
Variant NewRowArray(const Recordset& rows, const std::vector<std::size_t>& fields,
                    std::size_t first, std::size_t count);

}  // namespace QuillonLib::Automation
