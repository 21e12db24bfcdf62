#include "core/Error.h"

#include <utility>

#include "core/Text.h"

namespace QuillonLib {

Error::Error(std::int32_t number, std::u16string description, std::u16string source)
    : number_(number),
      source_(std::move(source)),
      description_(std::move(description)),
      what_(ToUtf8(description_)) {
}

}  // namespace QuillonLib
