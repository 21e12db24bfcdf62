// The enumerations of the object model, which automation and the library declare alike.
#pragma once

#include "QuillonLib_h.h"
#include "core/Options.h"

namespace QuillonLib::Automation {

template <class Theirs, class Ours>
constexpr bool IsSame(Theirs theirs, Ours ours) {
    return static_cast<int>(theirs) == static_cast<int>(ours);
}

static_assert(IsSame(::cpoShowIdentical, QuillonLib::cpoShowIdentical));
static_assert(IsSame(::cpoShowDifferent, QuillonLib::cpoShowDifferent));
static_assert(IsSame(::cpoShowMissing, QuillonLib::cpoShowMissing));
static_assert(IsSame(::cpoShowAdditional, QuillonLib::cpoShowAdditional));
static_assert(IsSame(::cpoIgnoreReplCols, QuillonLib::cpoIgnoreReplCols));
static_assert(IsSame(::cpoCheckDependencies, QuillonLib::cpoCheckDependencies));
static_assert(IsSame(::cpoCompareViewAutoRefresh, QuillonLib::cpoCompareViewAutoRefresh));
static_assert(IsSame(::cpoLimitRecordsReturned, QuillonLib::cpoLimitRecordsReturned));
static_assert(IsSame(::cpoNoScriptComments, QuillonLib::cpoNoScriptComments));
static_assert(IsSame(::tmpTable, QuillonLib::tmpTable));
static_assert(IsSame(::tmpColumn, QuillonLib::tmpColumn));
static_assert(IsSame(::tmpIndex, QuillonLib::tmpIndex));

inline QuillonLib::enShowOptions ToOptions(::enShowOptions options) {
    return static_cast<QuillonLib::enShowOptions>(options);
}

inline QuillonLib::enItemTypes ToItemType(::enItemTypes type) {
    return static_cast<QuillonLib::enItemTypes>(type);
}

}  // namespace QuillonLib::Automation
