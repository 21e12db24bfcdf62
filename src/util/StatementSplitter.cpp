#include "util/StatementSplitter.h"

namespace QuillonLib {

namespace {

constexpr std::u16string_view Separator = u"\r\nGO\r\n";

// Finds the next separator by its "G", which is rarer in SQL than a line break.
std::size_t FindSeparator(std::u16string_view script, std::size_t from) {
    constexpr std::size_t PlaceOfG = 2;
    for (std::size_t g = script.find(u'G', from + PlaceOfG); g != std::u16string_view::npos;
         g = script.find(u'G', g + 1)) {
        if (script.substr(g - PlaceOfG, Separator.size()) == Separator) return g - PlaceOfG;
    }
    return std::u16string_view::npos;
}

}  // namespace

TextArray GetSQLStatementsFromScript(std::u16string_view sScript) {
    TextArray pieces;
    if (sScript.empty()) return pieces;
    std::size_t from = 0;
    for (std::size_t at = FindSeparator(sScript, from); at != std::u16string_view::npos;
         at = FindSeparator(sScript, from)) {
        pieces.Items.emplace_back(sScript.substr(from, at - from));
        from = at + Separator.size();
    }
    pieces.Items.emplace_back(sScript.substr(from));
    return pieces;
}

}  // namespace QuillonLib
