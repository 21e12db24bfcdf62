// How the two columns of one name are read and compared. Not installed.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <variant>

#include "direct/DirectResult.h"
#include "direct/TypeClass.h"

namespace QuillonLib {

class CodePage;

// The same number of fields on both sides: those of a sql_variant tell its base type too.
inline constexpr std::size_t VariantFields = 6;

struct ColumnPair {
    std::u16string name;  // for error texts
    TypeClass type1;
    TypeClass type2;
    // Text of one code page on both sides: bytes that differ are values that differ.
    bool samePage = false;
    const CodePage* page1 = nullptr;  // null: not known here, or no text of a code page
    const CodePage* page2 = nullptr;
    // Packed cells of one kind that hold the same bits are equal, and so are two that are null.
    bool sameBitsAreEqual = false;
    // Declared alike: all others differ.
    bool bitsDecide = false;
    std::size_t field = 0;  // of the first in the row sets of both sides

    const TypeClass& Type(int side) const { return side == 1 ? type1 : type2; }
    const CodePage* Page(int side) const { return side == 1 ? page1 : page2; }
    bool IsText() const {
        return type1.cells == CellClass::PageText || type1.cells == CellClass::WideText;
    }
    std::size_t Fields() const { return type1.cells == CellClass::Variant ? VariantFields : 1; }
};

// The pair, or the sentence that says why the two cannot be compared.
std::variant<ColumnPair, std::u16string> PairColumns(const ColumnFacts& side1,
                                                     const ColumnFacts& side2);

// Whether the server can order rows by such columns as this road does.
bool CanBeKey(const ColumnPair& pair);

}  // namespace QuillonLib
