#include "direct/ColumnPair.h"

#include "core/Text.h"
#include "data/CodePage.h"

namespace QuillonLib {

namespace {

bool IsTextClass(CellClass cells) {
    return cells == CellClass::PageText || cells == CellClass::WideText;
}

// A datetime counts 1/300 s, which no fraction of decimal digits holds.
bool LosesFraction(const ColumnFacts& a, const ColumnFacts& b) {
    return a.DataType == u"datetime" && b.DataType == u"datetime2";
}

bool HoldCommonValues(const ColumnFacts& side1, const ColumnFacts& side2, CellClass cells1,
                      CellClass cells2) {
    if (LosesFraction(side1, side2) || LosesFraction(side2, side1)) return false;
    return cells1 == cells2 || (IsTextClass(cells1) && IsTextClass(cells2));
}

// The same bytes are not the same text in different code pages; the cells of a variant are several
// fields.
bool SameBitsAreEqual(const ColumnPair& pair) {
    const bool pages =
        pair.type1.cells == CellClass::PageText && pair.type2.cells == CellClass::PageText;
    return pages ? pair.samePage : pair.type1.cells != CellClass::Variant;
}

// Decimals come as digits, which can be written in more than one way.
bool BitsDecide(const ColumnFacts& side1, const ColumnFacts& side2, const ColumnPair& pair) {
    switch (pair.type1.cells) {
        case CellClass::Exact:
            return side1.DataType == side2.DataType && (pair.type1.integer || pair.type1.money);
        case CellClass::Moment:
        case CellClass::Time:
        case CellClass::Offset:
            return side1.DataType == side2.DataType && side1.NumericScale == side2.NumericScale;
        case CellClass::PageText:
        case CellClass::WideText:
            return pair.samePage || (pair.type1.cells == CellClass::WideText &&
                                     pair.type2.cells == CellClass::WideText);
        case CellClass::Float:
            return side1.DataType == side2.DataType;
        case CellClass::Guid:
        case CellClass::Bytes:
        case CellClass::Xml:
            return true;
        case CellClass::Variant:
            return false;
    }
    return false;
}

std::u16string NotReadable(const ColumnFacts& column) {
    if (column.DataType.empty()) return u"its type is one of the CLR, or hidden from the login";
    return u"its type " + DeclaredType(column) + u" cannot be read";
}

}  // namespace

std::variant<ColumnPair, std::u16string> PairColumns(const ColumnFacts& side1,
                                                     const ColumnFacts& side2) {
    const auto type1 = ClassifyType(side1);
    const auto type2 = ClassifyType(side2);
    if (!type1) return NotReadable(side1);
    if (!type2) return NotReadable(side2);
    if (!HoldCommonValues(side1, side2, type1->cells, type2->cells)) {
        return DeclaredType(side1) + u" and " + DeclaredType(side2) +
               u" do not hold the same values without loss";
    }
    ColumnPair pair;
    pair.name = side1.Name;
    pair.type1 = *type1;
    pair.type2 = *type2;
    if (type1->cells == CellClass::PageText) pair.page1 = CodePage::Find(side1.CodePage);
    if (type2->cells == CellClass::PageText) pair.page2 = CodePage::Find(side2.CodePage);
    pair.samePage = type1->cells == CellClass::PageText && type2->cells == CellClass::PageText &&
                    side1.CodePage == side2.CodePage && side1.CodePage != 0;
    pair.sameBitsAreEqual = SameBitsAreEqual(pair);
    pair.bitsDecide = BitsDecide(side1, side2, pair);
    return pair;
}

bool CanBeKey(const ColumnPair& pair) {
    return pair.type1.cells != CellClass::Xml && pair.type1.cells != CellClass::Variant &&
           !pair.type1.legacyLong && !pair.type2.legacyLong;
}

}  // namespace QuillonLib
