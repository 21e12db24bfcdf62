// The text of an XML file, whatever encoding the file is in. Not installed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace QuillonLib {

// A text in UTF-8, or why there is none (for people).
struct XmlText {
    std::optional<std::string> text;
    std::string failure;
};

// The encoding is told by the byte-order mark, which is left out of the text; else by the
// declaration, for every encoding of one byte or of several that is known here (EncodedText.h);
// else it is UTF-8. What the encoding has no meaning for is a failure: nothing is replaced. Throws
// std::bad_alloc.
XmlText DecodeXml(std::string bytes);

}  // namespace QuillonLib
