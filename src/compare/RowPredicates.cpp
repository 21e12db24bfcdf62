#include "compare/RowPredicates.h"

#include <string_view>

#include "catalog/ColumnObject.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view And = u"AND ";
constexpr std::u16string_view Or = u"OR ";

// The last connective goes, the blank in front of it stays.
void CutLast(std::u16string& predicate, std::u16string_view connective) {
    if (!predicate.empty()) predicate.resize(predicate.size() - connective.size());
}

}  // namespace

std::u16string JoinPredicate(const ColumnObjects& columns) {
    std::u16string predicate;
    for (const auto& column : columns) {
        if (!column->PrimaryKey()) continue;
        const std::u16string name = u"[" + column->Name() + u"]";
        predicate.append(u"T1." + name + u"=T2." + name + u" ").append(And);
    }
    CutLast(predicate, And);
    return predicate;
}

std::u16string DifferencePredicate(const ColumnObjects& columns) {
    std::u16string predicate;
    for (const auto& column : columns) {
        if (column->PrimaryKey() || column->CannotCompare()) continue;
        const std::u16string in1 = u"T1.[" + column->Name() + u"]";
        const std::u16string in2 = u"T2.[" + column->Name() + u"]";
        predicate.append(u"(" + in1 + u"<>" + in2 + u") ").append(Or);
        if (!column->AllowNulls()) continue;
        predicate.append(u"(" + in1 + u" IS NULL AND " + in2 + u" IS NOT NULL) ").append(Or);
        predicate.append(u"(" + in1 + u" IS NOT NULL AND " + in2 + u" IS NULL) ").append(Or);
    }
    CutLast(predicate, Or);
    return predicate;
}

}  // namespace QuillonLib
