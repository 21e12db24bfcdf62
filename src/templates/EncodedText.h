// Text in the encodings that an XML declaration can name, but for the forms of Unicode: by ICU or,
// on Windows, by the system's code pages. Not installed.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace QuillonLib {

enum class EncodingKind { Unknown, Unicode, Bytes };

// What the encoding of that name, in any case, is. Throws std::bad_alloc.
EncodingKind KindOfEncoding(const std::string& name);

// The text of `bytes` in an encoding of the kind Bytes; absent where they hold what has no meaning
// in it: nothing is replaced. Throws std::bad_alloc.
std::optional<std::u16string> DecodeText(std::string_view bytes, const std::string& encoding);

}  // namespace QuillonLib
