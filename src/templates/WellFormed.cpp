#include "templates/WellFormed.h"

#include <expat.h>

#include <memory>
#include <new>
#include <type_traits>

namespace QuillonLib {

namespace {

// Expat counts in int.
constexpr std::size_t LongestPiece = std::size_t{1} << 24;

struct FreeParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using Parser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeParser>;

}  // namespace

bool IsWellFormed(std::string_view xml, const char* encoding) {
    const Parser parser(XML_ParserCreate(encoding));
    if (parser == nullptr) throw std::bad_alloc();
    bool more = true;
    while (more) {
        const std::string_view piece = xml.substr(0, LongestPiece);
        xml.remove_prefix(piece.size());
        more = !xml.empty();
        const XML_Status status =
            XML_Parse(parser.get(), piece.data(), static_cast<int>(piece.size()), more ? 0 : 1);
        if (status != XML_STATUS_OK) {
            if (XML_GetErrorCode(parser.get()) == XML_ERROR_NO_MEMORY) throw std::bad_alloc();
            return false;
        }
    }
    return true;
}

}  // namespace QuillonLib
