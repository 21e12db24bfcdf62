#include "core/SystemError.h"
#include "core/Text.h"

namespace QuillonLib {

std::u16string TextOf(const std::error_code& error) {
    return FromUtf8(error.message());
}

}  // namespace QuillonLib
