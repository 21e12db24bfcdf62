#pragma once

#include <expat.h>

#include <memory>
#include <type_traits>

namespace QuillonLib {

struct FreeExpatParser {
    void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};
using ExpatParser = std::unique_ptr<std::remove_pointer_t<XML_Parser>, FreeExpatParser>;

}  // namespace QuillonLib
