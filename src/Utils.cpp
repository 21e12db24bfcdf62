#include "Utils.h"

#include "compare/Comparison.h"
#include "core/Error.h"
#include "util/ComputerName.h"
#include "util/EventLog.h"

namespace QuillonLib {

namespace {

template <typename T>
T& Given(const std::shared_ptr<T>& object) {
    if (object == nullptr) throw Error(ErrorNumber::ObjectNotSet, u"Object variable not set");
    return *object;
}

}  // namespace

std::shared_ptr<TableDifferences> Utils::CompareContents(const std::shared_ptr<Database>& obDB1,
                                                         const std::shared_ptr<Database>& obDB2,
                                                         const std::shared_ptr<Database>& obDB3,
                                                         const TextArray& sTables,
                                                         const IndexChoices& obIndexCollection,
                                                         const ColumnChoices& obColumnCollection) {
    const ComparisonRequest request{Given(obDB1),
                                    Given(obDB2),
                                    Given(obDB3),
                                    sTables,
                                    obIndexCollection,
                                    obColumnCollection,
                                    suppressCompareProcessErrors_};
    const ComparisonSurroundings surroundings{Events(eventSink_), GetLocalComputerName,
                                              WriteErrorToEventLog};
    return QuillonLib::CompareContents(request, surroundings, lastError_);
}

std::shared_ptr<TableDifferences> Utils::CompareContentsEx(const std::shared_ptr<Database>& obDB1,
                                                           const std::shared_ptr<Database>& obDB2,
                                                           const std::shared_ptr<Database>& obDB3,
                                                           const TextArray& sTables,
                                                           const IndexDictionary& obIndexes,
                                                           const ColumnDictionary& obColumns) {
    return CompareContents(obDB1, obDB2, obDB3, sTables, ToKeyedList(obIndexes),
                           ToKeyedList(obColumns));
}

}  // namespace QuillonLib
