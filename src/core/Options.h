// The enumerations of the object model.
#pragma once

#include <cstdint>

namespace QuillonLib {

// Bit flags of the row-set and script operations; combine them with `|`, test with HasOption.
// cpoCheckDependencies and cpoCompareViewAutoRefresh are for the caller's own use: no operation
// of the library looks at them.
enum enShowOptions : std::int32_t {
    cpoShowIdentical = 1,    // open the identical rows
    cpoShowDifferent = 2,    // open the differing rows
    cpoShowMissing = 4,      // open the rows only in database 1
    cpoShowAdditional = 8,   // open the rows only in database 2
    cpoIgnoreReplCols = 16,  // leave a column named "msrepl_tran_version" out of scripts
    cpoCheckDependencies = 32,
    cpoCompareViewAutoRefresh = 64,
    cpoLimitRecordsReturned = 128,  // at most lRecords rows for each row set
    cpoNoScriptComments = 256,      // no "--" lines in scripts
};

constexpr enShowOptions operator|(enShowOptions a, enShowOptions b) {
    return static_cast<enShowOptions>(static_cast<std::int32_t>(a) | static_cast<std::int32_t>(b));
}

constexpr bool HasOption(enShowOptions options, enShowOptions flag) {
    return (static_cast<std::int32_t>(options) & static_cast<std::int32_t>(flag)) != 0;
}

// Kinds of a template's items.
enum enItemTypes : std::int32_t {
    tmpTable = 0,
    tmpColumn = 1,
    tmpIndex = 2,
};

}  // namespace QuillonLib
